// The functions of the fuzzy package.

#include <gtest/gtest.h>

#include <string>

#include "reasoner/library/Packages.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class FuzzyFunctionsTest : public EngineTest {
 protected:
  FuzzyFunctionsTest() {
    Load(
        "(deftype heat extends (type FUZZY) (range 0 10) (units C)"
        "  (values (term cold ((0 1) (10 0))) (term hot ((0 0) (10 1)))))"
        "(deftype wet extends (type FUZZY) (range 0 1))"
        "(deftemplate room (slot name) (slot heat (type heat)))"
        "(bind ?f (assert (room (name a) (heat hot)))) (bind ?p (get-fs ?f))");
  }
};

TEST_F(FuzzyFunctionsTest, ShapesAreMadeAndRead) {
  ExpectShown({
      {"(tri 1 2 3)", "(tri 1 2 3)"},
      {"(tri 1 2 (+ 1 2))", "(tri 1.0000 2.0000 3.0000)"},
      {"(beta 100 20)", "(beta 100 20)"},
      {"(get-fs (tri 3 2 1))", "((1.0000 0.0000) (2.0000 1.0000) (3.0000 0.0000) )"},
      {"(get-fs-length (s 0 6))", "7"},
      {"(get-fs-length (pi 0 6))", "13"},
      {"(get-fs-x (pi 1 2 4) 6)", "2.0000"},
      {"(get-fs-y (z 0 6) 3)", "0.5000"},
      {"(get-fs-value (s 0 10) 5)", "0.5000"},
      {"(get-fs-value (beta 100 20) 110)", "0.5000"},
      {"(get-fs-value (beta 100 12 6) 106)", "0.5000"},
      {"(get-fs-value (beta 100 20 20 4) 110)", "0.5000"},
      {"(get-fs-value ((0 0) (2 1)) 1)", "0.5000"},
      {"(get-fs-length ?p)", "2"},
      {"(get-fs-variable ?f)", "heat"},
      {"(get-fs-variable (tri 1 2 3))", ""},
      {"(get-fs-length 1)", "2"},  // the fact, not the number
      {"(fuzzyp (tri 1 2 3))", "TRUE"},
      {"(integerp (get-fs-length ?f))", "TRUE"},
  });
  ExpectError("(get-fs-length 99)", "No Such Fact with ID=99 exists");
  ExpectError("(get-fs-length 0)", "Fact is not a fuzzy fact");
  ExpectError("(get-fs-length hot)", "Not a fuzzy value type");
  ExpectError("(get-fs-x (tri 1 2 3) 3)", "Bad Argument: 3");
  ExpectError("(get-fs-y (tri 1 2 3) -1)", "Bad Argument: -1");
}

TEST_F(FuzzyFunctionsTest, ValuesAreMadeAndCombined) {
  ExpectShown({
      {"(create-fuzzy-value heat hot)", "hot"},
      {"(create-fuzzy-value heat very hot or cold)", "very hot or cold"},
      {"(create-fuzzy-value heat not [ cold or hot ])", "not [cold or hot]"},
      {"(create-fuzzy-value (get-slot-value ?f heat) cold)", "cold"},
      {"(create-fuzzy-value nil (tri 1 2 3))", "(tri 1 2 3)"},
      {"(get-fs-variable (create-fuzzy-value heat (tri 1 2 3)))", "heat"},
      {"(get-fs-value (fuzzy-union (tri 0 1 2) (tri 1 2 3) ?f) 9)", "0.9000"},
      {"(get-fs-value (fuzzy-intersection (tri 0 1 2) (tri 1 2 3)) 1.5)", "0.5000"},
      {"(get-fs-value (fuzzy-union-x bounded-sum (tri 0 1 2) (tri 0 1 2)) 0.25)", "0.5000"},
      {"(get-fs-value (fuzzy-intersection-x product (tri 0 1 2) (tri 0 1 2)) 0.5)", "0.2500"},
      {"(get-fs-value (fuzzy-union-x sum ?p ?p ?p) 10)", "1.0000"},
  });
  ExpectError("(create-fuzzy-value nothing hot)", "fuzzy variable is not defined");
  ExpectError("(create-fuzzy-value heat tepid)", "Invalid item in fuzzy expression: tepid");
  ExpectError(
      "(fuzzy-union-x nonsense ?f ?f)",
      "Invalid Fuzzy operation specified (nonsense) for fuzzy-union-x, expected zadeh, mean, "
      "mean-sqr, mean-sqrt, product, bounded-sum, or sum");
  ExpectShown({{"(get-slot-value ?f heat)", "hot"}});
}

