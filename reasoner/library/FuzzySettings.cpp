// The fuzzy settings of an engine, and the universes of its fuzzy types.

#include <algorithm>
#include <array>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/FuzzyBuiltin.h"
#include "reasoner/support/Format.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

// The name of a method; a value outside the enumeration counts as its first member.
template <class TNames>
Ref<IKBValue> NameOf(const TNames& names, std::size_t method) {
  return NewAtom(Text(names[method < names.size() ? method : 0]));
}

// A number from 0 to 1; one beyond is brought there before it becomes a float, which may not hold
// it.
float ShareArgument(const IFunCall& fun_call, TKBContext& context) {
  const double value = NumericArgument(fun_call, 0, context);
  return value > 0 ? static_cast<float>(std::min(value, 1.0)) : 0.0F;
}

// A setting is read first: what sets it gives what it has been.
enum TRWActivationThresholdFunctionType : std::uint8_t {
  atfGetActivationThreshold,
  atfSetActivationThreshold
};

class TRWActivationThresholdFunction final
    : public TFuzzyKindFunction<TRWActivationThresholdFunction,
                                TRWActivationThresholdFunctionType> {
 public:
  static const std::array<TRow, 2> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IKBValue> old = NewFloat(double{engine.GetMinActivationStrength()});
    if (GetKind() == atfSetActivationThreshold) {
      engine.SetMinActivationStrength(ShareArgument(fun_call, context));
    }
    result = old;
  }
};

constexpr std::array<TRWActivationThresholdFunction::TRow, 2> TRWActivationThresholdFunction::kRows{
    {{atfGetActivationThreshold,
      {.name = "get-activation-threshold",
       .syntax = " ",
       .arguments = Exactly(0),
       .comment =
           "Returns the Rule Activation Threshold value as a floating point number between 0 and "
           "1.  The Rule ActivationThreshold value controls the cutoff value for whether a rule "
           "is activated.  If the activation strength of the pattern matches between the rule "
           "patterns and facts falls below the threshold, the rule will not get activated (for "
           "that particular set of pattern matches, it may activate with other pattern matches).  "
           "The default threshold is 0.",
       .example = "(get-activation-threshold)"}},
     {atfSetActivationThreshold,
      {.name = "set-activation-threshold",
       .syntax = " <numeric-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Sets the Rule Activation Threshold to the floating point expression, which should be "
           "a number between 0 and 1.  The Rule Activation Threshold value controls the cutoff "
           "value for whether a rule is activated.  If the activation strength of the pattern "
           "matches between the rule patterns and facts falls below the threshold, the rule will "
           "not get activated (for that particular set of pattern matches, it may activate with "
           "other pattern matches).  The default threshold is 0.  The function returns the "
           "previous value of the threshold.",
       .example = "(set-activation-threshold 0.5)"}}}};

enum TRWFuzzyAutoTermsType : std::uint8_t { fatGetFuzzyAutoTerms, fatSetFuzzyAutoTerms };

class TRWFuzzyAutoTerms final
    : public TFuzzyKindFunction<TRWFuzzyAutoTerms, TRWFuzzyAutoTermsType> {
 public:
  static const std::array<TRow, 2> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IKBValue> old = BooleanValue(engine.FuzzyAutoTerms);
    if (GetKind() == fatSetFuzzyAutoTerms) {
      engine.FuzzyAutoTerms = EvaluateArgument(fun_call, 0, context)->Equals(*FCTrue);
    }
    result = old;
  }
};

constexpr std::array<TRWFuzzyAutoTerms::TRow, 2> TRWFuzzyAutoTerms::kRows{
    {{fatGetFuzzyAutoTerms,
      {.name = "get-fuzzy-auto-terms",
       .syntax = " ",
       .arguments = Exactly(0),
       .comment =
           "Returns a boolean value for the FuzzyAutoTerms control variable.  The fuzzy auto "
           "terms property controls whether three terms: low, medium, and high, are automatically "
           "created for fuzzy variables when they are added to the engine",
       .example = "(get-fuzzy-auto-terms)"}},
     {fatSetFuzzyAutoTerms,
      {.name = "set-fuzzy-auto-terms",
       .syntax = " <boolean-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Sets the FuzzyAutoTerms control variable to the boolean value expression.  The fuzzy "
           "auto terms property controls whether three terms: low, medium, and high, are "
           "automatically created for fuzzy variables when they are added to the engine.  The "
           "previous value of the property is returned.",
       .example = "(set-fuzzy-auto-terms FALSE)"}}}};

enum TRWFuzzyCorrelationFunctionType : std::uint8_t { fcfGetCorrelation, fcfSetCorrelation };

