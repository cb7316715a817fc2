#include "reasoner/support/Numbers.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace reasoner {

namespace {

// The longest double has 309 digits before the point.
constexpr std::size_t kFixedBuffer = 400;

constexpr bool IsDigit(char character) noexcept { return character >= '0' && character <= '9'; }

// Takes a '+' off the front, which from_chars does not know. False when a second sign follows.
bool TakePlus(std::string_view& text) noexcept {
  if (text.empty() || text.front() != '+') return true;
  text.remove_prefix(1);
  return !text.empty() && text.front() != '-';
}

template <class T>
std::optional<T> Convert(std::string_view text) noexcept {
  T value{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<std::int32_t> ToInteger(double whole) noexcept {
  // Written so that a NaN fails too.
  if (!(whole >= std::numeric_limits<std::int32_t>::min() &&
        whole <= std::numeric_limits<std::int32_t>::max())) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(whole);
}

}  // namespace

std::optional<std::int32_t> TextToInteger(std::string_view text) noexcept {
  if (!TakePlus(text)) return std::nullopt;
  return Convert<std::int32_t>(text);
}

std::optional<std::int64_t> TextToLongInteger(std::string_view text) noexcept {
  if (!TakePlus(text)) return std::nullopt;
  return Convert<std::int64_t>(text);
}

std::optional<double> TextToFloat(std::string_view text) noexcept {
  if (!TakePlus(text)) return std::nullopt;
  // from_chars would take words for infinity and for what is no number.
  const std::size_t first = !text.empty() && text.front() == '-' ? 1 : 0;
  if (first >= text.size() || (!IsDigit(text[first]) && text[first] != '.')) return std::nullopt;
  return Convert<double>(text);
}

std::string IntegerToText(std::int64_t value) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return std::string(buffer, result.ptr);
}

std::string FloatToText(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  char buffer[kFixedBuffer];
  const auto result =
      std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed, 4);
  const std::string_view text(buffer, static_cast<std::size_t>(result.ptr - buffer));
  return std::string(text == "-0.0000" ? text.substr(1) : text);
}

std::string FloatToSource(double value) {
  std::string text = FloatToText(value);
  if (!std::isfinite(value) || TextToFloat(text) == value) return text;
  char buffer[40];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  text.assign(buffer, result.ptr);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

std::optional<std::int32_t> TruncateToInteger(double value) noexcept {
  return ToInteger(std::trunc(value));
}

std::optional<std::int32_t> RoundToInteger(double value) noexcept {
  return ToInteger(std::nearbyint(value));
}

std::uint32_t WrapToHash(double value) noexcept {
  if (!std::isfinite(value)) return 0;
  const double wrapped = std::fmod(std::trunc(value), 4294967296.0);
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(wrapped));
}

}  // namespace reasoner
