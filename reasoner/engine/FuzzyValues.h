// Fuzzy values where a function's argument or a fact stands for one.

#pragma once

#include "reasoner/functions/Context.h"
#include "reasoner/support/membership/FuzzySet.h"

namespace reasoner {

// The value of a fact's first fuzzy slot, in the order of the slots' names; of a list its first
// member. Null for a fact without fuzzy slots.
void GetFuzzySlot(IFact& fact, Ref<IFuzzySet>& set);

// The set that an argument stands for: a fuzzy value, points, or a fact or the id of one. Raises
// for an unknown id and for a fact that is not fuzzy.
void GetFuzzySetFromValue(const Ref<IKBValue>& value, TKBContext& context, Ref<IFuzzySet>& set);

}  // namespace reasoner
