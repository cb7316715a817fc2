// The format layer: "%s" and its kin, for messages and for the language's own format functions.
//
// A conversion is `%`, an optional `-`, an optional width, an optional `.precision`, and a letter:
//
//   d u x   integer; precision is the least number of digits, filled with zeros; x in upper case
//   s       text; precision is the most characters taken
//   f       fixed, precision 2 when not given
//   e       scientific, counting all digits (15), an exponent of at least three: 1.23E+003
//   g       the shorter of both, at most that many digits (15), no trailing zeros: 1.5E-7
//   m       as f, with commas between thousands
//   p       16 upper-case hexadecimal digits
//   c       one character (messages only)
//   %%      a per cent sign that takes no value
//
// Blanks pad; widths count 16-bit characters. Values never reach the C library's formats. A `%`
// that is the last character is no conversion. Any other shape, a width or a precision above 1000,
// or a value of the wrong kind raises EKBException "Invalid format: %s" with the format.

#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace reasoner {

class FormatArg {
 public:
  FormatArg(std::int32_t value)
      : value_(std::int64_t{value}) {}  // NOLINT: arguments convert freely
  FormatArg(std::uint32_t value) : value_(std::int64_t{value}) {}               // NOLINT
  FormatArg(std::int64_t value) : value_(value) {}                              // NOLINT
  FormatArg(std::uint64_t value) : value_(static_cast<std::int64_t>(value)) {}  // NOLINT
  FormatArg(double value) : value_(value) {}                                    // NOLINT
  FormatArg(char value) : value_(value) {}                                      // NOLINT
  FormatArg(std::string_view value) : value_(value) {}  // NOLINT: must outlive the call
  FormatArg(const std::string& value) : value_(std::string_view(value)) {}  // NOLINT
  FormatArg(const char* value) : value_(std::string_view(value)) {}         // NOLINT
  FormatArg(const void* value) : value_(value) {}                           // NOLINT

  const std::variant<std::int64_t, double, char, std::string_view, const void*>& Get() const {
    return value_;
  }

 private:
  std::variant<std::int64_t, double, char, std::string_view, const void*> value_;
};

std::string FormatText(std::string_view format, std::span<const FormatArg> args);
inline std::string FormatText(std::string_view format, std::initializer_list<FormatArg> args) {
  return FormatText(format, std::span<const FormatArg>(args.begin(), args.size()));
}

}  // namespace reasoner
