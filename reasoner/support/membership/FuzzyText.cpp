#include "reasoner/support/membership/FuzzyText.h"

#include <cmath>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "reasoner/support/Numbers.h"
#include "reasoner/support/SourceWords.h"
#include "reasoner/support/Streams.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {

namespace {

std::string NumberText(double number, TFuzzyNumbers numbers) {
  return numbers == fnExact ? FloatToSource(number) : FloatToText(number);
}

// "(name number number)".
std::string CallText(std::string_view name, std::initializer_list<double> arguments,
                     TFuzzyNumbers numbers) {
  std::string text = "(" + std::string(name);
  for (const double argument : arguments) text += " " + NumberText(argument, numbers);
  return text + ")";
}

// True if the centre and the width make the ends again.
bool HasEqualSides(const IFuzzySet& set) noexcept {
  const double tolerance = kSamePoint * set.GetWidth();
  return std::fabs(set.GetCentre() - set.GetWidth() - set.GetLowestX()) <= tolerance &&
         std::fabs(set.GetCentre() + set.GetWidth() - set.GetHighestX()) <= tolerance;
}

bool IsPlainWord(std::string_view word) noexcept {
  constexpr std::string_view kSpecial = " \t\r\n\f\v\"\\()[]<>;&|~?$";
  return !word.empty() && word.find_first_of(kSpecial) == std::string_view::npos;
}

std::string WordOrString(std::string_view word) {
  if (IsPlainWord(word)) return std::string(word);
  std::string text = "\"";
  for (const char character : word) {
    if (character == '"' || character == '\\') text += '\\';
    text += character;
  }
  return text + "\"";
}

// Whether the names in the set's text are those of another variable.
bool IsForeign(const IFuzzySet& set, const IFuzzyVariable* variable) noexcept {
  return set.GetVariable() != nullptr && set.GetVariable() != variable;
}

std::string OperandText(const IFuzzySet& operand, const IFuzzyVariable* variable) {
  const std::string text = WordsFor(operand, variable);
  const bool needs_brackets = IsForeign(operand, variable)
                                  ? operand.GetSumHeight() > 1
                                  : operand.GetGivenName().empty() && operand.IsBinaryExpression();
  return needs_brackets ? "[" + text + "]" : text;
}

// The points, and how high the sum was that they show.
std::string SumText(const IFuzzySet& set, TFuzzyNumbers numbers) {
  std::string text = PointsText(set.GetFunction(), numbers);
  if (set.GetSumHeight() <= 1) return text;
  return text + " " + std::string(kSummedTo) + " " + NumberText(set.GetSumHeight(), numbers);
}

// Reads brackets, words and numbers one after the other.
class ShapeReader {
 public:
  explicit ShapeReader(std::string_view text) : rest_(text) { SkipBlanks(); }

  bool AtEnd() const noexcept { return rest_.empty(); }
  bool Take(char bracket) noexcept {
    if (rest_.empty() || rest_.front() != bracket) return false;
    rest_.remove_prefix(1);
    SkipBlanks();
    return true;
  }
  // Empty before a bracket and at the end.
  std::string_view TakeWord() noexcept {
    const std::string_view word = rest_.substr(0, rest_.find_first_of(" \t\r\n()"));
    rest_.remove_prefix(word.size());
    SkipBlanks();
    return word;
  }
  std::optional<double> TakeNumber() noexcept { return TextToFloat(TakeWord()); }

 private:
  void SkipBlanks() noexcept {
    const std::size_t blanks = rest_.find_first_not_of(" \t\r\n");
    rest_.remove_prefix(blanks == std::string_view::npos ? rest_.size() : blanks);
  }

