// Numbers and plots out of fuzzy values.

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/FuzzyBuiltin.h"
#include "reasoner/support/Format.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/Utf8.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

enum TDefuzzifyFunctionType : std::uint8_t {
  dftMoment,
  dftMaximum,
  dftUndecidable,
  dftCompatibilityIndex
};

class TDefuzzifyFunction final
    : public TFuzzyKindFunction<TDefuzzifyFunction, TDefuzzifyFunctionType> {
 public:
  static const std::array<TRow, 4> kRows;

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IFuzzySet> set = FuzzySetArgument(fun_call, 0, context);
    switch (GetKind()) {
      case dftMoment:
        result = NewFloat(set->GetCentreOfGravity());
        return;
      case dftMaximum:
        result = NewFloat(set->GetMeanOfMaxima());
        return;
      case dftUndecidable:
        result = BooleanValue(set->IsUndecidable());
        return;
      case dftCompatibilityIndex:
        result = NewFloat(set->GetCompatibilityIndex());
    }
  }
};

constexpr std::array<TDefuzzifyFunction::TRow, 4> TDefuzzifyFunction::kRows{
    {{dftMoment,
      {.name = "moment-defuzzify",
       .syntax = " <fact-id-expression> | <fact-expression> | <fuzzy-value-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Returns a defuzzified floating point value, which represents the defuzzified fuzzy "
           "set using the centre of gravity (or first moment of inertia) function.  The centroid "
           "method is a good method to use in process control and robotics since it tends to "
           "smooth out the fuzzy region.",
       .example = "(moment-defuzzify (tri 0 5 10))"}},
     {dftMaximum,
      {.name = "maximum-defuzzify",
       .syntax = " <fact-id-expression> | <fact-expression> | <fuzzy-value-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Returns a defuzzified floating point value, which represents the defuzzified fuzzy "
           "set using the mean of maxima function.  It takes the average X value of the maximum "
           "points in the fuzzy set.  This method is faster than the moment-defuzzify function, "
           "but ignores any fuzzy operations that do not change the maximum value in the fuzzy "
           "set.",
       .example = "(maximum-defuzzify ?room)",
       .prelude = kRoom}},
     {dftUndecidable,
      {.name = "is-undecidable",
       .syntax = " <fact-id-expression> | <fact-expression> | <fuzzy-value-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Returns TRUE if the fuzzy set is undecidable.  A fuzzy set is undecidable when it is "
           "an empty fuzzy set or the area of the fuzzy set is 0.  A fuzzy set is determined to "
           "be undecidable when the fuzzy set is defuzzified.  If no defuzzification has been "
           "performed, this function always returns TRUE",
       .example = "(is-undecidable (tri 0 5 10))"}},
     {dftCompatibilityIndex,
      {.name = "get-compatibility-index",
       .syntax = " <fact-id-expression> | <fact-expression> | <fuzzy-value-expression> ",
       .arguments = Exactly(1),
       .comment =
           "Returns a floating point value between 0 and 1 representing the unit compatibility "
           "index of the fuzzy set.  The unit compatibility index helps measure the validity of "
           "the model which created the fuzzy set.  If, over many tests of the fuzzy expert "
           "system, the unit compatibility index is less than 0.2 or greater than 0.8, the fuzzy "
           "model is exhibiting boolean behavior and is probably not behaving well at the "
           "extremes of the model",
       .example = "(get-compatibility-index (tri 0 5 10))"}}}};

// A plot of text: a row for each twentieth of membership, the lowest first.
class TTextPlot {
 public:
  static constexpr std::int32_t kRows = 21;
  static constexpr std::int32_t kColumns = 50;

  TTextPlot(double low, double high, std::string_view characters) : low_(low), high_(high) {
    const char* const end = characters.data() + characters.size();
    for (const char* at = characters.data(); at < end;) {
      const Utf8Character character = DecodeUtf8(at, end);
      // A character of more than one byte is none that every terminal can show.
      characters_.push_back(character.code < 0x100 ? std::string(at, character.length) : "?");
      at += character.length;
    }
    if (characters_.empty()) characters_.emplace_back("*");
  }

  void Draw(const IFuzzySet& set) {
    const std::string& mark = characters_[std::min(drawn_, characters_.size() - 1)];
    ++drawn_;
    legend_ += " " + set.GetName() + "(" + mark + ")";
    const double step = (high_ - low_) / kColumns;
    double x = low_;
    for (std::string* column = cells_.data(); column != cells_.data() + kColumns; ++column) {
      const double height = std::min(set.DegreeOfMembership(x), 1.0) * (kRows - 1);
      column[RoundToInteger(height).value_or(0) * kColumns] = mark;
      x += step;
    }
  }

