// The reference of all built-in functions, made from their own words and examples.

#pragma once

#include <string>

namespace console {

// As Markdown. Each example is executed, and what it prints and gives is shown. Raises
// std::runtime_error for a function without example and for an example that fails. Works in a
// folder of its own and comes back from there: no other thread may depend on the current folder.
std::string FunctionReference();

}  // namespace console
