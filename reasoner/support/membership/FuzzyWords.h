// The words of fuzzy reasoning: the methods and operations that an engine can be set to, the hedges
// and the joining words of fuzzy expressions.
//
// Every look-up is exact and case-sensitive. One that fails leaves its out parameters alone.

#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace reasoner {

using TFzyFloat = double;

// How an assertion is combined with the equal fact that is there.
enum TFuzzyInferenceMethod : std::uint8_t { fimMinMax, fimSum, fimMean, fimProduct, fimBoundedSum };

// How the strength of a match weakens what its rule asserts.
enum TFuzzyCorrelationMethod : std::uint8_t { fcmMinimum, fcmProduct };

// How two memberships a and b become one. All are commutative and stay within 0 to 1.
//
//                  union                       intersection
enum TFuzzyOperation : std::uint8_t {
  foZadeh,       // max                         min
  foMean,        // (min + 2 max) / 3           (a + b) / 2
  foMeanSqr,     // the square of foMean        the square of foMean
  foMeanSqrt,    // the root of foMean          the root of foMean
  foProduct,     // a + b - ab                  ab
  foBoundedSum,  // min(1, a + b)               max(0, a + b - 1)
  foSum          // (a + b) / max(1, sup(a+b))  max(0, a + b - 1)
};

// What a hedge does to a membership y, with its number n. Inverted by a flag that is False:
//
//                   plain                      inverse
enum TBaseFuzzyHedge : std::uint8_t {
  bhComplement,  // 1 - y                       none
  bhPower,       // y^n                         y^(1/n)
  bhScale,       // y n                         y / n; for n = 0 whether y is above 0
  bhShift,       // x + n                       x - n
  bhIntensify,   // 2y^2, 1 - 2(1-y)^2 above .5 none
  bhAbove,       // 1 - y right of the peak, 0 up to it; no inverse
  bhBelow,       // 1 - y left of the peak, 0 from it on; no inverse
  bhLimit,       // min(y, n)                   max(y, n)
  bhSummed       // y, the image of a sum that is n times as high; no inverse
};

// A hedge word.
enum TFuzzyHedge : std::uint8_t {
  fhNot,
  fhVery,
  fhExtremely,
  fhPlus,
  fhSomewhat,
  fhMoreOrLess,
  fhIntensify,
  fhAbove,
  fhBelow
};

inline constexpr std::array<std::string_view, 5> FuzzyInferenceNames = {"min-max", "sum", "mean",
                                                                        "product", "bounded-sum"};
inline constexpr std::array<std::string_view, 2> FuzzyCorrelationNames = {"minimum", "product"};
inline constexpr std::array<std::string_view, 7> FuzzyOperationNames = {
    "zadeh", "mean", "mean-sqr", "mean-sqrt", "product", "bounded-sum", "sum"};
inline constexpr std::string_view FuzzyInferenceSuffixNameList =
    "min-max, sum, mean, product, or bounded-sum";
inline constexpr std::string_view FuzzyCorrelationSuffixNameList = "minimum or product";

// The set without points that stands for no value.
inline constexpr std::string_view SEmptyFuzzy = "__EMPTY";
inline constexpr std::string_view _SLowFuzzyTerm = "low";
inline constexpr std::string_view _SMediumFuzzyTerm = "medium";
inline constexpr std::string_view _SHighFuzzyTerm = "high";
// Between points and the height of the sum that they show.
inline constexpr std::string_view kSummedTo = "summed-to";
// A membership on the scale of a plot: four characters wide.
inline constexpr std::string_view FuzzyFormatStr = "%4.2f";

// What a hedge word stands for.
struct THedgeMeaning {
  TBaseFuzzyHedge base;
  bool flag;
  double number;
};
THedgeMeaning MeaningOf(TFuzzyHedge hedge) noexcept;

bool IsFuzzyInference(std::string_view text) noexcept;
bool IsFuzzyInference(std::string_view text, TFuzzyInferenceMethod& method) noexcept;
bool IsFuzzyCorrelation(std::string_view text) noexcept;
bool IsFuzzyCorrelation(std::string_view text, TFuzzyCorrelationMethod& method) noexcept;
bool IsFuzzyOperation(std::string_view text) noexcept;
bool IsFuzzyOperation(std::string_view text, TFuzzyOperation& operation) noexcept;
// A word before its operand: `very`.
bool IsFuzzyHedge(std::string_view text) noexcept;
bool IsFuzzyHedge(std::string_view text, TFuzzyHedge& hedge) noexcept;
// A word between a set and a number: `scaled-by`.
bool IsFuzzyHedgeOperator(std::string_view text) noexcept;
bool IsFuzzyHedgeOperator(std::string_view text, TBaseFuzzyHedge& base, bool& flag) noexcept;
// A word between two sets: `and`, `or`, and both with the name of an operation, `or-sum`.
bool IsFuzzyKeyword(std::string_view text) noexcept;
bool IsFuzzyKeyword(std::string_view text, bool& is_union, TFuzzyOperation& operation) noexcept;

// The operation that an inference method combines facts with. A value outside the enumeration
// counts as its first member.
TFuzzyOperation OperationOf(TFuzzyInferenceMethod method) noexcept;
// The base hedge by which a correlation method weakens. A value outside the enumeration counts as
// its first member.
TBaseFuzzyHedge HedgeOf(TFuzzyCorrelationMethod method) noexcept;

}  // namespace reasoner
