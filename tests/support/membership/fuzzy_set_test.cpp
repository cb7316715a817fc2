// Sets and variables: shapes and their text, names, ownership, comparing, pictures.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "reasoner/support/membership/FuzzyPicture.h"
#include "reasoner/support/membership/FuzzyText.h"
#include "reasoner/support/membership/FuzzyVariable.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kHuge = std::numeric_limits<double>::max();

Ref<IFuzzySet> SetOf(std::string_view text) {
  Ref<IFuzzySet> set = Make<TIFuzzySet>();
  EXPECT_TRUE(ReadShape(text, *set)) << text;
  return set;
}

Ref<IFuzzySet> Term(const Ref<IFuzzyVariable>& variable, std::string_view name,
                    std::string_view shape) {
  Ref<IFuzzySet> set = variable->NewFuzzySet(name);
  EXPECT_TRUE(ReadShape(shape, *set)) << shape;
  set->SetTerm(true);
  return set;
}

Ref<IFuzzyVariable> Temperature() {
  auto variable = Make<TIFuzzyVariable>("temperature");
  variable->SetUniverse(0, 100);
  variable->SetUnits("C");
  Term(variable, "cold", "(z 10 30)");
  Term(variable, "hot", "(tri 50 100 100)");
  return variable;
}

class FuzzySetTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(IInterface::LiveObjects(), live_); }

 private:
  std::int64_t live_ = IInterface::LiveObjects();
};

TEST_F(FuzzySetTest, ShapesReadBackTheSame) {
  const std::pair<const char*, const char*> rows[] = {
      {"(tri 1 2 3)", "(tri 1.0000 2.0000 3.0000)"},
      {"(tri 3 1 2)", "(tri 1.0000 2.0000 3.0000)"},
      {"(tri 5 5 5)", "(tri 5.0000 5.0000 5.0000)"},
      {"5", "(tri 5.0000 5.0000 5.0000)"},
      {"(s 1 3)", "(s 1.0000 3.0000)"},
      {"(z 3 1)", "(z 1.0000 3.0000)"},
      {"(s 4 4)", "(s 4.0000 4.0000)"},
      {"(pi 5 2)", "(pi 5.0000 2.0000)"},
      {"(pi 5 -2)", "(pi 5.0000 2.0000)"},
      {"(pi 0.3 0.1)", "(pi 0.3000 0.1000)"},
      {"(pi 3 5 7)", "(pi 5.0000 2.0000)"},
      {"(pi 0.2 0.3 0.4)", "(pi 0.3000 0.1000)"},
      {"(pi 0 5 6)", "(pi 0.0000 5.0000 6.0000)"},
      {"(pi 5 5 6)", "(pi 5.0000 5.0000 6.0000)"},
      {"(pi 5 0)", "(pi 5.0000 0.0000)"},
      {"(beta 100 20)", "(beta 100.0000 20.0000)"},
      {"(beta 100 20 10)", "(beta 100.0000 20.0000)"},
      {"(beta 100 20 5)", "(beta 100.0000 20.0000 5.0000)"},
      {"(beta 100 20 10 3)", "(beta 100.0000 20.0000 10.0000 3.0000)"},
      {"(beta 100 20 0 -3)", "(beta 100.0000 20.0000)"},
      {"(beta 1 0)", "(beta 1.0000 0.0000)"},
      {"(tri 0.12345 1e-300 7)", "(tri 1e-300 0.12345 7.0000)"},
      {"((1 0) (2 0.33333) (2 0) )", "((1.0000 0.0000) (2.0000 0.33333) (2.0000 0.0000) )"},
      {"()", "()"},
      {" ( ( 1 2 ) ) ", "((1.0000 1.0000) )"},
  };
  for (const auto& [text, wanted] : rows) {
    const Ref<IFuzzySet> set = SetOf(text);
    EXPECT_EQ(set->ToSource(), wanted) << text;
    const Ref<IFuzzySet> again = SetOf(set->ToSource());
    EXPECT_TRUE(again->SamePoints(*set)) << text;
    EXPECT_EQ(again->GetType(), set->GetType()) << text;
    EXPECT_EQ(again->ToSource(), set->ToSource()) << text;
  }
  EXPECT_EQ(SetOf("(tri 0.12345 1 2)")->ToString(), "(tri 0.1235 1.0000 2.0000)");
}

