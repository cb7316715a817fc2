// Cells and the lists and tables that hold them.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "reasoner/functions/Context.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/support/Component.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBValue.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/values/ValueHashTable.h"
#include "reasoner/values/ValueVector.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class Note : public TPersistent {
 public:
  explicit Note(std::string content = "") : text(std::move(content)) {}
  void Assign(const TPersistent& source) override { text = dynamic_cast<const Note&>(source).text; }
  std::unique_ptr<TPersistent> NewInstance() const override { return std::make_unique<Note>(); }
  std::string ClassName() const override { return "Note"; }
  std::string text;
};

class Plain : public TObject {
 public:
  explicit Plain(int* ended = nullptr) : ended_(ended) {}
  ~Plain() override {
    if (ended_ != nullptr) ++*ended_;
  }
  std::string ClassName() const override { return "Plain"; }

 private:
  int* ended_;
};

// Writes down what the cell shows whenever it is told of a change.
class Listener : public IKBValueListener {
 public:
  void ValueChanged(const Ref<IKBValue>& value) override { seen.push_back(value->ToString()); }
  std::vector<std::string> seen;
};

Ref<IKBValue> NewText(const char* text, TKBType type) { return Make<TKBValue>(Text(text), type); }

Ref<IKBValue> ListOf(std::initializer_list<Ref<IKBValue>> members) {
  const Ref<IValueVector> list = NewVector();
  for (const Ref<IKBValue>& member : members) list->Add(member);
  return NewList(list);
}

const TClassReference kWindowClass("TWindow");

// One cell of each type that needs no engine.
std::vector<Ref<IKBValue>> OneOfEach() {
  const Ref<IKBValue> object = Make<TKBValue>();
  object->SetAsObject(nullptr);
  const Ref<IKBValue> address = Make<TKBValue>();
  address->SetAsExternalAddress(&kWindowClass);
  return {Make<TKBValue>(),
          NewAtom("a"),
          NewString("a"),
          NewInteger(7),
          NewText("x", dtVariable),
          NewFactId(3),
          NewFloat(2.5),
          NewFunCallValue(Make<TFunctionCall>(nullptr, "f")),
          ListOf({NewInteger(1)}),
          Make<TKBValue>(9, dtDescriptor),
          object,
          Make<TKBValue>(&kWindowClass),
          address,
          NewText("xs", dtMultiVariable),
          NewText("s", dtSlot),
          NewText("ms", dtMultiSlot)};
}

TEST(KBValueTest, IntegersAreReadFromNumbersAndTexts) {
  const std::pair<Ref<IKBValue>, std::int32_t> rows[] = {
      {NewAtom("12.7"), 12}, {NewString("-12.7"), -12},
      {NewFloat(-1.9), -1},  {Make<TKBValue>(4, dtDescriptor), 4},
      {NewFactId(3), 3},     {NewAtom("2147483647"), 2147483647}};
  for (const auto& [cell, integer] : rows) {
    EXPECT_EQ(cell->GetAsInteger(), integer) << cell->ToString();
  }
}

