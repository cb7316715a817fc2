// Fuzzy values weakened by the strength of a rule, and facts combined slot by slot.
//
// Nothing that may be shared is changed: results stand in new cells, and a fact gets these in place
// of the old ones. All results are made before the first cell is put in, so that a failure leaves
// the fact as it was.

#pragma once

#include <functional>

#include "reasoner/support/membership/FuzzyWords.h"
#include "reasoner/values/KBValue.h"

namespace reasoner {

// A fuzzy value, or a list of them, weakened: by minimum no membership stands above the strength,
// by product each is scaled by it. Any other value comes back as it is.
Ref<IKBValue> WeakenValue(const Ref<IKBValue>& value, TFuzzyCorrelationMethod method,
                          double strength);
// All fuzzy slots of a fact that have a value of their own weakened. Raises "Fact is not a fuzzy
// fact" for a template without any.
void WeakenFact(IFact& fact, TFuzzyCorrelationMethod method, double strength);

// Gives the fact sets of its own, where it shares them with a term or another fact: what is found
// out about one fact's value says nothing about another's.
void OwnFuzzySets(IFact& fact);

// The union or intersection of two fuzzy values, or of two lists of one length, member by member.
// Values of different types and lists of different lengths: the first value comes back as it is.
// Two values that are of one type but not fuzzy raise as TKBValue::GetAsFuzzy does.
Ref<IKBValue> CombineValues(const Ref<IKBValue>& value1, const IKBValue& value2,
                            TFuzzyOperation operation, bool is_union);
// Each such slot of the first fact combined with the second's. Raises for facts of two templates
// and "Fact is not a fuzzy fact" for a template without fuzzy slots.
using TFuzzyCombination =
    std::function<Ref<IKBValue>(const Ref<IKBValue>& value1, const Ref<IKBValue>& value2)>;
void CombineFacts(IFact& fact1, IFact& fact2, const TFuzzyCombination& combine);
void CombineFacts(IFact& fact1, IFact& fact2, TFuzzyOperation operation, bool is_union);

}  // namespace reasoner