  // The lines, the variable's about it only where there is one.
  std::vector<std::string> Lines(const IFuzzyVariable* variable) const {
    std::vector<std::string> lines;
    if (variable != nullptr) lines.push_back("Fuzzy Variable: " + variable->GetName());
    lines.push_back("Fuzzy Values:" + legend_);
    lines.emplace_back();
    for (std::int32_t row = kRows; row-- > 0;) {
      std::string line = FormatText(FuzzyFormatStr, {row / double{kRows - 1}});
      for (std::int32_t column = 0; column < kColumns; ++column) {
        line += cells_[static_cast<std::size_t>(row * kColumns + column)];
      }
      lines.push_back(std::move(line));
    }
    lines.emplace_back("    |----|----|----|----|----|----|----|----|----|----|");
    const double width = (high_ - low_) / 5;
    lines.push_back(FormatText(
        "%7.2f %9.2f %9.2f %9.2f %9.2f %9.2f",
        {low_, low_ + width, low_ + 2 * width, low_ + 3 * width, low_ + 4 * width, high_}));
    lines.emplace_back();
    if (variable != nullptr) {
      lines.push_back(FormatText("Universe of Discourse: From %0.2f to %.2f",
                                 {variable->GetUniverseFrom(), variable->GetUniverseTo()}));
    }
    return lines;
  }

 private:
  double low_;
  double high_;
  std::vector<std::string> characters_;
  std::vector<std::string> cells_ =
      std::vector<std::string>(static_cast<std::size_t>(kRows * kColumns), " ");
  std::string legend_;
  std::size_t drawn_ = 0;
};

class TPlotFuzzySetFunction final : public TBuiltinFunction<TPlotFuzzySetFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "plot-fuzzy-value",
      .syntax =
          " <io-stream-identifier-string-expression> <plot-chars-string-expression> "
          "<low-limit-numeric-expression> <high-limit-numeric-expression> "
          "<fuzzy-variable-name-expression>|<fuzzy-value-expression>|<fact-id-expression>|<fact-"
          "expression>+",
      .arguments = AtLeast(5),
      .comment = "Plots Fuzzy values or entire Fuzzy Variable using printout/text statements",
      .example = "(plot-fuzzy-value t \"+*#\" nil nil temperature)",
      .prelude = kTemperature};

  // All is worked out before the first line is printed.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Text stream = TextArgument(fun_call, 0, context);
    const Text characters = TextArgument(fun_call, 1, context);
    Ref<IFuzzyVariable> variable;
    const std::vector<Ref<IFuzzySet>> sets = SetsToPlot(fun_call, context, variable);
    const IFuzzySet* const first = sets.empty() ? nullptr : sets.front().get();
    double low = variable ? variable->GetUniverseFrom() : first->GetLowestX();
    double high = variable ? variable->GetUniverseTo() : first->GetHighestX();
    const Ref<IKBValue> low_limit = EvaluateArgument(fun_call, 2, context);
    const Ref<IKBValue> high_limit = EvaluateArgument(fun_call, 3, context);
    if (KBNumericTypes.Has(low_limit->GetDType())) {
      const double limit = low_limit->GetAsNumeric();
      low = variable ? std::max(limit, low) : limit;
    }
    if (KBNumericTypes.Has(high_limit->GetDType())) {
      const double limit = high_limit->GetAsNumeric();
      high = variable ? std::min(limit, high) : limit;
    }
    if (!(low < high)) Raise(SInvalidLowHiLimits, low, high);
    TTextPlot plot(low, high, characters.view());
    for (const Ref<IFuzzySet>& set : sets) {
      RequireVariable(*set, *first, variable.get());
      plot.Draw(*set);
    }
    for (const std::string& line : plot.Lines(variable.get())) {
      engine.PrintOut(stream.str(), line + std::string(NewLineString));
    }
    result = FCTrue;
  }

 private:
  // The sets of the values from argument 4 on, or the terms of the type that it names.
  static std::vector<Ref<IFuzzySet>> SetsToPlot(const IFunCall& fun_call, TKBContext& context,
                                                Ref<IFuzzyVariable>& variable) {
    std::vector<Ref<IFuzzySet>> sets;
    const Ref<IKBValue> value = EvaluateArgument(fun_call, 4, context);
    if (!TKBTypes{dtInteger, dtFactId, dtFact, dtFuzzy, dtSingletons}.Has(value->GetDType())) {
      const Ref<IKBDefinedType> type = EngineOf(context).FindDefinedType(value->GetAsString());
      if (type) variable = type->GetFuzzyType();
      if (!variable) Raise(SUndefinedFuzzyVariable);
      for (std::int32_t i = 0; i < variable->GetSetCount(); ++i) {
        if (variable->GetSet(i)->IsTerm()) sets.push_back(variable->GetSet(i));
      }
      return sets;
    }
    Ref<IFuzzySet> set;
    GetFuzzySetFromValue(value, context, set);
    variable = Ref<IFuzzyVariable>(set->GetVariable());
    sets.push_back(set);
    for (std::int32_t i = 5; i < fun_call.GetArgumentCount(); ++i) {
      sets.push_back(FuzzySetArgument(fun_call, i, context));
    }
    return sets;
  }

  static void RequireVariable(const IFuzzySet& set, const IFuzzySet& first,
                              const IFuzzyVariable* variable) {
    const IFuzzyVariable* const own = set.GetVariable();
    if (own == variable) return;
    const auto name = [](const IFuzzyVariable* named) {
      return named == nullptr ? std::string() : named->GetName();
    };
    Raise(SDifferentFuzzyVariables, first.GetName(), name(variable), set.GetName(), name(own));
  }
};

}  // namespace

void AddFuzzyReadoutFunctions(TUserFunctionList& functions) {
  TDefuzzifyFunction::AddTo(functions);
  functions.AddNew<TPlotFuzzySetFunction>();
}

}  // namespace reasoner
