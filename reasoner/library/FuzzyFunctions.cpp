// Making, asserting, combining and reading fuzzy values.

#include <array>
#include <string>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/fuzzy/FuzzyExpression.h"
#include "reasoner/library/Assertions.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/FuzzyBuiltin.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

class TCreateFuzzySetFunction final : public TBuiltinFunction<TCreateFuzzySetFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "create-fuzzy-value",
      .syntax = " <fuzzy-variable-expression> <fuzzy-set-expression>",
      .arguments = AtLeast(2),
      .comment = "Returns a fuzzy value created for the specified fuzzy variable",
      .example = "(create-fuzzy-value temperature very hot or cold)",
      .prelude = kTemperature};

  // The arguments behind the first are one expression, as they are written.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IKBValue> type = EvaluateArgument(fun_call, 0, context);
    Ref<IFuzzyVariable> variable;
    if (type->GetDType() == dtAtom || type->GetDType() == dtString) {
      variable = FindFuzzyVariable(*type, engine);
    } else if (type->GetDType() == dtFuzzy) {
      variable = Ref<IFuzzyVariable>(type->GetAsFuzzy()->GetVariable());
    }
    const Ref<IValueVector> items = NewVector();
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i)
      items->Add(fun_call.GetArgument(i));
    result = engine.EvalFuzzyExpression(variable.get(), items, &context);
  }
};

enum TFuzzyAssertFunctionType : std::uint8_t { fafAssert, fafAssertUnconditional };

class TFuzzyAssertFunction final
    : public TFuzzyKindFunction<TFuzzyAssertFunction, TFuzzyAssertFunctionType> {
 public:
  static const std::array<TRow, 2> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const bool unconditional = GetKind() == fafAssertUnconditional;
    const Ref<IKBValue> first = EvaluateArgument(fun_call, 0, context);
    TFuzzyInferenceMethod method = fimMinMax;
    std::int32_t index = 0;
    if (!unconditional || KBStringTypes.Has(first->GetDType())) {
      if (!KBStringTypes.Has(first->GetDType()) || !IsFuzzyInference(first->TextView(), method)) {
        Raise(SInvalidFuzzyInference, first->ToString(), FuzzyInferenceSuffixNameList);
      }
      index = 1;
    }
    TAssertions assertions(engine);
    for (; index < fun_call.GetArgumentCount(); ++index) {
      assertions.Add(
          [&] {
            const Ref<IKBValue> value = EvaluateArgument(fun_call, index, context);
            IFact* const parsed = value->GetAsFact();
            if (parsed == nullptr) Raise(SNoSuchFact, value->ToString());
            Ref<IFact> fact = OnRegisteredTemplate(parsed->Clone(), engine);
            context.Resolve(*fact);
            return fact;
          },
          [&](const Ref<IFact>& fact) { return engine.Assert(fact, method, unconditional); });
    }
    const TFactId id = assertions.Finish();
    result = id == -1 ? Ref<IKBValue>(FCFalse) : NewFactId(id);
  }
};

constexpr std::array<TFuzzyAssertFunction::TRow, 2> TFuzzyAssertFunction::kRows{
    {{fafAssert,
      {.name = "fuzzy-assert",
       .syntax = " <fuzzy-inference-expression> <fact-expression>*",
       .arguments = AtLeast(2),
       .comment =
           "Asserts or adds each fuzzy fact argument to the fact list using the specified fuzzy "
           "inference type.  Five inference methods are available: min-max, sum, mean, product, "
           "and bounded-sum.  The fact index of the last fact added is returned.  If a fact is "
           "not fuzzy, it is asserted normally.",
       .example = "(fuzzy-assert sum (room (name kitchen) (heat hot)))",
       .prelude = kRoom}},
     {fafAssertUnconditional,
      {.name = "fuzzy-assert-unconditional",
       .syntax = " [<fuzzy-inference-expression>] <fact-expression>*",
       .arguments = AtLeast(1),
       .comment =
           "Asserts or adds each fuzzy fact argument to the fact list using the specified fuzzy "
           "*intersection* inference type.  Unlike the regular assert functions, this function "
           "asserts the fact unconditionally, which means the asserted fact is combined with any "
           "fact on the fact list using an intersection inference type, as opposed to a union "
           "inference type (default).  Five inference methods are available: min-max, sum, mean, "
           "product, and bounded-sum.  The fact index of the last fact added is returned.  If a "
           "fact is not fuzzy, it isasserted normally.",
       .example = "(fuzzy-assert-unconditional (room (name kitchen) (heat hot)))",
       .prelude = kRoom}}}};

enum TFuzzyOperationFunctionType : std::uint8_t {
  fofFuzzyUnion,
  fofFuzzyUnionX,
  fofFuzzyIntersection,
  fofFuzzyIntersectionX
};

