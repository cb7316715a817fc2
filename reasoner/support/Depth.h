// How deep a recursion may go.
//
// Every recursion that input can drive (nested text, calls, printing, lists, tokens in the network)
// holds a DepthGuard for its frame. Two limits stand: a count, 100,000 unless an engine's MaxDepth
// says otherwise, and the stack that is left to the thread, of which 256 KiB are kept for the way
// out. Beyond either: EKBException "Nested too deeply: %s".

#pragma once

#include <cstdint>

namespace reasoner {

inline constexpr std::int32_t kDefaultMaxDepth = 100'000;

class DepthGuard {
 public:
  // `what` names the kind of nesting in the message and must be a literal.
  explicit DepthGuard(const char* what) { Enter(what); }
  ~DepthGuard();
  DepthGuard(const DepthGuard&) = delete;
  DepthGuard& operator=(const DepthGuard&) = delete;

 private:
  static void Enter(const char* what);
};

// Sets the counted limit of this thread for a scope: an engine does so at its doors.
class ScopedMaxDepth {
 public:
  explicit ScopedMaxDepth(std::int32_t limit) noexcept;
  ~ScopedMaxDepth();
  ScopedMaxDepth(const ScopedMaxDepth&) = delete;
  ScopedMaxDepth& operator=(const ScopedMaxDepth&) = delete;

 private:
  std::int32_t outer_;
};

}  // namespace reasoner
