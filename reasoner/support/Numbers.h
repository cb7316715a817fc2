// Numbers to text and back, the same in every locale.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace reasoner {

// The whole text as a 32-bit decimal integer, with an optional sign; nothing if any of it does not
// convert.
std::optional<std::int32_t> TextToInteger(std::string_view text) noexcept;
// The same with 64 bits.
std::optional<std::int64_t> TextToLongInteger(std::string_view text) noexcept;
// The whole text as a finite decimal number with optional sign, fraction and exponent. "inf",
// "nan", hexadecimal forms and numbers beyond the range do not convert.
std::optional<double> TextToFloat(std::string_view text) noexcept;

std::string IntegerToText(std::int64_t value);
// Four decimals, as numbers print everywhere. A negative zero prints as zero: equal numbers print
// alike.
std::string FloatToText(double value);
// The four decimals when they read back to the same number, else the shortest text that does and is
// no integer's.
std::string FloatToSource(double value);

// Truncated towards zero; nothing for a NaN or beyond 32 bits.
std::optional<std::int32_t> TruncateToInteger(double value) noexcept;
// Nearest integer, halves to even; nothing for a NaN or beyond 32 bits.
std::optional<std::int32_t> RoundToInteger(double value) noexcept;
// Truncated and wrapped modulo 2^32; 0 for what is not finite. Never raises: hashes are made of it.
std::uint32_t WrapToHash(double value) noexcept;

}  // namespace reasoner