class TFuzzyOperationFunction final
    : public TFuzzyKindFunction<TFuzzyOperationFunction, TFuzzyOperationFunctionType> {
 public:
  static const std::array<TRow, 4> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TFuzzyOperation operation = foZadeh;
    std::int32_t index = 0;
    if (GetKind() == fofFuzzyUnionX || GetKind() == fofFuzzyIntersectionX) {
      const Text name = EvaluateArgument(fun_call, 0, context)->GetAsAtom();
      if (!IsFuzzyOperation(name.view(), operation)) {
        Raise(SInvalidKBFuzzyOperation, name.view(), GetFunctionName().view(), OperationNames());
      }
      index = 1;
    }
    const bool is_union = GetKind() == fofFuzzyUnion || GetKind() == fofFuzzyUnionX;
    Ref<IFuzzySet> set = FuzzySetArgument(fun_call, index, context);
    for (++index; index < fun_call.GetArgumentCount(); ++index) {
      const Ref<IFuzzySet> other = FuzzySetArgument(fun_call, index, context);
      RequireSameKind(*set, *other);
      set = is_union ? set->Union(*other, operation) : set->Intersection(*other, operation);
    }
    result = NewFuzzy(set);
  }

 private:
  static std::string OperationNames() {
    std::string names;
    for (std::size_t i = 0; i + 1 < FuzzyOperationNames.size(); ++i) {
      names.append(FuzzyOperationNames[i]).append(", ");
    }
    return names.append("or ").append(FuzzyOperationNames.back());
  }
};

constexpr std::array<TFuzzyOperationFunction::TRow, 4> TFuzzyOperationFunction::kRows{
    {{fofFuzzyUnion,
      {.name = "fuzzy-union",
       .syntax = " <fuzzy-value-expression> <fuzzy-value-expression>+",
       .arguments = AtLeast(2),
       .comment =
           "Returns a fuzzy set value, which is the union, or the fuzzy OR, of the fuzzy value "
           "expressions.  The union is defined as the maximum of the fuzzy set values",
       .example = "(fuzzy-union (tri 0 5 10) (tri 5 10 15))"}},
     {fofFuzzyUnionX,
      {.name = "fuzzy-union-x",
       .syntax =
           " <fuzzy-union-type-expression> <fuzzy-value-expression> <fuzzy-value-expression>+",
       .arguments = AtLeast(3),
       .comment =
           "Returns a fuzzy set value, which is the union of the fuzzy value expressions.  The "
           "first parameter defines the fuzzy union algorithm to use: zadeh, mean, mean-sqr, "
           "mean-sqrt, product, bounded-sum, sum.",
       .example = "(fuzzy-union-x bounded-sum (tri 0 5 10) (tri 5 10 15))"}},
     {fofFuzzyIntersection,
      {.name = "fuzzy-intersection",
       .syntax = " <fuzzy-value-expression> <fuzzy-value-expression>+",
       .arguments = AtLeast(2),
       .comment =
           "Returns a fuzzy set value, which is the intersection, or the fuzzy AND, of the fuzzy "
           "value expressions.  The intersection is defined as the minimum of the fuzzy set values",
       .example = "(fuzzy-intersection (tri 0 5 10) (tri 5 10 15))"}},
     {fofFuzzyIntersectionX,
      {.name = "fuzzy-intersection-x",
       .syntax = " <fuzzy-intersection-type-expression> <fuzzy-value-expression> "
                 "<fuzzy-value-expression>+",
       .arguments = AtLeast(3),
       .comment =
           "Returns a fuzzy set value, which is the intersection of the fuzzy value expressions.  "
           "The first parameter defines the fuzzy intersection algorithm to use: zadeh, mean, "
           "mean-sqr, mean-sqrt, product, bounded-sum, sum.",
       .example = "(fuzzy-intersection-x mean (tri 0 5 10) (tri 5 10 15))"}}}};

enum TGetFuzzyFunctionType : std::uint8_t {
  gffGetFs,
  gffGetFsLength,
  gffGetFsX,
  gffGetFsY,
  gffGetFsVariable,
  gffGetFsValue
};

