#include "reasoner/functions/UserFunction.h"

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/support/FirstFailure.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TKBUserFunction::SetFunctionName(std::string_view name) {
  if (function_name_ == name) return;
  const Ref<TKBUserFunction> self(this);  // an engine's table may hold the last reference
  const std::vector<Ref<TReasonerLink>> reasoners = reasoners_;
  FirstFailure failures;
  const auto move_to = [&](const Text& new_name) {
    reasoners_.clear();
    for (const Ref<TReasonerLink>& link : reasoners) {
      if (link->engine != nullptr) failures.Try([&] { link->engine->RemoveUserFunction(*this); });
    }
    function_name_ = new_name;
    bool is_refused = false;
    for (const Ref<TReasonerLink>& link : reasoners) {
      if (link->engine == nullptr) continue;
      failures.Try([&] { AddReasoner(*link->engine); });
      is_refused = is_refused || IndexOfReasoner(*link->engine) < 0;
    }
    return !is_refused;
  };
  const Text old = function_name_;
  if (!move_to(Text(name))) move_to(old);  // an engine holds another function of that name
  failures.Raise();
}

void TKBUserFunction::SetMinArgumentCount(std::int32_t count) {
  min_arguments_ = count;
  if (max_arguments_ < count) max_arguments_ = count;
}

void TKBUserFunction::SetMaxArgumentCount(std::int32_t count) {
  max_arguments_ = count;
  if (min_arguments_ > count) min_arguments_ = count;
}

IReasoner* TKBUserFunction::GetReasoner(std::int32_t index) const {
  if (index < 0 || index >= GetReasonerCount()) Raise(SListIndexError, index);
  return reasoners_[static_cast<std::size_t>(index)]->engine;
}

std::int32_t TKBUserFunction::IndexOfReasoner(const IReasoner& reasoner) const {
  for (std::size_t i = 0; i < reasoners_.size(); ++i) {
    if (reasoners_[i]->engine == &reasoner) return static_cast<std::int32_t>(i);
  }
  return -1;
}

void TKBUserFunction::AddReasoner(IReasoner& reasoner) {
  if (IndexOfReasoner(reasoner) >= 0) return;
  reasoners_.push_back(reasoner.GetLink());
  try {
    ReasonerNotification(reasoner, lnAdded);
  } catch (...) {
    // An engine that has refused the function is none of its engines.
    const std::int32_t index = IndexOfReasoner(reasoner);
    if (index >= 0 && reasoner.GetUserFunction(GetFunctionName()) != this)
      reasoners_.erase(reasoners_.begin() + index);
    throw;
  }
}

void TKBUserFunction::DeleteReasoner(IReasoner& reasoner) {
  const std::int32_t index = IndexOfReasoner(reasoner);
  if (index >= 0) DeleteReasoner(index);
}

void TKBUserFunction::DeleteReasoner(std::int32_t index) {
  IReasoner* reasoner = GetReasoner(index);
  reasoners_.erase(reasoners_.begin() + index);
  if (reasoner != nullptr) ReasonerNotification(*reasoner, lnDeleted);
}

void TKBUserFunction::ClearReasoners() {
  const Ref<TKBUserFunction> self(this);
  FirstFailure failures;
  while (!reasoners_.empty()) failures.Try([this] { DeleteReasoner(GetReasonerCount() - 1); });
  failures.Raise();
}

void TKBUserFunction::ReasonerNotification(IReasoner& reasoner, TListNotification action) {
  const Ref<TKBUserFunction> self(this);
  if (action == lnAdded) {
    reasoner.AddUserFunction(self);
  } else {
    reasoner.RemoveUserFunction(*this);
  }
}

void TKBUserFunction::Invoke(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) {
  const std::int32_t count = fun_call.GetArgumentCount();
  if (count < min_arguments_) Raise(STooFewArgs, function_name_.view());
  if (count > max_arguments_) Raise(STooManyArgs, function_name_.view());
  Call(fun_call, context, result);
}

void TKBUserFunction::Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) {
  result = nullptr;
}

std::string TKBUserFunction::ToString(IReasoner& reasoner) const {
  return reasoner.PrettyPrint(*this);
}

}  // namespace reasoner
