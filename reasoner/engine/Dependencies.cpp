// What depends on a construct, and what becomes of it when the construct goes or is defined anew.

#include <algorithm>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/support/Streams.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TReasoner::DropPending(const IFactTemplate& fact_template) {
  const auto drop = [&fact_template](std::deque<Ref<IFact>>& facts) {
    facts.erase(std::remove_if(
                    facts.begin(), facts.end(),
                    [&](const Ref<IFact>& fact) { return fact->GetTemplate() == &fact_template; }),
                facts.end());
  };
  drop(pending_assertions_);
  drop(pending_retractions_);
}

void TReasoner::RemoveRulesOn(const IFactTemplate& fact_template,
                              std::vector<std::string>& dropped) {
  for (const std::string& name : rules_->GetNames()) {
    const TRule* rule = rules_->Find(name);
    if (rule == nullptr || rule->IndexOfTemplate(fact_template) < 0) continue;
    rules_->Remove(name);
    dropped.push_back("rule " + name);
  }
}

// Whether a line whose fact does not parse any more is a fact of that template.
static bool IsLineOf(std::string_view line, std::string_view template_name) {
  const std::string head = "(" + AtomToSource(template_name);
  const std::string_view text = Trim(line);
  return text.starts_with(head) && text.size() > head.size() &&
         (text[head.size()] == ')' || static_cast<unsigned char>(text[head.size()]) <= ' ');
}

void TReasoner::RemoveDependencies(const IFactTemplate& fact_template) {
  DropPending(fact_template);
  const bool is_told = OnDropped.IsHeard() || Watches(cwCompilation);
  std::vector<std::string> dropped;
  const std::vector<Ref<IFact>> facts = facts_->Snapshot();
  for (auto fact = facts.rbegin(); fact != facts.rend(); ++fact) {
    if ((*fact)->GetTemplate() != &fact_template || !facts_->Lists(**fact)) continue;
    RetractFact(*fact);
    if (is_told) dropped.push_back("fact " + (*fact)->ToString());
  }
  // The lines go, too: a later reset is not to bring the template back.
  for (TFactSet* fact_set : fact_sets_->GetItems()) {
    for (std::int32_t i = fact_set->GetCount(); i-- > 0;) {
      const TFactSet::TLine& line = fact_set->GetLines()[static_cast<std::size_t>(i)];
      const bool goes = line.fact ? line.fact->GetTemplate() == &fact_template
                                  : IsLineOf(line.text, fact_template.GetTemplateName());
      if (!goes) continue;
      dropped.push_back("line of fact set " + fact_set->GetFactSetName() + ": " + line.text);
      fact_set->Delete(i);
    }
  }
  if (rules_) RemoveRulesOn(fact_template, dropped);
  FirstFailure failures;
  for (const std::string& what : dropped) {
    failures.Try([&] {
      ReportDropped(what, FillMessage(STemplateIsGone, fact_template.GetTemplateName()));
    });
  }
  failures.Raise();
}

void TReasoner::RemoveDependencies() {
  pending_assertions_.clear();
  pending_retractions_.clear();
  FirstFailure failures;
  if (network_) failures.Try([this] { ClearNetwork(); });
  if (facts_) failures.Try([this] { facts_->Clear(); });
  if (rules_) failures.Try([this] { rules_->Clear(); });
  failures.Raise();
}

// A slot with a cardinality of its own has a fuzzy type in a copy of the same name.
static bool UsesType(const IFactSlot& slot, const IKBDefinedType& type) {
  const IKBDefinedType* const own = slot.GetExtendedTypeInfo().get();
  return own == &type || (own != nullptr && own->IsImplicit() && own->GetFuzzyType() &&
                          own->GetName() == type.GetName());
}

static bool UsesType(const IFactTemplate& fact_template, const IKBDefinedType& type) {
  const std::vector<Ref<IFactSlot>> slots = fact_template.GetSlots();
  return std::any_of(slots.begin(), slots.end(),
                     [&type](const Ref<IFactSlot>& slot) { return UsesType(*slot, type); });
}

void TReasoner::RemoveDependencies(const IKBDefinedType& type) {
  const std::vector<Ref<IFactTemplate>> templates = fact_templates_->GetItems();
  for (auto item = templates.rbegin(); item != templates.rend(); ++item) {
    if (!UsesType(**item, type)) continue;
    const std::string name = (*item)->GetTemplateName();
    ReportDropped("template " + name, FillMessage(STypeIsGone, type.GetName()));
    fact_templates_->Remove(name);
  }
}

