// Arithmetic.
//
// Numbers are reckoned as floats of 64 bits. Sums, differences, products, the largest and the
// smallest are integers unless a float takes part.

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/RealFunction.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

// An integer result that may be too large for a cell.
Ref<IKBValue> NewCheckedInteger(std::int64_t value, const IFunCall& fun_call) {
  if (value < std::numeric_limits<std::int32_t>::min() ||
      value > std::numeric_limits<std::int32_t>::max()) {
    Raise(SIntegerOverflow, fun_call.GetName().view(), IntegerToText(value));
  }
  return NewInteger(static_cast<std::int32_t>(value));
}

Ref<IKBValue> NewRounded(double value, const IFunCall& fun_call) {
  const std::optional<std::int32_t> rounded = RoundToInteger(value);
  if (!rounded) Raise(SIntegerOverflow, fun_call.GetName().view(), FloatToText(value));
  return NewInteger(*rounded);
}

// Combines the arguments one after the other: an integer until a float takes part, or until none
// can hold the result.
template <class TSelf>
class TRunningFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    double running = TSelf::kStart;
    bool is_float = false;
    bool finite = true;
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const Ref<IKBValue> value = EvaluateArgument(fun_call, i, context);
      const double number = value->GetAsNumeric();
      running = i == 0 && TSelf::kStartsWithFirst ? number : TSelf::Combine(running, number);
      is_float = is_float || value->GetDType() == dtFloat;
      finite = finite && std::isfinite(number);
    }
    CheckOverflow(running, finite, fun_call);
    const std::optional<std::int32_t> rounded = RoundToInteger(running);
    result = is_float || !rounded ? NewFloat(running) : NewInteger(*rounded);
  }
};

// The first argument that is `Better` than all before it. The result is a float once a float has
// won at its turn.
template <class TSelf>
class TExtremeFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    double best = 0;
    bool is_float = false;
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const Ref<IKBValue> value = EvaluateArgument(fun_call, i, context);
      const double number = value->GetAsNumeric();
      if (i > 0 && !TSelf::Better(number, best)) continue;
      best = number;
      is_float = is_float || value->GetDType() == dtFloat;
    }
    result = is_float ? NewFloat(best) : NewRounded(best, fun_call);
  }
};

class TAbsFunction final : public TBuiltinFunction<TAbsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "abs",
                                       .syntax = " <numeric-expression>",
                                       .arguments = Exactly(1),
                                       .comment = "Returns the absolute value of the argument",
                                       .example = "(abs -3.5)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> value = EvaluateArgument(fun_call, 0, context);
    switch (value->GetDType()) {
      case dtInteger:
        result = NewCheckedInteger(std::abs(std::int64_t{value->RawInteger()}), fun_call);
        return;
      case dtFloat:
        result = NewFloat(std::abs(value->RawFloat()));
        return;
      default:
        Raise(SMissingNumeric, fun_call.GetName().view());
    }
  }
};

class TIntegerDivideFunction final : public TBuiltinFunction<TIntegerDivideFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "div",
      .syntax = " <integer-expression>+",
      .arguments = AtLeast(1),
      .comment =
          "Returns the value of the first argument integer divided (i.e., fractions are dropped) "
          "by each of the subsequent arguments (arg0 div arg1 div arg2...)",
      .example = "(div 17 5)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    std::int64_t quotient = IntegerArgument(fun_call, 0, context);
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      const std::int32_t divisor = IntegerArgument(fun_call, i, context);
      if (divisor == 0) Raise(SDivisionByZero, fun_call.GetName().view());
      quotient /= divisor;
    }
    result = NewCheckedInteger(quotient, fun_call);
  }
};

class TDivideFunction final : public TBuiltinFunction<TDivideFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "/",
      .syntax = " <numeric-expression>+",
      .arguments = AtLeast(1),
      .comment =
          "Returns the value of the first argument divided by each of the subsequent arguments "
          "(arg0 / arg1 / arg2...)",
      .example = "(/ 7 2)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    double quotient = NumericArgument(fun_call, 0, context);
    bool finite = std::isfinite(quotient);
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      const double divisor = NumericArgument(fun_call, i, context);
      if (divisor == 0) Raise(SDivisionByZero, fun_call.GetName().view());
      quotient /= divisor;
      finite = finite && std::isfinite(divisor);
    }
    CheckOverflow(quotient, finite, fun_call);
    result = NewFloat(quotient);
  }
};

