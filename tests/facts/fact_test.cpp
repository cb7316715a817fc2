#include "reasoner/facts/Fact.h"

#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class FactTest : public EngineTest {
 protected:
  FactTest() {
    Load(R"((deftemplate item (slot name) (slot price (type FLOAT)) (multislot tags))
            (deftemplate twin (slot name) (slot price (type FLOAT)) (multislot tags)))");
    item = engine.FindFactTemplate("item");
  }

  Ref<IFact> Parsed(const std::string& text) { return engine.ParseFact(text); }
  static std::string Filled(const IFact& fact) {
    std::string names;
    for (const Text& name : fact.GetSlotNames()) names += name.str() + " ";
    return names;
  }

  Ref<IFactTemplate> item;
};

TEST_F(FactTest, SlotsAreFilledWhenTheyAreRead) {
  const Ref<IFact> fact = Make<TFact>(item);
  EXPECT_EQ(Filled(*fact), "");
  EXPECT_EQ(fact->GetValue("price")->ToString(), "0.0000");
  EXPECT_EQ(Filled(*fact), "price ");
  EXPECT_EQ(FailureOf([&] { fact->GetValue("colour"); }), "No such slot name: \"colour\"");
  EXPECT_TRUE(fact->Equals(*Make<TFact>(item)));
  fact->GetHashCode();
  EXPECT_EQ(Filled(*fact), "price ") << "comparing and hashing store nothing";
  fact->GetValue("tags")->GetAsList()->Add(NewAtom("x"));
  EXPECT_EQ(item->GetSlot("tags")->GetSlotDefault()->ToString(), "") << "a default is copied out";
}

TEST_F(FactTest, DynamicChecksConvertAnIntegerInTheCallersCellAndRefuseTheRest) {
  engine.SetTypeChecks({tcDynamic});
  const Ref<IFact> fact = item->NewFact();
  const Ref<IKBValue> three = NewInteger(3);
  fact->SetValue("price", three);
  EXPECT_TRUE(three->Equals(*NewFloat(3)));
  EXPECT_EQ(FailureOf([&] { fact->SetValue("price", NewAtom("dear")); }),
            "Not a FLOAT type.  Value (dear) is a dtAtom type for price slot");
  EXPECT_EQ(fact->GetValue("price").get(), three.get());
  fact->SetValue("price", FCNil);
  fact->SetValue("price", FCNil->Clone());
  EXPECT_EQ(FailureOf([&] { fact->SetValue("price", NewAtom("")); }),
            "Not a FLOAT type.  Value () is a dtAtom type for price slot");
}

TEST_F(FactTest, EqualityIsStrictAndOfOneTemplateAndIgnoresIds) {
  const Ref<IFact> fact = Parsed("(item (name a) (tags 1 x))");
  const Ref<IFact> same = Parsed("(item (tags 1 x) (name a))");
  same->SetID(77);
  EXPECT_TRUE(fact->Equals(*same));
  EXPECT_EQ(fact->GetHashCode(), same->GetHashCode());
  for (const char* text : {"(item (name b) (tags 1 x))", "(item (name \"a\") (tags 1 x))",
                           "(item (name a) (tags x 1))", "(item (name a) (tags 1.0 x))",
                           "(item (name a) (tags 1 x x))", "(twin (name a) (tags 1 x))"}) {
    EXPECT_FALSE(fact->Equals(*Parsed(text))) << text;
  }
  item->GetSlot("price")->SetSlotType({dtFuzzy});
  const Ref<IFact> cold = item->NewFact();
  const Ref<IFact> warm = item->NewFact();
  warm->SetValue("price", NewAtom("warm"));
  EXPECT_TRUE(cold->Equals(*warm)) << "fuzzy slots take no part";
  EXPECT_NE(cold->GetHashCode(), warm->GetHashCode()) << "but in the hash they do";
}

TEST_F(FactTest, AnotherTemplateKeepsTheSlotsThatBothHave) {
  Load("(deftemplate other (slot name) (slot weight (default 5)))");
  const Ref<IFact> fact = Parsed("(item (name a) (price 2.5))");
  const Ref<IKBValue> name = fact->GetValue("name");
  fact->SetTemplate(engine.FindFactTemplate("other"));
  EXPECT_EQ(fact->GetValue("name").get(), name.get());
  EXPECT_EQ(fact->ToString(), "(other (name a) (weight 5))");
  fact->SetTemplate(item);
  EXPECT_EQ(fact->ToString(), "(item (name a) (price 0.0000))");
  fact->SetTemplate(nullptr);
  EXPECT_EQ(Filled(*fact), "");
}

TEST_F(FactTest, ACloneHasCellsAndListsOfItsOwnAndTheSameId) {
  const Ref<IFact> fact = Parsed("(item (name a) (tags x))");
  fact->SetID(4);
  const Ref<IFact> clone = fact->Clone();
  clone->GetValue("name")->SetAsAtom("b");
  clone->GetValue("tags")->GetAsList()->Add(NewAtom("y"));
  EXPECT_EQ(fact->ToString(), "(item (name a) (price 0.0000) (tags x ))");
  EXPECT_EQ(clone->GetID(), 4);
  const Ref<IFact> target = item->NewFact();
  target->AssignValues(*clone);
  EXPECT_EQ(target->ToString(), "(item (name b) (price 0.0000) (tags x y ))");
  EXPECT_EQ(FailureOf([&] { target->AssignValues(*Parsed("(twin (name z))")); }),
            "Unable to assign slot values, fact templates are different: item and twin");
}

TEST_F(FactTest, ANewFactWithASourceOfAnotherTemplateIsAFactOfThatTemplate) {
  Load("(deftemplate shuffled (slot weight) (slot name))");
  const Ref<IFact> source = Parsed("(item (name a) (price 2.5))");
  const Ref<IFact> made = Make<TFact>(engine.FindFactTemplate("shuffled"), source.get());
  EXPECT_EQ(made->ToString(), source->ToString());
  EXPECT_EQ(Make<TFact>(nullptr, source.get())->ToString(), source->ToString());
}

TEST_F(FactTest, AFactMadeBeforeItsTemplateChangesReadsRightAfterIt) {
  const Ref<IFact> fact = Parsed("(item (name a) (price 2.5) (tags x))");
  item->RemoveSlot("price");
  item->AddSlot("age", NewInteger(9));
  EXPECT_EQ(fact->ToString(), "(item (age 9) (name a) (tags x ))");
  EXPECT_TRUE(fact->Equals(*fact->Clone()));
  item->GetSlot("name")->SetName("zed");
  EXPECT_EQ(fact->GetValue("zed")->ToString(), "a");
  item->ClearSlots();
  EXPECT_EQ(fact->ToString(), "(item)");
}

}  // namespace
}  // namespace reasoner
