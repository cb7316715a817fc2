#include "reasoner/support/Ref.h"

#include <new>
#include <vector>

namespace reasoner {

namespace {

// Far from 0 and from the largest count, so that references may come and go without a look at it.
constexpr std::int32_t kImmortalCount = 1 << 30;

// How many ends may be nested on the stack before further objects wait for the outermost one.
constexpr int kMaxNestedEnds = 32;

constinit std::atomic<std::int64_t> live_objects{0};

// Has no destructor: objects may end after the thread's other thread-local objects have.
struct EndState {
  int nested = 0;
  std::vector<const IInterface*>* waiting = nullptr;  // a local of the outermost end
};
constinit thread_local EndState end_state;

}  // namespace

std::int64_t IInterface::LiveObjects() noexcept {
  return live_objects.load(std::memory_order_relaxed);
}

IInterface::~IInterface() {
  const std::int32_t count = GetRefCount();
  if (count >= kImmortalCount / 2) return;
  assert(count == 0 && "destroyed while references hold it");
  CountLive(-1);
}

void IInterface::MakeImmortal() noexcept {
  if (GetRefCount() >= kImmortalCount / 2) return;
  ChangeCount(count_, kImmortalCount);
  CountLive(-1);
}

void IInterface::End(const IInterface* object) noexcept {
  EndState& state = end_state;
  if (state.nested == 0) {
    std::vector<const IInterface*> waiting;
    state.waiting = &waiting;
    state.nested = 1;
    delete object;
    while (!waiting.empty()) {
      const IInterface* next = waiting.back();
      waiting.pop_back();
      delete next;
    }
    state.nested = 0;
    state.waiting = nullptr;
    return;
  }
  if (state.nested >= kMaxNestedEnds) {
    try {
      state.waiting->push_back(object);
      return;
    } catch (const std::bad_alloc&) {
      // No memory to remember it: the stack has to do.
    }
  }
  ++state.nested;
  delete object;
  --state.nested;
}

void IInterface::CountLive(std::int32_t change) noexcept {
  if (REASONER_SINGLE_THREADED) {
    live_objects.store(live_objects.load(std::memory_order_relaxed) + change,
                       std::memory_order_relaxed);
  } else {
    live_objects.fetch_add(change, std::memory_order_relaxed);
  }
}

}  // namespace reasoner
