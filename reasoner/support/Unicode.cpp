#include "reasoner/support/Unicode.h"

#include <algorithm>
#include <cstring>

#include "reasoner/support/Utf8.h"

namespace reasoner {

namespace {

// Walks a text by 16-bit units.
class UnitReader {
 public:
  explicit UnitReader(std::string_view text) noexcept
      : at_(text.data()), end_(text.data() + text.size()) {}

  bool AtEnd() const noexcept { return pending_ == 0 && at_ == end_; }

  // Not at the end.
  std::uint32_t Next() noexcept {
    if (pending_ != 0) {
      const std::uint32_t low = pending_;
      pending_ = 0;
      return low;
    }
    const Utf8Character character = DecodeUtf8(at_, end_);
    at_ += character.length;
    if (character.code < 0x10000) return character.code;
    pending_ = 0xDC00 + ((character.code - 0x10000) & 0x3FF);
    return 0xD800 + ((character.code - 0x10000) >> 10);
  }

 private:
  const char* at_;
  const char* end_;
  std::uint32_t pending_ = 0;  // the low half of a pair whose high half has been given
};

std::uint32_t SampleHash(std::string_view text, std::size_t step) noexcept {
  std::uint32_t hash = 0;
  if (IsAscii(text)) {
    for (std::size_t index = 0; index < text.size(); index += step) {
      hash = hash * 31 + static_cast<unsigned char>(text[index]);
      if (text.size() - index <= step) break;
    }
    return hash;
  }
  UnitReader units(text);
  for (std::size_t until_sample = 0; !units.AtEnd(); --until_sample) {
    const std::uint32_t unit = units.Next();
    if (until_sample != 0) continue;
    hash = hash * 31 + unit;
    until_sample = step;
  }
  return hash;
}

constexpr char LowerOf(char character) noexcept {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

constexpr char UpperOf(char character) noexcept {
  return character >= 'a' && character <= 'z' ? static_cast<char>(character - 32) : character;
}

constexpr bool IsBlank(char character) noexcept {
  return static_cast<unsigned char>(character) <= 32;
}

}  // namespace

bool IsAscii(std::string_view text) noexcept {
  const char* at = text.data();
  std::size_t left = text.size();
  for (; left >= 8; left -= 8, at += 8) {
    std::uint64_t bytes;
    std::memcpy(&bytes, at, 8);
    if ((bytes & 0x8080808080808080u) != 0) return false;
  }
  for (; left != 0; --left, ++at) {
    if (static_cast<unsigned char>(*at) >= 0x80) return false;
  }
  return true;
}

std::size_t Length16(std::string_view text) noexcept {
  if (IsAscii(text)) return text.size();
  std::size_t length = 0;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    const Utf8Character character = DecodeUtf8(at, end);
    length += character.code < 0x10000 ? 1 : 2;
    at += character.length;
  }
  return length;
}

std::string Slice16(std::string_view text, std::size_t first, std::size_t count) {
  if (count == 0 || first >= text.size()) return {};  // there are at most as many units as bytes
  if (IsAscii(text)) return std::string(text.substr(first, count));

  const std::size_t last = count > text.size() - first ? text.size() : first + count;
  std::string slice;
  std::size_t unit = 0;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end && unit < last;) {
    const Utf8Character character = DecodeUtf8(at, end);
    const std::size_t next = unit + (character.code < 0x10000 ? 1 : 2);
    if (unit >= first && next <= last) {
      slice.append(at, character.length);
    } else if (next > first && next == unit + 2) {
      const char32_t offset = character.code - 0x10000;
      AppendUtf8(slice, unit < first ? 0xDC00 + (offset & 0x3FF) : 0xD800 + (offset >> 10));
    }
    at += character.length;
    unit = next;
  }
  return slice;
}

int Compare16(std::string_view a, std::string_view b) noexcept {
  const std::size_t common = std::min(a.size(), b.size());
  std::size_t start = static_cast<std::size_t>(
      std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(common), b.begin()).first -
      a.begin());
  if (start == a.size() && start == b.size()) return 0;
  // The difference may lie inside a character. Behind a byte of ASCII a character surely starts.
  while (start > 0 && static_cast<unsigned char>(a[start - 1]) >= 0x80) --start;

  UnitReader units_a(a.substr(start));
  UnitReader units_b(b.substr(start));
  while (!units_a.AtEnd() && !units_b.AtEnd()) {
    const std::uint32_t unit_a = units_a.Next();
    const std::uint32_t unit_b = units_b.Next();
    if (unit_a != unit_b) return unit_a < unit_b ? -1 : 1;
  }
  if (units_a.AtEnd()) return units_b.AtEnd() ? 0 : -1;
  return 1;
}

