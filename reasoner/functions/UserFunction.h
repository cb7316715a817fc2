// TKBUserFunction: what the rule language calls.
//
// The base of every built-in, interpreted and host function: its name, its words for the help, the
// bounds of its argument count, and the engines that know it. No argument is evaluated before the
// function asks for it. A function has no state of a call, so that one object serves several
// engines and any depth of recursion.

#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/support/Text.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

inline constexpr std::int32_t kNoArgumentLimit = std::numeric_limits<std::int32_t>::max();

class TKBUserFunction : public IInterface {
 public:
  const Text& GetFunctionName() const noexcept { return function_name_; }
  const std::string& GetComment() const noexcept { return comment_; }
  // The arguments as the help shows them, each as "<name>".
  const std::string& GetArgumentString() const noexcept { return argument_string_; }
  virtual std::int32_t GetMinArgumentCount() const noexcept { return min_arguments_; }
  virtual std::int32_t GetMaxArgumentCount() const noexcept { return max_arguments_; }
  // For the function reference: a call whose result shows what the function does, and expressions
  // to be read before it. Empty where there are none.
  virtual std::string_view GetExample() const { return {}; }
  virtual std::string_view GetExamplePrelude() const { return {}; }

  // Moves the function to its new name in every engine that has it.
  virtual void SetFunctionName(std::string_view name);
  void SetComment(std::string_view comment) { comment_ = comment; }
  virtual void SetArgumentString(std::string_view text) { argument_string_ = text; }
  // A bound that crosses the other one takes it along.
  virtual void SetMinArgumentCount(std::int32_t count);
  virtual void SetMaxArgumentCount(std::int32_t count);

  // The engines that know the function. Adding one registers the function there, taking it off
  // removes it.
  std::int32_t GetReasonerCount() const noexcept {
    return static_cast<std::int32_t>(reasoners_.size());
  }
  IReasoner* GetReasoner(std::int32_t index) const;
  std::int32_t IndexOfReasoner(const IReasoner& reasoner) const;
  void AddReasoner(IReasoner& reasoner);
  void DeleteReasoner(IReasoner& reasoner);
  void DeleteReasoner(std::int32_t index);
  void ClearReasoners();

  // Checks the argument count against the bounds and calls.
  void Invoke(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result);
  // What the function does: evaluates the arguments it wants and puts its answer into `result`.
  virtual void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result);

  std::string ToString(IReasoner& reasoner) const;

  // Sets the metadata, once the object is complete.
  virtual void InitMetaData() {}
  void AfterConstruction() { InitMetaData(); }

 protected:
  TKBUserFunction() = default;
  explicit TKBUserFunction(std::string_view name) : function_name_(name) {}
  // Runs whenever the list of engines changes; registers or removes the function there.
  virtual void ReasonerNotification(IReasoner& reasoner, TListNotification action);

  Text function_name_;
  std::string comment_;
  std::string argument_string_;
  std::int32_t min_arguments_ = 0;
  std::int32_t max_arguments_ = kNoArgumentLimit;

 private:
  std::vector<Ref<TReasonerLink>> reasoners_;  // not owned; emptied by their engines
};

}  // namespace reasoner
