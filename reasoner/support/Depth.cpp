#include "reasoner/support/Depth.h"

#include <algorithm>
#include <string>
#include <utility>

#include "reasoner/support/Exception.h"

#if defined(__linux__)
#include <pthread.h>
#endif

namespace reasoner {

namespace {

constexpr std::uintptr_t kReserve = 256 * 1024;

struct DepthState {
  DepthCount own;               // of what runs outside of all engines
  DepthCount* count = nullptr;  // of the engine that runs, or null
  bool bounds_read = false;
  std::uintptr_t floor = 0;  // below it, down to `bottom`, is what is kept for the way out
  std::uintptr_t bottom = 0;
};
constinit thread_local DepthState depth_state;

void ReadBounds(DepthState& state) noexcept {
  state.bounds_read = true;
#if defined(__linux__)
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
  void* bottom = nullptr;
  std::size_t size = 0;
  if (pthread_attr_getstack(&attributes, &bottom, &size) == 0 && size != 0) {
    state.bottom = reinterpret_cast<std::uintptr_t>(bottom);
    // A thread with a small stack of its own choice still gets to use half of it.
    state.floor = state.bottom + std::min<std::uintptr_t>(kReserve, size / 2);
  }
  pthread_attr_destroy(&attributes);
#endif
}

}  // namespace

void DepthGuard::Enter(const char* what) {
  DepthState& state = depth_state;
  if (!state.bounds_read) ReadBounds(state);
  // The real frame, not the address of a local, which sanitizers may keep elsewhere. A frame
  // outside the thread's own stack is that of a fiber, about whose stack nothing is known.
  const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  const bool stack_spent = frame < state.floor && frame >= state.bottom;
  DepthCount& count = state.count != nullptr ? *state.count : state.own;
  if (count.depth >= count.limit || stack_spent) {
    throw EKBException(std::string("Nested too deeply: ") + what);
  }
  ++count.depth;
}

// Scopes of counts and guards end in the order of their nesting: it is the count that was entered.
DepthGuard::~DepthGuard() {
  DepthState& state = depth_state;
  --(state.count != nullptr ? *state.count : state.own).depth;
}

ScopedDepthCount::ScopedDepthCount(DepthCount& count) noexcept
    : outer_(std::exchange(depth_state.count, &count)) {}

ScopedDepthCount::~ScopedDepthCount() { depth_state.count = outer_; }

}  // namespace reasoner