TEST_F(FuzzyFunctionsTest, FactsAreAssertedWithAMethodOfTheirOwn) {
  ExpectShown({
      {"(set-fuzzy-inference product)", "min-max"},
      {"(bind ?f (fuzzy-assert bounded-sum (room (name a) (heat cold))))", "<Fact-2>"},
      {"(get-fs-value ?f 5)", "1.0000"},
      {"(bind ?f (fuzzy-assert-unconditional (room (name a) (heat cold))))", "<Fact-3>"},
      {"(get-fs-value ?f 5)", "0.5000"},
      {"(bind ?f (fuzzy-assert-unconditional product (room (name a) (heat cold))))", "<Fact-4>"},
      {"(get-fs-value ?f 5)", "0.2500"},
      {"(fuzzy-assert sum (crisp a))", "<Fact-5>"},
      {"(fuzzy-assert sum (crisp a))", "FALSE"},
      {"(get-fuzzy-inference)", "product"},
  });
  ExpectError("(fuzzy-assert 5 (crisp b))",
              "Invalid Fuzzy Inference specified (5), expected min-max, sum, mean, product, or "
              "bounded-sum");
  ExpectError("(fuzzy-assert most (crisp b))", "Invalid Fuzzy Inference specified (most)");
  ExpectError("(fuzzy-assert-unconditional 5)", "Not a fact type");
}

TEST_F(FuzzyFunctionsTest, NumbersComeOutOfFuzzyValues) {
  ExpectShown({
      {"(moment-defuzzify (tri 0 3 6))", "3.0000"},
      {"(moment-defuzzify ?f)", "6.6667"},
      {"(maximum-defuzzify ?f)", "10.0000"},
      {"(maximum-defuzzify ((0 1) (4 1) (6 0)))", "2.0000"},
      {"(get-compatibility-index (tri 0 3 6))", "1.0000"},
      {"(is-undecidable (tri 0 3 6))", "TRUE"},
      {"(bind ?t (tri 0 3 6))", "(tri 0 3 6)"},
      {"(moment-defuzzify ?t)", "3.0000"},
      {"(is-undecidable ?t)", "FALSE"},
      {"(moment-defuzzify (create-fuzzy-value heat nil))", "5.0000"},
  });
}

TEST_F(FuzzyFunctionsTest, SettingsGiveWhatTheyHaveBeen) {
  ExpectShown({
      {"(set-fuzzy-threshold 3)", "0.0100"},
      {"(get-fuzzy-threshold)", "1.0000"},
      {"(set-activation-threshold 0.25)", "0.0000"},
      {"(get-activation-threshold)", "0.2500"},
      {"(set-fuzzy-auto-terms 1)", "TRUE"},
      {"(get-fuzzy-auto-terms)", "FALSE"},
      {"(set-fuzzy-auto-terms TRUE)", "FALSE"},
      {"(set-fuzzy-correlation product)", "minimum"},
      {"(get-fuzzy-correlation)", "product"},
      {"(set-fuzzy-inference mean)", "min-max"},
      {"(get-u heat)", "\"0.0000 - 10.0000 C\""},
      {"(get-u-from \"heat\")", "0.0000"},
      {"(get-u-to (get-slot-value ?f heat))", "10.0000"},
      {"(get-u-units heat)", "\"C\""},
      {"(get-u-units wet)", "\"\""},
  });
  ExpectError("(set-fuzzy-correlation most)",
              "Invalid Fuzzy Correlation specified (most), expected minimum or product");
  ExpectError("(set-fuzzy-inference most)", "Invalid Fuzzy Inference specified (most), expected");
  ExpectShown({{"(get-fuzzy-correlation)", "product"}, {"(get-fuzzy-inference)", "mean"}});
  ExpectError(
      "(get-u 5)",
      "Invalid argument type for deffunction: \"dtInteger\".  Expected Atom, String, Fuzzy");
  ExpectError("(get-u ?f)", "Invalid argument type for deffunction: \"dtFactId\"");
  ExpectError("(get-u nothing)", "fuzzy variable is not defined");
  ExpectError("(get-u (tri 1 2 3))", "fuzzy variable is not defined");
}