class TExpFunction final : public TRealFunction<TExpFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "exp",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the value of e raised to the power of <numeric-expression>, where e is the base "
          "of the natural logarithms",
      .example = "(exp 1)"};

  static double Compute(double x) { return std::exp(x); }
};

class TExptFunction final : public TRealPairFunction<TExptFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "**",
      .syntax = " <numeric-expression> <numeric-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns the value of the first argument raised to the power of the second argument",
      .example = "(** 2 10)"};

  // A power of 0 with a negative exponent is a pole.
  static double Compute(double base, double exponent) {
    return base == 0 && exponent < 0 ? kNoValue : std::pow(base, exponent);
  }
};

class TFloatFunction final : public TRealFunction<TFloatFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "float",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the <numeric-argument> converted to type float",
      .example = "(float 3)"};

  static double Compute(double x) { return x; }
};

class TIntegerFunction final : public TBuiltinFunction<TIntegerFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "integer",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the <numeric-argument> converted to type integer",
      .example = "(integer -2.7)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewInteger(IntegerArgument(fun_call, 0, context));
  }
};

class TLogFunction final : public TRealFunction<TLogFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "log",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the natural log of the <numeric-expression>",
      .example = "(log 10)"};

  static double Compute(double x) { return x == 0 ? kNoValue : std::log(x); }
};

class TLog10Function final : public TRealFunction<TLog10Function> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "log10",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the log base 10 of the <numeric-expression>",
      .example = "(log10 1000)"};

  static double Compute(double x) { return x == 0 ? kNoValue : std::log10(x); }
};

class TMaxFunction final : public TExtremeFunction<TMaxFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "max",
      .syntax = " <numeric-expression>+",
      .arguments = AtLeast(1),
      .comment = "Returns the value of the maximum or largest argument",
      .example = "(max 3 7.5 2)"};

  static bool Better(double number, double best) { return number > best; }
};

class TMinFunction final : public TExtremeFunction<TMinFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "min",
      .syntax = " <numeric-expression>+",
      .arguments = AtLeast(1),
      .comment = "Returns the value of the minimum or smallest argument",
      .example = "(min 3 7.5 2)"};

  static bool Better(double number, double best) { return number < best; }
};

class TMinusFunction final : public TRunningFunction<TMinusFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "-",
                                       .syntax = " <numeric-expression>+",
                                       .arguments = AtLeast(1),
                                       .comment =
                                           "Returns the value of the first argument minus each of "
                                           "the subsequent arguments (arg0 - arg1 - arg2...)",
                                       .example = "(- 10 3 2)"};

  // One argument comes back as it is: there is no negation.
  static constexpr double kStart = 0;
  static constexpr bool kStartsWithFirst = true;
  static double Combine(double running, double number) { return running - number; }
};

class TModFunction final : public TBuiltinFunction<TModFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "mod",
      .syntax = " <integer-expression> <integer-expression>",
      .arguments = Exactly(2),
      .comment = "Returns the value of the first argument MOD the second argument",
      .example = "(mod -7 3)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const std::int64_t dividend = IntegerArgument(fun_call, 0, context);
    const std::int64_t divisor = IntegerArgument(fun_call, 1, context);
    if (divisor == 0) Raise(SDivisionByZero, fun_call.GetName().view());
    result = NewInteger(static_cast<std::int32_t>(dividend % divisor));
  }
};

class TPiFunction final : public TBuiltinFunction<TPiFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "PI",
                                       .syntax = "",
                                       .arguments = Exactly(0),
                                       .comment = "Returns the value of PI",
                                       .example = "(PI)"};

  void Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) override { result = FCPI; }
};

class TPlusFunction final : public TRunningFunction<TPlusFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "+",
      .syntax = " <numeric-expression>+",
      .arguments = AtLeast(0),
      .comment = "Returns a value that is the sum of all the arguments",
      .example = "(+ 1 2 3.5)"};

  static constexpr double kStart = 0;
  static constexpr bool kStartsWithFirst = false;
  static double Combine(double running, double number) { return running + number; }
};

