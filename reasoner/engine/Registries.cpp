#include "reasoner/engine/Registries.h"

#include <algorithm>
#include <deque>
#include <unordered_set>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/language/CaptionTrees.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/language/TextHelpers.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/support/Streams.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// The items with every item behind its parent, if that is among them: first those without one. A
// circle raises.
template <class TItem, class TParent, TLiteral literal>
static std::vector<TItem> ParentsFirst(const std::vector<TItem>& items, TParent parent_of,
                                       TMessage<literal> circle) {
  std::vector<TItem> sorted;
  std::vector<TItem> waiting;
  std::unordered_set<const void*> unplaced;
  for (const TItem& item : items) unplaced.insert(item.get());
  const auto place = [&](const TItem& item) {
    sorted.push_back(item);
    unplaced.erase(item.get());
  };
  for (const TItem& item : items) {
    if (parent_of(*item) == nullptr) {
      place(item);
    } else {
      waiting.push_back(item);
    }
  }
  while (!waiting.empty()) {
    std::vector<TItem> later;
    for (const TItem& item : waiting) {
      if (unplaced.count(parent_of(*item)) == 0) {
        place(item);
      } else {
        later.push_back(item);
      }
    }
    if (later.size() == waiting.size()) Raise(circle);
    waiting.swap(later);
  }
  return sorted;
}

template <class TItem>
static std::string Lines(const std::vector<TItem>& items) {
  std::string text;
  for (const TItem& item : items) {
    text += item->ToString();
    text += NewLineString;
  }
  return text;
}

// Templates.

static void GiveImpliedSlot(IFactTemplate& fact_template) {
  if (fact_template.GetSlotCount() == 0) fact_template.AddMultiSlot(SDefaultSlotName, FCNilList);
}

static bool IsSameImplied(const IFactTemplate& a, const IFactTemplate& b) {
  return a.Equals(b) && b.Equals(a) && a.GetComment() == b.GetComment() && !a.GetParent() &&
         !b.GetParent();
}

Ref<IFactTemplate> TFactTemplates::OwnTemplate(const Ref<IFactTemplate>& fact_template) const {
  IReasoner* const engine = Given(fact_template, "template").GetReasoner();
  if (engine == nullptr) fact_template->Adopt(engine_);
  return engine == nullptr || engine == &engine_ ? fact_template : CopyOf(*fact_template);
}

void TFactTemplates::PutValue(std::string_view given_name, const Ref<IFactTemplate>& given) {
  const std::string name(given_name);  // a handler may rename what it was the name of
  const Ref<IFactTemplate> fact_template = OwnTemplate(given);
  if (Find(name) == fact_template) return;
  GiveImpliedSlot(*fact_template);
  if (const Ref<IFactTemplate> old = Find(name)) {
    // The engine's own templates, as a document brings them: rules that wait for their facts are
    // not to hear of it.
    if ((name == SInitialFactPattern || name == SNullFact) && IsSameImplied(*old, *fact_template))
      return;
    if (engine_.DuplicateConstructs == dcError) Raise(SDuplicateTemplateNames, name);
    if (engine_.DuplicateConstructs == dcIgnore) return;
    Replace(old, fact_template);
    return;
  }
  table_.Put(name, fact_template);
  engine_.AddFactTemplate(fact_template);
  // One that extends a marked template is marked, too.
  if (fact_template->GetParent() && Find(name) == fact_template)
    engine_.FollowWithGoals(fact_template);
}

Ref<IFactTemplate> TFactTemplates::Replace(const Ref<IFactTemplate>& old,
                                           const Ref<IFactTemplate>& given) {
  const Ref<IFactTemplate> fact_template = OwnTemplate(given);
  engine_.RequireIdleNetwork("redefining a template");
  GiveImpliedSlot(*fact_template);
  if (fact_template->GetParent() &&
      fact_template->GetParent()->DescendsFrom(fact_template->GetTemplateName()))
    Raise(SFactTemplateInheritanceCorrupt);
  if (old) {
    engine_.RemoveFactTemplate(old);
    TakeItem(old);
  }
  FirstFailure failures;
  const std::string name = fact_template->GetTemplateName();
  failures.Try([&] { Put(name, fact_template); });
  if (old && Find(name) == fact_template)
    failures.Try([&] { engine_.ReplaceTemplate(old, fact_template); });
  failures.Raise();
  return fact_template;
}

void TFactTemplates::Remove(std::string_view name) {
  const Ref<IFactTemplate> fact_template = Find(name);
  if (!fact_template) return;
  TakeOut(fact_template);
  for (const Ref<IFactTemplate>& child : GetItems()) {
    if (child->GetParent() == fact_template) child->SetParent(nullptr);
  }
}

