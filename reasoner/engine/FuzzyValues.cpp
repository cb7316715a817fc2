#include "reasoner/engine/FuzzyValues.h"

#include "reasoner/engine/Reasoner.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void GetFuzzySlot(IFact& fact, Ref<IFuzzySet>& set) {
  set = nullptr;
  const Ref<IFactTemplate> fact_template = fact.GetTemplate();
  if (!fact_template || !fact_template->IsFuzzy()) return;
  for (const std::int32_t ordinal : fact_template->SortedOrdinals()) {
    const Ref<IFactSlot> slot(fact_template->SlotAt(ordinal));
    if (!slot->IsFuzzy()) continue;
    Ref<IKBValue> value = fact.GetValueAt(ordinal);
    if (value->GetDType() == dtList) value = value->GetAsList()->GetItem(0);
    IReasoner* const engine = fact_template->GetReasoner();
    if (KBNumericTypes.Has(value->GetDType()) && engine != nullptr) {
      value = engine->EvalFuzzyExpression(slot->GetFuzzyVariable(), value, nullptr);
    }
    set = Ref<IFuzzySet>(value->GetAsFuzzy());
    return;
  }
}

static void GetSetOfFact(IFact* fact, Ref<IFuzzySet>& set) {
  if (fact != nullptr) GetFuzzySlot(*fact, set);
  if (!set) Raise(SNotFuzzyFact);
}

void GetFuzzySetFromValue(const Ref<IKBValue>& value, TKBContext& context, Ref<IFuzzySet>& set) {
  set = nullptr;
  Ref<IKBValue> resolved = Given(value, "value").Resolve(&context);
  switch (resolved->GetDType()) {
    case dtInteger:
    case dtFactId: {
      if (context.GetEngine() == nullptr) Raise(SUnknownEngine);
      auto& engine = static_cast<TReasoner&>(*context.GetEngine());
      const Ref<IFact> fact = engine.GetFacts().GetFactByID(resolved->GetAsFactId());
      if (!fact) Raise(SNoSuchFact, resolved->ToString());
      return GetSetOfFact(fact.get(), set);
    }
    case dtFact: {
      const Ref<IFact> fact(resolved->GetAsFact());
      return GetSetOfFact(fact.get(), set);
    }
    case dtSingletons:
      // Points that a variable or a function has given.
      resolved = resolved->Resolve(&context);
      break;
    default:
      break;
  }
  set = Ref<IFuzzySet>(resolved->GetAsFuzzy());
}

}  // namespace reasoner
