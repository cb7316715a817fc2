// Text: an immutable text that is shared when it is copied and keeps its hash.
//
// Copying costs a count, comparing two copies of one text a pointer comparison, and comparing two
// different texts as a rule a comparison of their hashes. It is one pointer wide; the empty text is
// a null pointer.

#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "reasoner/support/Ref.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {

class Text {
 public:
  Text() noexcept = default;
  Text(std::string_view text)
      : rep_(text.empty() ? nullptr : NewRep(text)) {}             // NOLINT: texts convert freely
  Text(const std::string& text) : Text(std::string_view(text)) {}  // NOLINT
  Text(const char* text) : Text(std::string_view(text)) {}         // NOLINT
  Text(const Text& other) noexcept : rep_(other.rep_) {
    if (rep_ != nullptr) ChangeCount(rep_->count, 1);
  }
  Text(Text&& other) noexcept : rep_(std::exchange(other.rep_, nullptr)) {}
  Text& operator=(Text other) noexcept {
    std::swap(rep_, other.rep_);
    return *this;
  }
  ~Text() {
    if (rep_ != nullptr && ChangeCount(rep_->count, -1) == 0) ::operator delete(rep_);
  }

  std::string_view view() const noexcept {
    return rep_ == nullptr ? std::string_view() : std::string_view(Characters(rep_), rep_->size);
  }
  operator std::string_view() const noexcept { return view(); }  // NOLINT
  std::string str() const { return std::string(view()); }
  bool empty() const noexcept { return rep_ == nullptr; }

  // CalculateHash of the text, computed once.
  std::uint32_t Hash() const noexcept {
    if (rep_ == nullptr) return 0;
    const std::uint64_t known = rep_->hash.load(std::memory_order_relaxed);
    if (known != 0) return static_cast<std::uint32_t>(known);
    const std::uint32_t hash = CalculateHash(view());
    rep_->hash.store(kHashKnown | hash, std::memory_order_relaxed);
    return hash;
  }

  friend bool operator==(const Text& a, const Text& b) noexcept {
    if (a.rep_ == b.rep_) return true;
    if (a.rep_ == nullptr || b.rep_ == nullptr || a.rep_->size != b.rep_->size) return false;
    return std::memcmp(Characters(a.rep_), Characters(b.rep_), a.rep_->size) == 0;
  }
  friend bool operator==(const Text& a, std::string_view b) noexcept { return a.view() == b; }
  friend bool operator==(const Text& a, const std::string& b) noexcept { return a.view() == b; }
  friend bool operator==(const Text& a, const char* b) noexcept { return a.view() == b; }

 private:
  struct Rep {
    std::atomic<std::int32_t> count{1};
    std::uint32_t size;
    std::atomic<std::uint64_t> hash{
        0};  // with kHashKnown once it is known; two threads may both compute it
  };
  static constexpr std::uint64_t kHashKnown = std::uint64_t{1} << 32;

  static char* Characters(Rep* rep) noexcept { return reinterpret_cast<char*>(rep + 1); }
  // Raises EKBException for a text of 4 GiB or more.
  static Rep* NewRep(std::string_view text);

  Rep* rep_ = nullptr;
};

}  // namespace reasoner
