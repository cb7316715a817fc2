// Not for hosts: the bases of functions that reckon with real numbers and answer a float.
//
// A class gives the mathematics alone, `Compute`. It answers NaN where the function has no value:
// outside its domain, and at a pole. From finite arguments that is a failure which shows the
// argument, and an infinity means that the result is too large for a float.

#pragma once

#include <cmath>
#include <limits>

#include "reasoner/library/Builtin.h"

namespace reasoner {

inline constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

[[noreturn]] void RaiseInvalidArgument(const IFunCall& fun_call, const IKBValue& argument);

// Raises for a number that is not finite although all arguments were.
void CheckOverflow(double number, bool finite_arguments, const IFunCall& fun_call);

// What was reckoned from finite arguments, as a cell; `argument` is the one to show when there is
// no value.
Ref<IKBValue> NewResult(double number, const IFunCall& fun_call, const IKBValue& argument);

// One over a number, without a value at 0.
inline double Reciprocal(double number) { return number == 0 ? kNoValue : 1 / number; }

template <class TSelf>
class TRealFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> argument = EvaluateArgument(fun_call, 0, context);
    const double x = argument->GetAsNumeric();
    const double y = TSelf::Compute(x);
    result = std::isfinite(x) ? NewResult(y, fun_call, *argument) : NewFloat(y);
  }
};

// Of two numbers.
template <class TSelf>
class TRealPairFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> first = EvaluateArgument(fun_call, 0, context);
    const Ref<IKBValue> second = EvaluateArgument(fun_call, 1, context);
    const double a = first->GetAsNumeric();
    const double b = second->GetAsNumeric();
    const double y = TSelf::Compute(a, b);
    result = std::isfinite(a) && std::isfinite(b) ? NewResult(y, fun_call, *first) : NewFloat(y);
  }
};

}  // namespace reasoner
