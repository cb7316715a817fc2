// TUserFunction: a function that a host supplies through an event.
//
// The component may be a plain object of the host. Calls hold its inner function, which outlives it
// and then raises "Function is unimplemented or unassigned: %s".

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "reasoner/functions/UserFunction.h"
#include "reasoner/support/Component.h"
#include "reasoner/support/Event.h"

namespace reasoner {

// `result` is nil when the handler leaves it alone. Arguments are evaluated by the handler:
// fun_call.GetArgument(i)->Resolve(&context).
using TCallEvent = Event<void(TObject& sender, const IFunCall& fun_call, TKBContext& context,
                              Ref<IKBValue>& result)>;

class TCustomUserFunction;

// The function object behind a host's component.
class TKBInnerFunction final : public TKBUserFunction {
 public:
  explicit TKBInnerFunction(TCustomUserFunction& owner) : owner_(&owner) {}
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override;
  void LeaveOwner() noexcept { owner_ = nullptr; }

 private:
  TCustomUserFunction* owner_;  // takes itself off when it dies
};

class TCustomUserFunction : public TComponent {
 public:
  explicit TCustomUserFunction(TComponent* owner = nullptr);
  ~TCustomUserFunction() override;

  // What the function does.
  TCallEvent OnCall;

  // The engine that knows the function under its name; it leaves the old one.
  IReasoner* GetEngine() const noexcept { return engine_; }
  void SetEngine(IReasoner* engine);
  const Ref<IUserFunction>& GetFunction() const noexcept { return function_; }

  virtual void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result);
  void Notification(TComponent& component, TOperation operation) override;

 protected:
  void BoundsChanged();

  Ref<IUserFunction> function_;

 private:
  IReasoner* engine_ = nullptr;  // watched as a component
};

class TUserFunction final : public TCustomUserFunction {
 public:
  using TCustomUserFunction::TCustomUserFunction;

  std::string ClassName() const override { return "TUserFunction"; }
  const Text& GetFunctionName() const noexcept { return function_->GetFunctionName(); }
  const std::string& GetComment() const noexcept { return function_->GetComment(); }
  const std::string& GetArgumentString() const noexcept { return function_->GetArgumentString(); }
  std::int32_t GetMinArgumentCount() const noexcept { return function_->GetMinArgumentCount(); }
  std::int32_t GetMaxArgumentCount() const noexcept { return function_->GetMaxArgumentCount(); }
  void SetFunctionName(std::string_view name);
  void SetComment(std::string_view comment) { function_->SetComment(comment); }
  void SetArgumentString(std::string_view text) { function_->SetArgumentString(text); }
  // These two make the argument string anew from the words that it holds.
  void SetMinArgumentCount(std::int32_t count);
  void SetMaxArgumentCount(std::int32_t count);
};

// The argument text for bounds: the "<...>" of `source` one after the other, " <expression>" where
// there is none, what may be left out in brackets, at most `limit` arguments. "<a> <b>" with 1 and
// 3 gives "<a>[ <b>[ <expression>]]".
std::string CreateArgumentExpressions(std::string_view source, std::int32_t min, std::int32_t max,
                                      std::int32_t limit);

}  // namespace reasoner
