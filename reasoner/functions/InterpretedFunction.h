// TInterpretedFunction: a function written in the rule language by `deffunction`.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "reasoner/functions/UserFunction.h"
#include "reasoner/values/ValueVector.h"

namespace reasoner {

// All state of a call lies in its frame: a function may call itself to any depth.
class TInterpretedFunction final : public TKBUserFunction {
 public:
  explicit TInterpretedFunction(std::string_view name) : TKBUserFunction(name) {}

  // dtAtom, dtVariable or dtMultiVariable; any other raises.
  void AddArgument(const Text& name, TKBType type);
  void AddStatement(const Ref<IFunCall>& fun_call);
  void AddStatement(const Ref<IKBValue>& value);  // the cell itself
  std::int32_t GetArgumentCount() const noexcept { return arguments_->GetValueCount(); }
  const Ref<IKBValue>& GetArgument(std::int32_t index) const { return arguments_->GetItem(index); }
  std::int32_t GetStatementCount() const noexcept { return statements_->GetValueCount(); }
  const Ref<IKBValue>& GetStatement(std::int32_t index) const {
    return statements_->GetItem(index);
  }

  // The number of formals; no limit when the last one takes many.
  std::int32_t GetMinArgumentCount() const noexcept override;
  std::int32_t GetMaxArgumentCount() const noexcept override;
  // The place in the sequence of definitions, which is kept when functions are copied to another
  // engine.
  std::int32_t GetOrder() const noexcept { return order_; }
  void SetOrder(std::int32_t order) noexcept { order_ = order; }

  // Binds the formals in a new frame, runs the statements, and answers the last one's value or what
  // `return` gave.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override;
  void Execute(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) {
    Call(fun_call, context, result);
  }

 private:
  bool BindsEachArgumentOnce() const;
  void BindFormals(const IFunCall& fun_call, TKBContext& frame, bool is_literal) const;

  Ref<IValueVector> arguments_ = NewVector();
  Ref<IValueVector> statements_ = NewVector();
  std::int32_t order_ = 0;
};

}  // namespace reasoner
