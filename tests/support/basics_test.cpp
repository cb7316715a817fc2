// Containers, events and the depth guard.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "reasoner/support/CountedSequence.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Event.h"
#include "reasoner/support/Exception.h"
#include "reasoner/support/NameTable.h"

namespace reasoner {
namespace {

struct Item : CountedNode {};

void ExpectSame(const CountedSequence<Item>& sequence, const std::vector<Item*>& model) {
  ASSERT_EQ(sequence.size(), model.size());
  ASSERT_EQ(sequence.First(), model.empty() ? nullptr : model.front());
  ASSERT_EQ(sequence.Last(), model.empty() ? nullptr : model.back());
  Item* walked = sequence.First();
  for (std::size_t index = 0; index < model.size(); ++index) {
    ASSERT_EQ(sequence.At(index), model[index]);
    ASSERT_EQ(CountedSequence<Item>::IndexOf(*model[index]), index);
    ASSERT_EQ(walked, model[index]);
    walked = CountedSequence<Item>::Next(*walked);
  }
  ASSERT_EQ(walked, nullptr);
}

TEST(CountedSequenceTest, BehavesAsAVectorUnderRandomOperations) {
  std::mt19937 random(5);
  std::vector<std::unique_ptr<Item>> items;
  std::vector<Item*> free_items;
  std::vector<Item*> model;
  CountedSequence<Item> sequence;
  for (int index = 0; index < 300; ++index) {
    items.push_back(std::make_unique<Item>());
    free_items.push_back(items.back().get());
  }
  const auto take_free = [&] {
    Item* item = free_items.back();
    free_items.pop_back();
    return item;
  };
  for (int round = 0; round < 6000; ++round) {
    // Grows for a while, then shrinks to nothing, and so on.
    const bool growing = (round / 500) % 2 == 0;
    const auto choice = random() % 10;
    const auto place = [&](std::size_t bound) {
      return static_cast<std::ptrdiff_t>(random() % bound);
    };
    if (!model.empty() && choice < 2 && !free_items.empty()) {
      const auto at = place(model.size());
      Item* item = take_free();
      Item*& old_item = model[static_cast<std::size_t>(at)];
      sequence.Replace(*old_item, *item);
      EXPECT_FALSE(old_item->IsLinked());
      free_items.push_back(old_item);
      old_item = item;
    } else if ((growing ? choice < 8 : choice < 4) && !free_items.empty()) {
      const auto at = place(model.size() + 1);
      Item* item = take_free();
      sequence.Insert(static_cast<std::size_t>(at), *item);
      model.insert(model.begin() + at, item);
    } else if (!model.empty()) {
      const auto at = place(model.size());
      Item* item = model[static_cast<std::size_t>(at)];
      sequence.Erase(*item);
      EXPECT_FALSE(item->IsLinked());
      EXPECT_EQ(item->parent, nullptr);
      EXPECT_EQ(item->left, nullptr);
      EXPECT_EQ(item->right, nullptr);
      free_items.push_back(item);
      model.erase(model.begin() + at);
    }
    if (round % 25 == 0) {
      ASSERT_NO_FATAL_FAILURE(ExpectSame(sequence, model)) << round;
    }
  }
  while (!model.empty()) {
    sequence.Erase(*model.back());
    model.pop_back();
  }
  ExpectSame(sequence, model);
}

TEST(CountedSequenceTest, StaysShallowWhenItemsComeAtOneEnd) {
  constexpr std::size_t kCount = 100'000;
  for (const bool at_front : {false, true}) {
    std::vector<Item> items(kCount);
    CountedSequence<Item> sequence;
    for (Item& item : items) {
      if (at_front) {
        sequence.Insert(0, item);
      } else {
        sequence.Append(item);
      }
    }
    std::size_t deepest = 0;
    for (const Item& item : items) {
      std::size_t depth = 0;
      for (const CountedNode* node = &item; node->parent != nullptr; node = node->parent) ++depth;
      deepest = std::max(deepest, depth);
    }
    EXPECT_LT(deepest, 80u);
    EXPECT_EQ(CountedSequence<Item>::IndexOf(items[1000]), at_front ? kCount - 1001 : 1000);
  }
}

std::string Dump(const NameTable<int>& table) {
  std::string text;
  table.ForEach([&](const std::string& name, int value) {
    text += name + '=' + std::to_string(value) + ' ';
  });
  return text;
}

TEST(NameTableTest, KeepsTheOrderOfArrival) {
  NameTable<int> table;
  for (const char* name : {"zebra", "ant", "cat"}) table.Put(name, static_cast<int>(table.size()));
  table.Put("ant", 7);
  EXPECT_EQ(Dump(table), "zebra=0 ant=7 cat=2 ");
  table.Rename("zebra", "horse");
  EXPECT_EQ(Dump(table), "horse=0 ant=7 cat=2 ");
  EXPECT_FALSE(table.Contains("zebra"));
  EXPECT_EQ(*table.Find("horse"), 0);
  EXPECT_EQ(table.Take("ant"), 7);
  EXPECT_EQ(table.Take("ant"), 0);
  table.Put("ant", 8);
  EXPECT_EQ(Dump(table), "horse=0 cat=2 ant=8 ");
  EXPECT_EQ(*table.AtIndex(1).first, "cat");
  EXPECT_EQ(table.AtIndex(3).second, nullptr);
  EXPECT_EQ(table.Names(), (std::vector<std::string>{"horse", "cat", "ant"}));
}

TEST(NameTableTest, FindsAllThatIsLeftAfterManyRemovals) {
  NameTable<int> table;
  std::string wanted;
  for (int value = 0; value < 1000; ++value) table.Put("n" + std::to_string(value), value);
  for (int value = 0; value < 1000; ++value) {
    if (value % 7 == 0) {
      wanted += 'n' + std::to_string(value) + '=' + std::to_string(value) + ' ';
    } else {
      EXPECT_EQ(table.Take("n" + std::to_string(value)), value);
    }
  }
  EXPECT_EQ(Dump(table), wanted);
  for (int value = 0; value < 1000; ++value) {
    const int* found = table.Find("n" + std::to_string(value));
    ASSERT_EQ(found != nullptr, value % 7 == 0) << value;
    if (found != nullptr) {
      EXPECT_EQ(*found, value);
    }
  }
}

using Numbers = Event<void(int& number)>;

class EventTest : public ::testing::Test {
 protected:
  // A handler that leaves its mark and adds 1 to the number.
  auto Mark(char mark) {
    return [this, mark](int& number) {
      calls += mark;
      ++number;
    };
  }
  int Call() {
    int number = 0;
    (*event)(number);
    return number;
  }