class TRWFuzzyCorrelationFunction final
    : public TFuzzyKindFunction<TRWFuzzyCorrelationFunction, TRWFuzzyCorrelationFunctionType> {
 public:
  static const std::array<TRow, 2> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IKBValue> old = NameOf(FuzzyCorrelationNames, engine.FuzzyCorrelationMethod);
    if (GetKind() == fcfSetCorrelation) {
      const Text name = EvaluateArgument(fun_call, 0, context)->GetAsAtom();
      if (!IsFuzzyCorrelation(name.view(), engine.FuzzyCorrelationMethod)) {
        Raise(SInvalidFuzzyCorrelation, name.view(), FuzzyCorrelationSuffixNameList);
      }
    }
    result = old;
  }
};

constexpr std::array<TRWFuzzyCorrelationFunction::TRow, 2> TRWFuzzyCorrelationFunction::kRows{
    {{fcfGetCorrelation,
      {.name = "get-fuzzy-correlation",
       .syntax = " ",
       .arguments = Exactly(0),
       .comment =
           "Returns the fuzzy correlation method being used in the reasoner, as an atom.  Fuzzy "
           "correlation controls how the truth of a rule's premise (IF portion) modifies the "
           "truth of the rule's consequents, e.g., facts asserted in a rule cannot have greater "
           "truth than the truth values of the premise.  Two correlation methods are available: "
           "minimum and product.  ",
       .example = "(get-fuzzy-correlation)"}},
     {fcfSetCorrelation,
      {.name = "set-fuzzy-correlation",
       .syntax = " <correlation-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Sets the fuzzy correlation method to use in the reasoner, and returns the *previous* "
           "value as an atom.  Fuzzy correlation controls how the truth of a rule's premise (IF "
           "portion) modifies the truth of the rule's consequents, e.g., facts asserted in a rule "
           "cannot have greater truth than the truth values of the premise.  Two correlation "
           "methods are available: minimum and product.  ",
       .example = "(set-fuzzy-correlation product)"}}}};

enum TRWFuzzyInferenceFunctionType : std::uint8_t { fifGetInference, fifSetInference };

class TRWFuzzyInferenceFunction final
    : public TFuzzyKindFunction<TRWFuzzyInferenceFunction, TRWFuzzyInferenceFunctionType> {
 public:
  static const std::array<TRow, 2> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IKBValue> old = NameOf(FuzzyInferenceNames, engine.FuzzyInferenceMethod);
    if (GetKind() == fifSetInference) {
      const Text name = EvaluateArgument(fun_call, 0, context)->GetAsAtom();
      if (!IsFuzzyInference(name.view(), engine.FuzzyInferenceMethod)) {
        Raise(SInvalidFuzzyInference, name.view(), FuzzyInferenceSuffixNameList);
      }
    }
    result = old;
  }
};

constexpr std::array<TRWFuzzyInferenceFunction::TRow, 2> TRWFuzzyInferenceFunction::kRows{
    {{fifGetInference,
      {.name = "get-fuzzy-inference",
       .syntax = " ",
       .arguments = Exactly(0),
       .comment =
           "Returns the fuzzy inference method being used in the reasoner, as an atom.  The Fuzzy "
           "Inference method controls how assertions are combined with facts already on the fact "
           "list.  Five inference methods are available: min-max, sum, mean, product, and "
           "bounded-sum.",
       .example = "(get-fuzzy-inference)"}},
     {fifSetInference,
      {.name = "set-fuzzy-inference",
       .syntax = " <fuzzy-inference-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Sets the fuzzy inference method to use in the reasoner.  The previous inference "
           "method is returned, as an atom.  The Fuzzy Inference method controls how assertions "
           "are combined with facts already on the fact list.  Five inference methods are "
           "available: min-max, sum, mean, product, and bounded-sum.",
       .example = "(set-fuzzy-inference bounded-sum)"}}}};

enum TRWFuzzyThresholdFunctionType : std::uint8_t { ftfGetFuzzyThreshold, ftfSetFuzzyThreshold };

class TRWFuzzyThresholdFunction final
    : public TFuzzyKindFunction<TRWFuzzyThresholdFunction, TRWFuzzyThresholdFunctionType> {
 public:
  static const std::array<TRow, 2> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IKBValue> old = NewFloat(double{engine.GetFuzzyEqualsThreshold()});
    if (GetKind() == ftfSetFuzzyThreshold) {
      engine.SetFuzzyEqualsThreshold(ShareArgument(fun_call, context));
    }
    result = old;
  }
};

