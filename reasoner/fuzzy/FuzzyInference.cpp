#include "reasoner/fuzzy/FuzzyInference.h"

#include <utility>
#include <vector>

#include "reasoner/facts/Fact.h"
#include "reasoner/facts/FactSlot.h"
#include "reasoner/facts/FactTemplate.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

namespace {

// Puts the result of change(ordinal, value) into every fuzzy slot.
template <class TChange>
void ChangeFuzzySlots(IFact& fact, TChange&& change) {
  const Ref<IFactTemplate> fact_template = fact.GetTemplate();
  if (!fact_template || !fact_template->IsFuzzy()) Raise(SNotFuzzyFact);
  std::vector<std::pair<std::int32_t, Ref<IKBValue>>> changed;
  for (const std::int32_t ordinal : fact_template->SortedOrdinals()) {
    if (!fact.HasValueAt(ordinal) || !fact_template->SlotAt(ordinal)->IsFuzzy()) continue;
    const Ref<IKBValue> value = fact.GetValueAt(ordinal);
    changed.emplace_back(ordinal, change(ordinal, value));
  }
  for (auto& [ordinal, value] : changed) fact.PutValueAt(ordinal, std::move(value));
}

Ref<IKBValue> Combined(const IKBValue& value1, const IKBValue& value2, TFuzzyOperation operation,
                       bool is_union) {
  const IFuzzySet& set1 = *value1.GetAsFuzzy();
  const IFuzzySet& set2 = *value2.GetAsFuzzy();
  return NewFuzzy(is_union ? set1.Union(set2, operation) : set1.Intersection(set2, operation));
}

Ref<IKBValue> Weakened(const IKBValue& value, TFuzzyCorrelationMethod method, double strength) {
  return NewFuzzy(value.GetAsFuzzy()->ApplyBaseHedge(HedgeOf(method), true, strength));
}

}  // namespace

Ref<IKBValue> WeakenValue(const Ref<IKBValue>& value, TFuzzyCorrelationMethod method,
                          double strength) {
  if (value->GetDType() == dtFuzzy) return Weakened(*value, method, strength);
  if (value->GetDType() != dtList) return value;
  const Ref<IValueVector> list = NewVector();
  list->Reserve(value->GetAsList()->GetValueCount());
  for (const Ref<IKBValue>& member : *value->GetAsList()) {
    list->Add(member ? Weakened(*member, method, strength) : member);
  }
  return NewList(list);
}

void WeakenFact(IFact& fact, TFuzzyCorrelationMethod method, double strength) {
  ChangeFuzzySlots(fact, [method, strength](std::int32_t, const Ref<IKBValue>& value) {
    return WeakenValue(value, method, strength);
  });
}

static Ref<IKBValue> OwnSet(const Ref<IKBValue>& value) {
  if (!value || value->GetDType() != dtFuzzy) return value;
  const IFuzzySet& set = *value->GetAsFuzzy();
  // One that nothing else holds is the fact's own, if nothing else holds its cell.
  if (set.GetRefCount() == 1 && value->GetRefCount() <= 2) return value;
  return NewFuzzy(set.Clone());
}

void OwnFuzzySets(IFact& fact) {
  ChangeFuzzySlots(fact, [](std::int32_t, const Ref<IKBValue>& value) {
    if (value->GetDType() != dtList) return OwnSet(value);
    const Ref<IValueVector> list = NewVector();
    list->Reserve(value->GetAsList()->GetValueCount());
    for (const Ref<IKBValue>& member : *value->GetAsList()) list->Add(OwnSet(member));
    return NewList(list);
  });
}

Ref<IKBValue> CombineValues(const Ref<IKBValue>& value1, const IKBValue& value2,
                            TFuzzyOperation operation, bool is_union) {
  if (Given(value1, "value").GetDType() != value2.GetDType()) return value1;
  if (value1->GetDType() != dtList) return Combined(*value1, value2, operation, is_union);
  const IValueVector& list1 = *value1->GetAsList();
  const IValueVector& list2 = *value2.GetAsList();
  if (list1.GetValueCount() != list2.GetValueCount()) return value1;
  const Ref<IValueVector> list = NewVector();
  list->Reserve(list1.GetValueCount());
  for (std::int32_t i = 0; i < list1.GetValueCount(); ++i) {
    const Ref<IKBValue>& member1 = list1.GetItem(i);
    const Ref<IKBValue>& member2 = list2.GetItem(i);
    list->Add(member1 && member2 ? Combined(*member1, *member2, operation, is_union) : member1);
  }
  return NewList(list);
}

void CombineFacts(IFact& fact1, IFact& fact2, const TFuzzyCombination& combine) {
  if (fact1.GetTemplate() != fact2.GetTemplate()) {
    const auto name = [](const IFact& fact) {
      return fact.GetTemplate() ? fact.GetTemplate()->GetTemplateName() : std::string();
    };
    Raise(SInvalidFuzzyUnionTemplate, name(fact1), name(fact2));
  }
  ChangeFuzzySlots(fact1, [&](std::int32_t ordinal, const Ref<IKBValue>& value) {
    const Ref<IKBValue> other = fact2.GetValueAt(ordinal);
    return combine(value, other);
  });
}

void CombineFacts(IFact& fact1, IFact& fact2, TFuzzyOperation operation, bool is_union) {
  CombineFacts(fact1, fact2, [=](const Ref<IKBValue>& value1, const Ref<IKBValue>& value2) {
    return CombineValues(value1, *value2, operation, is_union);
  });
}

}  // namespace reasoner
