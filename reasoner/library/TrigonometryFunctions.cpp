// Trigonometric and hyperbolic functions, conversions of angles, distances of points. Angles are in
// radians unless a name says otherwise, and the results are floats, whatever the arguments.

#include <cmath>
#include <numbers>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/RealFunction.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

constexpr double kPi = std::numbers::pi;

// The inverse hyperbolic function of 1 / x, whose value is ln(2 / |x|) where 1 / x is too large.
double InverseHyperbolic(double value, double x) {
  return std::isinf(value) ? std::numbers::ln2 - std::log(std::abs(x)) : value;
}

// Of two points given by their coordinates: adds up the way from each coordinate to the other.
template <class TSelf>
class TDistanceBetween : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> from = ListArgument(fun_call, 0, context);
    const Ref<IValueVector> to = ListArgument(fun_call, 1, context);
    if (from->GetValueCount() != to->GetValueCount()) Raise(SMultifieldLengthMismatch);
    double sum = 0;
    bool finite = true;
    for (std::int32_t i = 0; i < from->GetValueCount(); ++i) {
      const double a = EvaluateMember(*from, i, context)->GetAsNumeric();
      const double b = EvaluateMember(*to, i, context)->GetAsNumeric();
      sum = TSelf::Add(sum, b - a);
      finite = finite && std::isfinite(a) && std::isfinite(b);
    }
    CheckOverflow(sum, finite, fun_call);
    result = NewFloat(sum);
  }
};

class TACosFunction final : public TRealFunction<TACosFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "acos",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the inverse cosine of <numeric-expression>.  The expression must be between -1 "
          "and 1.  The return value will be in the range [0..Pi], in radians",
      .example = "(acos -1)"};

  static double Compute(double x) { return std::acos(x); }
};

class TACosHFunction final : public TRealFunction<TACosHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "acosh",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the inverse hyperbolic cosine of <numeric-expression>.  The value of "
          "<numeric-expression> must be greater than or equal to 1",
      .example = "(acosh 2)"};

  static double Compute(double x) { return std::acosh(x); }
};

class TACotFunction final : public TRealFunction<TACotFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "acot",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the inverse cotangent of <numeric-expression>",
      .example = "(acot 1)"};

  static double Compute(double x) { return std::atan2(1, x); }
};

class TACotHFunction final : public TRealFunction<TACotHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "acoth",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the inverse hyperbolic cotangent of <numeric-expression>",
      .example = "(acoth 2)"};

  static double Compute(double x) { return std::abs(x) <= 1 ? kNoValue : std::atanh(1 / x); }
};

class TACscFunction final : public TRealFunction<TACscFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "acsc",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the inverse cosecant of <numeric-expression>",
      .example = "(acsc 2)"};

  static double Compute(double x) { return std::asin(1 / x); }
};

class TACscHFunction final : public TRealFunction<TACscHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "acsch",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the inverse hyperbolic cosecant of <numeric-expression>",
      .example = "(acsch 1)"};

  static double Compute(double x) {
    return x == 0 ? kNoValue : std::copysign(InverseHyperbolic(std::asinh(1 / x), x), x);
  }
};

class TASecFunction final : public TRealFunction<TASecFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "asec",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the inverse secant of <numeric-expression>",
      .example = "(asec 2)"};

  static double Compute(double x) { return std::acos(1 / x); }
};

class TASecHFunction final : public TRealFunction<TASecHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "asech",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the inverse hyperbolic secant of <numeric-expression>",
      .example = "(asech 0.5)"};

  static double Compute(double x) {
    return x > 0 ? InverseHyperbolic(std::acosh(1 / x), x) : kNoValue;
  }
};

class TASinFunction final : public TRealFunction<TASinFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "asin",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the inverse sine of <numeric-expression>.  The expression must be between -1 "
          "and 1.  The return value will be in the range [-Pi/2..Pi/2], in radians",
      .example = "(asin 1)"};

  static double Compute(double x) { return std::asin(x); }
};

class TASinHFunction final : public TRealFunction<TASinHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "asinh",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the inverse hyperbolic sine of <numeric-expression>",
      .example = "(asinh 1)"};

  static double Compute(double x) { return std::asinh(x); }
};

class TATanFunction final : public TRealFunction<TATanFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "atan",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment = "Returns the arctangent of <numeric-expression>",
                                       .example = "(atan 1)"};

  static double Compute(double x) { return std::atan(x); }
};

