// What depends on a construct, and what becomes of it when the construct goes or is defined anew.

#include <algorithm>

#include "reasoner/engine/Reasoner.h"
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

void TReasoner::RemoveRulesOn(const IFactTemplate& fact_template) {
  const bool updating = std::exchange(updating_table_, false);
  for (const std::string& name : rules_->GetNames()) {
    const TRule* rule = rules_->Find(name);
    if (rule != nullptr && rule->IndexOfTemplate(fact_template) >= 0) rules_->Remove(name);
  }
  updating_table_ = updating;
}

void TReasoner::RemoveDependencies(const IFactTemplate& fact_template) {
  DropPending(fact_template);
  const std::vector<Ref<IFact>> facts = facts_->Snapshot();
  for (auto fact = facts.rbegin(); fact != facts.rend(); ++fact) {
    if ((*fact)->GetTemplate() == &fact_template && facts_->Lists(**fact)) RetractFact(*fact);
  }
  // The lines go, too: a later reset is not to bring the template back.
  for (TFactSet* fact_set : fact_sets_->GetItems()) {
    for (std::int32_t i = fact_set->GetCount(); i-- > 0;) {
      const Ref<IFact> fact = fact_set->GetLines()[static_cast<std::size_t>(i)].fact;
      if (fact && fact->GetTemplate() == &fact_template) fact_set->Remove(*fact);
    }
  }
  if (rules_) RemoveRulesOn(fact_template);
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

void TReasoner::RemoveDependencies(const IKBDefinedType& type) {
  const std::vector<Ref<IFactTemplate>> templates = fact_templates_->GetItems();
  for (auto item = templates.rbegin(); item != templates.rend(); ++item) {
    if ((*item)->FindSlotOfType(type) != nullptr)
      fact_templates_->Remove((*item)->GetTemplateName());
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

// The fact on a new template of its name, or null when a value of it has no place there.
static Ref<IFact> Refitted(IFact& fact, const Ref<IFactTemplate>& fact_template) {
  Ref<IFact> fitted = Make<TFact>(fact_template);
  const IFactTemplate& old = *fact.GetTemplate();
  for (const std::int32_t ordinal : old.SortedOrdinals()) {
    if (!fact.HasValueAt(ordinal)) continue;
    const Text name = old.SlotAt(ordinal)->GetName();
    const Ref<IKBValue>& value = fact.GetValueAt(ordinal);
    const IFactSlot* slot = fact_template->FindSlot(name);
    if (slot == nullptr) {
      if (value->ToString().empty()) continue;
      return nullptr;
    }
    if (!slot->IsValid(value.get())) return nullptr;
    fitted->SetValue(name, value->Clone());
  }
  return fitted;
}

void TReasoner::ReplaceTemplate(const Ref<IFactTemplate>& old,
                                const Ref<IFactTemplate>& fact_template) {
  if (old->GetTemplateName() != fact_template->GetTemplateName()) return RemoveDependencies(*old);
  DropPending(*old);
  FirstFailure failures;  // of handlers: what has begun is carried through
  std::vector<Ref<IFact>> kept;
  const std::vector<Ref<IFact>> facts = facts_->Snapshot();
  for (auto fact = facts.rbegin(); fact != facts.rend(); ++fact) {
    TFacts::Entry* entry = (*fact)->GetTemplate() == old ? facts_->FindEntry(**fact) : nullptr;
    if (entry == nullptr || entry->leaving) continue;
    kept.push_back(*fact);
    facts_->MarkLeaving(*entry);
    failures.Try([&] { RetractEntry(*entry); });
  }
  failures.Try([this] { DrainWork(); });
  // The line stays and is parsed anew by the next reset.
  for (TFactSet* fact_set : fact_sets_->GetItems()) {
    for (std::int32_t i = 0; i < fact_set->GetCount(); ++i) {
      const Ref<IFact>& fact = fact_set->GetLines()[static_cast<std::size_t>(i)].fact;
      if (fact && fact->GetTemplate() == old) fact_set->SetFact(i, nullptr);
    }
  }
  std::vector<std::string> texts;
  const bool updating = std::exchange(updating_table_, false);
  for (const std::string& name : rules_->GetNames()) {
    const TRule* rule = rules_->Find(name);
    if (rule == nullptr || !IsDependent(*rule, *old)) continue;
    texts.push_back(rule->ToString());
    failures.Try([&] { rules_->Remove(name); });
  }
  updating_table_ = updating;
  // What no longer fits is dropped, and the next one is tried.
  const TErrorHandling handling = parser_->ErrorHandling;
  parser_->ErrorHandling = ehRaiseImmediate;
  const auto try_anew = [&failures](auto step) {
    try {
      step();
    } catch (const EKBInterrupted&) {
      failures.Keep(std::current_exception());
    } catch (const std::bad_alloc&) {
      failures.Keep(std::current_exception());
    } catch (...) {
    }
  };
  for (const Ref<IFact>& fact : kept) {
    try_anew([&] {
      if (const Ref<IFact> fitted = Refitted(*fact, fact_template)) AssertResolved(fitted);
    });
  }
  for (const std::string& text : texts) try_anew([&] { Parse(text, false); });
  parser_->ErrorHandling = handling;
  failures.Raise();
}

void TReasoner::ReplaceDefinedType(const Ref<IKBDefinedType>& old,
                                   const Ref<IKBDefinedType>& type) {
  if (old->GetName() != type->GetName()) return RemoveDependencies(*old);
  const std::vector<Ref<IFactTemplate>> templates = fact_templates_->GetItems();
  for (auto item = templates.rbegin(); item != templates.rend(); ++item) {
    if ((*item)->FindSlotOfType(*old) == nullptr) continue;
    const Ref<IFactTemplate> clone = (*item)->Clone();
    for (const Ref<IFactSlot>& slot : clone->GetSlots()) {
      if (slot->GetExtendedTypeInfo() == old) slot->SetExtendedTypeInfo(type);
    }
    fact_templates_->SetItem(clone->GetTemplateName(), clone);
  }
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
  const bool updating = std::exchange(updating_table_, true);
  try {
    fact_templates_->Remove(old_name);
    fact_templates_->Put(new_name, fact_template);
  } catch (...) {
    updating_table_ = updating;
    throw;
  }
  updating_table_ = updating;
}

void TReasoner::RuleChange(TRule& rule) {
  if (!network_ || !HoldsRule(rule)) return;
  // What cannot be compiled leaves the network as it was. Facts that a changed pattern cannot be
  // matched with do not cost the rule its nodes: it is registered, and stays so.
  TReteNetwork::TryRule(*this, rule);
  FirstFailure failures;
  failures.Try([&] { UncompileRule(rule); });
  if (HoldsRule(rule))
    failures.Try([&] { CompileRule(rule, TReteNetwork::TFeed::kWhatMatches); });
  failures.Raise();
}

}  // namespace reasoner