void TFactTemplates::TakeOut(const Ref<IFactTemplate>& fact_template) {
  engine_.RequireIdleNetwork("removing a template");
  engine_.RemoveFactTemplate(fact_template);
  engine_.RemoveDependencies(*fact_template);
  // What handlers have made of it meanwhile goes as well: no text finds the template any more.
  if (TakeItem(fact_template)) engine_.RemoveDependencies(*fact_template);
}

void TFactTemplates::Clear() {
  FirstFailure failures;
  failures.Try([this] { engine_.RemoveDependencies(); });
  table_.Clear();
  failures.Try([this] { engine_.ClearFactTemplates(); });
  failures.Raise();
}

std::vector<Ref<IFactTemplate>> TFactTemplates::GetParentsFirst() const {
  return ParentsFirst(
      GetItems(), [](const IFactTemplate& item) { return item.GetParent().get(); },
      SFactTemplateInheritanceCorrupt);
}

std::string TFactTemplates::ToString() const { return Lines(GetParentsFirst()); }

void TFactTemplates::FillTreeView(TCaptionNode& tree) const {
  for (const Ref<IFactTemplate>& item : GetItems()) FillTreeViewNode(tree, *item);
}

void TFactTemplates::FillTreeViewNode(TCaptionNode& node, const IFactTemplate& fact_template) {
  node.children.push_back(TemplateTree(fact_template));
}

void TFactTemplates::FillNodeSlot(TCaptionNode& node, const IFactSlot& slot) {
  node.children.push_back(SlotTree(slot));
}

// Types.

Ref<IKBDefinedType> TKBDefinedTypes::OwnType(const Ref<IKBDefinedType>& type) const {
  IReasoner* const engine = Given(type, "type").GetReasoner();
  if (engine == nullptr) type->SetReasoner(&engine_);
  return engine == nullptr || engine == &engine_ ? type : CopyOf(*type);
}

void TKBDefinedTypes::PutValue(std::string_view given_name, const Ref<IKBDefinedType>& given) {
  const std::string name(given_name);  // a handler may rename what it was the name of
  if (IsTypeWord(name)) Raise(SReservedName, name);
  const Ref<IKBDefinedType> type = OwnType(given);
  const Ref<IKBDefinedType> old = Find(name);
  if (old == type) return;
  if (old) {
    if (engine_.DuplicateConstructs == dcError) Raise(SDuplicateDefTypeNames, name);
    if (engine_.DuplicateConstructs == dcIgnore) return;
    Replace(old, type);
    return;
  }
  if (const Ref<IFuzzyVariable> variable = type->GetFuzzyType()) {
    variable->SetThreshold(double{engine_.GetFuzzyEqualsThreshold()});
    if (engine_.FuzzyAutoTerms) variable->AddAutoTerms();
  }
  table_.Put(name, type);
  engine_.AddDefinedType(type);
}

Ref<IKBDefinedType> TKBDefinedTypes::Replace(const Ref<IKBDefinedType>& old,
                                             const Ref<IKBDefinedType>& given) {
  const Ref<IKBDefinedType> type = OwnType(given);
  engine_.RequireIdleNetwork("redefining a type");
  for (const IKBDefinedType* ancestor = type->GetAncestor().get(); ancestor != nullptr;
       ancestor = ancestor->GetAncestor().get()) {
    if (ancestor->GetName() == type->GetName()) Raise(STypeInheritanceLoop, type->GetName());
  }
  if (old) {
    engine_.RemoveDefinedType(old);
    TakeItem(old);
  }
  FirstFailure failures;
  failures.Try([&] { Put(type->GetName(), type); });
  if (old) {
    failures.Try([&] { engine_.ReplaceDefinedType(old, type); });
    ChangeAncestor(old, type);
    old->SetReasoner(nullptr);
  }
  failures.Raise();
  return type;
}

void TKBDefinedTypes::Remove(std::string_view name) {
  const Ref<IKBDefinedType> type = Find(name);
  if (!type) return;
  engine_.RequireIdleNetwork("removing a type");
  engine_.RemoveDefinedType(type);
  engine_.RemoveDependencies(*type);
  ChangeAncestor(type, nullptr);
  type->SetReasoner(nullptr);
  TakeItem(type);
}

// Types that extend one that goes keep what they have from it, and extend another one or none.
void TKBDefinedTypes::ChangeAncestor(const Ref<IKBDefinedType>& old,
                                     const Ref<IKBDefinedType>& type) {
  for (const Ref<IKBDefinedType>& child : GetItems()) {
    if (child->GetAncestor() == old) child->SetAncestor(type);
  }
}