TEST(KBValueTest, ReadingWhatDoesNotConvertNamesTheWantedTypeAndTheCell) {
  const Ref<IKBValue> list = ListOf({NewInteger(1)});
  struct Row {
    std::function<void()> read;
    std::string message;
  };
  const Ref<IKBValue> atom = NewAtom("abc");
  const Ref<IKBValue> id = NewFactId(3);
  const Row rows[] = {
      {[&] { atom->GetAsInteger(); }, "Not a integer type.  Value (abc) is a dtAtom type"},
      {[&] { NewString("abc")->GetAsInteger(); },
       "Not a integer type.  Value (\"abc\") is a dtString type"},
      {[&] { NewFloat(1e300)->GetAsInteger(); }, "Not a integer type."},
      {[&] { NewAtom("")->GetAsNumeric(); }, "Not a numeric type.  Value () is a dtAtom type"},
      {[&] { FCEmptyString->GetAsNumeric(); }, "Not a numeric type.  Value () is a dtAtom type"},
      {[&] { list->GetAsInteger(); }, "Not a integer type.  Value (1 ) is a dtList type"},
      {[&] { list->GetAsNumeric(); }, "Not a numeric type.  Value (1 ) is a dtList type"},
      {[&] { id->GetAsString(); }, "Not a string type.  Value (<Fact-3>) is a dtFactId type"},
      {[&] { atom->GetAsFactId(); }, "Not a fact id type.  Value (abc) is a dtAtom type"},
      {[&] { atom->GetAsList(); }, "Not a list type.  Value (abc) is a dtAtom type"},
      {[] { Make<TKBValue>(Text("a"), dtInteger); }, "Value and type mismatch"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(FailureOf(row.read).substr(0, row.message.size()), row.message);
  }
  EXPECT_EQ(atom->ToString(), "abc") << "a failed read changes nothing";
}

TEST(KBValueTest, OnlyTheNilConstantItselfReadsAsZero) {
  EXPECT_EQ(FCNil->GetAsNumeric(), 0.0);
  EXPECT_EQ(FCNil->Clone()->IsNilLike(), true) << "a clone still counts as nil for slots";
  const Ref<IKBValue> changed = FCNil->Clone();
  changed->SetAsAtom("");
  EXPECT_FALSE(changed->IsNilLike()) << "until somebody changes it";
  const Ref<IKBValue> overwritten = FCNil->Clone();
  overwritten->Assign(*NewAtom(""));
  EXPECT_FALSE(overwritten->IsNilLike());
  EXPECT_FALSE(NewAtom("")->IsNilLike());
}

TEST(KBValueTest, EachTypePrintsInItsOwnForm) {
  Plain object;
  TBindingInfo place(2, "color", NoSubIndex);
  const Ref<IKBValue> borrowed = Make<TKBValue>();
  borrowed->SetAsObject(&object);
  const Ref<IKBValue> info = Make<TKBValue>();
  info->SetAsObject(&place);
  const Ref<IKBValue> address = Make<TKBValue>();
  address->SetAsExternalAddress(nullptr);
  const Ref<IKBValue> nobody = Make<TKBValue>();
  nobody->SetAsObject(nullptr);
  const std::pair<Ref<IKBValue>, std::string> rows[] = {
      {NewString("C:\\x \"y\""), "\"C:\\\\x \\\"y\\\"\""},
      {NewFloat(2.5), "2.5000"},
      {ListOf({NewInteger(1), ListOf({NewAtom("a")}), NewAtom("b")}), "1 a  b "},
      {Make<TKBValue>(&kWindowClass), "TWindow"},
      {borrowed, "<Object: Plain>"},
      {info, "<TBindingInfo: FactIdx=2 SlotIdx=color>"},
      {nobody, ""},
      {address, "<External-Address: 0>"},
  };
  for (const auto& [cell, text] : rows) EXPECT_EQ(cell->ToString(), text);
  EXPECT_EQ(NewFloat(2.5)->GetAsString().view(), "2.5000");
}

TEST(KBValueTest, StrictEqualityStaysWithinOneType) {
  const std::vector<Ref<IKBValue>> cells = OneOfEach();
  for (const Ref<IKBValue>& a : cells) {
    for (const Ref<IKBValue>& b : cells) {
      EXPECT_EQ(a->Equals(*b), a == b) << a->ToString() << " and " << b->ToString();
    }
    if (a->GetDType() == dtClass) continue;
    EXPECT_TRUE(a->Equals(*a->Clone())) << a->ToString();
    EXPECT_EQ(a->GetHashCode(), a->Clone()->GetHashCode()) << a->ToString();
  }
  EXPECT_FALSE(NewInteger(1)->Equals(*NewFloat(1.0)));
  EXPECT_FALSE(NewAtom("a")->Equals(*NewAtom("A")));
  EXPECT_TRUE(
      ListOf({NewInteger(1), NewAtom("a")})->Equals(*ListOf({NewInteger(1), NewAtom("a")})));
}

TEST(KBValueTest, StarEqualityReadsTheOtherCellAsThisOnesType) {
  struct Row {
    Ref<IKBValue> left, right;
    bool equal;
  };
  const Row rows[] = {
      {NewInteger(1), NewAtom("1"), true},
      {NewAtom("a"), NewString("a"), true},
      {NewInteger(1), NewFloat(1.5), true},
      {NewAtom("1.5000"), NewFloat(1.5), true},
      {Make<TKBValue>(), NewAtom("a"), true},
      {NewFunCallValue(Make<TFunctionCall>(nullptr, "f")), NewAtom("f"), false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.left->EqualsStar(*row.right), row.equal)
        << row.left->ToString() << " and " << row.right->ToString();
  }
  EXPECT_EQ(FailureOf([] { NewInteger(1)->EqualsStar(*NewAtom("abc")); }),
            "Not a integer type.  Value (abc) is a dtAtom type");
  EXPECT_EQ(FailureOf([] { ListOf({})->EqualsStar(*NewInteger(1)); }),
            "Not a list type.  Value (1) is a dtInteger type");
}

TEST(KBValueTest, AFailedCopyLeavesTheListenerInPlace) {
  const Ref<IKBValue> source = Make<TKBValue>();
  source->SetAsOwnedObject(new Plain);
  const Ref<IKBValue> cell = NewAtom("old");
  Listener listener;
  cell->SetOnChange(&listener);
  EXPECT_EQ(FailureOf([&] { cell->Assign(*source); }),
            "Uncloneable value.  Value owned an object of Plain class type");
  cell->SetAsInteger(1);
  EXPECT_EQ(listener.seen, std::vector<std::string>{"1"});
}

TEST(KBValueTest, AListenerMayDropTheLastReferenceToItsCell) {
  class Dropper : public IKBValueListener {
   public:
    void ValueChanged(const Ref<IKBValue>& value) override {
      value->SetOnChange(nullptr);
      cell = nullptr;
    }
    Ref<IKBValue> cell = NewAtom("a");
  } dropper;
  dropper.cell->SetOnChange(&dropper);
  IKBValue* cell = dropper.cell.get();
  cell->SetAsInteger(1);
  EXPECT_EQ(dropper.cell.get(), nullptr);
}

TEST(KBValueTest, ACellTakesItsOwnContent) {
  const Ref<IKBValue> atom = NewAtom("a text that is longer than any short buffer would be");
  atom->SetAsString(atom->GetAsString());
  EXPECT_EQ(atom->ToString(), "\"a text that is longer than any short buffer would be\"");
  const Ref<IKBValue> list = ListOf({NewInteger(1)});
  list->SetAsList(Ref<IValueVector>(list->GetAsList()));
  EXPECT_EQ(list->ToString(), "1 ");
  list->Assign(*list->GetAsList()->GetItem(0));
  EXPECT_EQ(list->ToString(), "1") << "a cell may take over a member of its own list";
  int ended = 0;
  const Ref<IKBValue> owner = Make<TKBValue>();
  auto* object = new Plain(&ended);
  owner->SetAsOwnedObject(object);
  owner->SetAsOwnedObject(object);
  EXPECT_EQ(ended, 0);
  atom->SetAsInteger(4);
  EXPECT_EQ(atom->GetAsString().view(), "4") << "and not the stale text";
}

TEST(KBValueTest, SharedConstantsRefuseEveryChange) {
  const TValueConstant constants[] = {FCTrue, FCFalse, FCNil, FCEmptyString, FCNilList, FCPI};
  for (const TValueConstant& constant : constants) {
    const std::string message = "Shared constant cannot be changed: " + constant->ToString();
    EXPECT_EQ(FailureOf([&] { constant->SetAsInteger(1); }), message);
    EXPECT_EQ(FailureOf([&] { constant->Assign(*NewInteger(1)); }), message);
    EXPECT_EQ(FailureOf([&] { constant->AssignCopy(*NewInteger(1)); }), message);
  }
  EXPECT_EQ(FailureOf([] { FCNilList->GetAsList()->Add(NewInteger(1)); }),
            "Shared constant cannot be changed: ");
  FCNilList->Clone()->SetAsInteger(1);
  EXPECT_EQ(FCPI->GetAsFloat(), 3.141592653589793);
}

TEST(KBValueTest, AClonesListIsSharedAndACopysListIsNot) {
  const Ref<IKBValue> source = ListOf({NewInteger(1)});
  source->SetTag(6);
  const Ref<IKBValue> clone = source->Clone();
  const Ref<IKBValue> assigned = Make<TKBValue>();
  assigned->Assign(*source);
  const Ref<IKBValue> copied = Make<TKBValue>();
  copied->AssignCopy(*source);
  source->GetAsList()->Add(NewInteger(2));
  EXPECT_EQ(clone->ToString(), "1 2 ");
  EXPECT_EQ(assigned->ToString(), "1 2 ");
  EXPECT_EQ(copied->ToString(), "1 ");
  EXPECT_EQ(clone->GetTag() + assigned->GetTag() + copied->GetTag(), 18);
}

TEST(KBValueTest, AnOwnedObjectIsCopiedAndEndsWithItsCell) {
  int ended = 0;
  {
    const Ref<IKBValue> cell = Make<TKBValue>();
    cell->SetAsOwnedObject(new Plain(&ended));
    EXPECT_TRUE(cell->IsOwningObject());
    cell->SetAsInteger(1);
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(cell->IsOwningObject());
    cell->SetAsOwnedObject(new Plain(&ended));
  }
  EXPECT_EQ(ended, 2);
  Plain borrowed(&ended);
  Make<TKBValue>()->SetAsObject(&borrowed);
  EXPECT_EQ(ended, 2);

  const Ref<IKBValue> source = Make<TKBValue>();
  auto* note = new Note("first");
  source->SetAsOwnedObject(note);
  const Ref<IKBValue> clone = source->Clone();
  note->text = "changed";
  EXPECT_TRUE(clone->IsOwningObject());
  EXPECT_EQ(dynamic_cast<Note&>(*clone->GetAsObject()).text, "first");
}

TEST(KBValueTest, AnOwnedComponentThatEndsElsewhereLeavesAnEmptyCell) {
  const Ref<IKBValue> cell = Make<TKBValue>();
  Listener listener;
  cell->SetOnChange(&listener);
  {
    TComponent form;
    auto* button = new TComponent(&form);
    cell->SetAsOwnedObject(button);
    listener.seen.clear();
  }
  EXPECT_EQ(cell->GetDType(), dtNone);
  EXPECT_TRUE(listener.seen.empty());

  TComponent form;
  cell->SetAsOwnedObject(new TComponent(&form));
  cell->SetAsInteger(1);
  EXPECT_EQ(form.GetComponentCount(), 0u) << "the cell ended it, and it left its owner";
  auto* kept = new TComponent;
  cell->SetAsOwnedObject(kept);
  cell->SetAsOwnedObject(new TComponent(&form));
  EXPECT_EQ(form.GetComponentCount(), 1u);
}

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
