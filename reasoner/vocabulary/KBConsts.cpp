#include "reasoner/vocabulary/KBConsts.h"

#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

std::string SetToString(TKBTypes types, std::string_view separator, bool brackets) {
  std::string text;
  bool first = true;
  for (std::size_t i = 0; i < kKBTypeCount; ++i) {
    if (!types.Has(static_cast<TKBType>(i))) continue;
    if (!first) text += separator;
    first = false;
    text += kKBTypeNames[i].substr(2);
  }
  return brackets ? "[" + text + "]" : text;
}

void CheckConstructName(std::string_view name) {
  const std::size_t place = name.find_first_of(kForbiddenNameCharacters);
  if (place != std::string_view::npos) Raise(SUnexpectedCharacters, name, name[place]);
}

}  // namespace reasoner
