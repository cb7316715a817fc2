// How far two values match when at least one of them is fuzzy: what a pattern test of the network
// and the strength of its tokens come from.

#pragma once

#include "reasoner/values/KBValue.h"

namespace reasoner {

inline bool IsFuzzyTest(const IKBValue& value1, const IKBValue& value2) noexcept {
  return value1.GetDType() == dtFuzzy || value2.GetDType() == dtFuzzy;
}

struct FuzzyMatch {
  bool passed = false;
  // How true the test is; a negated test is as true as the plain one is not.
  float degree = 0;
};

// Both values matched, one of them fuzzy. A plain test passes above the threshold of the set's
// variable; a negated one passes where the plain one does not.
FuzzyMatch MatchFuzzy(const IKBValue& value1, const IKBValue& value2, bool negated);

}  // namespace reasoner
