#include "reasoner/functions/FunctionCall.h"

#include <new>

#include "reasoner/facts/Fact.h"
#include "reasoner/functions/Context.h"
#include "reasoner/functions/UserFunction.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

TFunctionCall::TFunctionCall(IReasoner* reasoner, const Text& name) : name_(name) {
  if (reasoner != nullptr) reasoner_ = reasoner->GetLink();
}

const Ref<IKBValue>& TFunctionCall::GetArgument(std::int32_t index) const {
  if (index < 0 || index >= GetArgumentCount()) Raise(SListIndexError, index);
  return arguments_[static_cast<std::size_t>(index)];
}

void TFunctionCall::SetArgument(std::int32_t index, const Ref<IKBValue>& value) {
  GetArgument(index);
  Given(value, "value");
  CheckChangeable();
  arguments_[static_cast<std::size_t>(index)] = value;
}

std::int32_t TFunctionCall::AddArgument(const Ref<IKBValue>& value) {
  Given(value, "value");
  CheckChangeable();
  arguments_.push_back(value);
  return GetArgumentCount() - 1;
}

std::int32_t TFunctionCall::AddArgument(const Ref<IFunCall>& fun_call) {
  Given(fun_call, "function call");
  return AddArgument(NewFunCallValue(fun_call));
}

std::int32_t TFunctionCall::AddArgument(const Ref<IFact>& fact) {
  Given(fact, "fact");
  return AddArgument(NewFactValue(fact));
}

std::int32_t TFunctionCall::AddArgument(const Ref<IValueVector>& list) {
  return AddArgument(NewList(list));
}

std::int32_t TFunctionCall::AddArgument(const Text& text, TKBType type) {
  if (!KBStringTypes.Has(type)) Raise(SNotCorrectType, "String", text.view(), GetKBTypeName(type));
  return AddArgument(Make<TKBValue>(text, type));
}

std::int32_t TFunctionCall::AddArgument(std::int32_t value, TKBType type) {
  if (type == dtInteger) return AddArgument(NewInteger(value));
  if (type == dtFloat) return AddArgument(NewFloat(value));
  Raise(SNotCorrectType, "Integer", IntegerToText(value), GetKBTypeName(type));
}

std::int32_t TFunctionCall::AddArgument(double value, TKBType type) {
  if (type == dtInteger) return AddArgument(NewInteger(NewFloat(value)->GetAsInteger()));
  if (type == dtFloat) return AddArgument(NewFloat(value));
  Raise(SNotCorrectType, "Float", FloatToText(value), GetKBTypeName(type));
}

void TFunctionCall::Delete(std::int32_t index) {
  const Ref<IKBValue> doomed = GetArgument(index);
  CheckChangeable();
  arguments_.erase(arguments_.begin() + index);
}

void TFunctionCall::Clear() {
  CheckChangeable();
  arguments_.clear();
}

void TFunctionCall::CheckChangeable() const {
  if (frozen_) Raise(SListedValue, ToString());
}

void TFunctionCall::Freeze() {
  if (frozen_) return;
  const DepthGuard guard("function call");
  frozen_ = true;  // first: a call may hold itself
  for (const Ref<IKBValue>& argument : arguments_) argument->Freeze();
}

IUserFunction* TFunctionCall::LookUp() const {
  if (bound_) return bound_.get();
  if (!reasoner_ || reasoner_->engine == nullptr) return nullptr;
  if (found_ == nullptr || generation_ != reasoner_->function_generation) {
    Ref<IUserFunction> function;
    reasoner_->engine->ContainsUserFunction(name_, function);
    found_ = function.get();  // the engine's table keeps it until the generation goes up
    generation_ = reasoner_->function_generation;
  }
  return found_;
}

Ref<IUserFunction> TFunctionCall::GetUserFunction() const { return Ref<IUserFunction>(LookUp()); }

void TFunctionCall::SetUserFunction(const Ref<IUserFunction>& function) {
  if (bound_ == function) return;
  CheckChangeable();
  bound_ = function;
  keeps_binding_ = false;
  name_ = function ? function->GetFunctionName() : Text();
}

void TFunctionCall::BindLogicFunction(const Ref<IUserFunction>& function) {
  bound_ = function;
  keeps_binding_ = true;
}

