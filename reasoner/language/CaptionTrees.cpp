#include "reasoner/language/CaptionTrees.h"

#include "reasoner/language/PrettyPrint.h"
#include "reasoner/support/Format.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/membership/FuzzyVariable.h"

namespace reasoner {

TCaptionNode TypeTree(const IKBDefinedType& type) {
  TCaptionNode node{type.GetName(), {}};
  if (type.GetAncestor()) node.Add("Ancestor Type: " + type.GetAncestor()->GetName());
  node.Add("Primitive Types: " + SetToString(type.GetBaseTypes(), ", ", false));
  if (!type.GetComment().empty()) node.Add("Comment: " + type.GetComment());
  if (!type.GetUnits().empty()) node.Add("Units: " + type.GetUnits());
  if (type.IsCardinalityLimited()) {
    node.Add("Cardinality: " + IntegerToText(type.GetMinCardinality()) + "-" +
             IntegerToText(type.GetMaxCardinality()));
  }
  if (type.IsRangeLimited() || type.GetFuzzyType())
    node.Add("Range: " + FormatText("%.4f-%.4f", {type.GetMinRange(), type.GetMaxRange()}));
  if (!type.GetConstraints().empty()) node.Add("Allowed: " + GetAllowedString(type));
  if (const Ref<IFuzzyVariable>& variable = type.GetFuzzyType()) {
    TCaptionNode& terms = node.Add("Fuzzy Terms: ");
    for (std::int32_t i = 0; i < variable->GetSetCount(); ++i) {
      terms.Add(variable->GetSet(i)->ToString());
    }
  }
  return node;
}

TCaptionNode SlotTree(const IFactSlot& slot) {
  TCaptionNode node{slot.GetName().str(), {}};
  if (slot.GetExtendedTypeInfo() && !slot.GetExtendedTypeInfo()->IsImplicit())
    node.Add("Type: " + slot.GetExtendedTypeInfo()->GetName());
  node.Add("Primitive Types: " +
           SetToString(slot.GetSlotType() - KBMultiSlotTypes - KBAlwaysValidTypes, ", ", false));
  if (slot.IsMulti()) node.Add("Multislot");
  if (slot.GetSlotDefault()) {
    node.Add((slot.IsDefaultDynamic() ? "Dynamic Default: " : "Default: ") +
             ValueToSource(*slot.GetSlotDefault()));
  }
  return node;
}

TCaptionNode TemplateTree(const IFactTemplate& fact_template) {
  TCaptionNode node{fact_template.GetTemplateName(), {}};
  if (!fact_template.GetComment().empty()) node.Add("Comment: " + fact_template.GetComment());
  if (fact_template.GetParent())
    node.Add("Parent: " + fact_template.GetParent()->GetTemplateName());
  for (const std::int32_t ordinal : fact_template.SortedOrdinals())
    node.children.push_back(SlotTree(*fact_template.SlotAt(ordinal)));
  return node;
}

}  // namespace reasoner
