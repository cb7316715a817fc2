#include "reasoner/support/Depth.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "reasoner/support/Exception.h"

namespace reasoner {
namespace {

// Each level takes a good part of the stack; gives how deep it came before the guard raised.
int Descend(int level, std::size_t frame_size) {
  if (level > 2 * kDefaultMaxDepth) return level;
  try {
    const DepthGuard guard("levels");
    volatile char* frame = static_cast<char*>(__builtin_alloca(frame_size));
    frame[0] = 1;
    const int reached = Descend(level + 1, frame_size);
    return frame[0] == 1 ? reached : -1;
  } catch (const EKBException& failure) {
    EXPECT_EQ(failure.GetMessage(), "Nested too deeply: levels");
    return level;
  }
}

TEST(DepthTest, TheCountedLimitHoldsForItsScope) {
  DepthCount outer_count{0, 50};
  DepthCount inner_count{0, 10};
  const ScopedDepthCount outer(outer_count);
  EXPECT_EQ(Descend(0, 16), 50);
  {
    const DepthGuard guard("levels");
    const ScopedDepthCount inner(inner_count);
    EXPECT_EQ(Descend(0, 16), 10) << "what is counted elsewhere does not count here";
    const DepthGuard inner_guard("levels");
    const ScopedDepthCount back(outer_count);
    EXPECT_EQ(Descend(0, 16), 49) << "but goes on where it was";
  }
  // Neither the scope nor the failures before have left a trace.
  EXPECT_EQ(Descend(0, 16), 50);
}

void* DescendByStack(void* reached) {
  *static_cast<int*>(reached) = Descend(0, 4096);
  return nullptr;
}

TEST(DepthTest, TheStackEndsBeforeTheCountAndLeavesItsReserve) {
  for (const std::size_t kib : {4096u, 8192u}) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    // A stack of our own: the system may hand out a larger one of a thread that has ended.
    const std::unique_ptr<void, decltype(&std::free)> stack(std::aligned_alloc(4096, kib * 1024),
                                                            &std::free);
    ASSERT_EQ(pthread_attr_setstack(&attributes, stack.get(), kib * 1024), 0);
    pthread_t thread;
    int reached = 0;
    ASSERT_EQ(pthread_create(&thread, &attributes, DescendByStack, &reached), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const int most = static_cast<int>((kib - 256) / 4);
    EXPECT_LE(reached, most);
    EXPECT_GT(reached, most / 2);
  }
}

}  // namespace
}  // namespace reasoner
