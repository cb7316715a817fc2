#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

#include "reasoner/support/Numbers.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

constexpr double kPi = std::numbers::pi;

class TrigonometryFunctionsTest : public EngineTest {
 protected:
  double Number(const std::string& call) {
    const Ref<IKBValue> value = engine.ParseNExecuteFunCall(call);
    EXPECT_EQ(value->GetDType(), dtFloat) << call;
    return value->GetAsNumeric();
  }
  double Of(const std::string& name, double x) {
    return Number("(" + name + " " + FloatToSource(x) + ")");
  }
};

TEST_F(TrigonometryFunctionsTest, KnownValues) {
  const struct {
    const char* call;
    double value;
  } rows[] = {
      {"(acot -1)", 3 * kPi / 4},
      {"(acsch -1e-310)", -714.4945260087142},
      {"(atan2 0 1)", kPi / 2},
      {"(atan2 -1 0)", kPi},
      {"(atan2 0 -1)", -kPi / 2},
      {"(sin (/ (PI) 6))", 0.5},
      {"(cosh 1)", 1.5430806348152437},
      {"(sinh 1)", 1.1752011936438014},
      {"(cycle-rad 0.5)", kPi},
      {"(deg-grad 90)", 100},
      {"(grad-rad 200)", kPi},
      {"(hypotenuse 3e200 4e200)", 5e200},
      {"(distance (create$ 1 2 3) (create$ 3 5 9))", 7},
      {"(distance-sqr (create$ 1 2 3) (create$ 3 5 9))", 49},
      {"(distance-manhattan (create$ 1 2) (create$ -2 4))", 5},
      {"(distance-sqr (create$) (create$))", 0},
      {"(distance (create$ \"1\") (create$ 1))", 0},
  };
  for (const auto& row : rows) {
    EXPECT_NEAR(Number(row.call), row.value, 2e-15 * std::abs(row.value) + 1e-16) << row.call;
  }
}

TEST_F(TrigonometryFunctionsTest, AnInverseUndoesItsFunction) {
  const struct {
    const char* function;
    const char* inverse;
    double arguments[3];
  } rows[] = {
      {"cos", "acos", {-0.9, 0.1, 1}},       {"sin", "asin", {-0.9, 0.1, 1}},
      {"tan", "atan", {-40, 0.3, 40}},       {"cot", "acot", {-40, 0.3, 40}},
      {"sec", "asec", {-3, 1.5, 40}},        {"csc", "acsc", {-3, 1.5, 40}},
      {"cosh", "acosh", {1.1, 3, 40}},       {"sinh", "asinh", {-40, 0.3, 40}},
      {"tanh", "atanh", {-0.9, 0.1, 0.99}},  {"coth", "acoth", {-3, 1.5, 40}},
      {"sech", "asech", {0.01, 0.5, 0.99}},  {"csch", "acsch", {-3, 0.5, 40}},
      {"rad-deg", "deg-rad", {-400, 1, 90}}, {"rad-grad", "grad-rad", {-400, 1, 90}},
      {"deg-grad", "grad-deg", {-4, 1, 90}}, {"cycle-rad", "rad-cycle", {-4, 1, 90}},
  };
  for (const auto& row : rows) {
    for (const double x : row.arguments) {
      EXPECT_NEAR(Of(row.function, Of(row.inverse, x)), x, 1e-13 * std::abs(x))
          << row.function << " of " << row.inverse << " of " << x;
    }
  }
}

TEST_F(TrigonometryFunctionsTest, OutsideTheDomainAtPolesAndBeyondTheRange) {
  for (const std::string call :
       {"(acos 2)",   "(asin -1.5)", "(acosh 0)",   "(atanh 1)",  "(atanh -1)", "(atanh 2)",
        "(acoth 1)",  "(acoth -1)",  "(acoth 0.5)", "(acoth 0)",  "(acsc 0.5)", "(acsc 0)",
        "(asec 0.5)", "(asec 0)",    "(asech 0)",   "(asech -1)", "(asech 2)",  "(acsch 0)",
        "(cot 0)",    "(csc 0)",     "(coth 0)",    "(csch 0)",   "(csch -0.0)"}) {
    const std::size_t blank = call.find(' ');
    ExpectError(call, "Invalid argument for " + call.substr(1, blank - 1) + " function call: ");
  }
  for (const std::string call :
       {"(cosh 1000)", "(sinh -1000)", "(csch 1e-310)", "(hypotenuse 1.5e308 1.5e308)",
        "(rad-deg 1e308)", "(distance-sqr (create$ 0) (create$ 1e200))"}) {
    const std::size_t blank = call.find(' ');
    ExpectError(call, "Floating point overflow in " + call.substr(1, blank - 1) + " function call");
  }
  ExpectShown({{"(sech 1000)", "0.0000"}, {"(csch 1000)", "0.0000"}, {"(coth -1000)", "-1.0000"}});
  ExpectError("(distance (create$ 1) (create$ 1 2))",
              "Invalid multifield arguments, the two multifields must be of the same length");
  ExpectError("(distance (create$ a) (create$ 1))", "Value (a) is a dtAtom type");
}

}  // namespace
}  // namespace reasoner