bool TReasoner::IsDependent(const TRule& rule, const IFactTemplate& fact_template) const {
  if (rule.IndexOfTemplate(fact_template) >= 0) return true;
  for (std::int32_t i = 0; i < rule.GetActionCount(); ++i) {
    if (IsDependent(*rule.GetAction(i), fact_template)) return true;
  }
  return false;
}

bool TReasoner::IsDependent(const IFunCall& fun_call, const IFactTemplate& fact_template) const {
  const DepthGuard guard("function call");
  for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
    if (fun_call.GetArgument(i) && IsDependent(*fun_call.GetArgument(i), fact_template))
      return true;
  }
  return false;
}

bool TReasoner::IsDependent(const IKBValue& value, const IFactTemplate& fact_template) const {
  switch (value.GetDType()) {
    case dtFunCall:
      return value.GetAsFunCall() != nullptr && IsDependent(*value.GetAsFunCall(), fact_template);
    case dtFact:
      return value.GetAsFact() != nullptr && value.GetAsFact()->GetTemplate() == &fact_template;
    case dtList: {
      const DepthGuard guard("list");
      const IValueVector& list = *value.GetAsList();
      return std::any_of(list.begin(), list.end(), [&](const Ref<IKBValue>& member) {
        return member && IsDependent(*member, fact_template);
      });
    }
    default:
      return false;
  }
}

// Takes out the facts on the template, the last first.
void TReasoner::TakeOutFacts(const Ref<IFactTemplate>& fact_template,
                             std::vector<TDependent>& dependents, FirstFailure& failures) {
  const std::vector<Ref<IFact>> facts = facts_->Snapshot();
  for (auto fact = facts.rbegin(); fact != facts.rend(); ++fact) {
    TFacts::Entry* entry =
        (*fact)->GetTemplate() == fact_template ? facts_->FindEntry(**fact) : nullptr;
    if (entry == nullptr || entry->leaving) continue;
    TDependent dependent;
    dependent.text = FactToSavedSource(**fact);
    dependent.fact = *fact;
    dependents.push_back(std::move(dependent));
    facts_->MarkLeaving(*entry);
    failures.Try([&] { RetractEntry(*entry); });
  }
  failures.Try([this] { DrainWork(); });
}

void TReasoner::TakeOutRules(const IFactTemplate& fact_template,
                             std::vector<TDependent>& dependents, FirstFailure& failures) {
  for (const std::string& name : rules_->GetNames()) {
    TRule* const rule = rules_->Find(name);
    if (rule == nullptr || !IsDependent(*rule, fact_template)) continue;
    TDependent dependent;
    dependent.text = rule->ToString();
    dependent.rule_name = name;
    dependent.on_fire = rule->OnFire;
    dependent.on_change = rule->OnChange;
    dependent.fired = rule->HasFired();
    if (rule->GetOwner() != this) {
      dependent.host_rule = rule;
      returning_rules_.push_back(rule);
    }
    dependents.push_back(std::move(dependent));
    failures.Try([&] { rules_->Remove(name); });
  }
}

void TReasoner::ReplaceTemplate(const Ref<IFactTemplate>& old,
                                const Ref<IFactTemplate>& fact_template) {
  if (Given(old, "template").GetTemplateName() !=
      Given(fact_template, "template").GetTemplateName())
    return RemoveDependencies(*old);
  if (old->IsBackwardChaining()) fact_template->SetBackwardChaining(true);
  DropPending(*old);
  FirstFailure failures;  // of handlers: what has begun is carried through
  std::vector<TDependent> dependents;
  const std::size_t first_returning = returning_rules_.size();
  TakeOutFacts(old, dependents, failures);
  // The line stays and is parsed anew by the next reset.
  for (TFactSet* fact_set : fact_sets_->GetItems()) {
    for (std::int32_t i = 0; i < fact_set->GetCount(); ++i) {
      const Ref<IFact>& fact = fact_set->GetLines()[static_cast<std::size_t>(i)].fact;
      if (fact && fact->GetTemplate() == old) fact_set->SetFact(i, nullptr);
    }
  }
  TakeOutRules(*old, dependents, failures);
  failures.Try([&] { ReportUnfitLines(*fact_template); });
  failures.Try([&] { UpdateDependencies(dependents); });
  returning_rules_.resize(first_returning);
  if (fact_templates_->Find(std::string(SBackChainPrefix) + old->GetTemplateName()))
    failures.Try([&] { FollowWithGoals(fact_template); });
  failures.Try([&] { RebuildChildren(old, fact_template); });
  failures.Raise();
}

