// An entry of a help text.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace console {

// The name with its arguments, indented, and what is told about it from the column on, or below
// where the name is too long. Further lines of the text begin at the column, too.
std::string Entry(std::string_view name, std::string_view arguments, std::string_view about,
                  std::size_t column);

}  // namespace console
