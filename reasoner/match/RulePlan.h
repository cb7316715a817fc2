// RulePlan: what the network compiles of a rule's left side.
//
// The patterns of a rule stay as they were written. A plan is made from them and never changed by
// an edit of the rule: every variable has its place in the match (a fact's index, a slot and a
// sub-index), the alternatives of a field are one call, a pattern that needs a left input has the
// initial pattern before it, and a goal's pattern has behind it the negated pattern of what the
// goal asks for.

#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "reasoner/functions/Context.h"
#include "reasoner/match/Pattern.h"

namespace reasoner {

class RulePlan {
 public:
  // The plan of these patterns of one engine. Raises what makes them no left side: a variable whose
  // first use is negated, a slot or a field that is not there, a binding of what holds no fact.
  static RulePlan Of(IReasoner& engine, const std::vector<std::unique_ptr<TKBPattern>>& written);

  // Goes on with the pattern behind those that are planned. When it fails the plan is as it was.
  void Append(IReasoner& engine, const TKBPattern& written, std::int32_t written_index);
  // Whether such a pattern, as the first one, needs the initial pattern before it.
  static bool NeedsStart(const IReasoner& engine, const TKBPattern& first);

  std::int32_t GetPatternCount() const noexcept {
    return static_cast<std::int32_t>(patterns_.size());
  }
  const TKBPattern& GetPattern(std::int32_t index) const { return *At(index).pattern; }
  // The rule's pattern from which that of the plan was made.
  std::int32_t GetWrittenIndex(std::int32_t index) const { return At(index).written; }
  // Where the fact of a pattern stands in a token: a test takes no place.
  std::int32_t FactIndexOf(std::int32_t index) const { return At(index).fact_index; }
  // The same for a pattern of the rule.
  std::int32_t FactIndexOfWritten(std::int32_t written) const;

  // Variables, in the order of their first use.
  const std::vector<std::unique_ptr<TBinding>>& GetBindings() const noexcept { return bindings_; }
  // A binding in a negated pattern gives way to a later one that holds a fact. Null when there is
  // none.
  TBinding* GetBindingByName(const Text& name) const;
  // The binding that a test of the pattern with this fact index reads: one of an earlier pattern
  // that holds a fact, or one of the pattern itself. Null when there is neither.
  const TBinding* BindingFor(const Text& name, std::int32_t fact_index) const;
  TBinding& AddBinding(const Text& name, std::int32_t fact_index, const Text& slot_name,
                       std::int32_t sub_index);

 private:
  struct Planned {
    std::unique_ptr<TKBPattern> pattern;
    std::int32_t written;
    std::int32_t fact_index;
  };
  struct Variable {
    Text name;
    TKBType kind;
  };
  using Renames = std::vector<std::pair<Text, Text>>;

  const Planned& At(std::int32_t index) const;
  TKBPattern& Enter(std::unique_ptr<TKBPattern> pattern, std::int32_t written);
  void AppendPlanned(IReasoner& engine, const TKBPattern& written, std::int32_t index);
  void NameVariables(IReasoner& engine, TKBPattern& pattern, Renames& renames);
  void BindVariables(IReasoner& engine, TKBPattern& pattern, Renames& renames);
  void FoldAlternatives(IReasoner& engine, TKBPattern& pattern);
  void FoldSlot(IReasoner& engine, TKBPattern& pattern, std::int32_t slot);
  Ref<IKBValue> TakeFieldVariable(IReasoner& engine, const TKBPattern& pattern, std::int32_t slot,
                                  std::size_t& begin, std::size_t end, TKBPattern::Tests& folded);
  // A generated name that the plan does not hold yet.
  Text NewVariableName(IReasoner& engine, std::string_view prefix) const;
  bool IsPlainlyBound(const Text& name) const;
  bool IsBoundAt(const Text& name, std::int32_t fact_index) const;
  bool IsInNegatedPattern(const TBinding& binding) const;

  std::vector<Planned> patterns_;
  std::vector<bool> negations_;  // of the pattern at each fact index
  std::vector<std::unique_ptr<TBinding>> bindings_;
  std::vector<Variable> variables_;  // as patterns use them, each with the form of its first use
};

}  // namespace reasoner