class TGetFuzzyFunction final
    : public TFuzzyKindFunction<TGetFuzzyFunction, TGetFuzzyFunctionType> {
 public:
  static const std::array<TRow, 6> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IFuzzySet> set = FuzzySetArgument(fun_call, 0, context);
    switch (GetKind()) {
      case gffGetFs:
        result = PointsOf(*set, EngineOf(context));
        return;
      case gffGetFsLength:
        result = NewInteger(set->GetCount());
        return;
      case gffGetFsX:
        result = NewFloat(set->GetXValue(PointIndex(*set, fun_call, context)));
        return;
      case gffGetFsY:
        result = NewFloat(set->GetYValue(PointIndex(*set, fun_call, context)));
        return;
      case gffGetFsVariable:
        if (const IFuzzyVariable* const variable = set->GetVariable()) {
          result = NewAtom(Text(variable->GetName()));
        } else {
          result = FCNil;
        }
        return;
      case gffGetFsValue:
        result = NewFloat(set->DegreeOfMembership(NumericArgument(fun_call, 1, context)));
    }
  }

 private:
  static Ref<IKBValue> PointsOf(const IFuzzySet& set, TReasoner& engine) {
    const Ref<ISingletonsVector> points = Make<TSingletonsVector>(&engine);
    for (std::int32_t i = 0; i < set.GetCount(); ++i) {
      points->Add(NewFloat(set.GetXValue(i)), NewFloat(set.GetYValue(i)));
    }
    Ref<IKBValue> value = Make<TKBValue>();
    value->SetAsSingletons(points);
    return value;
  }

  static std::int32_t PointIndex(const IFuzzySet& set, const IFunCall& fun_call,
                                 TKBContext& context) {
    const std::int32_t index = IntegerArgument(fun_call, 1, context);
    if (index < 0 || index >= set.GetCount()) Raise(SBadArgument, IntegerToText(index));
    return index;
  }
};

constexpr std::array<TGetFuzzyFunction::TRow, 6> TGetFuzzyFunction::kRows{
    {{gffGetFs,
      {.name = "get-fs",
       .syntax = " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression>",
       .arguments = Exactly(1),
       .comment =
           "Returns the fuzzy set value as a vector of singletons, e.g.,  ((x0 y0) (x1 y1)).  If "
           "the argument is a fact or fact id, the FIRST fuzzy slot found in the fact is used as "
           "the fuzzy value.",
       .example = "(get-fs (tri 0 5 10))"}},
     {gffGetFsLength,
      {.name = "get-fs-length",
       .syntax = " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression>",
       .arguments = Exactly(1),
       .comment =
           "Returns the number of singletons in the fuzzy set as an integer.  If the argument is "
           "a fact or fact id, the FIRST fuzzy slot found in the fact is used as the fuzzy value.",
       .example = "(get-fs-length (tri 0 5 10))"}},
     {gffGetFsX,
      {.name = "get-fs-x",
       .syntax = " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression> "
                 "<integer-expression> ",
       .arguments = Exactly(2),
       .comment =
           "Returns the floating point X coordinate value of the Ith singleton in the fuzzy set, "
           "where the singletons are numbered from 0 to n-1.  If the first argument is a fact or "
           "fact id, the FIRST fuzzy slot found in the fact is used as the fuzzy value.",
       .example = "(get-fs-x ?room 1)",
       .prelude = kRoom}},
     {gffGetFsY,
      {.name = "get-fs-y",
       .syntax = " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression> "
                 "<integer-expression> ",
       .arguments = Exactly(2),
       .comment =
           "Returns the floating point Y coordinate value of the Ith singleton in the fuzzy set, "
           "where the singletons are numbered from 0 to n-1.  If the first argument is a fact or "
           "fact id, the FIRST fuzzy slot found in the fact is used as the fuzzy value.",
       .example = "(get-fs-y ?room 1)",
       .prelude = kRoom}},
     {gffGetFsVariable,
      {.name = "get-fs-variable",
       .syntax = " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression>",
       .arguments = Exactly(1),
       .comment =
           "Returns the linguistic fuzzy variable name of the specified fuzzy set.  If the "
           "argument is a fact or fact id, the FIRST fuzzy slot found in the fact is used as the "
           "fuzzy value.",
       .example = "(get-fs-variable ?room)",
       .prelude = kRoom}},
     {gffGetFsValue,
      {.name = "get-fs-value",
       .syntax = " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression> "
                 "<numeric-expression> ",
       .arguments = Exactly(2),
       .comment =
           "Returns the degree of membership, or Y value, of the fuzzy set at the specified X "
           "value <numeric-expression>.  The <numeric-expression> must be between the lower and "
           "upper limits of the universe of discourse for the fuzzy set.  If the first argument "
           "is a fact or fact id, the FIRST fuzzy slot found in the fact is used as the fuzzy "
           "value.",
       .example = "(get-fs-value ?room 30)",
       .prelude = kRoom}}}};

}  // namespace

void AddFuzzyValueFunctions(TUserFunctionList& functions) {
  functions.AddNew<TCreateFuzzySetFunction>();
  TFuzzyAssertFunction::AddTo(functions);
  TFuzzyOperationFunction::AddTo(functions);
  TGetFuzzyFunction::AddTo(functions);
}

}  // namespace reasoner
