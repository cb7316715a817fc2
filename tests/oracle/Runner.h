// Runs a program in an engine and in the brute-force reading side by side.

#pragma once

#include <cstdint>
#include <string>

#include "tests/oracle/Program.h"

namespace reasoner::oracle {

struct TOutcome {
  std::string difference;  // empty: none
  std::string script;      // what was done, as a rule-language file
  std::int64_t firings = 0;
  std::int64_t failures = 0;
  bool left_out = false;  // it came to what the reading does not model
};

// After each operation the activations and the facts agree and each activation stands on the agenda
// where it belongs; at the end, with everything retracted, all memories are empty. Whether the
// engine is sound, which takes longest, is looked at after every fourth operation if not always.
TOutcome RunProgram(const TProgram& program, bool textbook, bool check_always = false);

}  // namespace reasoner::oracle
