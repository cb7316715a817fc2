// IFuzzyParser: what fuzzy sets and variables know of the engine that reads and prints them.

#pragma once

#include <string>
#include <string_view>

#include "reasoner/support/Ref.h"

namespace reasoner {

class TIFuzzySet;
class TIFuzzyVariable;

using IFuzzySet = TIFuzzySet;
using IFuzzyVariable = TIFuzzyVariable;

// The engine's fuzzy evaluation interface. Not counted; a variable may be null.
class IFuzzyParser {
 public:
  // Evaluates a fuzzy expression into `set`; the result is the set's crisp number.
  virtual double EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text,
                                     Ref<IFuzzySet>& set) = 0;
  virtual Ref<IFuzzySet> EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text) = 0;
  // The text of one term, "(term ...)".
  virtual Ref<IFuzzySet> ParseFuzzySet(IFuzzyVariable* variable, std::string_view text) = 0;
  // The clauses of a variable: range, units, values.
  virtual Ref<IFuzzyVariable> ParseFuzzyVariable(std::string_view text) = 0;
  virtual std::string PrettyPrint(const IFuzzySet& set, bool full) = 0;
  virtual std::string PrettyPrint(const IFuzzyVariable& variable) = 0;
  // Tells what is taken in a way that its writer may not have meant.
  virtual void Warn(const std::string& text) = 0;

 protected:
  ~IFuzzyParser() = default;
};

// How sets and variables, which may outlive an engine, know its parser: the engine empties the link
// at its end.
class TFuzzyParserLink final : public IInterface {
 public:
  explicit TFuzzyParserLink(IFuzzyParser* the_parser) : parser(the_parser) {}

  IFuzzyParser* parser;
};

// How sets, which may outlive their variable, know it: the variable's destructor empties the link.
class TFuzzyVariableLink final : public IInterface {
 public:
  IFuzzyVariable* variable = nullptr;
};

}  // namespace reasoner
