// Fuzzy values in cells and facts: comparing, matching with degrees, weakening, combining.

#include <gtest/gtest.h>

#include "reasoner/facts/Fact.h"
#include "reasoner/facts/FactSlot.h"
#include "reasoner/facts/FactTemplate.h"
#include "reasoner/fuzzy/FuzzyInference.h"
#include "reasoner/fuzzy/FuzzyMatch.h"
#include "reasoner/support/membership/FuzzyText.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/values/ValueVector.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class FuzzyInferenceTest : public ::testing::Test {
 protected:
  FuzzyInferenceTest() {
    variable->SetUniverse(0, 10);
    variable->AddAutoTerms();
  }

  Ref<IKBValue> Fuzzy(std::string_view shape) {
    Ref<IFuzzySet> set = Make<TKBFuzzySet>(variable.get());
    EXPECT_TRUE(ReadShape(shape, *set)) << shape;
    return NewFuzzy(set);
  }
  Ref<IKBValue> Term(std::string_view name) { return NewFuzzy(variable->FindFuzzySet(name)); }
  static Ref<IKBValue> List(std::initializer_list<Ref<IKBValue>> members) {
    const Ref<IValueVector> list = NewVector();
    for (const Ref<IKBValue>& member : members) list->Add(member);
    return NewList(list);
  }

  Ref<IFuzzyVariable> variable = Make<TKBFuzzyVariable>("v");
};

TEST_F(FuzzyInferenceTest, CellsReadAndCompare) {
  const Ref<IKBValue> medium = Term("medium");
  EXPECT_EQ(medium->ToString(), "medium");
  EXPECT_EQ(medium->GetAsString(), "medium");
  EXPECT_EQ(medium->GetAsNumeric(), 5);
  EXPECT_EQ(Fuzzy("(tri 1 1.5 2)")->GetAsInteger(), 2) << "halves go to even";
  EXPECT_EQ(Fuzzy("(tri 2 2.5 3)")->GetAsInteger(), 2);
  EXPECT_EQ(medium->GetHashCode(), NewAtom("medium")->GetHashCode());
  EXPECT_EQ(medium->Clone()->GetAsFuzzy(), medium->GetAsFuzzy());
  EXPECT_EQ(FailureOf([] { NewFuzzy(nullptr); }), "invalid fuzzy value");
  EXPECT_EQ(FailureOf([] { NewInteger(3)->GetAsFuzzy(); }),
            "Not a fuzzy value type.  Value (3) is a dtInteger type");

  const struct {
    Ref<IKBValue> other;
    bool equal;
    float degree;
  } rows[] = {
      {NewInteger(5), true, 1},          {NewFloat(7.5), true, 0.5f},
      {NewInteger(10), false, 0},        {NewFloat(0.04), false, 0.008f},
      {Fuzzy("7.5"), true, 0.5f},        {Fuzzy("(tri 10 11 12)"), false, 0},
      {NewAtom("medium"), false, 0},     {NewString("5"), false, 0},
      {Ref<IKBValue>(FCNil), false, 0},  {NewFactId(5), false, 0},
      {List({NewInteger(5)}), false, 0},
  };
  for (const auto& row : rows) {
    const std::string text = row.other->ToString();
    EXPECT_EQ(medium->Equals(*row.other), row.equal) << text;
    EXPECT_EQ(row.other->Equals(*medium), row.equal) << text << " first";
    EXPECT_EQ(medium->EqualsStar(*row.other), row.equal) << text;
    EXPECT_EQ(row.other->EqualsStar(*medium), row.equal) << text << " first";
    EXPECT_FLOAT_EQ(FuzzyValueDegree(*medium->GetAsFuzzy(), *row.other), row.degree) << text;
    const FuzzyMatch plain = MatchFuzzy(*row.other, *medium, false);
    const FuzzyMatch negated = MatchFuzzy(*medium, *row.other, true);
    EXPECT_EQ(plain.passed, row.equal) << text;
    EXPECT_NE(negated.passed, row.equal) << text;
    EXPECT_FLOAT_EQ(plain.degree, row.equal ? row.degree : 0) << text;
    EXPECT_FLOAT_EQ(negated.degree, row.equal ? 0 : 1 - row.degree) << text;
  }
}

TEST_F(FuzzyInferenceTest, PointsBecomeASet) {
  const Ref<ISingletonsVector> points = Make<TSingletonsVector>();
  points->Add(NewInteger(4), NewFloat(0));
  points->Add(NewInteger(2), NewFloat(0.5));
  Ref<IKBValue> cell = Make<TKBValue>();
  cell->SetAsSingletons(points);
  const Ref<IKBValue> fuzzy = cell->Resolve(nullptr);
  EXPECT_EQ(fuzzy->ToString(), "((2.0000 0.5000) (4.0000 0.0000) )");
  points->Add(Make<TKBValue>("x", dtVariable), NewFloat(1));
  EXPECT_EQ(FailureOf([&] { cell->Resolve(nullptr); }),
            "No context found when trying to resolve a dtVariable value");
  EXPECT_EQ(FuzzySetOfNumber(variable.get(), *NewInteger(5))->ToString(), "5");
}

