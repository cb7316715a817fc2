#include <functional>

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class FactTemplateTest : public EngineTest {
 protected:
  Ref<IFactTemplate> New(const std::string& name = "item") {
    return Make<TFactTemplate>(&engine, name);
  }
  static Ref<IFactSlot> NewSlot(IFactTemplate& fact_template, const char* name, TKBTypes types) {
    const Ref<IFactSlot> slot = Make<TFactSlot>(&fact_template);
    slot->SetName(name);
    slot->SetSlotType(types);
    return slot;
  }
  static std::string Names(const IFactTemplate& fact_template) {
    std::string names;
    for (const Text& name : fact_template.GetSlotNames()) names += name.str() + " ";
    return names;
  }
  static Ref<IKBValue> Function(const char* name) {
    return NewFunCallValue(Make<TFunctionCall>(nullptr, name));
  }
};

TEST_F(FactTemplateTest, ASlotEntersItsTemplateByBeingNamed) {
  const Ref<IFactTemplate> item = New();
  const Ref<IFactSlot> slot = Make<TFactSlot>(item.get());
  EXPECT_EQ(FailureOf([&] { slot->SetName("a b"); }), "a b contains unexpected character: \" \"");
  EXPECT_EQ(item->GetSlotCount(), 0);
  EXPECT_EQ(slot->GetName().view(), "");
  slot->SetName("b");
  slot->SetName("c");
  EXPECT_EQ(Names(*item), "c ") << "and leaves its old name";
  const Ref<IFactSlot> other = NewSlot(*item, "a", {dtAtom});
  other->SetName("c");
  EXPECT_EQ(Names(*item), "c ");
  EXPECT_EQ(item->GetSlot("c").get(), other.get()) << "the newcomer takes the place of a namesake";
  EXPECT_EQ(slot->GetTemplate(), nullptr);
  slot->SetName("left");
  EXPECT_EQ(Names(*item), "c ") << "a slot that was pushed out stays out";
}

TEST_F(FactTemplateTest, NamesThatCouldNotBeReadBackAreRefused) {
  const Ref<IFactTemplate> item = New();
  for (const char character : std::string(" '\"#()[]?:$&;<>")) {
    const std::string name = std::string("a") + character + "b";
    const std::string message = name + " contains unexpected character: \"" + character + "\"";
    EXPECT_EQ(FailureOf([&] { item->SetTemplateName(name); }), message);
    EXPECT_EQ(FailureOf([&] { item->AddSlot(name, FCNil); }), message);
  }
  EXPECT_EQ(item->GetTemplateName(), "item");
  EXPECT_EQ(item->GetSlotCount(), 0);
}

TEST_F(FactTemplateTest, AddingASlotChecksItsDefaultAgainstItsKind) {
  const Ref<IFactTemplate> item = New();
  item->AddSlot("s", NewAtom("a"));
  item->AddMultiSlot("m", FCNilList);
  const Ref<IKBValue> list = NewList(NewVector());
  list->GetAsList()->Add(NewInteger(1));
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { item->AddSlot("x", nullptr); }, "Bad Slot Type"},
      {[&] { item->AddSlot("x", list); }, "Invalid default slot value: 1 "},
      {[&] { item->AddSlot("m", NewAtom("a")); },
       "Invalid value for existing slot, multislot is not slot"},
      {[&] { item->AddMultiSlot("x", NewAtom("a")); },
       "Invalid default value for a multislot, must be a multifield: a"},
      {[&] { item->AddMultiSlot("  ", list); }, "Bad Slot Name:   "},
      {[&] { item->AddMultiSlot("s", list); },
       "Invalid value for existing slot, slot is not multislot"},
      {[&] { item->GetSlot("x"); }, "No such slot name: \"x\""},
      {[&] { item->SetSlot("m", item->GetSlot("s")); },
       "Index does not match fact slot name: m and s"},
  };
  for (const auto& [operation, message] : rows) EXPECT_EQ(FailureOf(operation), message);
  item->AddSlot("s", NewAtom("b"));
  EXPECT_EQ(item->GetSlot("s")->GetSlotDefault()->ToString(), "b") << "a known slot: its default";
  EXPECT_EQ(item->GetSlotCount(), 2);
}

TEST_F(FactTemplateTest, ANewTypeGivesADefaultThatFits) {
  const Ref<IFactTemplate> item = New();
  item->AddSlot("s", NewAtom("abc"));
  const Ref<IFactSlot> slot = item->GetSlot("s");
  slot->SetSlotType({dtInteger});
  EXPECT_TRUE(slot->GetSlotDefault()->Equals(*NewInteger(0)));
  slot->SetSlotType({dtFloat, dtInteger});
  EXPECT_TRUE(slot->GetSlotDefault()->Equals(*NewInteger(0))) << "one that still fits stays";
  EXPECT_EQ(FailureOf([&] {
              slot->SetSlotType({dtFuzzy, dtAtom});
            }),
            "Cannot mix fuzzy type with other primitive types");
  EXPECT_EQ(slot->GetSlotType(), (TKBTypes{dtFloat, dtInteger}));
  EXPECT_FALSE(item->IsFuzzy());
  slot->SetSlotType({dtFuzzy, dtList, dtMultiSlot});
  EXPECT_TRUE(item->IsFuzzy());
  slot->SetSlotType({dtAtom, dtInteger});
  EXPECT_FALSE(item->IsFuzzy()) << "the template looks again after a change";
}

