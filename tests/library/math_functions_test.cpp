#include <gtest/gtest.h>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class MathFunctionsTest : public EngineTest {};

TEST_F(MathFunctionsTest, IntegersUntilAFloatTakesPart) {
  ExpectShown({
      {"(+)", "0"},
      {"(*)", "1"},
      {"(+ 0.5 0.5)", "1.0000"},
      {"(- 5)", "5"},
      {"(+ \"1\" 2)", "3"},
      // Halves to even: texts are numbers with fractions and no floats.
      {"(+ \"2.5\")", "2"},
      {"(+ \"3.5\")", "4"},
  });
  ExpectError("(+ 1 a)", "Value (a) is a dtAtom type");
}

TEST_F(MathFunctionsTest, BeyondThirtyTwoBits) {
  ExpectShown({
      {"(+ 2147483647 1)", "2147483648.0000"},
      {"(- -2147483648 1)", "-2147483649.0000"},
      {"(* 65536 65536)", "4294967296.0000"},
      {"(* 65536 65536 0)", "0"},
      {"(mod -2147483648 -1)", "0"},
  });
  ExpectError("(div -2147483648 -1)", "Integer overflow in div function call: 2147483648");
  ExpectError("(max \"3000000000\")", "Integer overflow in max function call: 3000000000.0000");
  ExpectError("(abs -2147483648)", "Integer overflow in abs function call: 2147483648");
}

TEST_F(MathFunctionsTest, Division) {
  ExpectShown({
      {"(/ 8 2 2)", "2.0000"},
      {"(/ 5)", "5.0000"},
      {"(div -7 2)", "-3"},
      {"(div 100 5 2.9)", "10"},
      {"(mod -7 2)", "-1"},
      {"(mod 7 -2)", "1"},
  });
  ExpectError("(/ 1 0)", "Division by zero in / function call");
  ExpectError("(div 1 2 0)", "Division by zero in div function call");
  ExpectError("(mod 1 0)", "Division by zero in mod function call");
}

TEST_F(MathFunctionsTest, LargestAndSmallest) {
  ExpectShown({
      // On a tie the earlier stays, and a float that does not win leaves no trace.
      {"(max 1 1.0)", "1"},
      {"(max 1.0 1)", "1.0000"},
      {"(max 2 1.5)", "2"},
      // A float that has won once makes the result a float.
      {"(max 1.5 2)", "2.0000"},
      {"(min 1.5 1)", "1.0000"},
  });
}

TEST_F(MathFunctionsTest, OneNumber) {
  ExpectShown({
      {"(abs -3)", "3"},
      {"(round 2.5)", "2"},
      {"(round 3.5)", "4"},
      {"(round -2.6)", "-3"},
  });
  ExpectError("(abs a)", "Expected numeric argument to abs function call");
}

TEST_F(MathFunctionsTest, RandomNumbersLieInTheirRangeAndFollowTheSeed) {
  for (int i = 0; i < 200; ++i) {
    const std::int32_t number = engine.ParseNExecuteFunCall("(random 5 10)")->GetAsInteger();
    ASSERT_GE(number, 5);
    ASSERT_LT(number, 15);
    const std::int32_t bounded = engine.ParseNExecuteFunCall("(random 3)")->GetAsInteger();
    ASSERT_GE(bounded, 0);
    ASSERT_LT(bounded, 3);
  }
  ExpectShown({{"(randomize 42)", "TRUE"}});
  const std::string first = Show("(random)");
  const std::string second = Show("(random)");
  ExpectShown({{"(seed 42)", "TRUE"}, {"(random)", first}, {"(random)", second}});
  TReasoner other;
  other.ParseNExecuteFunCall("(seed 42)");
  Load("(seed 42) (random)");
  EXPECT_EQ(other.ParseNExecuteFunCall("(random)")->ToString(), first);
  ExpectShown({{"(random)", second}});  // each engine has numbers of its own
}

TEST_F(MathFunctionsTest, RandomRangesMustHaveANumberInThem) {
  ExpectShown(
      {{"(random 7 1)", "7"}, {"(random 2147483647 1)", "2147483647"}, {"(random 1)", "0"}});
  ExpectError("(random 7 0)", "Invalid low and high limits specified: 7.0000 to 0.0000");
  ExpectError("(random -3)", "Invalid low and high limits specified: 0.0000 to -3.0000");
  ExpectError("(random 2147483647 2)",
              "Invalid low and high limits specified: 2147483647.0000 to 2.0000");
}

TEST_F(MathFunctionsTest, OutsideTheDomainAndBeyondTheRange) {
  for (const char* call : {"(sqrt -1)", "(log 0)", "(log -2)", "(log10 0.0)", "(** -8 0.5)",
                           "(** 0 -1)", "(** -0.0 -3)"}) {
    const std::string text(call);
    const std::string name = text.substr(1, text.find(' ') - 1);
    ExpectError(call, "Invalid argument for " + name + " function call: ");
  }
  ExpectError("(** -8 0.5)", "call: -8");
  for (const char* call : {"(exp 1000)", "(** 10 400)", "(+ 1e308 1e308)", "(- -1e308 1e308)",
                           "(* 1e200 1e200 0.0)", "(/ 1e200 1e-200)"}) {
    const std::string text(call);
    const std::string name = text.substr(1, text.find(' ') - 1);
    ExpectError(call, "Floating point overflow in " + name + " function call");
  }
  ExpectShown({{"(exp -1000)", "0.0000"}, {"(** -8 3)", "-512.0000"}, {"(** 0 0)", "1.0000"}});
}

}  // namespace
}  // namespace reasoner
