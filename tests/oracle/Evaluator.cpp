#include "tests/oracle/Evaluator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>

namespace reasoner::oracle {

// A value read as a number, as the told comparisons do it.
static std::optional<double> ReadNumber(const TValue& value) {
  if (value.is_list || value.shape) return std::nullopt;
  if (value.word.IsNumber() || value.word.GetKind() == TWord::kFactId)
    return value.word.GetNumber();
  const std::string text = value.word.Content();
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0') return std::nullopt;
  return number;
}

static double NumberOf(const TValue& value) {
  const std::optional<double> number = ReadNumber(value);
  if (!number) throw TRaised();
  return *number;
}

// In the plain meaning values of two kinds are alike as numbers, if both read as numbers.
static bool IsLikePlainly(const TValue& first, const TValue& second) {
  if (first.is_list || second.is_list) return first == second;
  const auto is_number = [](const TValue& value) {
    return value.word.IsNumber() || value.word.GetKind() == TWord::kFactId;
  };
  if (!is_number(first) && !is_number(second)) return first.word.Content() == second.word.Content();
  const std::optional<double> a = ReadNumber(first);
  return a && a == ReadNumber(second);
}

// Else the second value is read as the first one's type.
bool IsLike(const TValue& first, const TValue& second, bool textbook) {
  if (textbook) return IsLikePlainly(first, second);
  if (first.is_list || second.is_list) {
    if (first.is_list != second.is_list) throw TRaised();
    return first == second;
  }
  switch (first.word.GetKind()) {
    case TWord::kInteger:
    case TWord::kFactId:
      return first.word.GetNumber() == std::trunc(NumberOf(second));
    case TWord::kFloat:
      return first.word.GetNumber() == NumberOf(second);
    default:
      break;
  }
  if (second.word.GetKind() == TWord::kFactId) throw TRaised();
  if (second.word.GetKind() == TWord::kFloat) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", second.word.GetNumber());
    return first.word.Content() == text;
  }
  return first.word.Content() == second.word.Content();
}

const TValue* FindIn(const TEnvironment& environment, TWord variable) {
  for (const auto& [name, value] : environment) {
    if (name == variable) return &value;
  }
  return nullptr;
}

// How much two values are the same where one is fuzzy: a number is a single point, other values
// have nothing in common with it.
double DegreeOf(const TValue& a, const TValue& b) {
  const auto shape_of = [](const TValue& value) {
    return value.shape || value.is_list || !value.word.IsNumber() ? value.shape
                                                                  : ShapeOf(value.word.Text());
  };
  const TSharedShape one = shape_of(a);
  const TSharedShape other = shape_of(b);
  return one && other ? Possibility(*one, *other) : 0;
}

// Fuzzy values are equal where they overlap enough.
bool TEvaluator::Agree(const TValue& a, const TValue& b) const {
  if (!a.shape && !b.shape) return a == b;
  return DegreeOf(a, b) > equals_threshold_;
}

TWord TEvaluator::Constant(TWord word) const {
  if (word.GetKind() != TWord::kGlobal) return word;
  const auto& names = GlobalNames();
  return globals_.at(
      static_cast<std::size_t>(std::find(names.begin(), names.end(), word) - names.begin()));
}

TValue TEvaluator::Evaluate(const TCall& call, const TEnvironment& own,
                            const TEnvironment& before) const {
  static const TValue kTrue = TValue::Single("TRUE");
  static const TValue kFalse = TValue::Single("FALSE");
  static const TValue kA = TValue::Single("a");
  static const TValue kB = TValue::Single("b");
  // Arguments are evaluated from the first on, as far as they count.
  const auto value_of = [&](const TTerm& term) { return Evaluate(term, own, before); };
  const auto is_true = [&](const TTerm& term) { return !(value_of(term) == kFalse); };
  const std::vector<TTerm>& terms = call.terms;
  bool result = false;
  if (call.function == "and") {
    result = std::all_of(terms.begin(), terms.end(), is_true);
  } else if (call.function == "or") {
    result = std::any_of(terms.begin(), terms.end(), is_true);
  } else if (call.function == "not") {
    result = !is_true(terms[0]);
  } else if (call.function == "same") {
    return value_of(terms[0]);
  } else if (call.function == ">") {
    const double first = NumberOf(value_of(terms[0]));
    result = first > NumberOf(value_of(terms[1]));
  } else if (call.function == "eq" || call.function == "neq" || call.function == "pick" ||
             call.function == "must") {
    const bool agrees = Agree(value_of(terms[0]), value_of(terms[1]));
    if (call.function == "pick") return agrees ? kA : kB;
    if (call.function == "must" && agrees) throw TRaised();
    result = agrees == (call.function == "eq");
  } else {
    throw std::logic_error("the reading knows no " + call.function);
  }
  return result ? kTrue : kFalse;
}

TValue TEvaluator::Evaluate(const TTerm& term, const TEnvironment& own,
                            const TEnvironment& before) const {
  if (term.call) return Evaluate(*term.call, own, before);
  if (!term.IsVariable()) return TValue::Single(term.text);
  if (term.text.GetKind() == TWord::kGlobal) return TValue::Single(Constant(term.text));
  if (const TValue* value = FindIn(before, term.text)) return *value;
  if (const TValue* value = FindIn(own, term.text)) return *value;
  throw std::logic_error("the reading knows no " + term.text.Text());
}

}  // namespace reasoner::oracle
