#include "reasoner/match/Rule.h"

#include <algorithm>
#include <iterator>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/match/ReteNetwork.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

TRule::TRule(TComponent* owner) : TComponent(owner), salience_value_(NewInteger(0)) {
  if (auto* reasoner = dynamic_cast<IReasoner*>(owner)) {
    engine_ = reasoner->GetLink();
    rule_id_ = reasoner->NewRuleId();
  }
  rule_name_ = "Rule_" + IntegerToText(rule_id_);
}

TRule::~TRule() {
  BeginDestruction();
  if (IReasoner* engine = GetEngine()) engine->LeaveRule(*this);
  engine_ = nullptr;
}

IReasoner& TRule::RequireEngine() const {
  if (GetEngine() == nullptr) Raise(SUnknownEngine);
  return *GetEngine();
}

void TRule::SetRuleName(std::string_view name) {
  if (name == rule_name_) return;
  CheckConstructName(name);
  BeforeEditInRow();
  const TKBName old = rule_name_;
  const bool held = IsHeld();
  rule_name_ = name;
  try {
    if (held) GetEngine()->RenameRule(old, rule_name_);
  } catch (...) {
    rule_name_ = old;
    throw;
  }
}

// The engine whose templates and functions the rule refers to.
IReasoner* TRule::HomeOfContent() const {
  if (!patterns_.empty()) return patterns_.front()->GetFactTemplate()->GetReasoner();
  return actions_.empty() ? nullptr : actions_.front()->GetReasoner();
}

void TRule::SetEngine(IReasoner* engine) {
  if (engine == GetEngine()) return;
  // The patterns and calls of another engine come over by their text.
  std::unique_ptr<TRule> content;
  if (IReasoner* const home = HomeOfContent(); engine != nullptr && home != engine) {
    if (home == nullptr && !(patterns_.empty() && actions_.empty())) Raise(SUnknownEngine);
    if (home != nullptr) content = engine->ParseRuleText(home->PrettyPrint(*this));
  }
  if (IReasoner* old = GetEngine()) {
    const ComponentWatch watch(*this);
    old->LeaveRule(*this);
    // A handler has ended the rule, moved it, or put it back.
    if (watch.HasEnded() || GetEngine() != old || old->HoldsRule(*this)) return;
    old->AsComponent().RemoveFreeNotification(*this);
  }
  engine_ = nullptr;
  if (engine == nullptr) return;
  engine_ = engine->GetLink();
  if (content) {
    patterns_ = std::move(content->patterns_);
    for (const std::unique_ptr<TKBPattern>& pattern : patterns_) pattern->owner_ = this;
    plan_ = std::exchange(content->plan_, {});
    actions_ = content->actions_;
    salience_value_ = content->salience_value_;
  } else {
    try {
      plan_ = RulePlan::Of(*engine, patterns_);
    } catch (...) {
      engine_ = nullptr;
      throw;
    }
  }
  before_.reset();  // what was before belongs to the other engine
  rule_id_ = engine->NewRuleId();
  engine->AsComponent().FreeNotification(*this);
  engine->EnterRule(*this);
}

void TRule::Notification(TComponent& component, TOperation operation) {
  TComponent::Notification(component, operation);
  if (operation == opRemove && GetEngine() != nullptr &&
      &GetEngine()->AsComponent() == &component) {
    engine_ = nullptr;
  }
}

void TRule::EndUpdate() {
  if (update_count_ > 0 && --update_count_ == 0) Change();
}

void TRule::Change() {
  if (update_count_ > 0) return;
  Settle();
  const ComponentWatch watch(*this);
  if (IReasoner* engine = GetEngine()) engine->RuleChange(*this);
  if (watch.HasEnded()) return;
  OnChange(*this);
}

// Salience.

