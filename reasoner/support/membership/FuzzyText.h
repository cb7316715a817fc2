// Fuzzy sets and variables as text of the rule language, and shapes and points read back.

#pragma once

#include <string>
#include <string_view>

#include "reasoner/support/membership/FuzzyVariable.h"

namespace reasoner {

// How the numbers of a text are written: with four decimals, for people, or with as many digits as
// it takes to read the same number back.
enum TFuzzyNumbers : std::uint8_t { fnShown, fnExact };

// "((x y) (x y) )".
std::string PointsText(const PiecewiseLinear& function, TFuzzyNumbers numbers);
// The call that makes the set's shape, such as "(tri 1.0000 2.0000 3.0000)"; of a set without one,
// or with one that no call makes, its points.
std::string ShapeText(const IFuzzySet& set, TFuzzyNumbers numbers);
// The set's name, or with `full` its definition as a term: "(term warm (tri ...))". Nothing for the
// empty set. The numbers of a definition are exact.
std::string FuzzySetText(const IFuzzySet& set, bool full);
// The clauses that define a variable, exact: range, units, values.
std::string FuzzyVariableText(const IFuzzyVariable& variable);

// The words that say in a slot of the variable what the set is, exact; "nil" for one without
// points. A set of another variable is told by its shape: names mean something else there.
std::string WordsFor(const IFuzzySet& set, const IFuzzyVariable* variable);

// Whether a name among the words of an expression is read as something else than a term.
bool MeansOtherwise(std::string_view name);

// The text of an expression of a hedge and its operand, and of two operands with a word between
// them. Operands that would be read otherwise stand in fuzzy brackets.
std::string HedgedText(std::string_view hedge, const IFuzzySet& operand);
std::string JoinedText(const IFuzzySet& left, std::string_view word, const IFuzzySet& right);

// Makes the set what a text says: a shape call on numbers, a point list, or a number. False, and
// the set as it was, for a text that is none of these. Raises EKitException "invalid fuzzy value"
// for a shape that leaves the range of numbers.
bool ReadShape(std::string_view text, IFuzzySet& set);

}  // namespace reasoner
