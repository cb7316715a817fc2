// What the registries tell the engine, and the engine its host.

#include "reasoner/engine/Reasoner.h"

namespace reasoner {

void TReasoner::AddDefinedType(const Ref<IKBDefinedType>& type) { OnAddDefinedType(*this, type); }

void TReasoner::RemoveDefinedType(const Ref<IKBDefinedType>& type) {
  OnRemoveDefinedType(*this, type);
}

void TReasoner::ClearDefinedTypes() { OnClearDefinedTypes(*this); }

void TReasoner::AddFactTemplate(const Ref<IFactTemplate>& fact_template) {
  OnNewFactTemplate(*this, fact_template);
}

void TReasoner::RemoveFactTemplate(const Ref<IFactTemplate>& fact_template) {
  OnRemoveFactTemplate(*this, fact_template);
}

void TReasoner::ClearFactTemplates() { OnClearFactTemplates(*this); }

void TReasoner::AddRule(TRule& rule) { ReportRule(OnAddRule, rule); }

// A handler may end the rule: then those behind it are not called.
void TReasoner::ReportRule(const TRuleEvent& event, TRule& rule) {
  if (!event.IsHeard()) return;
  const ComponentWatch watch(rule);
  event.CallWhile([&watch] { return !watch.HasEnded(); }, *this, rule);
}

void TReasoner::ClearRules() { OnClearRules(*this); }

void TReasoner::AddFunction(const Ref<IUserFunction>& function) {
  OnAddUserFunction(*this, function);
}

void TReasoner::RemoveFunction(const Ref<IUserFunction>& function) {
  OnRemoveUserFunction(*this, function);
}

}  // namespace reasoner
