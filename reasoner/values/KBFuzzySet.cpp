#include "reasoner/values/KBFuzzySet.h"

#include <algorithm>
#include <vector>

#include "reasoner/values/SingletonsVector.h"
#include "reasoner/values/ValueVector.h"

namespace reasoner {

bool FuzzyValueEquals(const IFuzzySet& set, const IKBValue& value) {
  switch (value.GetDType()) {
    case dtInteger:
    case dtFloat:
      return set.EqualsNumber(value.GetAsNumeric());
    case dtFuzzy:
      return set.Equals(*value.GetAsFuzzy());
    default:
      return false;
  }
}

float FuzzyValueDegree(const IFuzzySet& set, const IKBValue& value) {
  switch (value.GetDType()) {
    case dtInteger:
    case dtFloat:
      return set.FuzzyEqualsNumber(value.GetAsNumeric());
    case dtFuzzy:
      return set.FuzzyEquals(*value.GetAsFuzzy());
    default:
      return 0;
  }
}

bool IsSameFuzzyValue(const IKBValue& a, const IKBValue& b) {
  if (a.GetDType() != b.GetDType()) return false;
  if (a.GetDType() == dtFuzzy) return a.GetAsFuzzy()->SamePoints(*b.GetAsFuzzy());
  if (a.GetDType() != dtList) return false;
  const IValueVector& list_a = *a.GetAsList();
  const IValueVector& list_b = *b.GetAsList();
  return std::equal(list_a.begin(), list_a.end(), list_b.begin(), list_b.end(),
                    [](const Ref<IKBValue>& x, const Ref<IKBValue>& y) {
                      return x == y || (x && y && IsSameFuzzyValue(*x, *y));
                    });
}

TKBFuzzyVariable::TKBFuzzyVariable(std::string_view name) : TIFuzzyVariable(name) {
  SetSetClass([](IFuzzyVariable* variable, std::string_view set_name) {
    return Ref<IFuzzySet>(Make<TKBFuzzySet>(variable, set_name));
  });
}

Ref<IFuzzySet> FuzzySetOfNumber(IFuzzyVariable* variable, const IKBValue& number) {
  Ref<IFuzzySet> set = Make<TKBFuzzySet>(variable, number.ToString());
  const double x = number.GetAsNumeric();
  set->SetToTriangle(x, x, x);
  if (variable != nullptr) set->SetParser(variable->GetParserLink());
  return set;
}

Ref<IFuzzySet> FuzzySetOfPoints(const ISingletonsVector& points, IScope* scope) {
  std::vector<FuzzyPoint> read;
  const auto number = [scope](const Ref<IKBValue>& cell) {
    return cell ? cell->Resolve(scope)->GetAsNumeric() : 0.0;
  };
  const std::int32_t count = points.GetCount();
  // A coordinate may be a call, which may change the vector.
  for (std::int32_t i = 0; i < count && i < points.GetCount(); ++i) {
    const Ref<IKBValue> x = points.GetXValue(i);
    const Ref<IKBValue> y = points.GetYValue(i);
    const double x_number = number(x);
    read.push_back({x_number, number(y)});
  }
  Ref<IFuzzySet> set = Make<TKBFuzzySet>();
  set->SetFunction(PiecewiseLinear(std::move(read)));
  if (const IReasoner* const engine = points.GetParser()) {
    set->SetParser(engine->GetFuzzyParserLink());
  }
  return set;
}

}  // namespace reasoner
