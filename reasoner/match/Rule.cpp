#include "reasoner/match/Rule.h"

#include <algorithm>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/support/Depth.h"
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
  const TKBName old = rule_name_;
  const bool held = GetEngine() != nullptr && GetEngine()->HoldsRule(*this);
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
    if (watch.HasEnded() || GetEngine() != old) return;  // a handler was faster
    old->AsComponent().RemoveFreeNotification(*this);
  }
  engine_ = nullptr;
  if (engine == nullptr) return;
  engine_ = engine->GetLink();
  if (content) {
    ++update_count_;  // the engine does not know the rule yet
    try {
      SetPatterns(*content);
    } catch (...) {
      --update_count_;
      engine_ = nullptr;
      throw;
    }
    --update_count_;
    actions_ = content->actions_;
    salience_value_ = content->salience_value_;
  }
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
  const ComponentWatch watch(*this);
  if (IReasoner* engine = GetEngine()) engine->RuleChange(*this);
  if (watch.HasEnded()) return;
  OnChange(*this);
}

// Salience.

void TRule::SetSalience(const Ref<IKBValue>& value) {
  Given(value, "value");
  const std::int32_t old = salience_;
  const Ref<IKBValue> kept =
      std::exchange(salience_value_, IsValueConstant(*value) ? value : value->Clone());
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
  const std::size_t bindings = bindings_.size();
  const std::size_t patterns = patterns_.size();
  BeginUpdate();
  try {
    patterns_.push_back(std::move(pattern));
    PatternAdded(GetPatternCount() - 1);
  } catch (...) {
    // The left side is as it was before.
    patterns_.resize(patterns);
    bindings_.resize(bindings);
    --update_count_;
    throw;
  }
  EndUpdate();
}

void TRule::RemovePattern(std::int32_t index) {
  GetPattern(index);
  patterns_.erase(patterns_.begin() + index);
  Change();
}

void TRule::ClearPatterns() {
  if (patterns_.empty()) return;
  patterns_.clear();
  bindings_.clear();
  Change();
}

void TRule::SetPatterns(const TRule& source) {
  if (&source == this) return;
  if (source.GetEngine() != nullptr && source.GetEngine() != GetEngine())
    return SetPatterns(*RequireEngine().ParseRuleText(source.ToString()));
  BeginUpdate();
  auto old_bindings = std::exchange(bindings_, {});
  auto old_patterns = std::exchange(patterns_, {});
  try {
    for (std::int32_t i = 0; i < source.GetPatternCount(); ++i) {
      // Behind a goal stands its negated companion, which AddPattern makes anew.
      if (i > 0 && source.GetPattern(i - 1).GetName().starts_with(SBackChainPrefix)) continue;
      AddPattern(source.GetPattern(i).Clone(GetEngine()));
    }
  } catch (...) {
    bindings_ = std::move(old_bindings);
    patterns_ = std::move(old_patterns);
    --update_count_;
    throw;
  }
  EndUpdate();
}

std::int32_t TRule::FactIndexOf(std::int32_t pattern_index) const {
  std::int32_t index = 0;
  for (std::int32_t i = 0; i < pattern_index; ++i) index += GetPattern(i).IsTest() ? 0 : 1;
  return index;
}

std::int32_t TRule::FactIndexOf(const TKBPattern& pattern) const {
  std::int32_t index = 0;
  for (const std::unique_ptr<TKBPattern>& item : patterns_) {
    if (item.get() == &pattern) return index;
    index += item->IsTest() ? 0 : 1;
  }
  return index;
}

Text TRule::NewVariableName(std::string_view prefix) const {
  Text name;
  do {
    name = RequireEngine().GenerateSymbol(prefix);
  } while (GetBindingByName(name) != nullptr);
  return name;
}

