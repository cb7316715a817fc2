#include "reasoner/support/Depth.h"

#include <algorithm>
#include <string>

#include "reasoner/support/Exception.h"

#if defined(__linux__)
#include <pthread.h>
#endif

namespace reasoner {

namespace {

constexpr std::uintptr_t kReserve = 256 * 1024;

struct DepthState {
  std::int32_t depth = 0;
  std::int32_t limit = kDefaultMaxDepth;
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
  if (state.depth >= state.limit || stack_spent) {
    throw EKBException(std::string("Nested too deeply: ") + what);
  }
  ++state.depth;
}

DepthGuard::~DepthGuard() { --depth_state.depth; }

ScopedMaxDepth::ScopedMaxDepth(std::int32_t limit) noexcept : outer_(depth_state.limit) {
  depth_state.limit = limit;
}

ScopedMaxDepth::~ScopedMaxDepth() { depth_state.limit = outer_; }

}  // namespace reasoner
