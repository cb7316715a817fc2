#include "reasoner/match/Rule.h"

#include <algorithm>
#include <unordered_map>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/FirstFailure.h"
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
  if (destroyed_ != nullptr) *destroyed_ = true;
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
  if (held) GetEngine()->RenameRule(old, rule_name_);
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
    old->LeaveRule(*this);
    old->AsComponent().RemoveFreeNotification(*this);
  }
  engine_ = nullptr;
  if (engine == nullptr) return;
  engine_ = engine->GetLink();
  if (content) {
    ++update_count_;
    TakeOutPatterns();
    actions_ = content->actions_;
    salience_value_ = content->salience_value_;
    SetPatterns(*content);
    --update_count_;
    if (stale_) Derive();
    AcceptEdits();
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
  if (update_count_ > 0 || deriving_ > 0) return;
  if (IReasoner* engine = GetEngine()) {
    if (stale_) {
      try {
        Derive();
      } catch (...) {
        TakeBackEdits();
        throw;
      }
    }
    engine->RuleChange(*this);
  }
  if (const auto on_change = OnChange) on_change(*this);  // lives on if the rule ends in it
}

// Salience.

void TRule::SetSalience(const Ref<IKBValue>& value) {
  Given(value, "value");
  const std::int32_t old = salience_;
  const Ref<IKBValue> kept =
      std::exchange(salience_value_, IsValueConstant(*value) ? value : value->Clone());
  try {
    if (EvaluateSalience() == old) return;
  } catch (...) {
    salience_value_ = kept;
    throw;
  }
  // The number takes the place of an expression; one that yields 0 stays and is evaluated again.
  if (salience_ != 0) salience_value_ = NewInteger(salience_);
  Change();
}

void TRule::SetSalience(std::int32_t value) { SetSalience(NewInteger(value)); }

std::int32_t TRule::EvaluateSalience() {
  if (salience_value_->GetDType() == dtInteger) return salience_ = salience_value_->RawInteger();
  IReasoner* engine = GetEngine();
  if (engine == nullptr) return salience_;
  TKBContext frame(&engine->GetContext(), engine);
  return salience_ = salience_value_->Resolve(&frame)->GetAsInteger();
}

// Patterns.

TKBPattern& TRule::GetPattern(std::int32_t index) const {
  if (index < 0 || index >= GetPatternCount()) Raise(SListIndexError, index);
  return *patterns_[static_cast<std::size_t>(index)];
}

std::int32_t TRule::IndexOfTemplate(const IFactTemplate& fact_template) const {
  for (std::int32_t i = 0; i < GetPatternCount(); ++i) {
    if (GetPattern(i).GetFactTemplate() == &fact_template) return i;
  }
  return -1;
}

// What changes meanwhile is no edit.
class ScopedDeriving {
 public:
  explicit ScopedDeriving(std::int32_t& deriving) : deriving_(deriving) { ++deriving_; }
  ~ScopedDeriving() { --deriving_; }
  ScopedDeriving(const ScopedDeriving&) = delete;
  ScopedDeriving& operator=(const ScopedDeriving&) = delete;

 private:
  std::int32_t& deriving_;
};