TEST_F(FuzzyInferenceTest, WeakeningLeavesWhatWasShared) {
  const Ref<IKBValue> high = Term("high");
  const Ref<IKBValue> least = WeakenValue(high, fcmMinimum, 0.6);
  EXPECT_EQ(least->ToString(), "((0.0000 0.0000) (6.0000 0.6000) (10.0000 0.6000) )");
  const Ref<IKBValue> scaled = WeakenValue(high, fcmProduct, 0.6);
  EXPECT_EQ(scaled->ToString(), "((0.0000 0.0000) (10.0000 0.6000) )");
  EXPECT_EQ(high->GetAsFuzzy()->GetYValue(1), 1);
  EXPECT_EQ(scaled->GetAsFuzzy()->GetVariable(), variable.get());
  const Ref<IKBValue> list = List({high, nullptr});
  const Ref<IKBValue> weak = WeakenValue(list, fcmProduct, 0.6);
  EXPECT_EQ(weak->GetAsList()->First()->ToString(), scaled->ToString());
  EXPECT_EQ(list->GetAsList()->First(), high);
  const Ref<IKBValue> number = NewInteger(3);
  EXPECT_EQ(WeakenValue(number, fcmMinimum, 0.5), number);
}

TEST_F(FuzzyInferenceTest, FactsAreCombinedWholeOrNotAtAll) {
  const auto make_template = [](std::string_view name) {
    Ref<IFactTemplate> made = Make<TFactTemplate>(nullptr, name);
    for (const char* slot : {"b", "a", "plain"}) {
      made->AddSlot(slot, NewAtom("x"));
      if (std::string_view(slot) != "plain") made->GetSlot(slot)->SetSlotType({dtFuzzy});
    }
    return made;
  };
  const Ref<IFactTemplate> fuzzy_template = make_template("t");
  const auto fact_of = [&](const Ref<IKBValue>& a, const Ref<IKBValue>& b) {
    Ref<IFact> fact = Make<TFact>(fuzzy_template);
    fact->PutValueAt(fuzzy_template->OrdinalOf("a"), a);
    fact->PutValueAt(fuzzy_template->OrdinalOf("b"), b);
    fact->PutValueAt(fuzzy_template->OrdinalOf("plain"), NewInteger(1));
    return fact;
  };
  const Ref<IFact> fact1 = fact_of(Term("low"), List({Term("low"), Term("high")}));
  const Ref<IFact> fact2 = fact_of(Term("high"), List({Term("low"), Term("low")}));
  CombineFacts(*fact1, *fact2, foZadeh, true);
  EXPECT_EQ(fact1->GetValue("a")->ToString(),
            "((0.0000 1.0000) (5.0000 0.5000) (10.0000 1.0000) )");
  EXPECT_EQ(fact1->GetValue("b")->GetAsList()->First()->ToString(), "low") << "with itself";
  EXPECT_EQ(fact2->GetValue("a")->ToString(), "high");
  CombineFacts(*fact1, *fact2, foZadeh, false);
  EXPECT_EQ(fact1->GetValue("a")->ToString(), "((0.0000 0.0000) (10.0000 1.0000) )");

  // Of different types and lengths: the first stays. What is no fuzzy value raises, and then no
  // slot has changed.
  const Ref<IFact> other = fact_of(NewInteger(3), List({Term("low")}));
  const Ref<IKBValue> before = fact2->GetValue("a");
  CombineFacts(*fact2, *other, foSum, true);
  EXPECT_EQ(fact2->GetValue("a"), before);
  const Ref<IFact> wrong = fact_of(Term("low"), NewInteger(3));
  const Ref<IFact> also_wrong = fact_of(Term("high"), NewInteger(4));
  EXPECT_EQ(FailureOf([&] { CombineFacts(*wrong, *also_wrong, foZadeh, true); }),
            "Not a fuzzy value type.  Value (3) is a dtInteger type");
  EXPECT_EQ(wrong->GetValue("a")->ToString(), "low");

  WeakenFact(*fact2, fcmMinimum, 0.25);
  EXPECT_EQ(fact2->GetValue("a")->GetAsFuzzy()->GetFunction().Height({0, 10}), 0.25);
  EXPECT_EQ(fact2->GetValue("plain")->ToString(), "1");
  const Ref<IFact> plain = Make<TFact>(Ref<IFactTemplate>(Make<TFactTemplate>(nullptr, "p")));
  EXPECT_EQ(FailureOf([&] { WeakenFact(*plain, fcmMinimum, 0.5); }), "Fact is not a fuzzy fact");
  EXPECT_EQ(FailureOf([&] { CombineFacts(*plain, *plain, foZadeh, true); }),
            "Fact is not a fuzzy fact");
  EXPECT_EQ(FailureOf([&] { CombineFacts(*plain, *wrong, foZadeh, false); }),
            "Cannot union two facts with different fact templates: p and t");
}

}  // namespace
}  // namespace reasoner