Ref<IFactTemplate> TReasoner::NewGoalTemplate(const Ref<IFactTemplate>& wanted) {
  const std::string& name = wanted->GetTemplateName();
  const Ref<IFactTemplate> goal = Make<TFactTemplate>(this, std::string(SBackChainPrefix) + name,
                                                      "Goal seeker for " + name, wanted);
  goal->SetParent(nullptr);
  return goal;
}

void TReasoner::FollowWithGoals(const Ref<IFactTemplate>& fact_template) {
  if (!fact_template->IsBackwardChaining() ||
      fact_template->GetTemplateName().starts_with(SBackChainPrefix)) {
    return;
  }
  const Ref<IFactTemplate> goal = NewGoalTemplate(fact_template);
  const Ref<IFactTemplate> known = fact_templates_->Find(goal->GetTemplateName());
  if (!known) {
    fact_templates_->Add(goal);
  } else if (!known->Equals(*goal) || !goal->Equals(*known)) {
    fact_templates_->Replace(known, goal);
  }
}

// Lines of fact sets stay, and every reset tries them again, but what does not fit now is told now.
void TReasoner::ReportUnfitLines(const IFactTemplate& fact_template) {
  std::vector<std::pair<std::string, std::string>> unfit;
  for (const TFactSet* fact_set : fact_sets_->GetItems()) {
    for (const TFactSet::TLine& line : fact_set->GetLines()) {
      if (line.fact || !IsLineOf(line.text, fact_template.GetTemplateName())) continue;
      try {
        ReadFactLine(*this, line.text);
      } catch (const EKBException& failure) {
        unfit.emplace_back("line of fact set " + fact_set->GetFactSetName() + ": " + line.text,
                           failure.GetMessage());
      }
    }
  }
  FirstFailure failures;
  for (const auto& item : unfit) failures.Try([&] { ReportDropped(item.first, item.second); });
  failures.Raise();
}

// Runs a step that may find that a text no longer fits: then `dropped` hears why. What is no
// failure of the text goes on to who asked for all this.
template <class TStep, class TDropped>
static void TryAnew(FirstFailure& failures, TStep step, TDropped dropped) {
  try {
    step();
  } catch (const EKBInterrupted&) {
    failures.Keep(std::current_exception());
  } catch (const std::bad_alloc&) {
    failures.Keep(std::current_exception());
  } catch (const std::exception& failure) {
    const std::string reason = failure.what();
    failures.Try([&] { dropped(reason); });
  } catch (...) {
    failures.Try([&] { dropped(std::string()); });
  }
}

void TReasoner::UpdateDependencies(const std::vector<TDependent>& dependents) {
  struct Immediately {
    TKBParser& parser;
    TErrorHandling handling;
    ~Immediately() { parser.ErrorHandling = handling; }
  } immediately{*parser_, std::exchange(parser_->ErrorHandling, ehRaiseImmediate)};
  FirstFailure failures;
  for (const TDependent& dependent : dependents) {
    TryAnew(
        failures, [&] { ReadDependent(dependent, failures); },
        [&](const std::string& reason) {
          const std::string what =
              dependent.fact ? "fact " + dependent.fact->ToString() : "rule " + dependent.rule_name;
          ReportDropped(what, dependent.text, reason);
        });
  }
  failures.Raise();
}

// Values whose text has not changed come over as they were, so that nothing is lost to printing.
static void CarryValues(const IFact& old, IFact& fact) {
  const IFactTemplate& old_template = *old.GetTemplate();
  const IFactTemplate& fact_template = *fact.GetTemplate();
  for (const std::int32_t ordinal : fact_template.SortedOrdinals()) {
    const IFactSlot& slot = *fact_template.SlotAt(ordinal);
    const std::int32_t old_ordinal = old_template.OrdinalOf(slot.GetName());
    if (old_ordinal < 0 || !old.HasValueAt(old_ordinal)) continue;
    const IKBValue& value = *old.PeekAt(old_ordinal);
    if (value.GetDType() == dtFuzzy || slot.IsFuzzy() || !slot.IsValid(&value)) continue;
    const bool unchanged =
        !HasSource(value) ||
        (fact.HasValueAt(ordinal) && ValueToSource(value) == ValueToSource(*fact.PeekAt(ordinal)));
    if (unchanged) fact.SetValue(slot.GetName(), value.Clone());
  }
}

