#include "reasoner/language/TextHelpers.h"

#include <algorithm>

#include "reasoner/support/Exception.h"
#include "reasoner/support/Format.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/Streams.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/vocabulary/KBConsts.h"

namespace reasoner {

static void AppendSpare(std::string& text, const IKBValue& value) {
  text += ' ';
  switch (value.GetDType()) {
    case dtString:
      text += value.TextView();
      break;
    case dtFactId:
      text += IntegerToText(value.RawFactId());
      break;
    case dtExternalAddress:
      text += IntegerToText(value.GetAsInteger());
      break;
    case dtList:
      text += "(" + value.ToString() + ")";
      break;
    default:
      value.AppendTo(text);
  }
}

// One conversion with its value; nothing for a letter that is none.
static bool AppendConverted(std::string& text, std::string_view conversion, const IKBValue& value,
                            bool plain) {
  switch (conversion.back()) {
    case 'd':
    case 'u':
    case 'x':
      text += FormatText(conversion, {value.GetAsInteger()});
      return true;
    case 'e':
    case 'f':
    case 'g':
    case 'm':
      text += FormatText(conversion, {value.GetAsFloat()});
      return true;
    case 'p':
      text += FormatText(conversion, {value.GetAsExternalAddress()});
      return true;
    case 's':
      text += FormatText(conversion,
                         {plain && value.GetDType() == dtString ? std::string(value.TextView())
                                                                : value.ToString()});
      return true;
    default:
      return false;
  }
}

std::string CLIPSFormat(std::string_view format, const IValueVector& args, bool plain) {
  std::string text;
  std::string spare;
  // Takes what stands before the next conversion over; false when there is none.
  const auto advance = [&text, &format, plain] {
    for (;;) {
      const std::size_t percent = format.find('%');
      if (percent == std::string_view::npos) return false;
      const std::string_view pair = format.substr(percent, 2);
      const bool is_percent = plain && pair == "%%";
      text += format.substr(0, percent);
      if (pair != "%n" && !is_percent) {
        format.remove_prefix(percent);
        return true;
      }
      text += is_percent ? "%" : NewLineString;
      format.remove_prefix(percent + 2);
    }
  };
  for (const Ref<IKBValue>& arg : args) {
    if (!advance()) {
      AppendSpare(spare, *arg);
      continue;
    }
    const std::size_t letter =
        std::min(format.find_first_not_of("%-0123456789.", 1), format.size() - 1);
    if (letter > 0 && AppendConverted(text, format.substr(0, letter + 1), *arg, plain))
      format.remove_prefix(letter + 1);
  }
  // What is left has no values: it shows as it is, but for line breaks and doubled signs.
  while (advance()) {
    text += '%';
    format.remove_prefix(1);
  }
  text += format;
  return text + spare;
}

std::string GetSyntaxStatement(const IUserFunction& function) {
  const std::string_view arguments = Trim(function.GetArgumentString());
  std::string text = function.GetFunctionName().str();
  if (!arguments.empty()) {
    text += ' ';
    text += arguments;
  }
  return FormatText(CLIPSSyntaxFormat, {text});
}

std::string KBStringToString(std::string_view text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
    text = text.substr(1, text.size() - 2);
  return std::string(text);
}

// The character at the front, in all its bytes.
static std::string_view FirstCharacter(std::string_view text) {
  std::size_t size = 1;
  while (size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) ++size;
  return text.substr(0, size);
}

std::string StringFilter(std::string_view text, std::string_view characters) {
  std::string filtered;
  while (!text.empty()) {
    const std::string_view character = FirstCharacter(text);
    if (characters.find(character) == std::string_view::npos) filtered += character;
    text.remove_prefix(character.size());
  }
  return filtered;
}

std::int32_t ContainsCharacters(std::string_view text, std::string_view characters) {
  for (std::size_t place = 0; place < text.size();) {
    const std::string_view character = FirstCharacter(text.substr(place));
    if (characters.find(character) != std::string_view::npos) {
      return static_cast<std::int32_t>(Length16(text.substr(0, place))) + 1;
    }
    place += character.size();
  }
  return 0;
}

std::string SetToString(std::uint32_t bits, std::span<const std::string_view> names,
                        std::string_view separator, bool brackets, std::size_t prefix_length) {
  std::string text = brackets ? "[" : "";
  bool first = true;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if ((bits >> i & 1U) == 0) continue;
    if (!first) text += separator;
    first = false;
    text += names[i].substr(std::min(prefix_length, names[i].size()));
  }
  if (brackets) text += "]";
  return text;
}

std::uint32_t StringToSet(std::string_view text, std::span<const std::string_view> names,
                          std::string_view prefix) {
  static constexpr std::string_view kSeparators = "[], ";
  std::uint32_t bits = 0;
  for (text = Trim(text); !text.empty();) {
    const std::size_t size = std::min(text.find_first_of(kSeparators), text.size());
    const std::string word = std::string(prefix) + std::string(text.substr(0, size));
    if (size > 0) {
      const auto found = std::find(names.begin(), names.end(), word);
      if (found == names.end()) throw Exception(FormatText("Invalid item for set: %s", {word}));
      bits |= std::uint32_t{1} << (found - names.begin());
    }
    text.remove_prefix(std::min(size + 1, text.size()));
  }
  return bits;
}

}  // namespace reasoner
