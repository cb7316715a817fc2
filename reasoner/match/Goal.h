// TGoalPlan: how a join asks for a fact that it misses.
//
// A pattern on a template that is marked for backward chaining wants its fact made: where a left
// token finds no partner, the join asks for a goal, a fact of the companion template "need-" + name
// that carries what is known of the wanted one: the constants of the pattern, and the values of the
// variables that earlier patterns have bound. Rules that match the goal make the wanted fact, which
// then comes to the join by its right input.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reasoner/match/Pattern.h"
#include "reasoner/match/Token.h"

namespace reasoner {

class TGoalPlan {
 public:
  // For a pattern of the rule's plan; raises when its template is not marked. The rule outlives the
  // goal plan.
  TGoalPlan(const TRule& rule, std::int32_t pattern_index);

  // Whether a join for this pattern asks at all: goals do not ask for goals.
  static bool IsWanted(const TKBPattern& pattern);

  const TRule* GetRule() const noexcept { return rule_; }
  // The goal for a left token: fields of which nothing is known are nil.
  Ref<IFact> MakeGoal(IReasoner& engine, const TKBToken& left) const;

 private:
  // What one test tells of its field: a value, or where a left token holds one.
  struct TPart {
    Ref<IKBValue> value;
    std::int32_t fact_index = 0;
    Text slot_name;
    std::int32_t sub_index = NoSubIndex;
    bool is_known = false;
    bool is_span = false;  // a `$?`: its members take the field's place
    std::int32_t field = NoSubIndex;
  };
  struct TSlot {
    Text name;
    bool is_multi = false;
    std::vector<TPart> parts;
  };

  static Ref<IKBValue> ValueOf(const TPart& part, const TKBToken& left);
  static Ref<IKBValue> ListOf(const TSlot& slot, const TKBToken& left);

  const TRule* rule_;
  std::string goal_name_;
  std::vector<TSlot> slots_;
};

}  // namespace reasoner
