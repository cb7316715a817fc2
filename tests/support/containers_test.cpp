#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "reasoner/support/CountedSequence.h"
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

}  // namespace
}  // namespace reasoner
