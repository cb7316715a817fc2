#include "reasoner/support/SourceWords.h"

#include "reasoner/support/Numbers.h"

namespace reasoner {

bool IsNumberWord(std::string_view word) {
  if (!Has(word.front(), kNumberStart)) return false;
  if (word.size() == 1 && Has(word.front(), kNumberSymbol)) return false;
  return TextToInteger(word) || TextToFloat(word);
}

static void AppendEscaped(std::string& source, std::string_view text) {
  for (const char character : text) {
    if (character == '\\' || Has(character, kSpace) || Has(character, kEndsWord)) source += '\\';
    source += character;
  }
}

void AppendAtomSource(std::string& source, std::string_view text) {
  if (text.empty()) {
    source += "nil";
    return;
  }
  const char first = text.front();
  bool quoted = Has(first, kQuoted);
  if (Has(first, kNumberStart)) quoted = IsNumberWord(text);
  if (first == '$') quoted = text.starts_with("$?");
  if (quoted) source += '\\';
  source += first;
  AppendEscaped(source, text.substr(1));
}

std::string AtomToSource(std::string_view text) {
  std::string source;
  AppendAtomSource(source, text);
  return source;
}

void AppendNameSource(std::string& source, std::string_view name) { AppendEscaped(source, name); }

}  // namespace reasoner
