// The conversation at a prompt.

#pragma once

#include "console/Terminal.h"

namespace console {

// Reads expressions at a prompt until the end of the input; a failure is told and forgotten. Ctrl-C
// stops an evaluation. Raises EAbort for (exit).
void Converse(reasoner::TReasoner& engine, Terminal& terminal);

}  // namespace console
