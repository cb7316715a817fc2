// The conversation at a prompt.

#pragma once

#include <string>
#include <vector>

#include "console/Terminal.h"

namespace console {

// Reads expressions at a prompt until the end of the input; a failure is told and forgotten. Ctrl-C
// stops an evaluation. Raises EAbort for (exit).
void Converse(reasoner::TReasoner& engine, Terminal& terminal);

// The names of functions, constructs and globals that begin so, sorted; none for no beginning.
std::vector<std::string> NamesFor(reasoner::TReasoner& engine, const std::string& start);

// What is known by the name: the help on a function, the text of a construct. Without a name, how
// to use the prompt.
std::string HelpOn(reasoner::TReasoner& engine, const std::string& name);

}  // namespace console