void TKBDefinedTypes::Clear() {
  engine_.GetFactTemplates().Clear();
  for (const Ref<IKBDefinedType>& type : GetItems()) type->SetReasoner(nullptr);
  table_.Clear();
  engine_.ClearDefinedTypes();
}

std::vector<Ref<IKBDefinedType>> TKBDefinedTypes::GetAncestorsFirst() const {
  return ParentsFirst(
      GetItems(), [](const IKBDefinedType& item) { return PrintedAncestor(item); },
      STypeInheritanceCorrupt);
}

std::string TKBDefinedTypes::ToString() const { return Lines(GetAncestorsFirst()); }

// Functions.

static IInterpretedFunction* AsInterpreted(IUserFunction& function) {
  return dynamic_cast<IInterpretedFunction*>(&function);
}

// The engine that the calls of an interpreted function look their functions up in, or null.
static IReasoner* HomeOf(const IInterpretedFunction& function) {
  for (std::int32_t i = 0; i < function.GetStatementCount(); ++i) {
    const Ref<IKBValue>& statement = function.GetStatement(i);
    if (!statement || statement->GetDType() != dtFunCall || !statement->GetAsFunCall()) continue;
    if (IReasoner* const home = statement->GetAsFunCall()->GetReasoner()) return home;
  }
  return function.GetReasonerCount() > 0 ? function.GetReasoner(0) : nullptr;
}

// An interpreted function of another engine comes over by its text; host and built-in functions
// serve any number of engines.
Ref<IUserFunction> TUserFunctions::OwnFunction(const Ref<IUserFunction>& function) const {
  const IInterpretedFunction* const interpreted = AsInterpreted(*function);
  IReasoner* const home = interpreted == nullptr ? nullptr : HomeOf(*interpreted);
  if (home == nullptr || home == &engine_) return function;
  return engine_.ParseFunction(home->PrettyPrint(*function));
}

void TUserFunctions::PutValue(std::string_view given_name, const Ref<IUserFunction>& given) {
  const std::string name(given_name);  // a handler may rename what it was the name of
  if (!given) Raise(SInvalidFunctionAdd);
  const Ref<IUserFunction> function = OwnFunction(given);
  if (!(function->GetFunctionName() == name)) {
    Raise(SWrongFunctionName, name, function->GetFunctionName().view());
  }
  const Ref<IUserFunction> old = Find(name);
  if (old == function) return;
  FirstFailure failures;  // of handlers
  if (old) {
    if (engine_.DuplicateConstructs == dcError) Raise(SDuplicateFunctionNames, name);
    if (engine_.DuplicateConstructs == dcIgnore) return;
    failures.Try([&] { RemoveEntry(name); });
  }
  table_.Put(name, function);
  ++engine_.GetLink()->function_generation;
  if (IInterpretedFunction* interpreted = AsInterpreted(*function)) {
    ++interpreted_;
    interpreted->SetOrder(++next_order_);
  }
  function->AddReasoner(engine_);
  failures.Try([&] { engine_.AddFunction(function); });
  failures.Raise();
}

void TUserFunctions::RemoveEntry(std::string_view name) {
  const Ref<IUserFunction> function = table_.Take(name);
  if (!function) return;
  ++engine_.GetLink()->function_generation;
  if (AsInterpreted(*function) != nullptr) --interpreted_;
  function->DeleteReasoner(engine_);
  engine_.RemoveFunction(function);
}

void TUserFunctions::Remove(std::string_view name) {
  const std::string key(name);
  const Ref<IUserFunction> removed = Find(key);
  if (!removed) return;
  FirstFailure failures;
  failures.Try([&] { RemoveEntry(key); });
  if (!ContainsKey(key) && !engine_.IsDestroying()) {
    const Ref<IUserFunction> built_in = engine_.FindPackageFunction(key);
    if (built_in && built_in != removed) failures.Try([&] { Add(built_in); });
  }
  failures.Raise();
}

void TUserFunctions::Clear() {
  const std::vector<Ref<IUserFunction>> functions = GetItems();
  table_.Clear();
  ++engine_.GetLink()->function_generation;
  interpreted_ = 0;
  for (const Ref<IUserFunction>& function : functions) function->DeleteReasoner(engine_);
}