void TRule::SetSalience(const Ref<IKBValue>& value) {
  const TKBType type = Given(value, "value").GetDType();
  if (type == dtMultiVariable || type == dtList) Raise(SInvalidSalience, value->ToString());
  BeforeEditInRow();
  const std::int32_t old = salience_;
  // What is no integer, but can be read as one, has no text as a salience.
  const bool is_expression = type == dtVariable || type == dtFunCall;
  const Ref<IKBValue> taken = type == dtInteger || is_expression
                                  ? IsValueConstant(*value) ? value : value->Clone()
                                  : NewInteger(value->GetAsInteger());
  const Ref<IKBValue> kept = std::exchange(salience_value_, taken);
  const ComponentWatch watch(*this);  // what the salience runs may end the rule
  try {
    if (EvaluateSalience() == old) return;
  } catch (...) {
    if (!watch.HasEnded()) salience_value_ = kept;
    throw;
  }
  if (watch.HasEnded()) return;
  // In the literal meaning the number takes the place of an expression, unless it is 0.
  const IReasoner* engine = GetEngine();
  const bool stays = engine == nullptr || engine->GetLink()->textbook_semantics;
  if (salience_ != 0 && !stays) salience_value_ = NewInteger(salience_);
  Change();
}

void TRule::SetSalience(std::int32_t value) { SetSalience(NewInteger(value)); }

std::int32_t TRule::EvaluateSalience() {
  if (salience_value_->GetDType() == dtInteger) return salience_ = salience_value_->RawInteger();
  IReasoner* engine = GetEngine();
  if (engine == nullptr) return salience_;
  const ComponentWatch watch(*this);
  const Ref<IKBValue> value = salience_value_;
  TKBContext frame(&engine->GetContext(), engine);
  const std::int32_t salience = value->Resolve(&frame)->GetAsInteger();
  if (!watch.HasEnded()) salience_ = salience;
  return salience;
}

// Patterns.

TKBPattern& TRule::GetPattern(std::int32_t index) const {
  if (index < 0 || index >= GetPatternCount()) Raise(SListIndexError, index);
  return *patterns_[static_cast<std::size_t>(index)];
}

bool TRule::HoldsPattern(const TKBPattern& pattern) const noexcept {
  return std::any_of(patterns_.begin(), patterns_.end(),
                     [&pattern](const auto& held) { return held.get() == &pattern; });
}

std::int32_t TRule::IndexOfTemplate(const IFactTemplate& fact_template) const {
  for (std::int32_t i = 0; i < GetPatternCount(); ++i) {
    if (GetPattern(i).GetFactTemplate() == &fact_template) return i;
  }
  return -1;
}

void TRule::AddPattern(std::unique_ptr<TKBPattern> pattern) {
  IReasoner& engine = RequireEngine();
  const Ref<IFactTemplate>& fact_template = Given(pattern, "pattern").GetFactTemplate();
  if (!fact_template) Raise(SNoTemplate);
  if (fact_template->GetReasoner() != nullptr && fact_template->GetReasoner() != &engine)
    Raise(SForeignObject, "Pattern " + pattern->GetName());
  // A rule that is being made is planned pattern by pattern; else the whole is planned anew.
  const bool is_new = update_count_ == 0 && !IsHeld();
  if (!is_new) BeforeEdit();
  const std::size_t count = patterns_.size();
  ++update_count_;
  try {
    if (count == 0 && RulePlan::NeedsStart(engine, *pattern)) AddStart();
    patterns_.push_back(std::move(pattern));
    patterns_.back()->SetOwner(this);
    if (is_new) plan_.Append(engine, *patterns_.back(), GetPatternCount() - 1);
  } catch (...) {
    --update_count_;
    patterns_.resize(count);
    if (is_new && count == 0) plan_ = RulePlan();
    throw;
  }
  --update_count_;
  Change();
}

void TRule::AddStart() {
  IReasoner& engine = RequireEngine();
  if (!patterns_.empty()) return;
  std::unique_ptr<TKBPattern> initial = engine.GetInitialPattern().Clone(&engine);
  initial->owner_ = this;
  patterns_.push_back(std::move(initial));
  if (!before_) plan_ = RulePlan::Of(engine, patterns_);  // else the edit makes it
}

void TRule::RemovePattern(std::int32_t index) {
  GetPattern(index);
  BeforeEdit();
  Keep(std::move(patterns_[static_cast<std::size_t>(index)]));
  patterns_.erase(patterns_.begin() + index);
  Change();
}

void TRule::ClearPatterns() {
  if (patterns_.empty()) return;
  BeforeEdit();
  for (std::unique_ptr<TKBPattern>& pattern : patterns_) Keep(std::move(pattern));
  patterns_.clear();
  Change();
}