constexpr std::array<TRWFuzzyThresholdFunction::TRow, 2> TRWFuzzyThresholdFunction::kRows{
    {{ftfGetFuzzyThreshold,
      {.name = "get-fuzzy-threshold",
       .syntax = " ",
       .arguments = Exactly(0),
       .comment =
           "Returns the Fuzzy Equals Threshold value as a floating point number between 0 and 1.  "
           "The Fuzzy Equals Threshold value controls the alpha cutoff for whether two fuzzy sets "
           "equal.  If the maximum of the minimum values is above this threshold, the fuzzy sets "
           "equal.  The default threshold is 0.",
       .example = "(get-fuzzy-threshold)"}},
     {ftfSetFuzzyThreshold,
      {.name = "set-fuzzy-threshold",
       .syntax = " <numeric-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Sets the Fuzzy Equals Threshold value to the expression.  The expression must be "
           "between 0 and 1.  The Fuzzy Equals Threshold value controls the alpha cutoff for "
           "whether two fuzzy sets equal.  If the maximum of the minimum values is above this "
           "threshold, the fuzzy sets equal.  The default threshold is 0.  The function returns "
           "the previous value of the threshold.  ",
       .example = "(set-fuzzy-threshold 0.2)"}}}};

enum TUniverseOfDiscourseFunctionType : std::uint8_t { uodGet, uodGetFrom, uodGetTo, uodGetUnits };

class TUniverseOfDiscourseFunction final
    : public TFuzzyKindFunction<TUniverseOfDiscourseFunction, TUniverseOfDiscourseFunctionType> {
 public:
  static const std::array<TRow, 4> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> value = EvaluateArgument(fun_call, 0, context);
    const Ref<IFuzzyVariable> variable = VariableOf(*value, EngineOf(context));
    if (!variable) Raise(SUndefinedFuzzyVariable);
    switch (GetKind()) {
      case uodGet:
        result = NewString(Text(
            FormatText("%.4f - %.4f ", {variable->GetUniverseFrom(), variable->GetUniverseTo()}) +
            variable->GetUnits()));
        return;
      case uodGetFrom:
        result = NewFloat(variable->GetUniverseFrom());
        return;
      case uodGetTo:
        result = NewFloat(variable->GetUniverseTo());
        return;
      case uodGetUnits:
        result = NewString(Text(variable->GetUnits()));
    }
  }

 private:
  static Ref<IFuzzyVariable> VariableOf(const IKBValue& value, TReasoner& engine) {
    switch (value.GetDType()) {
      case dtAtom:
      case dtString:
        return FindFuzzyVariable(value, engine);
      case dtFuzzy:
        return Ref<IFuzzyVariable>(value.GetAsFuzzy()->GetVariable());
      default:
        Raise(SInvalidArgType, GetKBTypeName(value.GetDType()),
              SetToString({dtAtom, dtString, dtFuzzy}, ", ", false));
    }
  }
};

constexpr std::array<TUniverseOfDiscourseFunction::TRow, 4> TUniverseOfDiscourseFunction::kRows{
    {{uodGet,
      {.name = "get-u",
       .syntax = " <fuzzy-type-expression> | <fuzzy-fact-expression> | <fuzzy-fact-id-expression>",
       .arguments = Exactly(1),
       .comment = "Returns the universe of discourse for the fuzzy fact or fuzzy type",
       .example = "(get-u temperature)",
       .prelude = kTemperature}},
     {uodGetFrom,
      {.name = "get-u-from",
       .syntax = " <fuzzy-type-expression> | <fuzzy-fact-expression> | <fuzzy-fact-id-expression>",
       .arguments = Exactly(1),
       .comment =
           "Returns the lower limit for the universe of discourse for the fuzzy fact or fuzzy type",
       .example = "(get-u-from temperature)",
       .prelude = kTemperature}},
     {uodGetTo,
      {.name = "get-u-to",
       .syntax = " <fuzzy-type-expression> | <fuzzy-fact-expression> | <fuzzy-fact-id-expression>",
       .arguments = Exactly(1),
       .comment =
           "Returns the upper limit for the universe of discourse for the fuzzy fact or fuzzy type",
       .example = "(get-u-to temperature)",
       .prelude = kTemperature}},
     {uodGetUnits,
      {.name = "get-u-units",
       .syntax = " <fuzzy-type-expression> | <fuzzy-fact-expression> | <fuzzy-fact-id-expression>",
       .arguments = Exactly(1),
       .comment =
           "Returns the units as a string for the universe of discourse for the fuzzy fact or "
           "fuzzy type ",
       .example = "(get-u-units temperature)",
       .prelude = kTemperature}}}};

}  // namespace

void AddFuzzySettingFunctions(TUserFunctionList& functions) {
  TRWActivationThresholdFunction::AddTo(functions);
  TRWFuzzyAutoTerms::AddTo(functions);
  TRWFuzzyCorrelationFunction::AddTo(functions);
  TRWFuzzyInferenceFunction::AddTo(functions);
  TRWFuzzyThresholdFunction::AddTo(functions);
  TUniverseOfDiscourseFunction::AddTo(functions);
}

}  // namespace reasoner