TEST_F(FactTemplateTest, ValidityFollowsTheSlotsTypes) {
  const Ref<IFactTemplate> item = New();
  const Ref<IFactSlot> number = NewSlot(*item, "n", {dtInteger});
  const Ref<IFactSlot> list = NewSlot(*item, "l", {dtInteger, dtList, dtMultiSlot});
  const Ref<IKBValue> mixed = NewList(NewVector());
  mixed->GetAsList()->Add(NewInteger(1));
  mixed->GetAsList()->Add(Make<TKBValue>(Text("x"), dtVariable));
  mixed->GetAsList()->Add(Function("f"));
  const Ref<IKBValue> wrong = NewList(NewVector());
  wrong->GetAsList()->Add(NewAtom("a"));
  EXPECT_TRUE(number->IsValid(FCNil.get()));
  EXPECT_TRUE(number->IsValid(FCNil->Clone().get()));
  EXPECT_FALSE(number->IsValid(NewAtom("").get())) << "another empty atom is no nil";
  EXPECT_TRUE(list->IsValid(mixed.get()));
  EXPECT_FALSE(list->IsValid(FCNil.get()));
  EXPECT_FALSE(list->IsValid(wrong.get()));
  EXPECT_EQ(number->GetInvalidValueString(*NewAtom("a")),
            "Not a INTEGER type.  Value (a) is a dtAtom type for n slot");
  EXPECT_EQ(list->GetInvalidValueString(*wrong),
            "Not a INTEGER, LIST, MULTISLOT type.  Value (a ) is a dtAtom (a) type for l slot");
  EXPECT_EQ(list->GetInvalidValueString(*mixed), "");
}

TEST_F(FactTemplateTest, DefaultsAreCheckedOnlyWithDynamicChecks) {
  const Ref<IFactTemplate> item = New();
  const Ref<IFactSlot> slot = NewSlot(*item, "n", {dtInteger});
  slot->SetSlotDefault(NewAtom("a"));
  slot->SetSlotDefault(NewInteger(1));
  engine.SetTypeChecks({tcDynamic});
  EXPECT_EQ(FailureOf([&] { slot->SetSlotDefault(NewAtom("a")); }),
            "Invalid default slot value: a");
  EXPECT_EQ(slot->GetSlotDefault()->ToString(), "1");
  EXPECT_EQ(FailureOf([&] { slot->GetSlotDefault()->SetAsAtom("b"); }),
            "Value \"b\" is not valid, n");
  EXPECT_EQ(slot->GetSlotDefault()->ToString(), "b") << "the cell's own change is in";
  const Ref<IKBValue> old = slot->GetSlotDefault();
  slot->SetSlotDefault(NewInteger(2));
  old->SetAsAtom("free");
  EXPECT_EQ(old->GetOnChange(), nullptr);
}

TEST_F(FactTemplateTest, FactsTakeCopiesOfTheDefaultsAndDynamicOnesAreEvaluatedEachTime) {
  Load("(deftemplate item (slot id (default-dynamic (gensym*))) (multislot tags (default a b)))");
  const Ref<IFactTemplate> item = engine.FindFactTemplate("item");
  const Ref<IFact> first = item->NewFact();
  const Ref<IFact> second = item->NewFact();
  EXPECT_NE(first->GetValue("id")->ToString(), second->GetValue("id")->ToString());
  first->GetValue("tags")->GetAsList()->Add(NewAtom("c"));
  EXPECT_EQ(second->GetValue("tags")->ToString(), "a b ");
  EXPECT_EQ(item->NewFact()->GetValue("tags")->ToString(), "a b ");
  const Ref<IFact> other = New("other")->NewFact();
  EXPECT_EQ(FailureOf([&] { item->FillFactWithDefaults(*other); }),
            "Unable to assign slot values, fact templates are different: other and item");
  EXPECT_EQ(FailureOf([&] { item->FillFactWithDefaults(*Make<TFact>(nullptr)); }),
            "Fact Template is missing");
}

TEST_F(FactTemplateTest, ARegisteredTemplateMovesWithItsNameAndLosesItsFactsAndRules) {
  Load("(deftemplate item (slot a)) (defrule r (item (a ?x)) =>) (assert (item (a 1)))");
  const Ref<IFactTemplate> item = engine.FindFactTemplate("item");
  EXPECT_EQ(FailureOf([&] { item->SetTemplateName("Initial-Fact"); }),
            "Fact Template Name already exists: \"Initial-Fact\"");
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
  item->SetTemplateName("thing");
  EXPECT_EQ(engine.FindFactTemplate("thing").get(), item.get());
  EXPECT_EQ(engine.FindFactTemplate("item").get(), nullptr);
  EXPECT_EQ(engine.GetFacts().GetCount(), 1);
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
  EXPECT_EQ(Show("(assert (thing (a 2)))"), "<Fact-2>");
}

}  // namespace
}  // namespace reasoner