std::u16string ToUtf16(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (UnitReader reader(text); !reader.AtEnd();) units += static_cast<char16_t>(reader.Next());
  return units;
}

std::string FromUtf16(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t index = 0; index < text.size(); ++index) {
    char32_t code = text[index];
    if (IsHighSurrogate(code) && index + 1 < text.size() && IsLowSurrogate(text[index + 1])) {
      code = JoinSurrogates(code, text[++index]);
    }
    AppendUtf8(result, code);
  }
  return result;
}

void AppendText(std::string& text, std::string_view tail) {
  if (text.size() >= 3 && tail.size() >= 3 && tail[0] == '\xED' &&
      text[text.size() - 3] == '\xED') {
    const char* const end = text.data() + text.size();
    const Utf8Character high = DecodeUtf8(end - 3, end);
    const Utf8Character low = DecodeUtf8(tail.data(), tail.data() + tail.size());
    if (high.valid && low.valid && IsHighSurrogate(high.code) && IsLowSurrogate(low.code)) {
      const std::string rest(tail.substr(3));  // `tail` may be a part of `text`
      text.resize(text.size() - 3);
      AppendUtf8(text, JoinSurrogates(high.code, low.code));
      text += rest;
      return;
    }
  }
  text += tail;
}

std::string CleanUtf8(std::string_view text, bool surrogates) {
  std::string result;
  result.reserve(text.size());
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    const Utf8Character character = DecodeUtf8(at, end);
    const char* const next = at + character.length;
    if (!character.valid) {
      AppendUtf8(result, kReplacement);
    } else if (surrogates && IsSurrogate(character.code)) {
      // Halves that came side by side without AppendText are still one character for the reader.
      const Utf8Character low = next == end ? Utf8Character{} : DecodeUtf8(next, end);
      if (IsHighSurrogate(character.code) && low.valid && IsLowSurrogate(low.code)) {
        AppendUtf8(result, JoinSurrogates(character.code, low.code));
        at = next + low.length;
        continue;
      }
      AppendUtf8(result, kReplacement);
    } else {
      result.append(at, character.length);
    }
    at = next;
  }
  return result;
}

bool IsCleanUtf8(std::string_view text, bool surrogates) noexcept {
  if (IsAscii(text)) return true;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    const Utf8Character character = DecodeUtf8(at, end);
    if (!character.valid || (surrogates && IsSurrogate(character.code))) return false;
    at += character.length;
  }
  return true;
}

std::uint32_t CalculateHash(std::string_view text) noexcept {
  const std::size_t length = text.size() < 16 ? 0 : Length16(text);
  return SampleHash(text, length < 16 ? 1 : length / 8);
}

std::uint32_t CalculateHash(std::string_view text, std::int32_t step) noexcept {
  return SampleHash(text, step < 1 ? 1 : static_cast<std::size_t>(step));
}

void TextHasher::Append(std::string_view piece) noexcept {
  for (UnitReader units(piece); !units.AtEnd();) hash_ = hash_ * 31 + units.Next();
}

std::string AsciiLower(std::string_view text) {
  std::string result(text);
  for (char& character : result) character = LowerOf(character);
  return result;
}

std::string AsciiUpper(std::string_view text) {
  std::string result(text);
  for (char& character : result) character = UpperOf(character);
  return result;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return LowerOf(x) == LowerOf(y); });
}

std::string_view Trim(std::string_view text) noexcept {
  text = TrimRight(text);
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view TrimRight(std::string_view text) noexcept {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  if (from.empty()) return std::string(text);
  std::string result;
  std::size_t start = 0;
  for (std::size_t found = text.find(from); found != std::string_view::npos;
       found = text.find(from, start)) {
    result += text.substr(start, found - start);
    result += to;
    start = found + from.size();
  }
  result += text.substr(start);
  return result;
}

}  // namespace reasoner