class TRandomFunction final : public TBuiltinFunction<TRandomFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "random",
      .syntax = " [[<low-integer-expression>] <high-integer-expression>]",
      .arguments = Between(0, 2),
      .comment =
          "Returns a random number between <from-integer-expression> and <to-integer-expression>.  "
          "If only one argument is specified, a number between 0 and the <to-integer-expression> "
          "is returned.  If NO arguments are specified, a number between 0 and 65535 is returned",
      .example = "(random 1 6)",
      .prelude = "(seed 42)"};

  // The second of two arguments is the width of the range, not its upper end.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    std::int32_t low = 0;
    std::int32_t width = 65536;
    const std::int32_t count = fun_call.GetArgumentCount();
    if (count > 1) low = IntegerArgument(fun_call, 0, context);
    if (count > 0) width = IntegerArgument(fun_call, count - 1, context);
    if (width < 1 || std::int64_t{low} + width - 1 > std::numeric_limits<std::int32_t>::max()) {
      Raise(SInvalidLowHiLimits, static_cast<double>(low), static_cast<double>(width));
    }
    TRandom& random = EngineOf(context).GetRandom();
    result = NewInteger(low +
                        static_cast<std::int32_t>(random.Below(static_cast<std::uint32_t>(width))));
  }
};

void SeedFromArgument(const IFunCall& fun_call, TKBContext& context) {
  const std::int32_t seed = IntegerArgument(fun_call, 0, context);
  EngineOf(context).GetRandom().SetSeed(static_cast<std::uint32_t>(seed));
}

class TRandomizeFunction final : public TBuiltinFunction<TRandomizeFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "randomize",
      .syntax = " [<seed-integer-expression> ]",
      .arguments = Between(0, 1),
      .comment =
          "Sets the random number generator seed.  If no argument is given, the seed is set "
          "randomly from the system clock",
      .example = "(randomize 42)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    if (fun_call.GetArgumentCount() > 0) {
      SeedFromArgument(fun_call, context);
    } else {
      const auto now = std::chrono::system_clock::now().time_since_epoch().count();
      EngineOf(context).GetRandom().SetSeed(static_cast<std::uint64_t>(now));
    }
    result = FCTrue;
  }
};

class TRoundFunction final : public TBuiltinFunction<TRoundFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "round",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the <numeric-argument> rounded to the nearest integer",
      .example = "(round 2.5)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewRounded(NumericArgument(fun_call, 0, context), fun_call);
  }
};

class TSeedFunction final : public TBuiltinFunction<TSeedFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "seed",
      .syntax = " <integer-expression>",
      .arguments = Exactly(1),
      .comment = "Sets the random number generator seed to the argument",
      .example = "(seed 42)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    SeedFromArgument(fun_call, context);
    result = FCTrue;
  }
};

class TSqrtFunction final : public TRealFunction<TSqrtFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "sqrt",
      .syntax = " <numeric-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the square root of the <numeric-expression>",
      .example = "(sqrt 2)"};

  static double Compute(double x) { return std::sqrt(x); }
};

class TTimesFunction final : public TRunningFunction<TTimesFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "*",
      .syntax = " <numeric-expression>+",
      .arguments = AtLeast(0),
      .comment = "Returns a value that is the product of all the arguments",
      .example = "(* 6 7)"};

  static constexpr double kStart = 1;
  static constexpr bool kStartsWithFirst = false;
  static double Combine(double running, double number) { return running * number; }
};

}  // namespace

void AddMathFunctions(TUserFunctionList& functions) {
  functions.AddNew<TAbsFunction, TIntegerDivideFunction, TDivideFunction, TExpFunction,
                   TExptFunction, TFloatFunction, TIntegerFunction, TLogFunction, TLog10Function,
                   TMaxFunction, TMinFunction, TMinusFunction, TModFunction, TPiFunction,
                   TPlusFunction, TRandomFunction, TRandomizeFunction, TRoundFunction,
                   TSeedFunction, TSqrtFunction, TTimesFunction>();
}

}  // namespace reasoner