// What is back although a test raised for it has not been dropped: the failure waits.
void TReasoner::ReadDependent(const TDependent& dependent, FirstFailure& failures) {
  const auto bring_back = [&failures](auto step, auto is_back) {
    try {
      step();
    } catch (const EAbort&) {
      // A host's silent refusal ends here.
      if (!is_back()) throw;
    } catch (...) {
      if (!is_back()) throw;
      failures.Keep(std::current_exception());
    }
  };
  if (dependent.fact) {
    const Ref<IFact> fact = ParseFact(dependent.text);
    CarryValues(*dependent.fact, *fact);
    return bring_back([&] { UpdateDependentFact(dependent.fact, fact); },
                      [&] { return facts_->Lists(*fact); });
  }
  std::unique_ptr<TRule> rule = ParseRule(dependent.text);
  if (dependent.host_rule == nullptr) {
    rule->OnFire = dependent.on_fire;
    rule->OnChange = dependent.on_change;
    rule->SetFired(dependent.fired);
    const TRule* const read = rule.get();
    return bring_back([&] { rules_->Add(std::move(rule)); },
                      [&] { return rules_->Find(dependent.rule_name) == read; });
  }
  // A host's object takes the new definition, unless its host has ended it meanwhile.
  const auto returning =
      std::find(returning_rules_.begin(), returning_rules_.end(), dependent.host_rule);
  if (returning == returning_rules_.end()) return;
  TRule& host_rule = **returning;
  host_rule.Assign(*rule);
  host_rule.SetFired(dependent.fired);
  rule.reset();
  bring_back([&] { rules_->Add(host_rule); },
             [&] { return rules_->Find(dependent.rule_name) == &host_rule; });
}

void TReasoner::UpdateDependentFact(const Ref<IFact>&, const Ref<IFact>& fact) {
  if (AssertResolved(fact) == -1) Raise(SEqualFactIsThere);
}

void TReasoner::ReportDropped(const std::string& what, const std::string& text,
                              const std::string& reason) {
  OnDropped(*this, what, reason);
  if (!Watches(cwCompilation)) return;
  PrintOut("Dropped: " + text + std::string(NewLineString) + "   " + reason +
           std::string(NewLineString));
}

// Templates that extend the old one are read again, so that they extend the new one with all that
// it has.
void TReasoner::RebuildChildren(const Ref<IFactTemplate>& old,
                                const Ref<IFactTemplate>& fact_template) {
  if (fact_templates_->Find(fact_template->GetTemplateName()) != fact_template) return;
  const DepthGuard guard("template");
  FirstFailure failures;
  for (const Ref<IFactTemplate>& child : fact_templates_->GetItems()) {
    if (child->GetParent() != old) continue;
    TryAnew(
        failures,
        [&] {
          const Ref<IFactTemplate> rebuilt = ParseFactTemplate(child->ToString());
          rebuilt->SetBackwardChaining(child->IsBackwardChaining());
          fact_templates_->Replace(child, rebuilt);
        },
        [&](const std::string& reason) {
          child->SetParent(nullptr);
          ReportDropped(
              "extends " + old->GetTemplateName() + " of template " + child->GetTemplateName(),
              reason);
        });
  }
  failures.Raise();
}

// Gives a slot the type that takes its old one's place. The default comes along where it fits; the
// result tells whether it did.
static bool ChangeSlotType(TReasoner& engine, IFactSlot& slot, const Ref<IKBDefinedType>& type) {
  const Ref<IKBValue> value = slot.GetSlotDefault();
  const bool is_multi = slot.IsMulti();
  const bool was_fuzzy = slot.IsFuzzy();
  const Ref<IKBDefinedType> own = slot.GetExtendedTypeInfo();
  if (own && own->IsImplicit()) {
    const Ref<IKBDefinedType> copy = type->Clone();
    copy->SetImplicit(true);
    if (own->IsCardinalityLimited()) {
      copy->SetCardinalityLimited(true);
      copy->SetMinCardinality(own->GetMinCardinality());
      copy->SetMaxCardinality(own->GetMaxCardinality());
    }
    slot.SetExtendedTypeInfo(copy);
  } else {
    slot.SetExtendedTypeInfo(type);
  }
  if (is_multi) slot.SetSlotType(slot.GetSlotType() + KBMultiSlotTypes);  // a type does not tell
  if (!value) return true;
  Ref<IKBValue> fitting = value;
  // What a word or a number means hangs on the variable.
  if (!slot.IsDefaultDynamic() &&
      (was_fuzzy || slot.IsFuzzy() || KBReparseTypes.Has(value->GetDType()))) {
    try {
      fitting = engine.ParseValue(ValueToSource(*value), slot);
      // A shape is a call where the type is not fuzzy.
      if (!HasSource(*fitting)) fitting = nullptr;
    } catch (const EKBInterrupted&) {
      throw;
    } catch (const EKBException&) {
      fitting = nullptr;
    }
  }
  const bool fits = fitting && slot.IsValid(fitting.get()) &&
                    (!is_multi || slot.IsDefaultDynamic() || fitting->GetDType() == dtList);
  slot.SetSlotDefault(fits ? fitting : slot.CreateValidDefault(is_multi));
  return fits;
}