// A copy of the call in which every variable that has been renamed has its new name. Other patterns
// may share the call.
static Ref<IFunCall> Renamed(const IFunCall& fun_call,
                             const std::vector<std::pair<Text, Text>>& renames) {
  const DepthGuard guard("function call");
  Ref<IFunCall> copy = fun_call.Clone();
  for (std::int32_t i = 0; i < copy->GetArgumentCount(); ++i) {
    const Ref<IKBValue>& argument = copy->GetArgument(i);
    if (!argument) continue;
    if (argument->GetDType() == dtFunCall) {
      copy->SetArgument(i, NewFunCallValue(Renamed(*argument->GetAsFunCall(), renames)));
      continue;
    }
    if (!KBVariableTypes.Has(argument->GetDType())) continue;
    for (const auto& [old_name, new_name] : renames) {
      if (!(argument->GetAsVariable() == old_name)) continue;
      copy->SetArgument(i, Make<TKBValue>(new_name, argument->GetDType()));
      break;
    }
  }
  return copy;
}

// True when the name has a binding that a later pattern can read: one in a negated pattern holds no
// fact.
bool TRule::IsPlainlyBound(const Text& name) const {
  return std::any_of(bindings_.begin(), bindings_.end(),
                     [this, &name](const std::unique_ptr<TBinding>& binding) {
                       return binding->GetName() == name && !IsInNegatedPattern(*binding);
                     });
}

bool TRule::IsInNegatedPattern(const TBinding& binding) const {
  std::int32_t index = 0;
  for (const std::unique_ptr<TKBPattern>& pattern : patterns_) {
    if (pattern->IsTest()) continue;
    if (index == binding.FactIndex) return pattern->GetNegatedCount() > 0;
    ++index;
  }
  return false;
}

void TRule::BindVariables(TKBPattern& pattern, std::int32_t fact_index, TRenames& renames) {
  const auto bound_here = [this, fact_index](const Text& name) {
    return std::any_of(bindings_.begin(), bindings_.end(),
                       [&](const std::unique_ptr<TBinding>& binding) {
                         return binding->GetName() == name && binding->FactIndex == fact_index;
                       });
  };
  std::vector<Text> negated_first;
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t i = 0; i < pattern.GetSlotTestCount(slot); ++i) {
      TKBPatternMatchTest& test = pattern.GetSlotTest(slot, i);
      const Ref<IKBValue>& value = test.GetSlotValue();
      if (!KBVariableTypes.Has(value->GetDType())) continue;
      Text name = value->GetAsVariable();
      if (IsPlainlyBound(name) || bound_here(name)) continue;
      if (RequireEngine().HasGlobalVariable(name)) continue;  // a test against the global's value
      if (test.GetSlotTestType() == sttNotEquals) {
        negated_first.push_back(name);  // fine if it is bound further on in this pattern
        continue;
      }
      if (pattern.IsNegated() && name.view().starts_with(SBlankPrefix)) {
        const Text fresh = "_" + IntegerToText(GetPatternCount()) + "_" + name.str();
        renames.emplace_back(name, fresh);
        test.RenameVariable(fresh);
        name = fresh;
      }
      AddBinding(name, fact_index, pattern.GetSlotName(slot), test.GetMultiSlotSubIndex());
    }
  }
  for (const Text& name : negated_first) {
    if (!bound_here(name)) Raise(SNegatedVariable, name.view());
  }
}

