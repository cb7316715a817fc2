// The functions of the fuzzy package.

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
