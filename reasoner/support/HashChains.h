// A hash table whose links lie in its items: it finds all items of a key, and neither makes nor
// ends any.
//
// The key is a 32-bit hash that the item keeps; the caller compares what it stands for. Within one
// chain items stand in the order of their insertion.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace reasoner {

// `next` is the item's link, `key` its hash: pointers to members.
template <class T, T* T::*next, std::uint32_t T::*key>
class HashChains {
 public:
  // The first item of the chain in which the items of that hash stand, or null. Others may stand
  // between them.
  T* Chain(std::uint32_t hash) const noexcept {
    return buckets_.empty() ? nullptr : buckets_[Bucket(hash)];
  }

  void Insert(T& item) {
    if (count_ >= buckets_.size()) Grow();
    Append(item);
    ++count_;
  }

  void Remove(T& item) noexcept {
    if (buckets_.empty()) return;
    T** link = &buckets_[Bucket(item.*key)];
    while (*link != nullptr && *link != &item) link = &((*link)->*next);
    if (*link == nullptr) return;
    *link = item.*next;
    item.*next = nullptr;
    --count_;
  }

  void Clear() noexcept {
    buckets_.clear();
    count_ = 0;
  }

  std::size_t size() const noexcept { return count_; }

 private:
  std::size_t Bucket(std::uint32_t hash) const noexcept {
    return (hash * 0x9E3779B9u >> 4) & (buckets_.size() - 1);
  }

  void Append(T& item) noexcept {
    T** link = &buckets_[Bucket(item.*key)];
    while (*link != nullptr) link = &((*link)->*next);
    item.*next = nullptr;
    *link = &item;
  }

  void Grow() {
    std::vector<T*> old(buckets_.empty() ? 16 : buckets_.size() * 2, nullptr);
    old.swap(buckets_);
    for (T* chain : old) {
      while (chain != nullptr) {
        T* item = chain;
        chain = item->*next;
        Append(*item);
      }
    }
  }

  std::vector<T*> buckets_;  // a power of two
  std::size_t count_ = 0;
};

}  // namespace reasoner