void TRule::PatternAdded(std::int32_t index) {
  IReasoner& engine = RequireEngine();
  TKBPattern& pattern = GetPattern(index);
  pattern.SetOwner(this);
  if (GetPatternCount() == 1 && (pattern.GetNegatedCount() > 0 || pattern.IsTest() ||
                                 pattern.GetFactTemplate()->IsBackwardChaining())) {
    // Such a pattern needs a left input: the initial fact starts it.
    std::unique_ptr<TKBPattern> initial = engine.GetInitialPattern().Clone(&engine);
    initial->SetOwner(this);
    patterns_.insert(patterns_.begin(), std::move(initial));
    ++index;
  }
  const std::int32_t fact_index = FactIndexOf(index);
  const bool is_goal = pattern.GetName().starts_with(SBackChainPrefix);
  Text bound = pattern.GetBoundName();
  if (is_goal && bound.empty()) bound = NewVariableName(SFactPrefix);
  if (!bound.empty()) {
    AddBinding(bound, fact_index, SPatternBinding, NoSubIndex);
    pattern.SetBoundName(bound);
  }
  TRenames renames;
  BindVariables(pattern, fact_index, renames);
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t i = 0; i < pattern.GetSlotTestCount(slot); ++i) {
      TKBPatternMatchTest& test = pattern.GetSlotTest(slot, i);
      if (renames.empty() || test.GetSlotValue()->GetDType() != dtFunCall) continue;
      test.SetSlotValue(NewFunCallValue(Renamed(*test.GetSlotValue()->GetAsFunCall(), renames)));
    }
  }
  pattern.FixTests();
  if (!is_goal) return;
  // The rule wants the goal only while what it asks for is not there.
  auto companion = std::make_unique<TKBPattern>(
      this, pattern, std::string_view(pattern.GetName()).substr(SBackChainPrefix.size()), 1);
  patterns_.push_back(std::move(companion));
  PatternAdded(GetPatternCount() - 1);
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
  actions_.push_back(action);
  Change();
}

void TRule::RemoveAction(std::int32_t index) {
  const Ref<IFunCall> doomed = GetAction(index);
  actions_.erase(actions_.begin() + index);
  Change();
}

void TRule::ClearActions() {
  if (actions_.empty()) return;
  actions_.clear();
  Change();
}

// Bindings.

TBinding* TRule::GetBindingByName(const Text& name) const {
  // A binding in a negated pattern gives way to a later one that holds a fact.
  TBinding* found = nullptr;
  for (const std::unique_ptr<TBinding>& binding : bindings_) {
    if (!(binding->GetName() == name)) continue;
    if (!IsInNegatedPattern(*binding)) return binding.get();
    if (found == nullptr) found = binding.get();
  }
  return found;
}

const TBinding* TRule::BindingFor(const Text& name, std::int32_t fact_index) const {
  const TBinding* here = nullptr;
  for (const std::unique_ptr<TBinding>& binding : bindings_) {
    if (!(binding->GetName() == name)) continue;
    if (binding->FactIndex < fact_index && !IsInNegatedPattern(*binding)) return binding.get();
    if (binding->FactIndex == fact_index && here == nullptr) here = binding.get();
  }
  return here;
}

TBinding& TRule::AddBinding(const Text& name, std::int32_t fact_index, const Text& slot_name,
                            std::int32_t sub_index) {
  auto binding = std::make_unique<TBinding>(name, fact_index, slot_name, sub_index);
  for (const std::unique_ptr<TBinding>& known : bindings_) {
    if (known->Equals(*binding)) return *known;
  }
  bindings_.push_back(std::move(binding));
  return *bindings_.back();
}

// Firing.

void TRule::Prepare(const TKBToken& token, TKBContext& context) {
  const Ref<IFact>& no_fact = RequireEngine().GetNotOrTestFact();
  // First: a variable of the rule that has the name goes before.
  static const Text kRuleBinding(SRuleBinding);
  context.AddLocalBinding(kRuleBinding, NewString(rule_name_));
  for (const std::unique_ptr<TBinding>& binding : bindings_) {
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
  BeginUpdate();
  try {
    SetRuleName(rule->rule_name_);
    Enabled = rule->Enabled;
    Comment = rule->Comment;
    OneShot = rule->OneShot;
    SetPatterns(*rule);
    actions_.clear();
    for (const Ref<IFunCall>& action : rule->actions_) actions_.push_back(action);
    SetSalience(rule->salience_value_);
  } catch (...) {
    --update_count_;
    throw;
  }
  EndUpdate();
}

std::string TRule::ToString() const {
  IReasoner* engine = GetEngine();
  return engine == nullptr ? rule_name_ : engine->PrettyPrint(*this);
}

}  // namespace reasoner
