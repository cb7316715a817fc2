#include "console/Entry.h"

namespace console {

std::string Entry(std::string_view name, std::string_view arguments, std::string_view about,
                  std::size_t column) {
  const std::string margin(column, ' ');
  std::string text = "  " + std::string(name);
  if (!arguments.empty()) text += " " + std::string(arguments);
  if (text.size() < column) {
    text.resize(column, ' ');
  } else {
    text += "\n" + margin;
  }
  for (const char character : about) {
    text += character;
    if (character == '\n') text += margin;
  }
  return text + "\n";
}

}  // namespace console