TEST_F(FuzzySetTest, WhatIsNoShapeLeavesTheSet) {
  for (const char* text : {"", "(", ")", "(tri 1 2)", "(tri 1 2 3", "(tri 1 2 3) 4", "(tri 1 2 x)",
                           "(beta 1 2 3 4 5)", "(bell 1 2)", "((1 0)", "((1 0 2))", "((1 nan))",
                           "(1 2)", "warm", "5 6", "inf", "((1 0)) x", "(tri 1 2 inf)"}) {
    const Ref<IFuzzySet> set = SetOf("(tri 1 2 3)");
    EXPECT_FALSE(ReadShape(text, *set)) << text;
    EXPECT_EQ(set->GetType(), fstTriangle) << text;
  }
  const Ref<IFuzzySet> set = SetOf("(tri 1 2 3)");
  EXPECT_EQ(FailureOf([&] { set->SetToPi(kHuge, kHuge, kShapePoints); }), "invalid fuzzy value");
  EXPECT_EQ(FailureOf([&] { set->SetToBeta(1, kNaN, 1, kShapePoints); }), "invalid fuzzy value");
  EXPECT_EQ(FailureOf([&] { set->SetToTriangle(0, 1, kInfinity); }), "invalid fuzzy value");
  EXPECT_EQ(FailureOf([&] { set->SetToSCurve(0, 1, 0.5, 2'000'000'000, true); }),
            "invalid fuzzy value");
  EXPECT_EQ(set->ToString(), "(tri 1.0000 2.0000 3.0000)");
}

TEST_F(FuzzySetTest, CurvesFollowTheirFormulas) {
  const double s_values[] = {0, 1.0 / 18, 2.0 / 9, 0.5, 7.0 / 9, 17.0 / 18, 1};
  const Ref<IFuzzySet> s = SetOf("(s 0 6)");
  const Ref<IFuzzySet> z = SetOf("(z 0 6)");
  const Ref<IFuzzySet> pi = SetOf("(pi 0 6 12)");
  ASSERT_EQ(s->GetCount(), 7);
  ASSERT_EQ(pi->GetCount(), 13);
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(s->GetXValue(i), i);
    EXPECT_DOUBLE_EQ(s->GetYValue(i), s_values[i]);
    EXPECT_DOUBLE_EQ(z->GetYValue(i), 1 - s_values[i]);
    EXPECT_DOUBLE_EQ(pi->GetYValue(i), s_values[i]);
    EXPECT_DOUBLE_EQ(pi->GetYValue(12 - i), s_values[i]);
  }
  EXPECT_EQ(s->DegreeOfMembership(1e9), 1) << "held beyond the last point";
  const Ref<IFuzzySet> beta = SetOf("(beta 10 6 2 0.5)");
  ASSERT_EQ(beta->GetCount(), 13);
  for (int i = 0; i < 13; ++i) {
    const double ratio = (i - 6) / 2.0;
    EXPECT_EQ(beta->GetXValue(i), 4 + i);
    EXPECT_DOUBLE_EQ(beta->GetYValue(i), i % 12 == 0 ? 0 : 1 / (1 + 0.5 * ratio * ratio));
  }
  // An inflection off the middle is a curve, but none that a call of the language makes.
  s->SetToSCurve(0, 6, 2, kShapePoints, true);
  EXPECT_DOUBLE_EQ(s->DegreeOfMembership(2), 0.5);
  EXPECT_EQ(s->ToString().substr(0, 2), "((");
  // Between the greatest numbers.
  s->SetToSCurve(-kHuge, kHuge, 0, kShapePoints, true);
  EXPECT_DOUBLE_EQ(s->DegreeOfMembership(0), 0.5);
  EXPECT_EQ(s->ToSource(), SetOf(s->ToSource())->ToSource());
}

TEST_F(FuzzySetTest, ComparingByOverlap) {
  const auto variable = Temperature();
  const Ref<IFuzzySet> warm = Term(variable, "warm", "((20 0) (50 0.5) (80 0))");
  const Ref<IFuzzySet> number = Make<TIFuzzySet>(variable.get(), "50");
  number->SetToTriangle(50, 50, 50);
  EXPECT_TRUE(warm->Equals(*number));
  EXPECT_TRUE(warm->EqualsNumber(50));
  EXPECT_EQ(warm->FuzzyEquals(*number), 0.5f);
  EXPECT_EQ(warm->GetRunningMaximum(), 0.5);
  variable->SetThreshold(0.5);
  EXPECT_FALSE(warm->Equals(*number)) << "at the threshold is not above it";
  EXPECT_FALSE(warm->EqualsNumber(50));
  EXPECT_EQ(warm->FuzzyEquals(*number), 0.5f);
  variable->SetThreshold(0);
  EXPECT_FALSE(warm->Equals(*SetOf("()")));
  EXPECT_FALSE(warm->Equals(*variable));
  EXPECT_EQ(warm->FuzzyEquals(*variable), 0);
  EXPECT_TRUE(warm->Equals(*warm));
  // A set without variable takes the other's threshold.
  variable->SetThreshold(0.9);
  EXPECT_FALSE(SetOf("(tri 49 50 51)")->Equals(*warm));
  EXPECT_TRUE(SetOf("(tri 49 50 51)")->Equals(*SetOf("(tri 50 51 52)")));
  bool stopped = warm->Iterate(*number, [&](double x1, double y1, double x2, double y2) {
    return warm->FuzzyOperatorMinThreshold(x1, y1, x2, y2);
  });
  EXPECT_FALSE(stopped);
}

TEST_F(FuzzySetTest, NumbersOutOfASet) {
  const auto variable = Temperature();
  const Ref<IFuzzySet> set = Term(variable, "held", "((0 0) (50 1))");
  EXPECT_TRUE(set->IsUndecidable()) << "never defuzzified";
  EXPECT_NEAR(set->GetCrisp(), 4583.3333333333333 / 75, 1e-9);
  EXPECT_TRUE(set->IsUndecidable()) << "the crisp number leaves the mark";
  EXPECT_EQ(set->GetCentreOfGravity(), set->GetCrisp());
  EXPECT_FALSE(set->IsUndecidable());
  EXPECT_TRUE(set->Clone()->IsUndecidable());
  EXPECT_EQ(set->GetMeanOfMaxima(), 75);
  EXPECT_EQ(set->GetCompatibilityIndex(), 1);
  variable->SetUniverse(0, 50);
  EXPECT_NEAR(set->GetCrisp(), 100.0 / 3, 1e-9) << "the universe bounds what is weighed";
  set->AddPoint(50, 0);
  EXPECT_TRUE(set->IsUndecidable());
  const Ref<IFuzzySet> empty = variable->GetEmptySet();
  EXPECT_EQ(empty->GetCentreOfGravity(), 25);
  EXPECT_TRUE(empty->IsUndecidable());
  EXPECT_EQ(empty->GetCompatibilityIndex(), 0);
}

TEST_F(FuzzySetTest, NamesAndExpressions) {
  const auto variable = Temperature();
  const IFuzzySet& hot = *variable->FindFuzzySet("hot");
  const IFuzzySet& cold = *variable->FindFuzzySet("cold");
  EXPECT_EQ(hot.ToString(), "hot");
  const Ref<IFuzzySet> very = hot.Clone();
  EXPECT_EQ(very->ToString(), "hot");
  EXPECT_FALSE(very->IsTerm());
  very->Hedge(fhVery);
  EXPECT_EQ(very->ToString().substr(0, 18), "((50.0000 0.0000) ");
  very->SetExpression(HedgedText("very", hot), false);
  const Ref<IFuzzySet> either = very->Union(cold, foZadeh);
  EXPECT_EQ(either->GetVariable(), variable.get());
  either->SetExpression(JoinedText(*very, "or", cold), true);
  EXPECT_EQ(either->ToString(), "very hot or cold");
  EXPECT_EQ(HedgedText("not", *either), "not [very hot or cold]");
  EXPECT_EQ(JoinedText(*either, "and", *either), "very hot or cold and [very hot or cold]");
  EXPECT_EQ(hot.ToString(), "hot") << "the term is as it was";
  EXPECT_EQ(hot.GetCount(), 3);

  // A term keeps the expression behind its name, and changed points forget it.
  either->SetName("odd");
  either->SetTerm(true);
  variable->Add(either);
  EXPECT_EQ(FuzzySetText(*either, true), "(term odd very hot or cold)");
  EXPECT_EQ(HedgedText("not", *either), "not odd");
  either->AddPoint(200, 0);
  EXPECT_EQ(FuzzySetText(*either, true).substr(0, 11), "(term odd (");
  either->SetExpression(std::string(201, 'x'), true);
  EXPECT_EQ(either->GetExpression(), "");

  // A number's name shows four decimals, its source all of them.
  const Ref<IFuzzySet> third = Make<TIFuzzySet>(variable.get(), "0.3333");
  third->SetToTriangle(1.0 / 3, 1.0 / 3, 1.0 / 3);
  EXPECT_EQ(third->ToString(), "0.3333");
  EXPECT_EQ(third->ToSource(), "0.3333333333333333");
  const Ref<IFuzzySet> five = Make<TIFuzzySet>(variable.get(), "5");
  five->SetToTriangle(5, 5, 5);
  EXPECT_EQ(five->ToSource(), "5");

  // A set meets itself as itself.
  EXPECT_EQ(hot.Union(*hot.Clone(), foMean)->ToString(), "hot");
  EXPECT_NE(hot.Union(hot, foSum)->ToString(), "hot");
  EXPECT_EQ(hot.GetHashCode(), hot.Clone()->GetHashCode());
}

TEST_F(FuzzySetTest, UpdatesNestAndPutPointsInAtTheEnd) {
  const Ref<IFuzzySet> set = Make<TIFuzzySet>();
  set->BeginUpdate();
  set->BeginUpdate();
  set->AddPoint(2, 1);
  set->AddPoint(1, 0);
  EXPECT_EQ(FailureOf([&] { set->AddPoint(kNaN, 0); }), "invalid fuzzy value");
  set->EndUpdate();
  EXPECT_EQ(set->GetCount(), 0);
  set->EndUpdate();
  set->EndUpdate();
  EXPECT_EQ(set->ToString(), "((1.0000 0.0000) (2.0000 1.0000) )");
  EXPECT_EQ(FailureOf([&] { set->GetXValue(2); }), "invalid fuzzy value");
  EXPECT_EQ(FailureOf([&] { set->GetYValue(-1); }), "invalid fuzzy value");
}

TEST_F(FuzzySetTest, AVariableHoldsItsSetsAndOutlivesNone) {
  auto variable = Temperature();
  const Ref<IFuzzySet> hot = variable->FindFuzzySet("hot");
  EXPECT_EQ(variable->FindFuzzySet("Hot"), nullptr);
  EXPECT_EQ(variable->GetEmptySet(), variable->GetEmptySet());
  EXPECT_EQ(variable->GetSetCount(), 3);

  // Replacing keeps the place; the set that had it is free.
  const Ref<IFuzzySet> cold = variable->FindFuzzySet("cold");
  Term(variable, "cold", "(z 0 20)");
  EXPECT_EQ(variable->GetSet(0)->GetHighestX(), 20);
  EXPECT_EQ(variable->GetSetCount(), 3);
  cold->SetName("cool");
  variable->Add(cold);
  EXPECT_EQ(variable->FindFuzzySet("cool"), cold.get());

  EXPECT_EQ(FailureOf([&] { hot->SetName("cool"); }), "fuzzy set is already defined: cool");
  hot->SetName("warm");
  EXPECT_EQ(variable->FindFuzzySet("hot"), nullptr);
  EXPECT_EQ(variable->FindFuzzySet("warm"), hot.get());

  const auto other = Make<TIFuzzyVariable>("other");
  EXPECT_EQ(FailureOf([&] { hot->SetVariable(other.get()); }),
            "fuzzy set belongs to a variable: warm");
  const Ref<IFuzzySet> copy = other->Add(hot);
  EXPECT_NE(copy, hot) << "a set stays where it is";
  EXPECT_EQ(hot->GetVariable(), variable.get());

  const auto clone = variable->Clone();
  EXPECT_TRUE(clone->Equals(*variable));
  EXPECT_EQ(clone->GetHashCode(), variable->GetHashCode());
  EXPECT_EQ(clone->ToString(), variable->ToString());
  EXPECT_EQ(clone->FindFuzzySet("warm")->GetVariable(), clone.get());
  clone->FindFuzzySet("warm")->AddPoint(60, 1);
  EXPECT_FALSE(clone->Equals(*variable));

  variable = nullptr;
  EXPECT_EQ(hot->GetVariable(), nullptr);
  EXPECT_EQ(hot->ToString(), "warm");
  hot->SetVariable(other.get());
  EXPECT_EQ(hot->GetVariable(), other.get());
}

TEST_F(FuzzySetTest, AVariableAsText) {
  const auto variable = Temperature();
  variable->SetUnits("deg \"C\"");
  variable->AddAutoTerms();
  variable->GetEmptySet();
  EXPECT_EQ(variable->ToString(),
            "   (range 0.0000 100.0000)\n"
            "   (units \"deg \\\"C\\\"\")\n"
            "   (values \n"
            "      (term cold (z 10.0000 30.0000))\n"
            "      (term hot (tri 50.0000 100.0000 100.0000))\n"
            "      (term low ((0.0000 1.0000) (100.0000 0.0000) ))\n"
            "      (term medium (tri 0.0000 50.0000 100.0000))\n"
            "      (term high ((0.0000 0.0000) (100.0000 1.0000) ))\n"
            "   )");
  EXPECT_EQ(variable->EvalFuzzyExpression("hot").get(), variable->FindFuzzySet("hot"));
  EXPECT_EQ(variable->EvalFuzzyExpression("7")->GetCrisp(), 7);
  EXPECT_EQ(FailureOf([&] { variable->EvalFuzzyExpression("tepid"); }), "invalid fuzzy value");
  EXPECT_EQ(FailureOf([&] { variable->SetUniverse(0, kInfinity); }), "invalid fuzzy value");
}

TEST_F(FuzzySetTest, WordsAreExact) {
  TFuzzyHedge hedge{};
  EXPECT_TRUE(IsFuzzyHedge("more-or-less", hedge));
  EXPECT_EQ(hedge, fhMoreOrLess);
  EXPECT_FALSE(IsFuzzyHedge("Very", hedge));
  EXPECT_EQ(hedge, fhMoreOrLess) << "a failed look-up leaves it alone";
  TBaseFuzzyHedge base{};
  bool flag = true;
  EXPECT_TRUE(IsFuzzyHedgeOperator("at-least", base, flag));
  EXPECT_EQ(base, bhLimit);
  EXPECT_FALSE(flag);
  bool is_union = true;
  TFuzzyOperation operation{};
  EXPECT_TRUE(IsFuzzyKeyword("and-mean-sqrt", is_union, operation));
  EXPECT_FALSE(is_union);
  EXPECT_EQ(operation, foMeanSqrt);
  EXPECT_TRUE(IsFuzzyKeyword("or", is_union, operation));
  EXPECT_TRUE(is_union);
  EXPECT_EQ(operation, foZadeh);
  for (const char* text : {"or-", "orzadeh", "and-Mean", "", "order", "-or"}) {
    EXPECT_FALSE(IsFuzzyKeyword(text)) << text;
  }
  EXPECT_EQ(OperationOf(fimSum), foSum);
  EXPECT_EQ(OperationOf(fimMean), foMean);
  EXPECT_EQ(OperationOf(static_cast<TFuzzyInferenceMethod>(99)), foZadeh);
  EXPECT_EQ(HedgeOf(fcmProduct), 2);
  EXPECT_EQ(HedgeOf(fcmMinimum), 7);
}

// Whether every tag is closed in order, and no bare ampersand stands in the text.
bool IsWellFormed(const std::string& xml) {
  std::vector<std::string> open;
  for (std::size_t at = xml.find('<'); at != std::string::npos; at = xml.find('<', at + 1)) {
    const std::size_t end = xml.find('>', at);
    if (end == std::string::npos || xml.find('<', at + 1) < end) return false;
    const std::string tag = xml.substr(at + 1, end - at - 1);
    if (tag.front() == '/') {
      if (open.empty() || open.back() != tag.substr(1)) return false;
      open.pop_back();
    } else if (tag.back() != '/') {
      open.push_back(tag.substr(0, tag.find(' ')));
    }
  }
  for (std::size_t at = xml.find('&'); at != std::string::npos; at = xml.find('&', at + 1)) {
    if (xml.find(';', at) > at + 6) return false;
  }
  return open.empty() && xml.find("nan") == std::string::npos &&
         xml.find("inf") == std::string::npos;
}

TEST_F(FuzzySetTest, PicturesAreWellFormedAndDeterministic) {
  const auto variable = Temperature();
  variable->SetUnits("<\"&\x01\xFF");
  const std::string picture = FuzzyPicture(*variable);
  EXPECT_EQ(picture, FuzzyPicture(*Temperature()->Clone(), {.units = "<\"&\x01\xFF"}));
  EXPECT_TRUE(IsWellFormed(picture)) << picture;
  EXPECT_NE(picture.find(">&lt;&quot;&amp;\xEF\xBF\xBD\xEF\xBF\xBD<"), std::string::npos);
  for (const char* part : {">temperature<", ">cold<", ">hot<", ">100<", ">0.25<"}) {
    EXPECT_NE(picture.find(part), std::string::npos) << part;
  }
  for (const char* text : {"()", "5", "((1 1))", "(tri -1e308 0 1.7e308)", "(tri 0 5e-324 1e-323)",
                           "(tri 1e300 1e300 1e300)", "((1e15 0) (1000000000000000.125 1))"}) {
    EXPECT_TRUE(IsWellFormed(FuzzyPicture(*SetOf(text), {.mark = 1e9}))) << text;
  }
  // As large as its pixels, whatever the points.
  const Ref<IFuzzySet> fine = Make<TIFuzzySet>();
  fine->BeginUpdate();
  for (int i = 0; i < 300'000; ++i) fine->AddPoint(i, 0.5 + 0.4 * std::sin(i * 1e-4));
  fine->EndUpdate();
  EXPECT_LT(FuzzyPicture(*fine).size(), 2'000'000u);
  EXPECT_TRUE(IsWellFormed(FuzzyPicture(std::span<const Ref<IFuzzySet>>())));
}

}  // namespace
}  // namespace reasoner