class TATan2Function final : public TRealPairFunction<TATan2Function> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "atan2",
      .syntax = " <numeric-expression-X> <numeric-expression-Y>",
      .arguments = Exactly(2),
      .comment =
          "Returns the arctangent angle and quadrant of a given number.  ArcTan2 calculates "
          "ArcTan(<numeric-expression-Y>/<numeric-expression-X>), and returns an angle in the "
          "correct quadrant.  The value of <numeric-expression-X> can't be 0.  The return value "
          "will fall in the range from -Pi to Pi radians.",
      .example = "(atan2 -1 1)"};

  // The angle of the point (x, y).
  static double Compute(double x, double y) { return std::atan2(y, x); }
};

class TATanHFunction final : public TRealFunction<TATanHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "atanh",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the inverse hyperbolic tangent of <numeric-expression>.  The value of "
          "<numeric-expression> must be between -1 and 1 (inclusive).",
      .example = "(atanh 0.5)"};

  static double Compute(double x) { return std::abs(x) == 1 ? kNoValue : std::atanh(x); }
};

class TCosFunction final : public TRealFunction<TCosFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "cos",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the cosine of the angle represented by the <numeric-expression>, in radians",
      .example = "(cos (PI))"};

  static double Compute(double x) { return std::cos(x); }
};

class TCosHFunction final : public TRealFunction<TCosHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "cosh",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the hyperbolic cosine of the angle represented by the <numeric-expression>",
      .example = "(cosh 1)"};

  static double Compute(double x) { return std::cosh(x); }
};

class TCotFunction final : public TRealFunction<TCotFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "cot",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the cotangent of the angle represented by <numeric-expression>.  The cotangent "
          "is calculated using the formula cotan = 1 / Tan(<numeric-expression>).  Note that "
          "<numeric-expression> should not be 0",
      .example = "(cot 1)"};

  static double Compute(double x) { return Reciprocal(std::tan(x)); }
};

class TCotHFunction final : public TRealFunction<TCotHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "coth",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the hyperbolic cotangent of <numeric-expression>",
      .example = "(coth 1)"};

  static double Compute(double x) { return Reciprocal(std::tanh(x)); }
};

class TCscFunction final : public TRealFunction<TCscFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "csc",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment = "Returns the cosecant of <numeric-expression>",
                                       .example = "(csc 1)"};

  static double Compute(double x) { return Reciprocal(std::sin(x)); }
};

class TCscHFunction final : public TRealFunction<TCscHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "csch",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the hyperbolic cosecant of <numeric-expression>",
      .example = "(csch 1)"};

  static double Compute(double x) { return Reciprocal(std::sinh(x)); }
};

class TCycleRadFunction final : public TRealFunction<TCycleRadFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "cycle-rad",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from cycles to "
                                           "radians, where radians = 2pi * cycles",
                                       .example = "(cycle-rad 0.5)"};

  static double Compute(double x) { return x * (2 * kPi); }
};

class TDegGradFunction final : public TRealFunction<TDegGradFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "deg-grad",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from degrees to "
                                           "grads, where degrees = grads * (9/10)",
                                       .example = "(deg-grad 90)"};

  static double Compute(double x) { return x * 10 / 9; }
};

class TDegRadFunction final : public TRealFunction<TDegRadFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "deg-rad",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from degrees to "
                                           "radians, where radians = degrees * (pi/180)",
                                       .example = "(deg-rad 180)"};

  static double Compute(double x) { return x * kPi / 180; }
};

class TDistanceFunction final : public TDistanceBetween<TDistanceFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "distance",
      .syntax = " <multifield-expression-1> <multifield-expression-2>",
      .arguments = Exactly(2),
      .comment =
          "Returns the distance between 2 points (Sqrt( Sqr(X2-X1) + Sqr(Y2-Y1) + ... ))  The two "
          "points are represented by the two multifield expressions",
      .example = "(distance (create$ 0 0) (create$ 3 4))"};

  // The length so far and the step are the sides of a right triangle: squares cannot overflow.
  static double Add(double sum, double step) { return std::hypot(sum, step); }
};

class TDistanceSqrFunction final : public TDistanceBetween<TDistanceSqrFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "distance-sqr",
      .syntax = " <multifield-expression-1> <multifield-expression-2>",
      .arguments = Exactly(2),
      .comment =
          "Returns the distance squared between 2 points ( Sqr(X2-X1) + Sqr(Y2-Y1) + ... )  The "
          "two points are represented by the two multifield expressions.  Note that this is faster "
          "than the regular distance function because it avoids the expensive square root; yet it "
          "is still useful for comparing distances",
      .example = "(distance-sqr (create$ 0 0) (create$ 3 4))"};

  static double Add(double sum, double step) { return sum + step * step; }
};

