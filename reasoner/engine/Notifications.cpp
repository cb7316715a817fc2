// What the registries tell the engine, and the engine its host.

#include "reasoner/engine/Reasoner.h"

namespace reasoner {

void TReasoner::AddDefinedType(const Ref<IKBDefinedType>& type) {
  if (OnAddDefinedType) OnAddDefinedType(*this, type);
}

void TReasoner::RemoveDefinedType(const Ref<IKBDefinedType>& type) {
  if (OnRemoveDefinedType) OnRemoveDefinedType(*this, type);
}

void TReasoner::ClearDefinedTypes() {
  if (OnClearDefinedTypes) OnClearDefinedTypes(*this);
}

void TReasoner::AddFactTemplate(const Ref<IFactTemplate>& fact_template) {
  if (OnNewFactTemplate) OnNewFactTemplate(*this, fact_template);
}

void TReasoner::RemoveFactTemplate(const Ref<IFactTemplate>& fact_template) {
  if (OnRemoveFactTemplate) OnRemoveFactTemplate(*this, fact_template);
}

void TReasoner::ClearFactTemplates() {
  if (OnClearFactTemplates) OnClearFactTemplates(*this);
}

void TReasoner::AddRule(TRule& rule) {
  if (OnAddRule) OnAddRule(*this, rule);
}

void TReasoner::ClearRules() {
  if (OnClearRules) OnClearRules(*this);
}

void TReasoner::AddFunction(const Ref<IUserFunction>& function) {
  if (OnAddUserFunction) OnAddUserFunction(*this, function);
}

void TReasoner::RemoveFunction(const Ref<IUserFunction>& function) {
  if (OnRemoveUserFunction) OnRemoveUserFunction(*this, function);
}

}  // namespace reasoner
