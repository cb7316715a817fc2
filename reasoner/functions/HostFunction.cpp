#include "reasoner/functions/HostFunction.h"

#include "reasoner/functions/Context.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/support/FirstFailure.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

static constexpr std::int32_t kShownArguments = 10;

void TKBInnerFunction::Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) {
  if (owner_ == nullptr) Raise(SNoSuchFunction, GetFunctionName().view());
  owner_->Call(fun_call, context, result);
}

TCustomUserFunction::TCustomUserFunction(TComponent* owner)
    : TComponent(owner), function_(Make<TKBInnerFunction>(*this)) {}

TCustomUserFunction::~TCustomUserFunction() {
  BeginDestruction();
  FirstFailure().Try([this] { SetEngine(nullptr); });  // a destructor's failures go nowhere
  static_cast<TKBInnerFunction&>(*function_).LeaveOwner();
}

void TCustomUserFunction::SetEngine(IReasoner* engine) {
  if (engine == engine_) return;
  IReasoner* old = engine_;
  engine_ = engine;
  FirstFailure failures;
  const ComponentWatch watch(*this);  // handlers may end the function, or give it another engine
  if (old != nullptr) {
    failures.Try([&, function = function_] { function->DeleteReasoner(*old); });
    if (!watch.HasEnded()) old->AsComponent().RemoveFreeNotification(*this);
  }
  failures.Raise();
  if (watch.HasEnded() || engine_ != engine || engine == nullptr) return;
  engine->AsComponent().FreeNotification(*this);
  if (!function_->GetFunctionName().empty()) function_->AddReasoner(*engine);
}

void TCustomUserFunction::Call(const IFunCall& fun_call, TKBContext& context,
                               Ref<IKBValue>& result) {
  result = FCNil;
  OnCall(*this, fun_call, context, result);
}

void TCustomUserFunction::Notification(TComponent& component, TOperation operation) {
  TComponent::Notification(component, operation);
  if (operation == opRemove && engine_ != nullptr && &engine_->AsComponent() == &component)
    SetEngine(nullptr);
}

void TCustomUserFunction::BoundsChanged() {
  function_->SetArgumentString(
      CreateArgumentExpressions(function_->GetArgumentString(), function_->GetMinArgumentCount(),
                                function_->GetMaxArgumentCount(), kShownArguments));
}

void TUserFunction::SetFunctionName(std::string_view name) {
  const ComponentWatch watch(*this);  // a handler may end the function
  const Ref<IUserFunction> function = function_;
  function->SetFunctionName(name);
  if (!watch.HasEnded() && GetEngine() != nullptr && !name.empty())
    function->AddReasoner(*GetEngine());
}

void TUserFunction::SetMinArgumentCount(std::int32_t count) {
  function_->SetMinArgumentCount(count);
  BoundsChanged();
}

void TUserFunction::SetMaxArgumentCount(std::int32_t count) {
  function_->SetMaxArgumentCount(count);
  BoundsChanged();
}

std::string CreateArgumentExpressions(std::string_view source, std::int32_t min, std::int32_t max,
                                      std::int32_t limit) {
  if (min > max || max == 0) return "";
  std::string text;
  std::int32_t open = 0;
  std::size_t from = 0;
  if (min == 0) {
    text += '[';
    ++open;
  }
  for (std::int32_t i = 0; i < max && i < limit; ++i) {
    const std::size_t begin = source.find('<', from);
    const std::size_t end = begin == std::string_view::npos ? begin : source.find('>', begin);
    if (end == std::string_view::npos) {
      text += " <expression>";
      from = source.size();
    } else {
      text += ' ';
      text += source.substr(begin, end - begin + 1);
      from = end + 1;
    }
    if (i + 1 >= min && i < max - 1) {
      text += '[';
      ++open;
    }
  }
  text.append(static_cast<std::size_t>(open), ']');
  return text.substr(text.find_first_not_of(' '));
}

}  // namespace reasoner
