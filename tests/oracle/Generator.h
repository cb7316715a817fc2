// Random programs for the oracle, and smaller ones out of those that fail.

#pragma once

#include <cstdint>
#include <functional>

#include "tests/oracle/Program.h"

namespace reasoner::oracle {

// The same program for the same seed, on every machine.
TProgram Generate(std::uint64_t seed, bool textbook);

// The smallest program that still fails, as far as leaving out operations, rules, elements, fields
// and constraints leads.
TProgram Shrink(TProgram program, const std::function<bool(const TProgram&)>& fails);

}  // namespace reasoner::oracle