std::string TUserFunctions::ToString() const {
  std::string text;
  for (const Ref<IUserFunction>& function : GetItems()) {
    const IInterpretedFunction* interpreted = AsInterpreted(*function);
    if (interpreted == nullptr) continue;
    text += engine_.PrettyPrint(*interpreted);
    text += NewLineString;
  }
  return text;
}

// Rules.

void TRules::PutValue(std::string_view name, TRule* const& rule) {
  if (rule == nullptr) {
    Remove(name);
    return;
  }
  const std::string key(name);  // a handler may rename the rule
  if (rule->GetEngine() == nullptr || rule->IsDestroying()) Raise(SUnknownEngine);
  if (rule->GetEngine() != &engine_) {
    std::unique_ptr<TRule> own = engine_.ParseRule(rule->ToString());
    own->SetRuleName(key);
    return Add(std::move(own));
  }
  TRule* old = Find(key);
  if (old == rule) return;
  if (old != nullptr) {
    if (engine_.DuplicateConstructs == dcError) Raise(SDuplicateRuleNames, key);
    if (engine_.DuplicateConstructs == dcIgnore) return;
  }
  if (rule->GetRuleName() != key) rule->SetRuleName(key);
  const TReasoner::ScopedReport report(engine_);
  const ComponentWatch watch(*rule);
  FirstFailure failures;  // of others, whom the rule's coming has set to work
  if (old != nullptr) {
    // What cannot be compiled does not push out what is there.
    TReteNetwork::TryRule(engine_, *rule);
    failures.Try([&] { engine_.ReplaceRule(*old, *rule); });
  } else {
    // The rule is compiled before it is in the table: a failure leaves no trace of it.
    if (engine_.in_network_ > 0) TReteNetwork::TryRule(engine_, *rule);
    failures.Try([&] { engine_.CompileRule(*rule); });
    if (watch.HasEnded() || !engine_.IsCompiled(*rule)) return failures.Raise();
    engine_.ClaimName(*rule);
  }
  const auto is_held = [&] { return !watch.HasEnded() && engine_.HoldsRule(*rule); };
  if (engine_.in_network_ == 0 && engine_.Watches(cwCompilation) && is_held()) {
    failures.Try([&] { engine_.PrintOut(rule->CompileTrace + std::string(NewLineString)); });
  }
  if (is_held()) failures.Try([&] { engine_.AddRule(*rule); });
  failures.Raise();
}

void TRules::Add(std::unique_ptr<TRule> rule) {
  Given(rule, "rule");
  // A rule that has been entered is the engine's, whatever handlers think of it.
  TRule& added = *rule;
  const ComponentWatch watch(added);
  FirstFailure failures;
  failures.Try([&] { Add(added); });
  if (watch.HasEnded()) {
    rule.release();
  } else if (engine_.HoldsRule(added)) {
    engine_.InsertComponent(added);
    rule.release();
  }
  failures.Raise();
}

bool TRules::Remove(std::string_view name) {
  if (!ContainsKey(name)) return false;
  TRule* rule = table_.Take(name);
  engine_.RemoveRule(*rule);
  return true;
}

bool TRules::Remove(std::string_view name, const TRule& rule) {
  return Find(name) == &rule && Remove(name);
}

void TRules::Clear() {
  // A handler may end rules whose turn has not come yet.
  std::deque<std::pair<TRule*, ComponentWatch>> rules;
  for (TRule* rule : GetItems()) rules.emplace_back(rule, *rule);
  table_.Clear();
  FirstFailure failures;
  for (auto& [rule, watch] : rules) {
    if (!watch.HasEnded()) failures.Try([&, dropped = rule] { engine_.DropRule(*dropped); });
  }
  engine_.next_rule_id_ = 0;
  failures.Try([&] { engine_.ClearRules(); });
  failures.Raise();
}

std::string TRules::ToString() const {
  std::vector<std::string> texts;
  for (const TRule* rule : GetItems())
    texts.push_back(rule->ToString() + std::string(NewLineString));
  if (SortedOutput) std::sort(texts.begin(), texts.end());
  std::string text;
  for (const std::string& item : texts) text += item;
  return text;
}

// Variables.

std::string TEngineVariables::ToString() const {
  std::string text;
  for (const std::string& key : GetKeys()) {
    const Ref<IKBValue> value = Get(key);
    text += engine_.PrettyPrint(std::string_view(key), value ? *value : *FCNil);
    text += NewLineString;
  }
  return text;
}

