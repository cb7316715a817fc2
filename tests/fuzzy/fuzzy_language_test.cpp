// Fuzzy types and values as text: what is read, what is refused, and that what prints reads back.

#include <algorithm>
#include <cmath>

#include "reasoner/language/PrettyPrint.h"
#include "reasoner/values/KBFuzzySet.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class FuzzyLanguageTest : public EngineTest {
 protected:
  FuzzyLanguageTest() {
    Load(
        "(deftype heat extends (type FUZZY) (range 0 100) (units C)"
        "  (values (term cold (z 10 40)) (term hot (s 50 90))))"
        "(deftemplate room (slot name) (slot heat (type heat)))"
        "(deftemplate house (slot name) (multislot heats (type heat)))");
  }

  IFuzzyVariable& Variable(const char* type) {
    return *engine.FindDefinedType(type)->GetFuzzyType();
  }
  double Degree(const std::string& expression, double x) {
    return engine.ParseFuzzyExpression(&Variable("heat"), expression)->DegreeOfMembership(x);
  }
  std::string FactText(std::int32_t id) { return engine.GetFacts().GetFactByID(id)->ToString(); }
};

TEST_F(FuzzyLanguageTest, ATypePrintsAsWhatReadsBack) {
  const char* const types[] = {
      "(deftype a \"of water\" extends (type FUZZY) (range -5 5.25) (units \"m s\")"
      " (values (term low (z -5 0)) (term mid (pi 0 2)) (term side (pi -1 0 3))"
      "  (term bell (beta 1 2)) (term wide (beta 1 2 3)) (term heavy (beta 1 2 1 4))"
      "  (term top (tri 1 2 5)) (term odd ((0 0) (1 0.3) (2 0))) (term at 3)"
      "  (term warm very top or [ mid and not low ]) (term up (s 0.123456789 4))))",
      "(deftype b extends (type heat) (values (term warm (tri 20 50 80)) (term hot very hot)))",
      "(deftype c extends (type FUZZY) (values) (units x) (range 3 1))",
      // Terms of another type, and words whose meaning changes under way.
      "(deftype d extends (type FUZZY) (values (term a (create-fuzzy-value heat very hot))))",
      "(deftype e extends (type heat) (values (term b not [ cold or 3 ]) (term cold (z 1 2))))",
      "(deftype f extends (type FUZZY) (values (term a 1) (term b 2) (term a not b)))",
      "(deftype g extends (type a) (values (term mid (pi 1 2))))",
  };
  for (const char* text : types) {
    Load(text);
    const Ref<IKBDefinedType> type = engine.ParseDefinedType(text);
    const Ref<IKBDefinedType> registered = engine.FindDefinedType(type->GetName());
    const std::string source = registered->ToString();
    Load(source);
    const Ref<IKBDefinedType> again = engine.FindDefinedType(type->GetName());
    EXPECT_NE(again, registered);
    EXPECT_EQ(again->ToString(), source);
    EXPECT_TRUE(again->Equals(*registered)) << source;
    EXPECT_EQ(again->GetMinRange(), again->GetFuzzyType()->GetUniverseFrom());
    EXPECT_EQ(again->GetUnits(), again->GetFuzzyType()->GetUnits());
  }
  EXPECT_EQ(Variable("c").GetUniverseFrom(), 1) << "crossed bounds are swapped";
  // The ancestor's terms are there, one of them replaced in its place; the ancestor keeps its own.
  EXPECT_EQ(Variable("b").GetSet(1)->GetGivenName(), "hot");
  EXPECT_LT(Variable("b").FindFuzzySet("hot")->DegreeOfMembership(70), 0.26);
  EXPECT_EQ(Variable("heat").FindFuzzySet("hot")->DegreeOfMembership(70), 0.5);
}

