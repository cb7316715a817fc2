#include "reasoner/support/CaseMapping.h"

#include <cstdint>

#include "reasoner/support/Unicode.h"
#include "reasoner/support/Utf8.h"

namespace reasoner {

namespace {

// Capitals from `first` to `last`, every one or every second one; each has its small letter at the
// same distance.
struct TCapitals {
  char32_t first;
  char32_t last;
  std::uint32_t step;
  std::int32_t to_small;
};

constexpr TCapitals kCapitals[] = {
    // Latin-1; the multiplication sign stands between the letters.
    {0x00C0, 0x00D6, 1, 32},
    {0x00D8, 0x00DE, 1, 32},
    // Latin Extended-A: pairs side by side.
    {0x0100, 0x012E, 2, 1},
    {0x0132, 0x0136, 2, 1},
    {0x0139, 0x0147, 2, 1},
    {0x014A, 0x0176, 2, 1},
    {0x0178, 0x0178, 1, -121},
    {0x0179, 0x017D, 2, 1},
    // Greek: the accented letters, the alphabet, the archaic and Coptic ones.
    {0x0370, 0x0372, 2, 1},
    {0x0376, 0x0376, 1, 1},
    {0x037F, 0x037F, 1, 116},
    {0x0386, 0x0386, 1, 38},
    {0x0388, 0x038A, 1, 37},
    {0x038C, 0x038C, 1, 64},
    {0x038E, 0x038F, 1, 63},
    {0x0391, 0x03A1, 1, 32},
    {0x03A3, 0x03AB, 1, 32},
    {0x03CF, 0x03CF, 1, 8},
    {0x03D8, 0x03EE, 2, 1},
    {0x03F7, 0x03F7, 1, 1},
    {0x03F9, 0x03F9, 1, -7},
    {0x03FA, 0x03FA, 1, 1},
    {0x03FD, 0x03FF, 1, -130},
    // Cyrillic and its supplement.
    {0x0400, 0x040F, 1, 80},
    {0x0410, 0x042F, 1, 32},
    {0x0460, 0x0480, 2, 1},
    {0x048A, 0x04BE, 2, 1},
    {0x04C0, 0x04C0, 1, 15},
    {0x04C1, 0x04CD, 2, 1},
    {0x04D0, 0x052E, 2, 1},
};

// Letters that share the other case with a letter above.
struct TOneWay {
  char32_t from;
  char32_t to;
};

constexpr TOneWay kOnlyToUpper[] = {
    {0x00B5, 0x039C},  // the micro sign
    {0x0131, U'I'},    // dotless i
    {0x017F, U'S'},    // long s
    {0x03C2, 0x03A3},  // sigma at the end of a word
    {0x03D0, 0x0392}, {0x03D1, 0x0398}, {0x03D5, 0x03A6}, {0x03D6, 0x03A0},  // symbols
    {0x03F0, 0x039A}, {0x03F1, 0x03A1}, {0x03F5, 0x0395},
};

constexpr TOneWay kOnlyToLower[] = {
    {0x0130, U'i'},    // I with a dot
    {0x03F4, 0x03B8},  // the theta symbol
};

constexpr char32_t Moved(char32_t code, std::int32_t distance) noexcept {
  return static_cast<char32_t>(static_cast<std::int32_t>(code) + distance);
}

constexpr bool IsCapitalOf(const TCapitals& range, char32_t code) noexcept {
  return code >= range.first && code <= range.last && (code - range.first) % range.step == 0;
}

char32_t ToUpper(char32_t code) noexcept {
  for (const TOneWay& letter : kOnlyToUpper) {
    if (letter.from == code) return letter.to;
  }
  for (const TCapitals& range : kCapitals) {
    const char32_t capital = Moved(code, -range.to_small);
    if (IsCapitalOf(range, capital)) return capital;
  }
  return code;
}

char32_t ToLower(char32_t code) noexcept {
  for (const TOneWay& letter : kOnlyToLower) {
    if (letter.from == code) return letter.to;
  }
  for (const TCapitals& range : kCapitals) {
    if (IsCapitalOf(range, code)) return Moved(code, range.to_small);
  }
  return code;
}

// Bytes that are no UTF-8 stay as they are.
std::string MapCharacters(std::string_view text, char32_t (*map)(char32_t)) {
  std::string result;
  result.reserve(text.size());
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    const Utf8Character character = DecodeUtf8(at, end);
    if (character.valid) {
      AppendUtf8(result, map(character.code));
    } else {
      result.append(at, character.length);
    }
    at += character.length;
  }
  return result;
}

}  // namespace

std::string KitUpperCase(std::string_view text) {
  std::string result = AsciiUpper(text);
  return IsAscii(result) ? result : MapCharacters(result, ToUpper);
}

std::string KitLowerCase(std::string_view text) {
  std::string result = AsciiLower(text);
  return IsAscii(result) ? result : MapCharacters(result, ToLower);
}

}  // namespace reasoner
