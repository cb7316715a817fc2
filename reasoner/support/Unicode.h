// UTF-8 text with 16-bit semantics.
//
// Text is UTF-8 in std::string everywhere. Where the language can see them, lengths, positions,
// hashes and order are those of the UTF-16 form. A lone surrogate may live inside a text as three
// bytes; a concatenation joins two halves to one character, and output writes U+FFFD for what
// stayed alone. Texts of ASCII take a fast path.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace reasoner {

bool IsAscii(std::string_view text) noexcept;

// Number of 16-bit units. Bytes that are no UTF-8 count as one unit each, here and below.
std::size_t Length16(std::string_view text) noexcept;
// The part of `count` units from unit `first` on (from 0), cut off at the end. A pair that is cut
// leaves its half.
std::string Slice16(std::string_view text, std::size_t first, std::size_t count);
// Negative, zero or positive: ordinal order by 16-bit units.
int Compare16(std::string_view a, std::string_view b) noexcept;

std::u16string ToUtf16(std::string_view text);
std::string FromUtf16(std::u16string_view text);  // lone surrogates become three bytes

// Appends, joining a high half at the end of `text` with a low half at the start of `tail`.
void AppendText(std::string& text, std::string_view tail);

// Replaces each byte that is no UTF-8 by U+FFFD (lone surrogates too when `surrogates` is set).
std::string CleanUtf8(std::string_view text, bool surrogates);
bool IsCleanUtf8(std::string_view text, bool surrogates) noexcept;

// The string hash of the language: h = h * 31 + unit over sampled units, wrapping in 32 bits.
// A text of fewer than 16 units is taken whole; a longer one of n units at 1, 1 + s, 1 + 2s ...
// with s = n div 8.
std::uint32_t CalculateHash(std::string_view text) noexcept;
// Samples every `step`-th unit; a step below 1 counts as 1.
std::uint32_t CalculateHash(std::string_view text, std::int32_t step) noexcept;

// CalculateHash(text, 1) of a text that comes in pieces and is never put together.
class TextHasher {
 public:
  void Append(std::string_view piece) noexcept;
  std::uint32_t Get() const noexcept { return hash_; }

 private:
  std::uint32_t hash_ = 0;
};

// Case folding of ASCII letters alone: for names that compare without case.
std::string AsciiLower(std::string_view text);
std::string AsciiUpper(std::string_view text);
bool EqualsIgnoreCase(std::string_view a, std::string_view b) noexcept;

// Takes off white space (bytes from 0 to 32) at both ends, at the end alone.
std::string_view Trim(std::string_view text) noexcept;
std::string_view TrimRight(std::string_view text) noexcept;

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);

}  // namespace reasoner
