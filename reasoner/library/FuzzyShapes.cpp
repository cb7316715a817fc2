// Fuzzy values of the usual shapes.

#include <array>
#include <numeric>
#include <string>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/FuzzyBuiltin.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

enum TCreateFuzzyShapeFunctionType : std::uint8_t {
  fsGrowthShape,
  fsDeclineShape,
  fsPIShape,
  fsTriangleShape,
  fsBetaShape
};

class TCreateFuzzyShapeFunction final
    : public TFuzzyKindFunction<TCreateFuzzyShapeFunction, TCreateFuzzyShapeFunctionType> {
 public:
  static const std::array<TRow, 5> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IFuzzySet> set = Make<TKBFuzzySet>(nullptr, NameFor(fun_call));
    if (context.GetEngine() != nullptr) set->SetParser(context.GetEngine()->GetFuzzyParserLink());
    const std::int32_t count = fun_call.GetArgumentCount();
    const double a = NumericArgument(fun_call, 0, context);
    const double b = NumericArgument(fun_call, 1, context);
    const double c = count > 2 ? NumericArgument(fun_call, 2, context) : 0;
    switch (GetKind()) {
      case fsGrowthShape:
      case fsDeclineShape:
        set->SetToSCurve(a, b, std::midpoint(a, b), kShapePoints, GetKind() == fsGrowthShape);
        break;
      case fsPIShape:
        if (count > 2) {
          set->SetToPi(a, c, b, kShapePoints);
        } else {
          set->SetToPi(b, a, kShapePoints);
        }
        break;
      case fsTriangleShape:
        set->SetToTriangle(a, b, c);
        break;
      case fsBetaShape: {
        // No inflection stands for the middle of the range.
        const double weight = count > 3 ? NumericArgument(fun_call, 3, context) : 1;
        set->SetToBeta(b, a, c, weight, kShapePoints);
      }
    }
    if (!IsInOrder(count, a, b, c) && set->GetParser() != nullptr) {
      set->GetParser()->Warn(FillMessage(SFuzzyShapeOrder, set->GetName()));
    }
    result = NewFuzzy(set);
  }

 private:
  // Points from the left to the right; a range and an inflection above 0.
  bool IsInOrder(std::int32_t count, double a, double b, double c) const noexcept {
    const bool is_range = GetKind() == fsBetaShape || (GetKind() == fsPIShape && count == 2);
    if (is_range) return b >= 0 && (count == 2 || c > 0);
    return a <= b && (count == 2 || b <= c);
  }
  // The call itself, where it can be read anywhere; else the shape gives the name.
  std::string NameFor(const IFunCall& fun_call) const {
    std::string name = "(" + GetFunctionName().str();
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const IKBValue& argument = WrittenArgument(fun_call, i);
      if (!KBNumericTypes.Has(argument.GetDType())) return {};
      name += ' ';
      AppendSource(name, argument);
    }
    return name + ")";
  }
};

constexpr std::array<TCreateFuzzyShapeFunction::TRow, 5> TCreateFuzzyShapeFunction::kRows{
    {{fsGrowthShape,
      {.name = "s",
       .syntax = " <numeric-expression> <numeric-expression> ",
       .arguments = Exactly(2),
       .comment =
           "Returns a fuzzy value using a growth curve function, i.e., the probability increases "
           "from 0 to 1 between the arguments",
       .example = "(get-fs-value (s 0 10) 2.5)"}},
     {fsDeclineShape,
      {.name = "z",
       .syntax = " <numeric-expression> <numeric-expression> ",
       .arguments = Exactly(2),
       .comment =
           "Returns a fuzzy value using a decline curve function, i.e., the probability decreases "
           "from 0 to 1 between the arguments",
       .example = "(get-fs-value (z 0 10) 2.5)"}},
     {fsPIShape,
      {.name = "pi",
       .syntax =
           " [ <center-numeric-expression> <range-numeric-expression> ] |  [ "
           "<left-numeric-expression> <center-numeric-expression> <right-numeric-expression> ]",
       .arguments = Between(2, 3),
       .comment =
           "Returns a typical bell curve fuzzy value, e.g., the probablities increase as the X "
           "value gets closer to the middle point",
       .example = "(get-fs-value (pi 5 4) 3)"}},
     {fsTriangleShape,
      {.name = "tri",
       .syntax =
           " <left-numeric-expression> <center-numeric-expression> <right-numeric-expression> ",
       .arguments = Exactly(3),
       .comment =
           "Returns a fuzzy value with a saw-tooth type shape, e.g., the probablities increase as "
           "the X value gets closer to the center point",
       .example = "(get-fs (tri 0 5 10))"}},
     {fsBetaShape,
      {.name = "beta",
       .syntax = " <center-numeric-expression> <range-numeric-expression> [ "
                 "<inflection-numeric-expression> [ <weight-numeric-expression> ]]",
       .arguments = Between(2, 4),
       .comment =
           "Returns a fuzzy value with a beta bell curve shape, e.g., the probablities increase "
           "as the X value gets closer to the middle point",
       .example = "(get-fs-value (beta 50 20) 60)"}}}};

}  // namespace

void AddFuzzyShapeFunctions(TUserFunctionList& functions) {
  TCreateFuzzyShapeFunction::AddTo(functions);
}

}  // namespace reasoner