void TFunctionCall::Execute(IScope* scope, Ref<IKBValue>& result) {
  const DepthGuard guard("function call");
  const Ref<IUserFunction> function(LookUp());
  if (!function) Raise(SNoSuchFunction, name_.view());
  if (reasoner_ && reasoner_->engine != nullptr) reasoner_->engine->CheckInterrupt();
  if (scope == nullptr) {
    TKBContext nowhere(nullptr, nullptr);
    function->Invoke(*this, nowhere, result);
  } else if (TKBContext* const frame = scope->GetFrame()) {
    function->Invoke(*this, *frame, result);
  } else {
    IReasoner* const engine = reasoner_ ? reasoner_->engine : nullptr;
    TKBContext over_scope(engine == nullptr ? nullptr : &engine->GetContext(), engine, *scope);
    function->Invoke(*this, over_scope, result);
  }
}

Ref<IKBValue> TFunctionCall::SimpleExecute(TKBContext& context) {
  const Ref<IUserFunction> function = bound_;
  if (!function) Raise(SNoSuchFunction, name_.view());
  Ref<IKBValue> result;
  try {
    function->Invoke(*this, context, result);
  } catch (const EAbort&) {
    throw;
  } catch (const EKBInterrupted&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& failure) {
    Raise(SFunctionError, name_.view(), failure.what());
  }
  return result;
}

void TFunctionCall::Assign(const TFunctionCall& source) {
  if (&source == this) return;
  CheckChangeable();
  std::vector<Ref<IKBValue>> arguments;
  arguments.reserve(source.arguments_.size());
  for (const Ref<IKBValue>& argument : source.arguments_) {
    arguments.push_back(argument ? argument->Clone() : nullptr);
  }
  arguments_.swap(arguments);
  name_ = source.name_;
  comment_ = source.comment_;
  tag_ = source.tag_;
  found_ = nullptr;
}

Ref<IFunCall> TFunctionCall::Clone() const {
  Ref<IFunCall> clone = Make<TFunctionCall>(GetReasoner(), name_);
  clone->Assign(*this);
  if (keeps_binding_) clone->BindLogicFunction(bound_);
  return clone;
}

bool TFunctionCall::Equals(const ICloneable& other) const {
  if (this == &other) return true;
  const auto* call = dynamic_cast<const TFunctionCall*>(&other);
  if (call == nullptr || !(name_ == call->name_) || arguments_.size() != call->arguments_.size())
    return false;
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    const IKBValue* a = arguments_[i].get();
    const IKBValue* b = call->arguments_[i].get();
    if (a != b && (a == nullptr || b == nullptr || !a->Equals(*b))) return false;
  }
  return true;
}

std::uint32_t TFunctionCall::GetHashCode() const {
  std::uint32_t hash = name_.Hash();
  for (const Ref<IKBValue>& argument : arguments_) {
    if (argument) hash += argument->GetHashCode();
  }
  return hash;
}

std::string FunCallToText(const IFunCall& fun_call, bool pairs) {
  const DepthGuard guard("function call");
  std::string text = "(" + fun_call.GetName().str();
  for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
    const bool pair = pairs && i > 0;
    text += pair ? " (" : " ";
    if (fun_call.GetArgument(i)) fun_call.GetArgument(i)->AppendTo(text);
    if (pair) text += ')';
  }
  text += ')';
  return text;
}

std::string TFunctionCall::ToString() const {
  if (IReasoner* reasoner = GetReasoner()) return reasoner->PrettyPrint(*this);
  return FunCallToText(*this, name_ == "modify" || name_ == "duplicate");
}

// The cell's side of calls: it holds them, and this floor knows what they are.

IFunCall* TKBValue::GetAsFunCall() const {
  return static_cast<IFunCall*>(SharedOf(dtFunCall, "function call"));
}

void TKBValue::SetAsFunCall(const Ref<IFunCall>& fun_call) { SetShared(fun_call, dtFunCall); }

Ref<IKBValue> NewFunCallValue(const Ref<IFunCall>& fun_call) {
  Ref<IKBValue> value = Make<TKBValue>();
  value->SetAsFunCall(fun_call);
  return value;
}

}  // namespace reasoner