TEST_F(FuzzyFunctionsTest, APlotShowsTermsOrValues) {
  Show("(plot-fuzzy-value t \"ch\" nil nil heat)");
  ASSERT_EQ(printed.size(), 28u);
  EXPECT_EQ(printed[0].second, "Fuzzy Variable: heat\n");
  EXPECT_EQ(printed[1].second, "Fuzzy Values: cold(c) hot(h) low(h) medium(h) high(h)\n");
  EXPECT_EQ(printed[2].second, "\n");
  // low is drawn over cold.
  EXPECT_EQ(printed[3].second,
            "1.00hh" + std::string(23, ' ') + "h" + std::string(23, ' ') + "h\n");
  EXPECT_EQ(printed[23].second.substr(0, 8), "0.00hh  ");
  EXPECT_EQ(printed[24].second, "    |----|----|----|----|----|----|----|----|----|----|\n");
  EXPECT_EQ(printed[25].second, "   0.00      2.00      4.00      6.00      8.00     10.00\n");
  EXPECT_EQ(printed[26].second, "\n");
  EXPECT_EQ(printed[27].second, "Universe of Discourse: From 0.00 to 10.00\n");
  printed.clear();
}

TEST_F(FuzzyFunctionsTest, APlotKeepsToItsLimits) {
  Show("(plot-fuzzy-value t \"\" -5 5 ?f (create-fuzzy-value heat cold))");
  EXPECT_EQ(printed[1].second, "Fuzzy Values: hot(*) cold(*)\n");
  EXPECT_EQ(printed[25].second, "   0.00      1.00      2.00      3.00      4.00      5.00\n");
  TakeOutput();
  // Half a row goes to the even one: 0.125 to the second, 0.375 to the eighth.
  Show("(plot-fuzzy-value t \"*\" nil nil ((0 0.125) (1 0.125) (1 0.375) (2 0.375)))");
  EXPECT_EQ(printed[0].second.substr(0, 13), "Fuzzy Values:");
  EXPECT_EQ(printed[2 + 18].second, "0.10" + std::string(25, '*') + std::string(25, ' ') + "\n");
  EXPECT_EQ(printed[2 + 12].second, "0.40" + std::string(25, ' ') + std::string(25, '*') + "\n");
  TakeOutput();
  ExpectError("(plot-fuzzy-value t \"*\" 11 nil heat)",
              "Invalid low and high limits specified: 11.0000 to 10.0000");
  ExpectError("(plot-fuzzy-value t \"*\" nil nil ?f (create-fuzzy-value wet low))",
              "Fuzzy variables are different, hot is a term from heat and low is a term from wet");
  ExpectError("(plot-fuzzy-value t \"*\" nil nil nothing)", "fuzzy variable is not defined");
  ExpectError("(plot-fuzzy-value t \"*\" nil nil 99)", "No Such Fact with ID=99 exists");
  EXPECT_EQ(output, "") << "a plot that fails prints nothing";
}

TEST_F(FuzzyFunctionsTest, AFunctionTakesTheKindOfItsNewName) {
  const Ref<IUserFunction> function = engine.GetUserFunction("tri");
  EXPECT_EQ(function->GetMinArgumentCount(), 3);
  engine.RemoveUserFunction(*engine.GetUserFunction("s"));
  function->SetFunctionName("s");
  EXPECT_EQ(function->GetMinArgumentCount(), 2);
  ExpectShown({{"(s 1 2)", "(s 1 2)"}});
  function->SetFunctionName("grow");
  ExpectShown({{"(get-fs-length (grow 1 2))", "7"}});
}

}  // namespace
}  // namespace reasoner
