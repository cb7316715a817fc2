#include <gtest/gtest.h>

#include <utility>

#include "reasoner/values/Constants.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/values/ValueHashTable.h"
#include "reasoner/values/ValueVector.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

Ref<IValueVector> Numbers(std::initializer_list<int> numbers) {
  const Ref<IValueVector> list = NewVector();
  for (const int number : numbers) list->Add(NewInteger(number));
  return list;
}

TEST(ValueVectorTest, MembersAreTheCellsGivenAndMoveWithTheirPlaces) {
  const Ref<IKBValue> cell = NewInteger(5);
  const Ref<IValueVector> list = Numbers({1, 2, 3});
  list->Insert(3, cell);
  list->Insert(0, NewInteger(0));
  EXPECT_EQ(list->ToString(), "0 1 2 3 5 ");
  EXPECT_EQ(list->Last().get(), cell.get());
  EXPECT_EQ(list->IndexOf(*NewInteger(2)), 2);
  EXPECT_EQ(list->IndexOf(*NewFloat(2)), -1);
  EXPECT_EQ(list->Remove(*NewInteger(9)), -1);
  EXPECT_EQ(list->Remove(*NewInteger(2)), 2);
  EXPECT_EQ(list->Remove(*NewInteger(0)), 0);
  EXPECT_EQ(list->ToString(), "1 3 5 ");
  list->Append(*list);
  EXPECT_EQ(list->ToString(), "1 3 5 1 3 5 ") << "a list may be appended to itself";
  EXPECT_EQ(list->GetItem(5).get(), cell.get());
}

TEST(ValueVectorTest, NullIsAllowedAsAMember) {
  const Ref<IValueVector> list = Numbers({1});
  list->Add(nullptr);
  const Ref<IValueVector> clone = list->Clone();
  EXPECT_EQ(clone->GetItem(1).get(), nullptr);
  EXPECT_TRUE(list->Equals(*clone));
  EXPECT_FALSE(list->Equals(*Numbers({1, 2})));
  EXPECT_FALSE(Numbers({1, 2})->Equals(*list));
  EXPECT_EQ(list->GetHashCode(), 1u);
  EXPECT_EQ(list->IndexOf(*NewInteger(3)), -1);
  EXPECT_EQ(list->ToString(), "1  ");
}

// Every change of a list or of its rest leaves the other as it was.
TEST(ValueVectorTest, ARestSharesItsCellsUntilOneOfTheListsChanges) {
  using TChange = void (*)(TValueVector&);
  const std::pair<const char*, TChange> changes[] = {
      {"2 3 9 ", [](TValueVector& list) { list.Add(NewInteger(9)); }},
      {"2 9 ", [](TValueVector& list) { list.SetItem(1, NewInteger(9)); }},
      {"3 ", [](TValueVector& list) { list.Delete(0); }},
      {"2 3 2 3 ", [](TValueVector& list) { list.Append(list); }},
      {"3 3 ", [](TValueVector& list) { list.SetItem(0, list.GetItem(1)); }},
      {"", [](TValueVector& list) { list.Clear(); }},
  };
  for (const auto& [changed, change] : changes) {
    const Ref<IValueVector> list = Numbers({1, 2, 3});
    const Ref<IValueVector> rest = list->Rest();
    EXPECT_EQ(rest->GetItem(0).get(), list->GetItem(1).get());
    change(*rest);
    EXPECT_EQ(rest->ToString(), changed);
    EXPECT_EQ(list->ToString(), "1 2 3 ") << changed;

    const Ref<IValueVector> head = Numbers({2, 3});
    const Ref<IValueVector> tail = head->Rest();
    change(*head);
    EXPECT_EQ(head->ToString(), changed);
    EXPECT_EQ(tail->ToString(), "3 ") << changed;

    Ref<IValueVector> lonely = Numbers({1, 2, 3})->Rest();  // all that is left of its list
    change(*lonely);
    EXPECT_EQ(lonely->ToString(), changed);
  }
  const Ref<IValueVector> ends = Numbers({1});
  EXPECT_EQ(ends->Rest()->GetValueCount(), 0);
  EXPECT_EQ(ends->Rest()->Rest()->GetValueCount(), 0);
  EXPECT_TRUE(Numbers({1, 2})->Rest()->Equals(*Numbers({2})));
  EXPECT_EQ(Numbers({1, 2})->Rest()->GetHashCode(), 2u);
}

TEST(ValueVectorTest, AShortRestDoesNotKeepALongList) {
  Ref<IValueVector> rest = NewVector();
  for (int i = 0; i < 1000; ++i) rest->Add(NewInteger(i));
  const std::int64_t whole = IInterface::LiveObjects();
  for (int i = 0; i < 990; ++i) rest = rest->Rest();
  EXPECT_EQ(rest->First()->ToString(), "990");
  EXPECT_LT(IInterface::LiveObjects(), whole - 970);
}

TEST(SingletonsVectorTest, PointsStayPaired) {
  const Ref<ISingletonsVector> points = Make<TSingletonsVector>();
  points->Add(NewInteger(1), NewInteger(2));
  points->Insert(0, NewInteger(0), NewFloat(0.5));
  EXPECT_EQ(points->ToString(), "(0 0.5000) (1 2) ");
  const Ref<ISingletonsVector> clone = points->Clone();
  clone->GetXValue(1)->SetAsInteger(9);
  EXPECT_FALSE(points->Equals(*clone));
  points->Append(*points);
  EXPECT_EQ(points->GetCount(), 4);
  points->Delete(0);
  EXPECT_EQ(points->ToString(), "(1 2) (0 0.5000) (1 2) ");
  EXPECT_EQ(FailureOf([&] { points->Delete(3); }), "List index out of bounds (3)");
  EXPECT_EQ(points->GetCount(), 3);
  EXPECT_EQ(points->GetYValue(2)->ToString(), "2");
  points->Clear();
}

TEST(ValueHashTableTest, ACopyHasClonesUnderTheSameNames) {
  TValueHashTable table;
  const Ref<IKBValue> one = NewInteger(1);
  table.Put("b", one);
  table.Put("a", nullptr);
  TValueHashTable copy;
  copy.Put("gone", NewInteger(0));
  copy.Assign(table);
  one->SetAsInteger(2);
  EXPECT_EQ(copy.GetKeys(), (std::vector<std::string>{"b", "a"}));
  EXPECT_EQ(copy.Get("b")->ToString(), "1");
  Ref<IKBValue> value = one;
  EXPECT_FALSE(copy.ContainsKey("gone", value));
  EXPECT_EQ(value.get(), nullptr);
  EXPECT_TRUE(copy.ContainsKey("a", value));
  copy.Remove("a");
  EXPECT_EQ(copy.ToString(), "b = 1\n");
}

}  // namespace
}  // namespace reasoner