class TDistanceManhattanFunction final : public TDistanceBetween<TDistanceManhattanFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "distance-manhattan",
      .syntax = " <multifield-expression-1> <multifield-expression-2>",
      .arguments = Exactly(2),
      .comment =
          "Returns the manhattan (city block) distance between 2 points (abs(x2-x1) + abs(y2-y1) + "
          "...).  The two points are represented by the two multifield expressions",
      .example = "(distance-manhattan (create$ 0 0) (create$ 3 4))"};

  static double Add(double sum, double step) { return sum + std::abs(step); }
};

class TGradDegFunction final : public TRealFunction<TGradDegFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "grad-deg",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from grads to "
                                           "degrees, where degrees = grads * (9/10)",
                                       .example = "(grad-deg 100)"};

  static double Compute(double x) { return x * 9 / 10; }
};

class TGradRadFunction final : public TRealFunction<TGradRadFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "grad-rad",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from grads to "
                                           "radians, where radians = grads * (pi/200)",
                                       .example = "(grad-rad 200)"};

  static double Compute(double x) { return x * kPi / 200; }
};

class THypotenuseFunction final : public TRealPairFunction<THypotenuseFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "hypotenuse",
      .syntax = " <numeric-expression-X> <numeric-expression-Y>",
      .arguments = Exactly(2),
      .comment =
          "Returns the length of the hypotenuse of a triangle.  Specify the lengths of the sides "
          "adjacent to the right angle in <numeric-expression-X> and <numeric-expression-Y>.  Uses "
          "the formula hypotenuse = Sqrt(<numeric-expression-X>**2 + <numeric-expression-Y>**2)",
      .example = "(hypotenuse 3 4)"};

  static double Compute(double x, double y) { return std::hypot(x, y); }
};

class TRadCycleFunction final : public TRealFunction<TRadCycleFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "rad-cycle",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from radians to "
                                           "cycles, where radians = 2pi * cycles",
                                       .example = "(rad-cycle (PI))"};

  static double Compute(double x) { return x / (2 * kPi); }
};

class TRadDegFunction final : public TRealFunction<TRadDegFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "rad-deg",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from radians to "
                                           "degrees, where radians = degrees * (pi/180)",
                                       .example = "(rad-deg (PI))"};

  static double Compute(double x) { return x * 180 / kPi; }
};

class TRadGradFunction final : public TRealFunction<TRadGradFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "rad-grad",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns an angle measurement converted from radians to "
                                           "grads, where radians = grads * (pi/200)",
                                       .example = "(rad-grad (PI))"};

  static double Compute(double x) { return x * 200 / kPi; }
};

class TSecFunction final : public TRealFunction<TSecFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "sec",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment = "Returns the secant of <numeric-expression>",
                                       .example = "(sec 1)"};

  static double Compute(double x) { return Reciprocal(std::cos(x)); }
};

class TSecHFunction final : public TRealFunction<TSecHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "sech",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the hyperbolic secant of <numeric-expression>",
      .example = "(sech 1)"};

  static double Compute(double x) { return 1 / std::cosh(x); }
};

class TSinFunction final : public TRealFunction<TSinFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "sin",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the sine of the angle represented by the <numeric-expression>, in radians",
      .example = "(sin (/ (PI) 6))"};

  static double Compute(double x) { return std::sin(x); }
};

class TSinHFunction final : public TRealFunction<TSinHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "sinh",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the hyperbolic sine of the angle represented by the <numeric-expression>",
      .example = "(sinh 1)"};

  static double Compute(double x) { return std::sinh(x); }
};

class TTanFunction final : public TRealFunction<TTanFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "tan",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the tangent of <numeric-expression>, where tan = sin/cos",
      .example = "(tan (/ (PI) 4))"};

  static double Compute(double x) { return std::tan(x); }
};

class TTanHFunction final : public TRealFunction<TTanHFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "tanh",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the hyperbolic tangent of <numeric-expression>",
      .example = "(tanh 1)"};

  static double Compute(double x) { return std::tanh(x); }
};

}  // namespace

void AddTrigonometryFunctions(TUserFunctionList& functions) {
  functions.AddNew<
      TACosFunction, TACosHFunction, TACotFunction, TACotHFunction, TACscFunction, TACscHFunction,
      TASecFunction, TASecHFunction, TASinFunction, TASinHFunction, TATanFunction, TATan2Function,
      TATanHFunction, TCosFunction, TCosHFunction, TCotFunction, TCotHFunction, TCscFunction,
      TCscHFunction, TCycleRadFunction, TDegGradFunction, TDegRadFunction, TDistanceFunction,
      TDistanceSqrFunction, TDistanceManhattanFunction, TGradDegFunction, TGradRadFunction,
      THypotenuseFunction, TRadCycleFunction, TRadDegFunction, TRadGradFunction, TSecFunction,
      TSecHFunction, TSinFunction, TSinHFunction, TTanFunction, TTanHFunction>();
}

}  // namespace reasoner
