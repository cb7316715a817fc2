#include <gtest/gtest.h>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class FactFunctionsTest : public EngineTest {
 protected:
  FactFunctionsTest() {
    Load(R"((deftemplate item (slot name) (slot price (type FLOAT)) (multislot tags))
            (deftemplate box (multislot items)))");
  }
  std::string FactText(std::int32_t id) {
    const Ref<IFact> fact = engine.GetFacts().GetFactByID(id);
    return fact ? fact->ToString() : "none";
  }
};

TEST_F(FactFunctionsTest, AssertAnswersTheLastFact) {
  ExpectShown({
      {"(assert (a 1) (b 2))", "<Fact-2>"},
      {"(assert (c 3) (a 1))", "FALSE"},
      {"(assert)", "FALSE"},
      {"(assert-string \"(d 4)\")", "<Fact-4>"},
      {"(assert-string \"(d 4)\")", "<Fact--1>"},
      {"(assert (e (+ 1 2)))", "<Fact-5>"},
  });
  EXPECT_EQ(FactText(5), "(e 3 )");
}

TEST_F(FactFunctionsTest, AssertEvaluatesItsFactAnew) {
  Load("(deffunction note (?x) (assert (noted ?x)))");
  ExpectShown({{"(note 1)", "<Fact-1>"}, {"(note 2)", "<Fact-2>"}, {"(note 1)", "FALSE"}});
}

TEST_F(FactFunctionsTest, Retract) {
  Load("(assert (a) (b) (c) (d))");
  ExpectShown({
      {"(retract 1 3)", "TRUE"},
      {"(retract 99)", "TRUE"},
      {"(retract-string \"(b)\" \"(z)\")", "TRUE"},
  });
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);  // the initial fact and (d)
  ExpectError("(retract a)", "Value (a) is a dtAtom type");
  ExpectShown({{"(retract *)", "TRUE"}});
  EXPECT_EQ(engine.GetFacts().GetCount(), 0);
}

TEST_F(FactFunctionsTest, ModifyChangesSeveralSlotsAndMovesTheFact) {
  Load("(assert (item (name a) (price 1.5) (tags x y)))");
  ExpectShown({{"(modify 1 (name b) (tags (create$ p q) r))", "<Fact-2>"}});
  EXPECT_EQ(FactText(1), "none");
  EXPECT_EQ(FactText(2), "(item (name b) (price 1.5000) (tags p q r ))");
  ExpectShown({{"(modify 2 (tags (create$)))", "<Fact-3>"}});
  EXPECT_EQ(engine.GetFacts().GetFactByID(3)->GetValue("tags")->GetAsList()->GetValueCount(), 0);
  ExpectError("(modify 2 (name c))", "No Such Fact with ID=2 exists");
}

TEST_F(FactFunctionsTest, ModifyTakesThePresentValuesAtEveryCall) {
  Load(R"((deffunction add (?id ?what)
            (bind ?old (get-slot-value ?id items))
            (modify ?id (items ?old ?what)))
          (assert (box)))");
  ExpectShown({{"(add 1 a)", "<Fact-2>"}, {"(add 2 b)", "<Fact-3>"}, {"(add 3 c)", "<Fact-4>"}});
  EXPECT_EQ(FactText(4), "(box (items a b c ))");
}

TEST_F(FactFunctionsTest, AFailingModifyLeavesTheFactWhereItWas) {
  engine.SetTypeChecks({tcStatic, tcDynamic});
  Load(R"((assert (item (name a) (price 1.5)))
          (deffunction drop (?id) (retract ?id) b)
          (deffunction reprice (?id ?price) (modify ?id (name z) (price ?price))))");
  ExpectError("(modify 1 (name b) (price (div 1 0)))", "Division by zero in div function call");
  ExpectError("(reprice 1 cheap)", "price slot");
  EXPECT_EQ(FactText(1), "(item (name a) (price 1.5000))");
  // An integer becomes a float on its way in, and the variable's cell stays what it was.
  Load("(bind ?p 2)");
  ExpectShown({{"(reprice 1 ?p)", "<Fact-2>"}, {"(get-type ?p)", "dtInteger"}});
  EXPECT_EQ(FactText(2), "(item (name z) (price 2.0000))");
  ExpectError("(modify 2 (name (drop 2)))", "No Such Fact with ID=2 exists");
}

TEST_F(FactFunctionsTest, ModifiedFactsShareNoCells) {
  Load("(assert (item (name a)) (item (name b)))");
  Load("(bind ?list (create$ 1 2))");
  Load("(modify 1 (tags ?list)) (modify 2 (tags ?list))");
  TFacts& facts = engine.GetFacts();
  const Ref<IKBValue> first = facts.GetFactByID(3)->GetValue("tags");
  const Ref<IKBValue> second = facts.GetFactByID(4)->GetValue("tags");
  EXPECT_NE(first.get(), second.get());
  EXPECT_NE(first->GetAsList(), second->GetAsList());
  EXPECT_NE(first->GetAsList(), engine.GetContext().GetVariable(Text("list"))->GetAsList());
}

TEST_F(FactFunctionsTest, Duplicate) {
  Load("(assert (item (name a) (tags x)))");
  ExpectShown({
      {"(duplicate 1 (name b) (tags (create$ y z) w))", "<Fact-2>"},
      {"(duplicate 1 (name a))", "<Fact--1>"},
  });
  EXPECT_EQ(FactText(1), "(item (name a) (price 0.0000) (tags x ))");
  EXPECT_EQ(FactText(2), "(item (name b) (price 0.0000) (tags y z w ))");
  ExpectError("(duplicate 9 (name b))", "No Such Fact with ID=9 exists");
}

TEST_F(FactFunctionsTest, GetSlotValueGivesACopy) {
  Load("(assert (item (name a) (tags x y)) (plain p q))");
  ExpectShown({
      {"(get-slot-value 1 name)", "a"},
      {"(get-slot-value 1 tags)", "x y "},
      {"(get-slot-value 2)", "p q "},
  });
  const Ref<IKBValue> copy = engine.ParseNExecuteFunCall("(get-slot-value 1 tags)");
  copy->GetAsList()->Clear();
  ExpectShown({{"(get-slot-value 1 tags)", "x y "}});
  ExpectError("(get-slot-value 77 name)", "No Such Fact with ID=77 exists");
  ExpectError("(get-slot-value a name)",
              "Invalid argument type for deffunction: \"dtAtom\".  Expected FactId, Fact");
  ExpectError("(get-slot-value 1 nothing)", "No such slot name: \"nothing\"");
}

TEST_F(FactFunctionsTest, FactDuplicationIsTheOppositeOfTheProperty) {
  ASSERT_FALSE(engine.GetFactDuplication());
  ExpectShown({
      {"(get-fact-duplication)", "TRUE"},
      {"(set-fact-duplication FALSE)", "TRUE"},
      {"(get-fact-duplication)", "FALSE"},
  });
  EXPECT_TRUE(engine.GetFactDuplication());
  ExpectShown({
      {"(assert (a) (a))", "<Fact-2>"},
      {"(set-fact-duplication nil)", "FALSE"},
      {"(get-fact-duplication)", "TRUE"},
  });
}

}  // namespace
}  // namespace reasoner