  std::optional<Numbers> event{std::in_place};
  std::string calls;
};

TEST_F(EventTest, TheSlotIsUsedLikeAFunction) {
  EXPECT_TRUE(*event == nullptr);
  EXPECT_EQ(Call(), 0);
  *event = Mark('a');
  EXPECT_TRUE(*event);
  const Numbers copy = *event;
  const std::function<void(int&)> kept = *event;
  const std::function<void(int&)> kept_empty = Numbers();
  const Numbers old = std::exchange(*event, Mark('b'));
  Call();
  *event = [old, this](int& number) {
    calls += '(';
    old(number);
    calls += ')';
  };
  EXPECT_EQ(Call(), 1);
  *event = kept;
  Call();
  *event = copy;
  Call();
  *event = kept_empty;
  EXPECT_FALSE(*event);
  *event = copy;
  *event = {};
  EXPECT_FALSE(*event);
  *event = std::function<void(int&)>();
  EXPECT_FALSE(event->IsHeard());
  EXPECT_EQ(calls, "b(a)aa");
}

TEST_F(EventTest, ListenersHearBehindTheSlotUntilTheirSubscriptionEnds) {
  Subscription first = event->Subscribe(Mark('1'));
  *event = Mark('s');
  {
    const Subscription second = event->Subscribe(Mark('2'));
    EXPECT_EQ(Call(), 3);
  }
  Numbers moved = std::move(*event);
  EXPECT_FALSE(*event) << "a move takes the slot alone";
  EXPECT_EQ(Call(), 1);
  *event = moved;
  Call();
  first = event->Subscribe(Mark('3'));
  Call();
  first.End();
  Call();
  EXPECT_EQ(calls, "s121s1s3s");
  first = event->Subscribe(Mark('4'));
  event.reset();
  EXPECT_FALSE(first.IsActive()) << "the event has ended";
}

TEST_F(EventTest, HandlersMayChangeTheEventDuringTheCall) {
  Subscription second;
  Subscription third;
  Subscription first = event->Subscribe([&](int&) {
    calls += '1';
    second.End();
    third = event->Subscribe(Mark('3'));
    first.End();
    calls += '!';  // what was captured is still there
  });
  second = event->Subscribe(Mark('2'));
  *event = [this, mark = std::string("s")](int&) {
    *event = Mark('t');
    calls += mark;
  };
  Call();
  EXPECT_EQ(calls, "s1!") << "new handlers are for the next call";
  Call();
  EXPECT_EQ(calls, "s1!t3");
  *event = [this, mark = std::string("e")](int&) {
    event.reset();
    calls += mark;
  };
  Call();
  EXPECT_EQ(calls, "s1!t3e") << "an event that has ended calls no listener any more";
}

TEST_F(EventTest, AllAreCalledAndTheFirstFailureGoesOn) {
  *event = [](int&) { throw std::runtime_error("slot"); };
  const Subscription first = event->Subscribe([](int&) { throw std::logic_error("listener"); });
  const Subscription second = event->Subscribe(Mark('2'));
  EXPECT_THROW(Call(), std::runtime_error);
  *event = nullptr;
  EXPECT_THROW(Call(), std::logic_error);
  EXPECT_EQ(calls, "22");
}

TEST_F(EventTest, HandlersAreCalledWhileTheirArgumentsHold) {
  bool holds = true;
  *event = Mark('s');
  const Subscription first = event->Subscribe([&](int&) { holds = false; });
  const Subscription second = event->Subscribe(Mark('2'));
  int number = 0;
  event->CallWhile([&] { return holds; }, number);
  event->CallWhile([&] { return holds; }, number);
  EXPECT_EQ(calls, "s");
}

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
