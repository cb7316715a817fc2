#include "reasoner/support/membership/FuzzyWords.h"

#include <cstddef>

namespace reasoner {

namespace {

struct HedgeRow {
  std::string_view word;
  TFuzzyHedge hedge;
  THedgeMeaning meaning;
};

// In the order of the enumeration.
constexpr HedgeRow kHedges[] = {
    {"not", fhNot, {bhComplement, true, 0}},
    {"very", fhVery, {bhPower, true, 2}},
    {"extremely", fhExtremely, {bhPower, true, 3}},
    {"plus", fhPlus, {bhPower, true, 1.25}},
    {"somewhat", fhSomewhat, {bhPower, false, 2}},
    {"more-or-less", fhMoreOrLess, {bhPower, false, 2}},
    {"intensify", fhIntensify, {bhIntensify, true, 0}},
    {"above", fhAbove, {bhAbove, true, 0}},
    {"below", fhBelow, {bhBelow, true, 0}},
};

struct HedgeOperatorRow {
  std::string_view word;
  TBaseFuzzyHedge base;
  bool flag;
};

constexpr HedgeOperatorRow kHedgeOperators[] = {
    {"limited-to", bhLimit, true}, {"at-least", bhLimit, false},  {"scaled-by", bhScale, true},
    {"to-power", bhPower, true},   {"shifted-by", bhShift, true}, {kSummedTo, bhSummed, true},
};

template <class TEnum, std::size_t count>
bool FindName(const std::array<std::string_view, count>& names, std::string_view text,
              TEnum& member) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    if (names[i] != text) continue;
    member = static_cast<TEnum>(i);
    return true;
  }
  return false;
}

}  // namespace

THedgeMeaning MeaningOf(TFuzzyHedge hedge) noexcept {
  for (const HedgeRow& row : kHedges) {
    if (row.hedge == hedge) return row.meaning;
  }
  return kHedges[0].meaning;
}

bool IsFuzzyInference(std::string_view text, TFuzzyInferenceMethod& method) noexcept {
  return FindName(FuzzyInferenceNames, text, method);
}

bool IsFuzzyInference(std::string_view text) noexcept {
  TFuzzyInferenceMethod method{};
  return IsFuzzyInference(text, method);
}

bool IsFuzzyCorrelation(std::string_view text, TFuzzyCorrelationMethod& method) noexcept {
  return FindName(FuzzyCorrelationNames, text, method);
}

bool IsFuzzyCorrelation(std::string_view text) noexcept {
  TFuzzyCorrelationMethod method{};
  return IsFuzzyCorrelation(text, method);
}

bool IsFuzzyOperation(std::string_view text, TFuzzyOperation& operation) noexcept {
  return FindName(FuzzyOperationNames, text, operation);
}

bool IsFuzzyOperation(std::string_view text) noexcept {
  TFuzzyOperation operation{};
  return IsFuzzyOperation(text, operation);
}

bool IsFuzzyHedge(std::string_view text, TFuzzyHedge& hedge) noexcept {
  for (const HedgeRow& row : kHedges) {
    if (row.word != text) continue;
    hedge = row.hedge;
    return true;
  }
  return false;
}

bool IsFuzzyHedge(std::string_view text) noexcept {
  TFuzzyHedge hedge{};
  return IsFuzzyHedge(text, hedge);
}

bool IsFuzzyHedgeOperator(std::string_view text, TBaseFuzzyHedge& base, bool& flag) noexcept {
  for (const HedgeOperatorRow& row : kHedgeOperators) {
    if (row.word != text) continue;
    base = row.base;
    flag = row.flag;
    return true;
  }
  return false;
}

bool IsFuzzyHedgeOperator(std::string_view text) noexcept {
  TBaseFuzzyHedge base{};
  bool flag = false;
  return IsFuzzyHedgeOperator(text, base, flag);
}

bool IsFuzzyKeyword(std::string_view text, bool& is_union, TFuzzyOperation& operation) noexcept {
  const bool starts_or = text.starts_with("or");
  if (!starts_or && !text.starts_with("and")) return false;
  text.remove_prefix(starts_or ? 2 : 3);
  TFuzzyOperation found = foZadeh;
  if (!text.empty() && (text.front() != '-' || !IsFuzzyOperation(text.substr(1), found))) {
    return false;
  }
  is_union = starts_or;
  operation = found;
  return true;
}

bool IsFuzzyKeyword(std::string_view text) noexcept {
  bool is_union = false;
  TFuzzyOperation operation{};
  return IsFuzzyKeyword(text, is_union, operation);
}

TFuzzyOperation OperationOf(TFuzzyInferenceMethod method) noexcept {
  switch (method) {
    case fimMinMax:
      return foZadeh;
    case fimSum:
      return foSum;
    case fimMean:
      return foMean;
    case fimProduct:
      return foProduct;
    case fimBoundedSum:
      return foBoundedSum;
  }
  return foZadeh;
}

TBaseFuzzyHedge HedgeOf(TFuzzyCorrelationMethod method) noexcept {
  return method == fcmProduct ? bhScale : bhLimit;
}

}  // namespace reasoner