TEST_F(FuzzyLanguageTest, MalformedTypesAreRefusedAndLeaveNoTrace) {
  const struct {
    const char* body;
    const char* message;
  } rows[] = {
      {"(values (term c [ very 5 6 ]))", "Missing Fuzzy Close Bracket in expression"},
      {"(values (term a 1) (term d a a))", "Not a fuzzy value type.  Value ("},
      {"(values (term e zzz))", "Invalid item in fuzzy expression: zzz"},
      {"(values (term a 1) (term e a very))",
       "Missing fuzzy operand to be modified by hedge: very"},
      {"(values (term a 1) (term e a or))", "Missing fuzzy operand to be modified by hedge: or"},
      {"(values (term x))", "Expected value missing"},
      {"(values (tern x 1))", "Expected \"( term\""},
      {"(values 5)", "Expected \"( term\""},
      {"(range ?a 5)", "Expected value missing"},
      {"(range 5 5)", "The range of a fuzzy type needs two different ends, received 5 and 5"},
      {"(range 5)", "Expected integer, variable, or function call for range"},
      {"(rang 1 5)", "Missing keyword.  Expected \"range, units, or values\""},
      {"range", "Expected \"(\""},
      {"(units a b)", "Expected \")\""},
      {"(units)", "Expected value missing"},
      {"(values (term a (tri 1 2)))", "Too few arguments for tri"},
      {"(values (term a (tri 1 2 x)))", "Not a numeric type"},
  };
  for (const auto& row : rows) {
    const std::string text = std::string("(deftype t extends (type FUZZY) ") + row.body + ")";
    const std::string failure = FailureOf([&] { engine.Parse(text, true); });
    EXPECT_NE(failure.find(row.message), std::string::npos) << text << " raised: " << failure;
    EXPECT_FALSE(engine.FindDefinedType("t")) << text;
  }
  EXPECT_NE(FailureOf([&] {
              Load("(deftype t extends (type FUZZY INTEGER))");
            }).find("Cannot mix fuzzy type with other primitive types"),
            std::string::npos);
}

TEST_F(FuzzyLanguageTest, ExpressionsAreGroupedAndEvaluated) {
  const auto cold = [this](double x) {
    return Variable("heat").FindFuzzySet("cold")->DegreeOfMembership(x);
  };
  const double c = cold(30);
  const struct {
    const char* text;
    double at;
    double degree;
  } rows[] = {
      {"cold", 30, c},
      {"\"cold\"", 30, c},
      {"nil", 30, 0},
      {"__EMPTY", 30, 0},
      {"25", 25, 1},
      {"((10 0) (20 1) (30 0))", 15, 0.5},
      {"not very cold", 30, 1 - c * c},
      {"very not cold", 30, (1 - c) * (1 - c)},
      {"not cold and not hot", 30, 1 - c},
      {"cold or hot and not hot", 30, c},  // from left to right
      {"hot or [ cold and not cold ]", 30, std::min(c, 1 - c)},
      {"not [ cold or hot ]", 30, 1 - c},
      {"[ [ cold ] ]", 30, c},
      {"cold ]", 30, c},
      {"cold scaled-by 0.5", 30, c * 0.5},
      {"cold limited-to 0.1", 30, 0.1},
      {"cold shifted-by 10", 40, c},
      {"cold or-bounded-sum cold", 30, 2 * c},
      {"cold and-product cold", 30, c * c},
  };
  for (const auto& row : rows) {
    EXPECT_NEAR(Degree(row.text, row.at), row.degree, 0.002) << row.text;
  }
  EXPECT_EQ(cold(30), c) << "terms stay as they were";
  const struct {
    const char* text;
    const char* message;
  } failures[] = {
      {"[ cold or hot", "Missing Fuzzy Close Bracket in expression"},
      {"[ cold hot ]", "Missing Fuzzy Close Bracket in expression"},
      {"Cold", "Invalid item in fuzzy expression: Cold"},
      {"or cold", "Missing fuzzy operand to be modified by hedge: or"},
      {"cold very hot", "Not a fuzzy value type"},  // two expressions
      {"cold or ?nothing", "Unknown variable name: nothing"},
  };
  for (const auto& row : failures) {
    const std::string failure = FailureOf([&] { Degree(row.text, 0); });
    EXPECT_NE(failure.find(row.message), std::string::npos) << row.text << " raised: " << failure;
  }
  EXPECT_EQ(FailureOf([&] { engine.ParseFuzzyExpression(nullptr, "cold"); }),
            "fuzzy variable is not defined");
  const Ref<IFuzzySet> points = engine.ParseFuzzyExpression(nullptr, "((10 0) (20 1) (30 0))");
  EXPECT_EQ(points->GetParser(), &engine);
}

