// TRule: a left side of patterns, a right side of calls, and the bindings that tie the two
// together.
//
// The patterns and actions are what was written; the network compiles the plan made from them, in
// which every variable has a place in the match. Firing reads those places from the token, binds
// the values in a new frame and runs the actions. An edit of the left side makes the plan anew, and
// is taken back when that fails, or when a registered rule could not be compiled any more.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "reasoner/functions/Context.h"
#include "reasoner/match/RulePlan.h"
#include "reasoner/match/Token.h"
#include "reasoner/support/Component.h"
#include "reasoner/support/Event.h"

namespace reasoner {

// A rule made with an engine as owner is known to that engine, but matches nothing before the
// engine's rules hold it. A host may own it as a plain object: when it dies it leaves the engine.
class TRule final : public TComponent {
 public:
  explicit TRule(TComponent* owner = nullptr);
  ~TRule() override;

  std::int32_t GetRuleId() const noexcept { return rule_id_; }
  const TKBName& GetRuleName() const noexcept { return rule_name_; }
  // Moves a registered rule to the new name. Raises for a forbidden character, or when the name is
  // taken.
  void SetRuleName(std::string_view name);
  IReasoner* GetEngine() const noexcept { return engine_ ? engine_->engine : nullptr; }
  // Leaves the old engine's rules and joins the new one's, with a new id.
  void SetEngine(IReasoner* engine);

  std::string Comment;
  bool OneShot = false;  // once fired, no more activations until the next reset
  bool Enabled = true;   // a disabled rule gets no activations
  std::string CompileTrace;
  // Runs when the bindings are there, before the actions.
  Event<void(TRule& sender, TKBContext& context)> OnFire;
  Event<void(TRule& sender)> OnChange;

  std::int32_t GetSalience() const noexcept { return salience_; }
  const Ref<IKBValue>& GetSalienceValue() const noexcept { return salience_value_; }
  // A number, or a variable or call that is evaluated at once. Recompiles a registered rule when
  // the number changes.
  void SetSalience(const Ref<IKBValue>& value);
  void SetSalience(std::int32_t value);
  // Evaluates the salience value again and stores the number; the rule stays compiled as it is.
  std::int32_t EvaluateSalience();

  // The left side.
  std::int32_t GetPatternCount() const noexcept {
    return static_cast<std::int32_t>(patterns_.size());
  }
  TKBPattern& GetPattern(std::int32_t index) const;
  bool HoldsPattern(const TKBPattern& pattern) const noexcept;
  // What the network compiles.
  const RulePlan& GetPlan() const noexcept { return plan_; }
  // The first pattern on that template, or -1.
  std::int32_t IndexOfTemplate(const IFactTemplate& fact_template) const;
  // Where the fact of a pattern stands in a token: a test takes no place.
  std::int32_t FactIndexOf(std::int32_t pattern_index) const;
  std::int32_t FactIndexOf(const TKBPattern& pattern) const;
  // Appends a pattern. As the first one it gets the initial pattern before it where it needs a left
  // input.
  void AddPattern(std::unique_ptr<TKBPattern> pattern);
  // Gives a rule without patterns the initial pattern, which is told to nobody.
  void AddStart();
  void RemovePattern(std::int32_t index);
  // Replaces the left side by clones of that of `source`.
  void SetPatterns(const TRule& source);
  void ClearPatterns();

  // The right side.
  std::int32_t GetActionCount() const noexcept {
    return static_cast<std::int32_t>(actions_.size());
  }
  const Ref<IFunCall>& GetAction(std::int32_t index) const;
  void AddAction(const Ref<IFunCall>& action);
  void RemoveAction(std::int32_t index);
  void ClearActions();

  // Variables, in the order of their first use.
  const std::vector<std::unique_ptr<TBinding>>& GetBindings() const noexcept {
    return plan_.GetBindings();
  }
  TBinding* GetBindingByName(const Text& name) const { return plan_.GetBindingByName(name); }
  // The next edit of the left side forgets what is added here.
  TBinding& AddBinding(const Text& name, std::int32_t fact_index, const Text& slot_name,
                       std::int32_t sub_index) {
    return plan_.AddBinding(name, fact_index, slot_name, sub_index);
  }

  void BeginUpdate() noexcept { ++update_count_; }
  void EndUpdate();
  // Recompiles a registered rule and tells OnChange, unless an update is open.
  void Change();

  // Binds the values of a match in the frame.
  void Prepare(const TKBToken& token, TKBContext& context);
  void Fire(const Ref<TKBToken>& token);
  bool HasFired() const noexcept { return fired_; }
  bool IsFiring() const noexcept { return firing_ > 0; }
  void SetFired(bool fired) noexcept { fired_ = fired; }
  // Forgets that the rule has fired.
  void Reset() noexcept { fired_ = false; }

  // Takes over a rule; one of another engine through its text.
  void Assign(const TPersistent& source) override;
  void Notification(TComponent& component, TOperation operation) override;
  std::string ClassName() const override { return "TRule"; }
  std::string ToString() const override;

 private:
  friend class TKBPattern;

  // The rule before an edit, and what the edit has taken out of it: a host may hold that.
  struct Snapshot {
    struct Item {
      TKBPattern* pattern;
      std::vector<TKBPatternMatchTest*> tests;
      std::unique_ptr<TKBPattern> copy;
    };
    std::vector<Item> items;
    std::vector<std::unique_ptr<TKBPattern>> removed_patterns;
    TKBPattern::Tests removed_tests;
    TKBName name;
    std::string comment;
    bool one_shot;
    bool enabled;
    std::int32_t salience;
    Ref<IKBValue> salience_value;
    std::vector<Ref<IFunCall>> actions;
  };

  IReasoner& RequireEngine() const;
  IReasoner* HomeOfContent() const;
  bool IsHeld() const;
  // Keeps the rule as it is for the case that the edit fails.
  void BeforeEdit();
  // The same for what is part of a row of edits only.
  void BeforeEditInRow();
  // Takes what an edit has taken out of the rule.
  void Keep(std::unique_ptr<TKBPattern> pattern);
  void Keep(std::unique_ptr<TKBPatternMatchTest> test);
  // Makes the plan of the edited left side, or goes back to what it was before and raises.
  void Settle();
  void GoBack();

  std::int32_t rule_id_ = 0;
  std::int32_t salience_ = 0;
  TKBName rule_name_;
  Ref<IKBValue> salience_value_;
  std::vector<Ref<IFunCall>> actions_;
  std::vector<std::unique_ptr<TKBPattern>> patterns_;
  RulePlan plan_;
  std::unique_ptr<Snapshot> before_;  // while an edit has not been settled
  Ref<TReasonerLink> engine_;
  std::int32_t update_count_ = 0;
  std::int32_t firing_ = 0;
  bool fired_ = false;
};

}  // namespace reasoner
