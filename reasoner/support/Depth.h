// How deep a recursion may go.
//
// Every recursion that input can drive (nested text, calls, printing, lists, tokens in the network)
// holds a DepthGuard for its frame. Two limits stand: a count, 100,000 unless an engine's MaxDepth
// says otherwise, and the stack that is left to the thread, of which 256 KiB are kept for the way
// out. Beyond either: EKBException "Nested too deeply: %s". Each engine has a count of its own:
// what the thread was doing when it called the engine, in another engine too, does not count.

#pragma once

#include <cstdint>

namespace reasoner {

inline constexpr std::int32_t kDefaultMaxDepth = 100'000;

// How deep a recursion is, and how deep it may become.
struct DepthCount {
  std::int32_t depth = 0;
  std::int32_t limit = kDefaultMaxDepth;
};

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

// Makes the guards of this thread count in `count` for a scope: an engine does so with its own
// count where it is called. The count outlives the scope.
class ScopedDepthCount {
 public:
  explicit ScopedDepthCount(DepthCount& count) noexcept;
  ~ScopedDepthCount();
  ScopedDepthCount(const ScopedDepthCount&) = delete;
  ScopedDepthCount& operator=(const ScopedDepthCount&) = delete;

 private:
  DepthCount* outer_;
};

}  // namespace reasoner