// A name that comes from a host must be one that a document can hold.
static void CheckGlobalName(std::string_view name) {
  std::string source = "?";
  AppendNameSource(source, name);
  TKitStringStream text(source);
  TKBClipsStream stream(&text, nullptr);
  const Ref<IStreamToken> token = stream.NextToken();
  const bool is_read = name.starts_with('*') && name.ends_with('*') && token->Is(dtVariable) &&
                       token->GetText() == name && stream.NextToken()->IsEnd();
  if (!is_read) Raise(SBadVariableName, name);
}

void TGlobalVariables::PutValue(std::string_view name, const Ref<IKBValue>& value) {
  CheckGlobalName(name);
  const bool was_there = ContainsKey(name);
  const Ref<IKBValue> old = Get(name);
  TEngineVariables::PutValue(name, value);
  try {
    engine_.ResetGlobalVariable(name, value);
  } catch (...) {
    // A definition that has no value is none.
    if (was_there) {
      TEngineVariables::PutValue(name, old);
    } else {
      Remove(name);
    }
    throw;
  }
}

void TGlobalVariables::Clear() {
  TEngineVariables::Clear();
  engine_.GetContext().Clear();
}

// Fact sets.

TFactSet& TFactSets::GetItem(std::int32_t index) const {
  if (index < 0 || index >= GetCount()) Raise(SListIndexError, index);
  return *sets_[static_cast<std::size_t>(index)];
}

std::int32_t TFactSets::IndexOf(std::string_view name) const {
  for (std::int32_t i = 0; i < GetCount(); ++i) {
    if (GetItem(i).GetFactSetName() == name) return i;
  }
  return -1;
}

std::int32_t TFactSets::IndexOf(const TFactSet& fact_set) const {
  const auto found = std::find(sets_.begin(), sets_.end(), &fact_set);
  return found == sets_.end() ? -1 : static_cast<std::int32_t>(found - sets_.begin());
}

std::int32_t TFactSets::Add(TFactSet& fact_set) {
  const std::int32_t listed = IndexOf(fact_set);
  if (listed >= 0) return listed;
  const std::int32_t index = IndexOf(fact_set.GetFactSetName());
  if (index >= 0) {
    if (engine_.DuplicateConstructs == dcError)
      Raise(SDuplicateFactSetNames, fact_set.GetFactSetName());
    if (engine_.DuplicateConstructs == dcIgnore) return index;
    Remove(GetItem(index));
  }
  sets_.push_back(&fact_set);
  if (fact_set.GetEngine() != &engine_) fact_set.SetEngine(&engine_);
  return IndexOf(fact_set);
}

std::int32_t TFactSets::Insert(std::int32_t index, TFactSet& fact_set) {
  if (index < 0 || index > GetCount()) Raise(SListIndexError, index);
  const std::int32_t entered = Add(fact_set);
  if (IndexOf(fact_set) < 0) return entered;
  Leave(fact_set);
  const auto place = std::min(static_cast<std::size_t>(index), sets_.size());
  sets_.insert(sets_.begin() + static_cast<std::ptrdiff_t>(place), &fact_set);
  return static_cast<std::int32_t>(place);
}

std::int32_t TFactSets::SetItem(std::int32_t index, TFactSet& fact_set) {
  TFactSet& old = GetItem(index);
  if (&old == &fact_set) return index;
  const std::int32_t named = IndexOf(fact_set.GetFactSetName());
  const bool meets_another = IndexOf(fact_set) < 0 && named >= 0 && named != index;
  if (meets_another && engine_.DuplicateConstructs == dcError)
    Raise(SDuplicateFactSetNames, fact_set.GetFactSetName());
  if (meets_another && engine_.DuplicateConstructs == dcIgnore) return named;
  Remove(old);
  return Insert(std::min(index, GetCount()), fact_set);
}

void TFactSets::Leave(TFactSet& fact_set) {
  sets_.erase(std::remove(sets_.begin(), sets_.end(), &fact_set), sets_.end());
}

std::int32_t TFactSets::Remove(TFactSet& fact_set) {
  const std::int32_t index = IndexOf(fact_set);
  if (index < 0) return index;
  Leave(fact_set);
  if (fact_set.GetOwner() != &engine_ || fact_set.IsDestroying()) {
    fact_set.SetEngine(nullptr);
  } else if (engine_.resetting_ == 0) {
    delete &fact_set;
  } else {
    fact_set.SetEngine(nullptr);
    engine_.doomed_fact_sets_.push_back(&fact_set);  // it may be asserting its facts
  }
  return index;
}

void TFactSets::Clear() {
  while (!sets_.empty()) Remove(*sets_.back());
}

std::string TFactSets::ToString() const {
  std::string text;
  for (const TFactSet* fact_set : sets_) text += fact_set->ToString();
  return text;
}

}  // namespace reasoner
