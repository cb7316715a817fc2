// Not for hosts: single UTF-8 characters, for the sources of the support layer.

#pragma once

#include <cstdint>
#include <string>

namespace reasoner {

inline constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsHighSurrogate(char32_t code) noexcept { return code >= 0xD800 && code <= 0xDBFF; }
constexpr bool IsLowSurrogate(char32_t code) noexcept { return code >= 0xDC00 && code <= 0xDFFF; }
constexpr bool IsSurrogate(char32_t code) noexcept { return code >= 0xD800 && code <= 0xDFFF; }
constexpr char32_t JoinSurrogates(char32_t high, char32_t low) noexcept {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

struct Utf8Character {
  char32_t code = 0;        // the byte itself when it is no UTF-8
  std::uint8_t length = 1;  // in bytes
  bool valid = true;        // a surrogate in three bytes is valid here
};

// How many bytes a character with this first byte has; 0 when none starts so.
constexpr std::uint8_t Utf8Length(unsigned char lead) noexcept {
  if (lead < 0x80) return 1;
  if (lead < 0xC2) return 0;  // C0 and C1 could only start a longer form of ASCII
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return lead < 0xF5 ? 4 : 0;
}

// Whether `second` may follow `lead`: what it excludes is longer than need be, or beyond U+10FFFF.
constexpr bool IsSecondByte(unsigned char lead, unsigned char second) noexcept {
  if ((second & 0xC0) != 0x80) return false;
  if (lead == 0xE0) return second >= 0xA0;
  if (lead == 0xF0) return second >= 0x90;
  return lead != 0xF4 || second < 0x90;
}

// The character at `at`, which is before `end`.
inline Utf8Character DecodeUtf8(const char* at, const char* end) noexcept {
  const auto byte = [at](int index) { return static_cast<unsigned char>(at[index]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  const std::uint8_t length = Utf8Length(lead);
  if (length == 0 || end - at < length || !IsSecondByte(lead, byte(1))) return {lead, 1, false};
  char32_t code = lead & (0x7Fu >> length);
  for (int index = 1; index < length; ++index) {
    if ((byte(index) & 0xC0) != 0x80) return {lead, 1, false};
    code = code << 6 | (byte(index) & 0x3Fu);
  }
  return {code, length, true};
}

// Whether the bytes that are left begin a character whose end is still to come.
inline bool IsUnfinishedUtf8(const char* at, const char* end) noexcept {
  const auto lead = static_cast<unsigned char>(*at);
  if (end - at >= Utf8Length(lead)) return false;
  if (end - at > 1 && !IsSecondByte(lead, static_cast<unsigned char>(at[1]))) return false;
  return end - at < 3 || (static_cast<unsigned char>(at[2]) & 0xC0) == 0x80;
}

inline void AppendUtf8(std::string& text, char32_t code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
    return;
  }
  const auto tail = [code](int shift) {
    return static_cast<char>(0x80u | ((code >> shift) & 0x3Fu));
  };
  if (code < 0x800) {
    text += static_cast<char>(0xC0u | code >> 6);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0u | code >> 12);
    text += tail(6);
  } else {
    text += static_cast<char>(0xF0u | code >> 18);
    text += tail(12);
    text += tail(6);
  }
  text += tail(0);
}

}  // namespace reasoner