// Each against its formula on a fine grid, and the centre against a sum over the grid.
TEST_F(FuzzyLanguageTest, CurvesAreTrueToTheirHeightInsideOfOthersToo) {
  Load(
      "(deftype curve extends (type FUZZY) (range 0 100) (values"
      "  (term x ((10 0) (60 1) (90 0))) (term g (tri 0 50 100)) (term w ((0 0) (40 0.05) (100 "
      "0)))))");
  using TCurve = std::function<double(double)>;
  const TCurve x = [](double v) {
    return std::clamp(v < 60 ? (v - 10) / 50 : (90 - v) / 30, 0., 1.);
  };
  const TCurve g = [](double v) { return v < 50 ? v / 50 : 2 - v / 50; };
  const TCurve w = [](double v) { return 0.05 * (v < 40 ? v / 40 : (100 - v) / 60); };
  const auto least = [&](double v) { return std::min(x(v), g(v)); };
  const auto most = [&](double v) { return std::max(x(v), g(v)); };
  const struct {
    const char* text;
    TCurve wanted;
  } rows[] = {
      {"somewhat very x", x},
      {"very somewhat x", x},
      {"[ x to-power 5 ] to-power 0.2", x},
      {"[ x to-power 0.2 ] to-power 5", x},
      {"somewhat very w", w},
      {"very w", [&](double v) { return w(v) * w(v); }},
      {"extremely very w", [&](double v) { return std::pow(w(v), 6); }},
      {"x to-power 0.2", [&](double v) { return std::pow(x(v), 0.2); }},
      {"x to-power 40", [&](double v) { return std::pow(x(v), 40); }},
      {"somewhat [ very x or very g ]", most},
      {"[ [ x to-power 9 ] and [ g to-power 9 ] ] to-power 0.1111111111111111", least},
      {"very [ somewhat x and somewhat g ]", least},
      {"somewhat [ x and-product x ]", x},
      {"[ x and-product g ] to-power 0.2", [&](double v) { return std::pow(x(v) * g(v), 0.2); }},
      {"somewhat not very x", [&](double v) { return std::sqrt(1 - x(v) * x(v)); }},
      {"somewhat [ x and-mean-sqr g ]", [&](double v) { return (x(v) + g(v)) / 2; }},
  };
  for (const auto& row : rows) {
    const Ref<IFuzzySet> set = engine.ParseFuzzyExpression(&Variable("curve"), row.text);
    double worst = 0;
    double area = 0;
    double moment = 0;
    constexpr int kSteps = 50'000;
    for (int i = 0; i < kSteps; ++i) {
      const double v = (i + 0.5) * 100 / kSteps;
      const double y = row.wanted(v);
      worst = std::max(worst, std::fabs(set->DegreeOfMembership(v) - y));
      area += y;
      moment += y * v;
    }
    EXPECT_LE(worst, 0.001) << row.text;
    EXPECT_NEAR(set->GetCentreOfGravity(), moment / area, 0.1) << row.text;
  }
}

TEST_F(FuzzyLanguageTest, ValuesOfFactsReadBackAsTheyPrint) {
  for (const char* value : {"hot",
                            "25",
                            "0.12345678",
                            "(tri 1 2 3)",
                            "(tri 1 2 (+ 1 1.000001))",
                            "very hot",
                            "cold or hot",
                            "not [ cold or hot ] and hot",
                            "hot or [ cold and very hot ]",
                            "((1 0) (2.00001 0.5) (3 0) )",
                            "cold or (tri 1 2 3)",
                            "\"hot\"",
                            "",
                            "nil",
                            "hot or hot",
                            "((1 0) (2 1) (3 0)) summed-to 2.5",
                            "hot or [ ((1 0) (2 1) (3 0)) summed-to 2.5 ]",
                            "very [ hot or hot ]",
                            "0.1234567 shifted-by 0.00000001",
                            "cold or [ nil or not hot ]"}) {
    const std::string fact = std::string("(room (name a) (heat ") + value + "))";
    const TFactId id = engine.Assert(fact);
    const Ref<IFact> first = engine.GetFacts().GetFactByID(id);
    const Ref<IFuzzySet> set(first->GetValue("heat")->GetAsFuzzy());
    EXPECT_EQ(set->GetVariable(), &Variable("heat")) << fact;
    engine.Retract(id);
    const std::string source = FactToSource(*first, false);
    const Ref<IFact> again = engine.GetFacts().GetFactByID(engine.Assert(source));
    ASSERT_TRUE(again) << source;
    EXPECT_TRUE(set->SamePoints(*again->GetValue("heat")->GetAsFuzzy())) << source;
    EXPECT_EQ(set->GetSumHeight(), again->GetValue("heat")->GetAsFuzzy()->GetSumHeight());
    EXPECT_EQ(FactToSource(*again, false), source);
    engine.Retract(again->GetID());
  }
}

