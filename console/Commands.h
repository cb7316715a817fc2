// What can be typed at the prompt beside expressions, and what is known by a name. A new command is
// a row of the table in the source: recognition, help and completion come from it.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reasoner/engine/Reasoner.h"

namespace console {

// What the command answers that the line is; nothing for a line that is no command.
std::optional<std::string> AnswerCommand(reasoner::TReasoner& engine, const std::string& line);

// The names of commands, functions, constructs and globals that begin so, sorted; none for no
// beginning.
std::vector<std::string> NamesFor(reasoner::TReasoner& engine, const std::string& start);

}  // namespace console