void TRule::SetPatterns(const TRule& source) {
  if (&source == this) return;
  if (source.GetEngine() != nullptr && source.GetEngine() != GetEngine())
    return SetPatterns(*RequireEngine().ParseRuleText(source.ToString()));
  std::vector<std::unique_ptr<TKBPattern>> copies;
  for (const std::unique_ptr<TKBPattern>& pattern : source.patterns_) {
    copies.push_back(pattern->Clone(GetEngine()));
    copies.back()->owner_ = this;
  }
  BeforeEdit();
  for (std::unique_ptr<TKBPattern>& pattern : patterns_) Keep(std::move(pattern));
  patterns_ = std::move(copies);
  Change();
}

std::int32_t TRule::FactIndexOf(std::int32_t pattern_index) const {
  return plan_.FactIndexOfWritten(pattern_index);
}

std::int32_t TRule::FactIndexOf(const TKBPattern& pattern) const {
  std::int32_t index = 0;
  while (index < GetPatternCount() && &GetPattern(index) != &pattern) ++index;
  return FactIndexOf(index);
}

// Edits: what goes back when one fails.

bool TRule::IsHeld() const { return GetEngine() != nullptr && GetEngine()->HoldsRule(*this); }

void TRule::BeforeEdit() {
  if (before_) return;
  before_ = std::make_unique<Snapshot>();
  for (const std::unique_ptr<TKBPattern>& pattern : patterns_) {
    before_->items.push_back({pattern.get(), pattern->GetTests(), pattern->Clone(nullptr)});
  }
  before_->name = rule_name_;
  before_->comment = Comment;
  before_->one_shot = OneShot;
  before_->enabled = Enabled;
  before_->salience = salience_;
  before_->salience_value = salience_value_;
  before_->actions = actions_;
}

void TRule::BeforeEditInRow() {
  if (update_count_ > 0) BeforeEdit();
}

void TRule::Keep(std::unique_ptr<TKBPattern> pattern) {
  if (before_) before_->removed_patterns.push_back(std::move(pattern));
}

void TRule::Keep(std::unique_ptr<TKBPatternMatchTest> test) {
  test->pattern_ = nullptr;
  if (before_) before_->removed_tests.push_back(std::move(test));
}

void TRule::Settle() {
  if (!before_) return;
  if (GetEngine() == nullptr) {
    before_.reset();
    return;
  }
  RulePlan old = std::exchange(plan_, {});
  try {
    const bool is_held = IsHeld();
    if (is_held) AddStart();
    plan_ = RulePlan::Of(*GetEngine(), patterns_);
    if (is_held) TReteNetwork::TryRule(*GetEngine(), *this);
  } catch (...) {
    plan_ = std::move(old);
    GoBack();
    throw;
  }
  before_.reset();
}

void TRule::GoBack() {
  const std::unique_ptr<Snapshot> before = std::move(before_);
  std::vector<std::unique_ptr<TKBPattern>> present = std::exchange(patterns_, {});
  std::move(before->removed_patterns.begin(), before->removed_patterns.end(),
            std::back_inserter(present));
  TKBPattern::Tests tests = std::move(before->removed_tests);
  for (const std::unique_ptr<TKBPattern>& pattern : present) pattern->GiveTests(tests);
  for (Snapshot::Item& item : before->items) {
    const auto found = std::find_if(present.begin(), present.end(), [&item](const auto& pattern) {
      return pattern.get() == item.pattern;
    });
    // Every pattern of the snapshot is in the rule or among those that the edit has removed.
    if (found == present.end()) continue;
    (*found)->TakeBack(*item.copy, item.tests, tests);
    patterns_.push_back(std::move(*found));
  }
  Comment = before->comment;
  OneShot = before->one_shot;
  Enabled = before->enabled;
  salience_ = before->salience;
  salience_value_ = before->salience_value;
  actions_ = before->actions;
  try {
    SetRuleName(before->name);
  } catch (const std::exception&) {
    // The name has been taken by another rule.
  }
}

// Actions.

const Ref<IFunCall>& TRule::GetAction(std::int32_t index) const {
  if (index < 0 || index >= GetActionCount()) Raise(SListIndexError, index);
  return actions_[static_cast<std::size_t>(index)];
}

