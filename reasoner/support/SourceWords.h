// The characters of words in rule-language text, and words as they are written there.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace reasoner {

enum TCharClass : std::uint8_t {
  kSpace = 1,
  kPunctuation = 2,  // a token of its own where a token can start
  kEndsWord = 4,
  kNumberStart = 8,
  kNumberSymbol = 16,
  kQuoted = 32,  // a `\` before it at the start of a word is no character of the word
};

constexpr std::array<std::uint8_t, 256> MakeCharClasses() {
  std::array<std::uint8_t, 256> classes{};
  const auto add = [&classes](std::string_view characters, std::uint8_t bit) {
    for (const char character : characters) {
      auto& entry = classes[static_cast<unsigned char>(character)];
      entry = static_cast<std::uint8_t>(entry | bit);
    }
  };
  for (std::size_t code = 0; code <= ' '; ++code) classes[code] = kSpace | kQuoted;
  add("=&()[]|~", kPunctuation | kQuoted);
  add("\"&();<[]|~", kEndsWord);
  add("0123456789+-.", kNumberStart | kQuoted);
  add("+-.eE", kNumberSymbol);
  add("\";?$\\", kQuoted);
  return classes;
}
inline constexpr std::array<std::uint8_t, 256> kCharClasses = MakeCharClasses();

constexpr bool Has(int character, TCharClass wanted) {
  return character >= 0 && (kCharClasses[static_cast<std::size_t>(character)] & wanted) != 0;
}
constexpr bool Has(char character, TCharClass wanted) {
  return Has(static_cast<unsigned char>(character), wanted);
}

// Whether a word is read as a number.
bool IsNumberWord(std::string_view word);

// How the language writes a word that reads back as the atom of that text: with `\` before what
// would end the word or make something else of it. The empty atom is `nil`.
std::string AtomToSource(std::string_view text);
void AppendAtomSource(std::string& source, std::string_view text);
// The same for the part of a variable's name behind its `?`.
void AppendNameSource(std::string& source, std::string_view name);

}  // namespace reasoner
