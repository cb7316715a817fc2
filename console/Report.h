// How the program tells of a failure.

#pragma once

#include <exception>

#include "reasoner/engine/Reasoner.h"

namespace console {

// On standard error, behind all that was printed: where it happened as far as the engine knows,
// what happened, and a line for each file or text that was being loaded.
void Report(const reasoner::TReasoner& engine, const std::exception& failure);

}  // namespace console
