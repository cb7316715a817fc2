// Runs a program in an engine and in the brute-force reading side by side.

#pragma once

#include <string>

#include "tests/oracle/Program.h"

namespace reasoner::oracle {

struct TOutcome {
  std::string difference;  // empty: none
  std::string script;      // what was done, as a rule-language file
};

// After each operation the activations agree, each stands on the agenda where it belongs, and the
// engine is sound; at the end, with everything retracted, all memories are empty.
TOutcome RunProgram(const TProgram& program, bool textbook);

}  // namespace reasoner::oracle