void TRule::AddAction(const Ref<IFunCall>& action) {
  if (IReasoner* const engine = Given(action, "function call").GetReasoner();
      engine != nullptr && engine != GetEngine()) {
    Raise(SForeignObject, "Function call " + action->ToString());
  }
  BeforeEditInRow();
  actions_.push_back(action);
  Change();
}

void TRule::RemoveAction(std::int32_t index) {
  const Ref<IFunCall> doomed = GetAction(index);
  BeforeEditInRow();
  actions_.erase(actions_.begin() + index);
  Change();
}

void TRule::ClearActions() {
  if (actions_.empty()) return;
  BeforeEditInRow();
  actions_.clear();
  Change();
}

// Firing.

void TRule::Prepare(const TKBToken& token, TKBContext& context) {
  const Ref<IFact>& no_fact = RequireEngine().GetNotOrTestFact();
  // First: a variable of the rule that has the name goes before.
  static const Text kRuleBinding(SRuleBinding);
  context.AddLocalBinding(kRuleBinding, NewString(rule_name_));
  for (const std::unique_ptr<TBinding>& binding : GetBindings()) {
    if (binding->SlotIndex == SLocalBinding) continue;
    IFact* fact = token.GetFacts(binding->FactIndex);
    // The marker stands where a negated pattern has no fact.
    if (fact == nullptr || fact == no_fact.get() || fact->GetTemplate() == no_fact->GetTemplate())
      continue;
    Ref<IKBValue> value;
    if (binding->SlotIndex == SPatternBinding) {
      value = NewFactId(fact->GetID());
    } else {
      value = fact->GetValue(binding->SlotIndex);
      if (binding->SubIndex != NoSubIndex) value = value->GetAsList()->GetItem(binding->SubIndex);
    }
    context.AddLocalBinding(binding->GetName(), value);
  }
}

void TRule::Fire(const Ref<TKBToken>& token) {
  Given(token, "token");
  IReasoner& engine = RequireEngine();
  TKBContext frame(&engine.GetContext(), &engine);
  Prepare(*token, frame);
  fired_ = true;
  // The actions live until they have run, whatever they do to their rule.
  const std::vector<Ref<IFunCall>> actions = actions_;
  const ComponentWatch watch(*this);
  ++firing_;
  struct Ending {
    TRule& rule;
    const ComponentWatch& watch;
    ~Ending() {
      if (!watch.HasEnded()) --rule.firing_;
    }
  } ending{*this, watch};
  if (OneShot) engine.RuleMarkedFired(*this);
  if (!watch.HasEnded()) OnFire(*this, frame);
  for (const Ref<IFunCall>& action : actions) {
    if (frame.HasReturnValue()) break;
    Ref<IKBValue> result;
    action->Execute(&frame, result);
  }
}

void TRule::Assign(const TPersistent& source) {
  const auto* rule = dynamic_cast<const TRule*>(&source);
  if (rule == nullptr) return TComponent::Assign(source);
  if (rule == this) return;
  if (rule->GetEngine() != nullptr && rule->GetEngine() != GetEngine()) {
    // The objects of another engine stay there: the text comes over.
    const std::unique_ptr<TRule> parsed = RequireEngine().ParseRuleText(rule->ToString());
    return Assign(*parsed);
  }
  if (rule->GetEngine() == nullptr && rule->HomeOfContent() != GetEngine() &&
      !(rule->patterns_.empty() && rule->actions_.empty())) {
    Raise(SForeignObject, "Rule " + rule->rule_name_);
  }
  const bool is_outermost = update_count_ == 0;
  BeforeEdit();
  BeginUpdate();
  const ComponentWatch watch(*this);  // the name and the salience may run handlers
  try {
    SetRuleName(rule->rule_name_);
    Enabled = rule->Enabled;
    Comment = rule->Comment;
    OneShot = rule->OneShot;
    SetPatterns(*rule);
    actions_ = rule->actions_;
    SetSalience(rule->salience_value_);
  } catch (...) {
    if (watch.HasEnded()) throw;
    --update_count_;
    if (is_outermost && before_) GoBack();
    throw;
  }
  if (!watch.HasEnded()) EndUpdate();
}

std::string TRule::ToString() const {
  IReasoner* engine = GetEngine();
  return engine == nullptr ? rule_name_ : engine->PrettyPrint(*this);
}

}  // namespace reasoner
