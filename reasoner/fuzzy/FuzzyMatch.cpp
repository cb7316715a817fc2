#include "reasoner/fuzzy/FuzzyMatch.h"

#include "reasoner/values/KBFuzzySet.h"

namespace reasoner {

FuzzyMatch MatchFuzzy(const IKBValue& value1, const IKBValue& value2, bool negated) {
  const bool second = value2.GetDType() == dtFuzzy;
  const IFuzzySet& set = *(second ? value2 : value1).GetAsFuzzy();
  const IKBValue& other = second ? value1 : value2;
  const bool equal = FuzzyValueEquals(set, other);
  if (equal == negated) return {};
  const float degree = FuzzyValueDegree(set, other);
  return {true, negated ? 1 - degree : degree};
}

}  // namespace reasoner