void TReasoner::ReplaceDefinedType(const Ref<IKBDefinedType>& old,
                                   const Ref<IKBDefinedType>& type) {
  if (Given(old, "type").GetName() != Given(type, "type").GetName())
    return RemoveDependencies(*old);
  const std::vector<Ref<IFactTemplate>> templates = fact_templates_->GetItems();
  FirstFailure failures;
  for (auto item = templates.rbegin(); item != templates.rend(); ++item) {
    if (!UsesType(**item, *old)) continue;
    // Its parent has been read again, and the template with it.
    if (fact_templates_->Find((*item)->GetTemplateName()) != *item) continue;
    const Ref<IFactTemplate> clone = (*item)->Clone();
    for (const Ref<IFactSlot>& slot : clone->GetSlots()) {
      if (!UsesType(*slot, *old)) continue;
      failures.Try([&] {
        const Ref<IKBValue> value = slot->GetSlotDefault();
        const bool tells = value && !value->ToString().empty();  // an empty one is not told
        if (ChangeSlotType(*this, *slot, type) || !tells) return;
        ReportDropped("default " + ValueToSource(*value) + " of slot " + slot->GetName().str() +
                          " in template " + clone->GetTemplateName(),
                      FillMessage(SDoesNotFitType, type->GetName()));
      });
    }
    failures.Try([&] { fact_templates_->Replace(*item, clone); });
  }
  failures.Raise();
}

void TReasoner::RenameRule(std::string_view old_name, std::string_view new_name) {
  if (old_name == new_name || !rules_->ContainsKey(old_name)) return;
  if (rules_->ContainsKey(new_name)) Raise(SDuplicateRuleNames, new_name);
  CheckConstructName(new_name);
  rules_->table_.Rename(old_name, new_name);
  rules_->Find(new_name)->SetRuleName(new_name);
}

void TReasoner::ChangeFactTemplateName(std::string_view old_name, std::string_view new_name) {
  const Ref<IFactTemplate> fact_template = fact_templates_->Find(old_name);
  if (old_name.empty() || !fact_template) return;
  if (fact_templates_->ContainsKey(new_name)) Raise(SDuplicateTemplateNames, new_name);
  const std::string old(old_name);
  fact_templates_->TakeOut(fact_template);
  if (fact_templates_->ContainsKey(new_name)) {
    // A handler has taken the name meanwhile.
    if (!fact_templates_->ContainsKey(old)) fact_templates_->table_.Put(old, fact_template);
    Raise(SDuplicateTemplateNames, new_name);
  }
  fact_template->SetTemplateName(new_name);
  fact_templates_->table_.Put(new_name, fact_template);
  AddFactTemplate(fact_template);
}

void TReasoner::RenameType(const IKBDefinedType& type, std::string_view new_name) {
  if (!defined_types_ || defined_types_->Find(type.GetName()) != &type) return;
  if (defined_types_->ContainsKey(new_name)) Raise(SDuplicateDefTypeNames, new_name);
  defined_types_->table_.Rename(type.GetName(), new_name);
}

void TReasoner::RuleChange(TRule& rule) {
  if (!network_ || !HoldsRule(rule)) return;
  // What cannot be compiled leaves the network as it was.
  TReteNetwork::TryRule(*this, rule);
  const ScopedReport report(*this);
  const ComponentWatch watch(rule);
  FirstFailure failures;
  failures.Try([&] { UncompileRule(rule); });
  if (!watch.HasEnded() && HoldsRule(rule)) failures.Try([&] { CompileRule(rule); });
  failures.Raise();
}

}  // namespace reasoner