void TRule::AddPattern(std::unique_ptr<TKBPattern> pattern) {
  IReasoner& engine = RequireEngine();
  const Ref<IFactTemplate>& fact_template = Given(pattern, "pattern").GetFactTemplate();
  if (!fact_template) Raise(SNoTemplate);
  if (fact_template->GetReasoner() != nullptr && fact_template->GetReasoner() != &engine)
    Raise(SForeignObject, "Pattern " + pattern->GetName());
  if (engine.HoldsRule(*this)) BeforeEdit(true);
  if (stale_) {
    pattern->owner_ = this;
    patterns_.push_back(std::move(pattern));
    return Change();
  }
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

// A pattern that has left the rule is kept as long as it may have to come back.
void TRule::TakeOut(std::vector<std::unique_ptr<TKBPattern>>::iterator pattern) {
  (*pattern)->owner_ = nullptr;
  removed_.push_back(std::move(*pattern));
  patterns_.erase(pattern);
}

void TRule::TakeOutPatterns() {
  while (!patterns_.empty()) TakeOut(std::prev(patterns_.end()));
  bindings_.clear();
}

void TRule::RemovePattern(std::int32_t index) {
  const TKBPattern& pattern = GetPattern(index);
  if (pattern.IsGenerated() && pattern.GetNegatedCount() > 0)
    Raise(SGeneratedPattern, pattern.GetName());
  BeforeEdit(true);
  TakeOut(patterns_.begin() + index);
  Change();
}

void TRule::ClearPatterns() {
  if (patterns_.empty()) return;
  BeforeEdit(true);
  TakeOutPatterns();
  Change();
}

void TRule::SetPatterns(const TRule& source) {
  if (&source == this) return;
  if (source.GetEngine() != nullptr && source.GetEngine() != GetEngine())
    return SetPatterns(*RequireEngine().ParseRuleText(source.ToString()));
  BeforeEdit(true);
  BeginUpdate();
  TakeOutPatterns();
  for (std::int32_t i = 0; i < source.GetPatternCount(); ++i) {
    if (source.GetPattern(i).IsGenerated()) continue;  // this rule adds its own
    std::unique_ptr<TKBPattern> clone = source.GetPattern(i).Clone(GetEngine());
    clone->owner_ = this;
    patterns_.push_back(std::move(clone));
  }
  EndUpdate();
}

// What is derived from the written patterns.

void TRule::BeforeEdit(bool left_side) {
  if (deriving_ > 0) return;
  if (left_side) stale_ = true;
  const IReasoner* const engine = GetEngine();
  if (saved_ || (!left_side && (engine == nullptr || !engine->HoldsRule(*this)))) return;
  auto saved = std::make_unique<TSaved>();
  for (const std::unique_ptr<TKBPattern>& pattern : patterns_) {
    TSaved::TPattern kept{pattern.get(), pattern->Clone(nullptr), {}};
    kept.copy->generated_ = pattern->generated_;
    for (const TKBPattern::Slot& slot : pattern->slots_) {
      kept.tests.emplace_back();
      for (const std::unique_ptr<TKBPatternMatchTest>& test : slot.tests)
        kept.tests.back().push_back(test.get());
    }
    saved->patterns.push_back(std::move(kept));
  }
  saved->actions = actions_;
  saved->name = rule_name_;
  saved->comment = Comment;
  saved->one_shot = OneShot;
  saved->enabled = Enabled;
  saved->salience = salience_;
  saved->salience_value = salience_value_;
  saved_ = std::move(saved);
}

void TRule::AcceptEdits() noexcept {
  saved_.reset();
  removed_.clear();
}

void TRule::TakeBackEdits() noexcept {
  if (!saved_) return;
  const std::unique_ptr<TSaved> saved = std::move(saved_);
  std::vector<std::unique_ptr<TKBPattern>> objects = std::move(removed_);
  removed_.clear();
  for (std::unique_ptr<TKBPattern>& pattern : patterns_) objects.push_back(std::move(pattern));
  patterns_.clear();
  const ScopedDeriving guard(deriving_);
  for (TSaved::TPattern& kept : saved->patterns) {
    const auto found = std::find_if(objects.begin(), objects.end(), [&kept](const auto& object) {
      return object.get() == kept.object;
    });
    // One that the rule has made by itself has gone, and its copy stands for it.
    std::unique_ptr<TKBPattern> pattern = std::move(found == objects.end() ? kept.copy : *found);
    if (kept.copy) pattern->Restore(*kept.copy, kept.tests);
    pattern->owner_ = this;
    patterns_.push_back(std::move(pattern));
  }
  actions_ = saved->actions;
  Comment = saved->comment;
  OneShot = saved->one_shot;
  Enabled = saved->enabled;
  salience_ = saved->salience;
  salience_value_ = saved->salience_value;
  stale_ = true;
  FirstFailure failures;  // of what could be done before
  failures.Try([this] { Derive(); });
  failures.Try([&] { SetRuleName(saved->name); });
}

// A name keeps the form of its first use, `?x` or `$?x`, as it does when the rule is read.
void TRule::SettleVariables() {
  std::unordered_map<std::string, TKBType> kinds;
  for (const std::unique_ptr<TKBPattern>& pattern : patterns_) {
    for (const TKBPattern::Slot& slot : pattern->slots_) {
      for (const std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) {
        const Ref<IKBValue> value = test->GetSlotValue();
        if (!KBVariableTypes.Has(value->GetDType())) continue;
        const Text name = value->GetAsVariable();
        const TKBType kind = kinds.emplace(name.str(), value->GetDType()).first->second;
        if (kind == value->GetDType()) continue;
        const IFactSlot* const described = pattern->GetFactTemplate()->FindSlot(slot.name);
        if (kind == dtMultiVariable && described != nullptr && !described->IsMulti())
          Raise(SNotMultiSlot, slot.name.view());
        test->StoreValue(Make<TKBValue>(name, kind));
      }
    }
  }
}

void TRule::Derive() {
  IReasoner& engine = RequireEngine();
  const ScopedDeriving guard(deriving_);
  std::vector<std::unique_ptr<TKBPattern>> generated;
  for (auto pattern = patterns_.begin(); pattern != patterns_.end();) {
    if ((*pattern)->generated_) {
      generated.push_back(std::move(*pattern));
      pattern = patterns_.erase(pattern);
    } else {
      ++pattern;
    }
  }
  for (const std::unique_ptr<TKBPattern>& pattern : patterns_) pattern->Settle(engine);
  SettleVariables();
  std::vector<std::unique_ptr<TKBPattern>> written = std::move(patterns_);
  patterns_.clear();
  bindings_.clear();
  std::size_t next = 0;
  try {
    while (next < written.size()) {
      patterns_.push_back(std::move(written[next++]));
      PatternAdded(GetPatternCount() - 1);
    }
  } catch (...) {
    while (next < written.size()) patterns_.push_back(std::move(written[next++]));
    throw;
  }
  stale_ = false;
}

void TRule::DeriveLeftSide() {
  if (stale_) Derive();
  if (!patterns_.empty()) return;
  IReasoner& engine = RequireEngine();
  std::unique_ptr<TKBPattern> initial = engine.GetInitialPattern().Clone(&engine);
  initial->owner_ = this;
  initial->generated_ = true;
  patterns_.push_back(std::move(initial));
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
        test.SetSlotValue(Make<TKBValue>(fresh, value->GetDType()));
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
  const ScopedDeriving guard(deriving_);
  TKBPattern& pattern = GetPattern(index);
  pattern.SetOwner(this);
  pattern.Settle(engine);
  if (GetPatternCount() == 1 && (pattern.GetNegatedCount() > 0 || pattern.IsTest() ||
                                 pattern.GetFactTemplate()->IsBackwardChaining())) {
    // Such a pattern needs a left input: the initial fact starts it.
    std::unique_ptr<TKBPattern> initial = engine.GetInitialPattern().Clone(&engine);
    initial->SetOwner(this);
    initial->generated_ = true;
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
  companion->generated_ = true;
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
  BeforeEdit(false);
  actions_.push_back(action);
  Change();
}

void TRule::RemoveAction(std::int32_t index) {
  const Ref<IFunCall> doomed = GetAction(index);
  BeforeEdit(false);
  actions_.erase(actions_.begin() + index);
  Change();
}

void TRule::ClearActions() {
  if (actions_.empty()) return;
  BeforeEdit(false);
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
  static const Text kRuleBinding(SRuleBinding);
  context.AddLocalBinding(kRuleBinding, NewString(rule_name_));
}

void TRule::Fire(const Ref<TKBToken>& token) {
  Given(token, "token");
  IReasoner& engine = RequireEngine();
  TKBContext frame(&engine.GetContext(), &engine);
  Prepare(*token, frame);
  fired_ = true;
  // The actions live until they have run, whatever they do to their rule.
  const std::vector<Ref<IFunCall>> actions = actions_;
  bool destroyed = false;
  bool* outer = std::exchange(destroyed_, &destroyed);
  ++firing_;
  struct Ending {
    TRule& rule;
    bool& destroyed;
    bool* outer;
    ~Ending() {
      if (destroyed) {
        if (outer != nullptr) *outer = true;
        return;
      }
      rule.destroyed_ = outer;
      --rule.firing_;
    }
  } ending{*this, destroyed, outer};
  if (OneShot) engine.RuleMarkedFired(*this);
  if (!destroyed && OnFire) {
    const auto on_fire = OnFire;  // lives on if the rule ends in it
    on_fire(*this, frame);
  }
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
  BeforeEdit(true);
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
    EndUpdate();
  } catch (...) {
    if (saved_) {  // else it was taken back, or compiled, and a fact could not be matched
      --update_count_;
      TakeBackEdits();
    }
    throw;
  }
}

std::string TRule::ToString() const {
  IReasoner* engine = GetEngine();
  return engine == nullptr ? rule_name_ : engine->PrettyPrint(*this);
}

}  // namespace reasoner
