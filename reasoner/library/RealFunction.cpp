#include "reasoner/library/RealFunction.h"

#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void RaiseInvalidArgument(const IFunCall& fun_call, const IKBValue& argument) {
  Raise(SInvalidArgument, fun_call.GetName().view(), argument.ToString());
}

void CheckOverflow(double number, bool finite_arguments, const IFunCall& fun_call) {
  if (finite_arguments && !std::isfinite(number)) {
    Raise(SFloatOverflow, fun_call.GetName().view());
  }
}

Ref<IKBValue> NewResult(double number, const IFunCall& fun_call, const IKBValue& argument) {
  if (std::isnan(number)) RaiseInvalidArgument(fun_call, argument);
  CheckOverflow(number, true, fun_call);
  return NewFloat(number);
}

}  // namespace reasoner