TEST_F(FuzzyLanguageTest, WhatNeedsAContextWaitsForIt) {
  Load("(bind ?h hot) (bind ?many (create$ cold hot))");
  const struct {
    const char* fact;
    const char* shown;
  } rows[] = {
      {"(room (heat ?h))", "(room (heat hot))"},
      {"(room (heat very ?h or cold))", "(room (heat very hot or cold))"},
      {"(room (heat cold or [ ?h and not ?h ]))", "(room (heat cold or [hot and not hot]))"},
      {"(room (heat (create-fuzzy-value heat very hot)))", "(room (heat very hot))"},
      {"(room (heat ((?x 0) (20 1) (30 0))))",
       "(room (heat ((10.0000 0.0000) (20.0000 1.0000) (30.0000 0.0000) )))"},
      {"(house (heats ?h very cold ?h))", "(house (heats hot very cold hot ))"},
      {"(house (heats not ?h cold))", "(house (heats not hot cold ))"},
      {"(house (heats $?many ?h))", "(house (heats cold hot hot ))"},
      {"(house (heats))", "(house)"},
  };
  Load("(bind ?x 10)");
  for (const auto& row : rows) {
    // The call prints as it was written, and is evaluated anew each time.
    const std::string call = std::string("(assert ") + row.fact + ")";
    const Ref<IFunCall> parsed = engine.ParseFunCall(call);
    const std::string source = parsed->ToString();
    EXPECT_EQ(engine.ParseFunCall(source)->ToString(), source);
    for (const std::string& text : {call, source}) {
      const TFactId id = engine.ParseNExecuteFunCall(text)->GetAsFactId();
      EXPECT_EQ(FactToText(*engine.GetFacts().GetFactByID(id)), row.shown) << text;
      engine.Retract(id);
    }
  }
}

TEST_F(FuzzyLanguageTest, SlotsRefuseWhatIsNoFuzzyValue) {
  Load("(deftemplate loose (slot x (type FUZZY)))");
  const struct {
    const char* call;
    const char* message;
  } rows[] = {
      {"(assert (room (heat tepid)))", "Invalid item in fuzzy expression: tepid"},
      {"(assert (room (heat cold hot)))", "Invalid Fuzzy Expression: cold hot"},
      {"(assert (room (heat ?a ?b)))", "Invalid Fuzzy Expression: "},
      {"(assert (loose (x 5)))", "Fuzzy Type Definition needed to parse value"},
      {"(assert (room (heat (str-cat te pid))))", "Invalid item in fuzzy expression: "},
  };
  for (const auto& row : rows) ExpectError(row.call, row.message);
  const struct {
    const char* slot;
    const char* message;
  } slots[] = {
      {"(slot h (type heat) (range 1 2))", "Invalid attempt to modify fuzzy type"},
      {"(slot h (type heat) (units m))", "Invalid attempt to modify fuzzy type"},
      {"(slot h (type heat) (allowed-symbols a))", "Invalid attempt to modify fuzzy type"},
      {"(slot h (type FUZZY INTEGER))", "Cannot mix fuzzy type with other primitive types"},
      {"(slot h (type heat) (default tepid))", "Invalid item in fuzzy expression: tepid"},
  };
  for (const auto& row : slots) {
    const std::string text = std::string("(deftemplate t ") + row.slot + ")";
    const std::string failure = FailureOf([&] { engine.Parse(text, true); });
    EXPECT_NE(failure.find(row.message), std::string::npos) << text << " raised: " << failure;
  }
}

TEST_F(FuzzyLanguageTest, SlotsPrintWithTheirTypesAndDefaults) {
  Load(
      "(deftemplate t (slot a (type heat) (default very hot)) (slot b (default hot) (type heat))"
      " (slot c (type heat)) (multislot m (type heat) (cardinality 1 3) (default cold hot))"
      " (slot d (type heat) (default-dynamic (tri 1 2 3))))");
  const std::string source = engine.FindFactTemplate("t")->ToString();
  const std::string fact = FactToText(*engine.FindFactTemplate("t")->NewFact());
  EXPECT_EQ(fact, "(t (a very hot) (b hot) (d (tri 1 2 3)) (m cold hot ))");
  Load(source);
  EXPECT_EQ(engine.FindFactTemplate("t")->ToString(), source);
  EXPECT_EQ(FactToText(*engine.FindFactTemplate("t")->NewFact()), fact);
}

}  // namespace
}  // namespace reasoner
