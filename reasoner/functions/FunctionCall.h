// TFunctionCall: one call as it is written: a name and unevaluated arguments.
//
// The function is looked up when the call runs, and again whenever the engine's functions have
// changed, so a call may be parsed before its function exists, and a redefinition takes effect in
// every caller. The call keeps its function by plain pointer and holds a counted reference while it
// runs: a function may well stand in its own body.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/support/Pool.h"
#include "reasoner/values/KBValue.h"

namespace reasoner {

class TFunctionCall final : public ICallable, public Pooled {
 public:
  explicit TFunctionCall(IReasoner* reasoner = nullptr, const Text& name = {});

  const Text& GetName() const noexcept { return name_; }
  const Text& GetComment() const noexcept { return comment_; }
  void SetComment(const Text& comment) { comment_ = comment; }
  IReasoner* GetReasoner() const noexcept { return reasoner_ ? reasoner_->engine : nullptr; }
  std::int32_t GetTag() const noexcept { return tag_; }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  std::int32_t GetArgumentCount() const noexcept {
    return static_cast<std::int32_t>(arguments_.size());
  }
  const Ref<IKBValue>& GetArgument(std::int32_t index) const;
  void SetArgument(std::int32_t index, const Ref<IKBValue>& value);
  // Each gives the new argument's index. A cell goes in itself; anything else goes into a new cell.
  std::int32_t AddArgument(const Ref<IKBValue>& value);
  std::int32_t AddArgument(const Ref<IFunCall>& fun_call);
  std::int32_t AddArgument(const Ref<IFact>& fact);
  std::int32_t AddArgument(const Ref<IValueVector>& list);
  std::int32_t AddArgument(const Text& text, TKBType type);    // a type of KBStringTypes
  std::int32_t AddArgument(std::int32_t value, TKBType type);  // dtInteger or dtFloat
  std::int32_t AddArgument(double value, TKBType type);        // dtInteger (truncated) or dtFloat
  void Clear();
  void Delete(std::int32_t index);

  // The function that a host or the engine has set, or the one found by the name; null when neither
  // is there.
  Ref<IUserFunction> GetUserFunction() const;
  // Binds the call to a function for good, whatever the engine's table says, and takes its name;
  // null unbinds.
  void SetUserFunction(const Ref<IUserFunction>& function);
  // The same for one of the engine's own functions: clones stay bound, too.
  void BindLogicFunction(const Ref<IUserFunction>& function);

  // Runs the call in a context, which may be null. Raises "Function is unimplemented or unassigned:
  // %s" for a name that nobody knows.
  void Execute(IScope* scope, Ref<IKBValue>& result) override;
  // For a call whose function is bound: failures come out as "NAME error: MESSAGE".
  Ref<IKBValue> SimpleExecute(TKBContext& context);

  // Takes over name, comment, tag and clones of the arguments; neither the function nor the engine.
  void Assign(const TFunctionCall& source);
  Ref<IFunCall> Clone() const;
  // A rule or a listed fact holds the call: changing it, or its arguments, raises from now on. A
  // clone can be changed.
  void Freeze() override;
  // The same name and strictly equal arguments.
  bool Equals(const ICloneable& other) const override;
  std::uint32_t GetHashCode() const override;
  std::string ToString() const override;

 private:
  IUserFunction* LookUp() const;
  void CheckChangeable() const;

  Ref<TReasonerLink> reasoner_;
  std::vector<Ref<IKBValue>> arguments_;
  Ref<IUserFunction> bound_;
  mutable IUserFunction* found_ = nullptr;  // valid while the generation is the engine's
  mutable std::uint32_t generation_ = 0;
  std::int32_t tag_ = 0;
  Text name_;
  Text comment_;
  bool keeps_binding_ = false;
  bool frozen_ = false;
};

// The text of a call. With `pairs` every argument but the first goes in parentheses: the form of
// slot assignments.
std::string FunCallToText(const IFunCall& fun_call, bool pairs);

}  // namespace reasoner
