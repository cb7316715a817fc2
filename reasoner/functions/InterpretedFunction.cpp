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

// Arguments are evaluated in the new frame, one after the other, each after the formals before it
// are bound: a formal can hide a variable that a later argument names. In textbook semantics all of
// them are evaluated in the caller's frame first.
void TInterpretedFunction::BindFormals(const IFunCall& fun_call, TKBContext& frame) const {
  const std::int32_t given = fun_call.GetArgumentCount();
  std::vector<Ref<IKBValue>> evaluated;
  if (const IReasoner* engine = frame.GetEngine();
      engine != nullptr && engine->GetLink()->textbook_semantics) {
    for (std::int32_t i = 0; i < given; ++i)
      evaluated.push_back(fun_call.GetArgument(i)->Resolve(frame.GetParent()));
  }
  const auto argument = [&](std::int32_t i) {
    return evaluated.empty() ? fun_call.GetArgument(i)->Resolve(&frame)
                             : evaluated[static_cast<std::size_t>(i)];
  };
  for (std::int32_t i = 0; i < GetArgumentCount(); ++i) {
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
  BindFormals(fun_call, frame);
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
