#include "reasoner/functions/InterpretedFunction.h"

#include "reasoner/functions/Context.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TInterpretedFunction::AddArgument(const Text& name, TKBType type) {
  if (!TKBTypes{dtAtom, dtVariable, dtMultiVariable}.Has(type)) {
    Raise(SInvalidArgType, GetKBTypeName(type), "Atom, Variable, MultiVariable");
  }
  arguments_->Add(Make<TKBValue>(name, type));
}

void TInterpretedFunction::AddStatement(const Ref<IFunCall>& fun_call) {
  Given(fun_call, "function call");
  statements_->Add(NewFunCallValue(fun_call));
}

void TInterpretedFunction::AddStatement(const Ref<IKBValue>& value) {
  Given(value, "value");
  statements_->Add(value);
}

std::int32_t TInterpretedFunction::GetMinArgumentCount() const noexcept {
  return arguments_->GetValueCount();
}

std::int32_t TInterpretedFunction::GetMaxArgumentCount() const noexcept {
  const std::int32_t count = arguments_->GetValueCount();
  return count > 0 && arguments_->Last()->GetDType() == dtMultiVariable ? kNoArgumentLimit : count;
}

// True when all formals are variables of the function's own frame, and a `$?name` is the last one.
bool TInterpretedFunction::BindsEachArgumentOnce() const {
  const std::int32_t last = GetArgumentCount() - 1;
  for (std::int32_t i = 0; i <= last; ++i) {
    const TKBType type = GetArgument(i)->GetDType();
    if (type != dtVariable && (type != dtMultiVariable || i < last)) return false;
  }
  return true;
}

// All arguments are evaluated in the caller's frame before the first is bound. In the literal
// meaning each is evaluated in the new frame, after the formals before it are bound: a formal can
// hide a variable that a later argument names. The argument of a formal that is no variable is
// evaluated in neither.
void TInterpretedFunction::BindFormals(const IFunCall& fun_call, TKBContext& frame,
                                       bool is_literal) const {
  const std::int32_t given = fun_call.GetArgumentCount();
  const std::int32_t count = GetArgumentCount();
  TKBContext* const scope = is_literal ? &frame : frame.GetParent();
  std::vector<Ref<IKBValue>> evaluated;
  // OPTIMIZATION: the caller's frame does not see the formals, so each argument is evaluated where
  // its formal is bound, unless a formal writes to another frame or shares its argument with one
  // behind it.
  if (!is_literal && !BindsEachArgumentOnce()) {
    const bool has_rest = count > 0 && GetArgument(count - 1)->GetDType() == dtMultiVariable;
    for (std::int32_t i = 0; i < given; ++i) {
      const bool is_bound = i < count ? GetArgument(i)->GetDType() != dtAtom : has_rest;
      evaluated.push_back(is_bound ? fun_call.GetArgument(i)->Resolve(scope) : Ref<IKBValue>());
    }
  }
  const auto argument = [&](std::int32_t i) {
    return evaluated.empty() ? fun_call.GetArgument(i)->Resolve(scope)
                             : evaluated[static_cast<std::size_t>(i)];
  };
  for (std::int32_t i = 0; i < count; ++i) {
    const IKBValue& formal = *GetArgument(i);
    const Text name = formal.GetAsString();
    switch (formal.GetDType()) {
      case dtMultiVariable: {
        const Ref<IValueVector> rest = NewVector();
        for (std::int32_t j = i; j < given; ++j) rest->Add(argument(j));
        frame.AddLocalBinding(name, NewList(rest));
        break;
      }
      case dtVariable:
        if (i >= given) Raise(STooFewArgs, GetFunctionName().view());
        frame.AddLocalBinding(name, argument(i));
        break;
      default:
        frame.SetVariable(name, FCNil);
    }
  }
}

void TInterpretedFunction::Call(const IFunCall& fun_call, TKBContext& context,
                                Ref<IKBValue>& result) {
  std::int32_t wanted = 0;
  for (const Ref<IKBValue>& formal : *arguments_)
    wanted += formal->GetDType() == dtMultiVariable ? 0 : 1;
  if (fun_call.GetArgumentCount() < wanted) Raise(STooFewArgs, GetFunctionName().view());
  // The frame lives and ends here: a `return` in the body is this call's alone, and a `return` that
  // is pending in the caller is not touched.
  TKBContext frame(&context, context.GetEngine());
  const IReasoner* const engine = context.GetEngine();
  const bool is_literal = engine != nullptr && !engine->GetLink()->textbook_semantics;
  // In the literal meaning the body sees the variables of its caller, too.
  if (!is_literal) frame.HideCallers();
  BindFormals(fun_call, frame, is_literal);
  const Ref<IValueVector> statements = statements_;
  result = FCNil;
  for (std::int32_t i = 0; i < statements->GetValueCount(); ++i) {
    result = statements->GetItem(i)->Resolve(&frame);
    if (!frame.HasReturnValue()) continue;
    result = frame.GetReturnValue();
    frame.ClearReturnValue();
    break;
  }
  if (result) result = result->Resolve(&frame);
}

}  // namespace reasoner
