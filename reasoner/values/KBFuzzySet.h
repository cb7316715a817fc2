// TKBFuzzySet: a fuzzy set as the payload of a dtFuzzy cell, which compares with any value.
//
// Cells share sets. A set that sits in a cell is never changed: whoever wants another takes a
// Clone, or the new set of an operation, and puts it into a new cell.

#pragma once

#include <string_view>

#include "reasoner/support/membership/FuzzyVariable.h"
#include "reasoner/values/KBValue.h"

namespace reasoner {

// Whether a value overlaps a set by more than the threshold: a number by its membership, a fuzzy
// value by the height of what both share. Anything else is unequal. Never raises.
bool FuzzyValueEquals(const IFuzzySet& set, const IKBValue& value);
// The degree of that, from 0 to 1.
float FuzzyValueDegree(const IFuzzySet& set, const IKBValue& value);

// Whether two values, or lists of them, are fuzzy and the same: by their points, not by overlap.
bool IsSameFuzzyValue(const IKBValue& a, const IKBValue& b);

class TKBFuzzySet : public TIFuzzySet {
 public:
  using TIFuzzySet::Equals;
  using TIFuzzySet::FuzzyEquals;
  using TIFuzzySet::TIFuzzySet;

  bool Equals(const IKBValue& value) const { return FuzzyValueEquals(*this, value); }
  float FuzzyEquals(const IKBValue& value) const { return FuzzyValueDegree(*this, value); }

 protected:
  Ref<IFuzzySet> NewInstance() const override { return Make<TKBFuzzySet>(); }
};

// A variable whose sets are TKBFuzzySets.
class TKBFuzzyVariable : public TIFuzzyVariable {
 public:
  explicit TKBFuzzyVariable(std::string_view name = {});

 protected:
  Ref<IFuzzyVariable> NewInstance() const override { return Make<TKBFuzzyVariable>(); }
};

// The set that a number is: a peak on it, named as the number shows.
Ref<IFuzzySet> FuzzySetOfNumber(IFuzzyVariable* variable, const IKBValue& number);
// The set through points whose coordinates are evaluated in a scope, which may be null where they
// are numbers.
Ref<IFuzzySet> FuzzySetOfPoints(const ISingletonsVector& points, IScope* scope);

}  // namespace reasoner
