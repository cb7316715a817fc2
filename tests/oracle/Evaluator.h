// What calls in patterns and actions yield, and which values are the same.

#pragma once

#include <utility>
#include <vector>

#include "tests/oracle/Program.h"

namespace reasoner::oracle {

using TEnvironment = std::vector<std::pair<TWord, TValue>>;
const TValue* FindIn(const TEnvironment& environment, TWord variable);

// A call that raises.
struct TRaised {};

// What "eq*" says.
bool IsLike(const TValue& first, const TValue& second, bool textbook);
// How much two values are the same where one is fuzzy.
double DegreeOf(const TValue& a, const TValue& b);

class TEvaluator {
 public:
  explicit TEvaluator(const TProgram& program)
      : equals_threshold_(program.equals_threshold), globals_(program.globals) {}

  // What "eq" says.
  bool Agree(const TValue& a, const TValue& b) const;
  // The value of a global, and any other word itself.
  TWord Constant(TWord word) const;
  TValue Evaluate(const TTerm& term, const TEnvironment& own, const TEnvironment& before) const;
  TValue Evaluate(const TCall& call, const TEnvironment& own, const TEnvironment& before) const;

 private:
  double equals_threshold_;
  std::vector<TWord> globals_;
};

}  // namespace reasoner::oracle