  std::string_view rest_;
};

// "(x y) (x y))", the opening bracket read.
bool ReadPoints(ShapeReader& reader, IFuzzySet& set) {
  std::vector<FuzzyPoint> points;
  while (reader.Take('(')) {
    const auto x = reader.TakeNumber();
    const auto y = reader.TakeNumber();
    if (!x || !y || !reader.Take(')')) return false;
    points.push_back({*x, *y});
  }
  if (!reader.Take(')')) return false;
  double height = 1;
  if (!reader.AtEnd()) {
    const std::string_view word = reader.TakeWord();
    const auto number = reader.TakeNumber();
    if (word != kSummedTo || !number || !reader.AtEnd()) return false;
    height = *number;
  }
  set.SetFunction(PiecewiseLinear(std::move(points)));
  set.SetSumHeight(height);
  return true;
}

// "name number number)", the opening bracket read.
bool ReadCall(ShapeReader& reader, IFuzzySet& set) {
  const std::string_view name = reader.TakeWord();
  std::vector<double> x;
  while (!reader.AtEnd() && !reader.Take(')')) {
    const auto number = reader.TakeNumber();
    if (!number || x.size() == 4) return false;
    x.push_back(*number);
    if (reader.AtEnd()) return false;
  }
  if (!reader.AtEnd()) return false;
  if (name == "tri" && x.size() == 3) {
    set.SetToTriangle(x[0], x[1], x[2]);
  } else if ((name == "s" || name == "z") && x.size() == 2) {
    set.SetToSCurve(x[0], x[1], std::midpoint(x[0], x[1]), kShapePoints, name == "s");
  } else if (name == "pi" && x.size() == 2) {
    set.SetToPi(x[1], x[0], kShapePoints);
  } else if (name == "pi" && x.size() == 3) {
    set.SetToPi(x[0], x[2], x[1], kShapePoints);
  } else if (name == "beta" && x.size() >= 2) {
    set.SetToBeta(x[1], x[0], x.size() > 2 ? x[2] : 0, x.size() > 3 ? x[3] : 1, kShapePoints);
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::string PointsText(const PiecewiseLinear& function, TFuzzyNumbers numbers) {
  std::string text = "(";
  for (const FuzzyPoint& point : function.GetPoints()) {
    text += "(" + NumberText(point.x, numbers) + " " + NumberText(point.y, numbers) + ") ";
  }
  return text + ")";
}

std::string ShapeText(const IFuzzySet& set, TFuzzyNumbers numbers) {
  if (!set.IsStandardShape()) return SumText(set, numbers);
  const double low = set.GetLowestX();
  const double high = set.GetHighestX();
  switch (set.GetType()) {
    case fstPoints:
      break;
    case fstTriangle:
      return CallText("tri", {low, set.GetXValue(1), high}, numbers);
    case fstDecline:
      return CallText("z", {low, high}, numbers);
    case fstPi:
      if (HasEqualSides(set)) return CallText("pi", {set.GetCentre(), set.GetWidth()}, numbers);
      return CallText("pi", {low, set.GetCentre(), high}, numbers);
    case fstBeta: {
      const double centre = set.GetCentre();
      const double range = set.GetRange();
      if (set.GetWeight() != 1) {
        return CallText("beta", {centre, range, set.GetWidth(), set.GetWeight()}, numbers);
      }
      if (set.GetWidth() != BetaDefaultWidth(range)) {
        return CallText("beta", {centre, range, set.GetWidth()}, numbers);
      }
      return CallText("beta", {centre, range}, numbers);
    }
    case fstGrowth:
      return CallText("s", {low, high}, numbers);
  }
  return SumText(set, numbers);
}

std::string WordsFor(const IFuzzySet& set, const IFuzzyVariable* variable) {
  const std::string text = IsForeign(set, variable) ? ShapeText(set, fnExact) : set.ToSource();
  return text.empty() || text == "()" ? "nil" : text;
}

bool MeansOtherwise(std::string_view name) {
  return name == "[" || name == "]" || name == ":" || EqualsIgnoreCase(name, "nil") ||
         IsFuzzyHedge(name) || IsFuzzyHedgeOperator(name) || IsFuzzyKeyword(name);
}

std::string FuzzySetText(const IFuzzySet& set, bool full) {
  if (set.GetGivenName() == SEmptyFuzzy) return {};
  if (!full) return set.GetName();
  if (set.GetCount() == 0) return "(term " + AtomToSource(set.GetName()) + " nil)";
  const bool from_expression = set.GetType() == fstPoints && !set.GetExpression().empty();
  return "(term " + AtomToSource(set.GetName()) + " " +
         (from_expression ? set.GetExpression() : ShapeText(set, fnExact)) + ")";
}

std::string FuzzyVariableText(const IFuzzyVariable& variable) {
  const std::string indent(IndentString);
  const std::string line(NewLineString);
  std::string text = indent + "(range " + FloatToSource(variable.GetUniverseFrom()) + " " +
                     FloatToSource(variable.GetUniverseTo()) + ")" + line;
  if (!variable.GetUnits().empty()) {
    text += indent + "(units " + WordOrString(variable.GetUnits()) + ")" + line;
  }
  text += indent + "(values " + line;
  for (std::int32_t i = 0; i < variable.GetSetCount(); ++i) {
    const IFuzzySet& set = *variable.GetSet(i);
    if (set.IsTerm()) text += indent + indent + FuzzySetText(set, true) + line;
  }
  return text + indent + ")";
}

std::string HedgedText(std::string_view hedge, const IFuzzySet& operand) {
  return std::string(hedge) + " " + OperandText(operand, operand.GetVariable());
}

std::string JoinedText(const IFuzzySet& left, std::string_view word, const IFuzzySet& right) {
  const IFuzzyVariable* const variable =
      left.GetVariable() != nullptr ? left.GetVariable() : right.GetVariable();
  return WordsFor(left, variable) + " " + std::string(word) + " " + OperandText(right, variable);
}

bool ReadShape(std::string_view text, IFuzzySet& set) {
  ShapeReader reader(text);
  if (!reader.Take('(')) {
    const auto number = reader.TakeNumber();
    if (!number || !reader.AtEnd()) return false;
    set.SetToTriangle(*number, *number, *number);
    return true;
  }
  ShapeReader ahead = reader;
  return ahead.TakeWord().empty() ? ReadPoints(reader, set) : ReadCall(reader, set);
}

}  // namespace reasoner
