#include "reasoner/match/Goal.h"

#include "reasoner/match/Rule.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

bool TGoalPlan::IsWanted(const TKBPattern& pattern) {
  return pattern.GetFactTemplate()->IsBackwardChaining() && !pattern.IsExplicit() &&
         !pattern.GetName().starts_with(SBackChainPrefix);
}

TGoalPlan::TGoalPlan(const TRule& rule, std::int32_t pattern_index) : rule_(&rule) {
  const RulePlan& plan = rule.GetPlan();
  const TKBPattern& pattern = plan.GetPattern(pattern_index);
  if (!pattern.GetFactTemplate()->IsBackwardChaining()) Raise(SInvalidBackchainPattern);
  goal_name_ = std::string(SBackChainPrefix) + pattern.GetName();
  const std::int32_t fact_index = plan.FactIndexOf(pattern_index);
  for (std::int32_t s = 0; s < pattern.GetSlotCount(); ++s) {
    TSlot slot;
    slot.name = pattern.GetSlotName(s);
    const IFactSlot* described = pattern.GetFactTemplate()->FindSlot(slot.name);
    slot.is_multi = described != nullptr && described->IsMulti();
    for (std::int32_t t = 0; t < pattern.GetSlotTestCount(s); ++t) {
      const TKBPatternMatchTest& test = pattern.GetSlotTest(s, t);
      if (test.GetSlotTestType() == sttNotEquals) continue;
      TPart part;
      part.field = test.GetMultiSlotSubIndex();
      const Ref<IKBValue>& value = test.GetSlotValue();
      if (!KBVariableTypes.Has(value->GetDType())) {
        part.value = value;
        part.is_known = true;
      } else if (const TBinding* binding = plan.BindingFor(value->GetAsVariable(), fact_index)) {
        part.fact_index = binding->FactIndex;
        part.slot_name = binding->SlotIndex;
        part.sub_index = binding->SubIndex;
        part.is_known = binding->FactIndex < fact_index;
        part.is_span = value->GetDType() == dtMultiVariable;
      }
      slot.parts.push_back(std::move(part));
      if (!slot.is_multi) break;
    }
    slots_.push_back(std::move(slot));
  }
}

// A cell of the goal's own, or null where nothing is known.
Ref<IKBValue> TGoalPlan::ValueOf(const TPart& part, const TKBToken& left) {
  if (!part.is_known) return nullptr;
  if (part.value) return part.value->Clone();
  IFact* fact = left.GetFacts(part.fact_index);
  if (part.slot_name == SPatternBinding) return NewFactId(fact->GetID());
  const Ref<IKBValue> value = fact->ContainsKey(part.slot_name);
  if (!value || part.sub_index == NoSubIndex) return value ? value->Clone() : nullptr;
  if (value->GetDType() != dtList || part.sub_index >= value->GetAsList()->GetValueCount())
    return nullptr;
  return value->GetAsList()->GetItem(part.sub_index)->Clone();
}

Ref<IKBValue> TGoalPlan::ListOf(const TSlot& slot, const TKBToken& left) {
  std::vector<Ref<IKBValue>> fields;
  std::vector<bool> spans;
  for (const TPart& part : slot.parts) {
    const Ref<IKBValue> value = ValueOf(part, left);
    if (part.field == NoSubIndex) {
      if (value) return value;
      continue;
    }
    const auto place = static_cast<std::size_t>(part.field);
    if (place >= fields.size()) {
      fields.resize(place + 1);
      spans.resize(place + 1);
    }
    if (!value) continue;
    fields[place] = value;
    spans[place] = part.is_span && value->GetDType() == dtList;
  }
  const Ref<IValueVector> list = NewVector();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!fields[i]) {
      list->Add(FCNil);
    } else if (spans[i]) {
      for (const Ref<IKBValue>& member : *fields[i]->GetAsList()) list->Add(member->Clone());
    } else {
      list->Add(fields[i]);
    }
  }
  return NewList(list);
}

// The values are stored unchecked: nil and a short list stand for what is not known yet, whatever
// the slot of a real fact may hold.
Ref<IFact> TGoalPlan::MakeGoal(IReasoner& engine, const TKBToken& left) const {
  const Ref<IFactTemplate> goal_template = engine.CreateFactTemplate(goal_name_);
  const Ref<IFact> goal = Make<TFact>(goal_template);
  for (const TSlot& slot : slots_) {
    const std::int32_t ordinal = goal_template->OrdinalOf(slot.name.view());
    if (ordinal < 0) Raise(SInvalidSlotName, slot.name.view());
    if (slot.is_multi) {
      goal->PutValueAt(ordinal, ListOf(slot, left));
      continue;
    }
    const Ref<IKBValue> value = slot.parts.empty() ? nullptr : ValueOf(slot.parts.front(), left);
    goal->PutValueAt(ordinal, value ? value : Ref<IKBValue>(FCNil->Clone()));
  }
  return goal;
}

}  // namespace reasoner
