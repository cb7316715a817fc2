#include "reasoner/support/Format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <optional>

#include "reasoner/support/Exception.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {

namespace {

constexpr std::size_t kMaxNumber = 1000;  // of a width or a precision

struct Conversion {
  bool left = false;
  std::size_t width = 0;
  std::optional<std::size_t> precision;
  char letter = 0;
};

[[noreturn]] void RaiseInvalid(std::string_view format) {
  throw EKBException("Invalid format: " + std::string(format));
}

// Reads what stands behind the '%' at `place - 1`, and moves `place` behind it.
class ConversionReader {
 public:
  ConversionReader(std::string_view format, std::size_t& place) : format_(format), place_(place) {}

  Conversion Read() {
    Conversion conversion;
    if (Peek() == '-') {
      conversion.left = true;
      ++place_;
    }
    conversion.width = ReadNumber().value_or(0);
    if (Peek() == '.') {
      ++place_;
      conversion.precision = ReadNumber();
      if (!conversion.precision) RaiseInvalid(format_);
    }
    conversion.letter = Peek();
    ++place_;
    return conversion;
  }

 private:
  char Peek() const {
    if (place_ == format_.size()) RaiseInvalid(format_);
    return format_[place_];
  }

  std::optional<std::size_t> ReadNumber() {
    std::optional<std::size_t> number;
    for (char digit = Peek(); digit >= '0' && digit <= '9'; digit = Peek()) {
      number = number.value_or(0) * 10 + static_cast<std::size_t>(digit - '0');
      if (*number > kMaxNumber) RaiseInvalid(format_);
      ++place_;
    }
    return number;
  }

  std::string_view format_;
  std::size_t& place_;
};

std::string WithDigits(std::string digits, std::size_t least) {
  const std::size_t sign = digits.starts_with('-') ? 1 : 0;
  if (digits.size() - sign < least) digits.insert(sign, least - (digits.size() - sign), '0');
  return digits;
}

std::string HexText(std::uint64_t value) {
  char buffer[16];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value, 16);
  return AsciiUpper(std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)));
}

std::string FixedText(double value, std::size_t precision) {
  std::string text(precision + 320, '\0');
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value,
                                    std::chars_format::fixed, static_cast<int>(precision));
  text.resize(static_cast<std::size_t>(result.ptr - text.data()));
  return text;
}

std::string MoneyText(double value, std::size_t precision) {
  std::string text = FixedText(value, precision);
  const std::size_t first = text.starts_with('-') ? 1 : 0;
  const std::size_t point = std::min(text.find('.'), text.size());
  for (std::size_t place = point; place > first + 3;) {
    place -= 3;
    text.insert(place, 1, ',');
  }
  return text;
}

// A number in digits without the point; the exponent is that of the first one.
struct Scientific {
  bool negative;
  std::string digits;
  int exponent;
};

Scientific Split(double value, std::size_t precision) {
  std::string text(precision + 16, '\0');
  const auto result = std::to_chars(text.data(), text.data() + text.size(), std::abs(value),
                                    std::chars_format::scientific, static_cast<int>(precision) - 1);
  text.resize(static_cast<std::size_t>(result.ptr - text.data()));
  const std::size_t mark = text.find('e');
  Scientific number{std::signbit(value), text.substr(0, mark), 0};
  if (precision > 1) number.digits.erase(1, 1);
  const char* const digits = text.data() + mark + 2;
  std::from_chars(digits, text.data() + text.size(), number.exponent);
  if (text[mark + 1] == '-') number.exponent = -number.exponent;
  return number;
}

std::string Mantissa(const Scientific& number) {
  std::string text = number.negative ? "-" : "";
  text += number.digits[0];
  if (number.digits.size() > 1) text += '.' + number.digits.substr(1);
  return text;
}

std::string ScientificText(double value, std::size_t precision) {
  const Scientific number = Split(value, std::max<std::size_t>(precision, 1));
  return Mantissa(number) + (number.exponent < 0 ? "E-" : "E+") +
         WithDigits(IntegerToText(std::abs(number.exponent)), 3);
}

std::string GeneralText(double value, std::size_t precision) {
  precision = std::max<std::size_t>(precision, 1);
  Scientific number = Split(value, precision);
  number.digits.erase(std::max<std::size_t>(number.digits.find_last_not_of('0') + 1, 1));
  if (number.exponent < -5 || number.exponent >= static_cast<int>(precision)) {
    return Mantissa(number) + 'E' + IntegerToText(number.exponent);
  }
  std::string text = number.negative ? "-" : "";
  if (number.exponent < 0) {
    return text + "0." + std::string(static_cast<std::size_t>(-number.exponent - 1), '0') +
           number.digits;
  }
  const std::size_t whole = static_cast<std::size_t>(number.exponent) + 1;
  if (number.digits.size() <= whole) {
    return text + number.digits + std::string(whole - number.digits.size(), '0');
  }
  return text + number.digits.substr(0, whole) + '.' + number.digits.substr(whole);
}

// A number that rounds to zero has no sign.
std::string WithoutNegativeZero(std::string text) {
  const std::size_t mantissa = std::min(text.find('E'), text.size());
  if (text.starts_with('-') && text.find_first_not_of("0.,", 1) >= mantissa) text.erase(0, 1);
  return text;
}

std::string FloatText(double value, const Conversion& conversion) {
  if (!std::isfinite(value)) return FloatToText(value);
  const bool counts_all = conversion.letter == 'e' || conversion.letter == 'g';
  const std::size_t precision = conversion.precision.value_or(counts_all ? 15 : 2);
  switch (conversion.letter) {
    case 'e':
      return WithoutNegativeZero(ScientificText(value, precision));
    case 'g':
      return WithoutNegativeZero(GeneralText(value, precision));
    case 'm':
      return WithoutNegativeZero(MoneyText(value, precision));
    default:
      return WithoutNegativeZero(FixedText(value, precision));
  }
}

template <class T>
T ValueAs(const FormatArg& arg, std::string_view format) {
  const T* const value = std::get_if<T>(&arg.Get());
  if (value == nullptr) RaiseInvalid(format);
  return *value;
}

std::string Convert(const Conversion& conversion, const FormatArg& arg, std::string_view format) {
  const std::size_t precision = conversion.precision.value_or(0);
  switch (conversion.letter) {
    case 'd':
      return WithDigits(IntegerToText(ValueAs<std::int64_t>(arg, format)), precision);
    case 'u':
      return WithDigits(
          IntegerToText(static_cast<std::uint32_t>(ValueAs<std::int64_t>(arg, format))), precision);
    case 'x':
      return WithDigits(HexText(static_cast<std::uint32_t>(ValueAs<std::int64_t>(arg, format))),
                        precision);
    case 's': {
      const auto text = ValueAs<std::string_view>(arg, format);
      return conversion.precision ? Slice16(text, 0, precision) : std::string(text);
    }
    case 'e':
    case 'f':
    case 'g':
    case 'm':
      return FloatText(ValueAs<double>(arg, format), conversion);
    case 'p':
      return WithDigits(
          HexText(reinterpret_cast<std::uintptr_t>(ValueAs<const void*>(arg, format))), 16);
    case 'c':
      return std::string(1, ValueAs<char>(arg, format));
    default:
      RaiseInvalid(format);
  }
}

}  // namespace

std::string FormatText(std::string_view format, std::span<const FormatArg> args) {
  std::string result;
  std::size_t next_arg = 0;
  std::size_t place = 0;
  while (place < format.size()) {
    const std::size_t percent = format.find('%', place);
    if (percent == std::string_view::npos || percent + 1 == format.size()) break;
    result += format.substr(place, percent - place);
    place = percent + 1;
    if (format[place] == '%') {
      result += '%';
      ++place;
      continue;
    }
    const Conversion conversion = ConversionReader(format, place).Read();
    if (next_arg == args.size()) RaiseInvalid(format);
    const std::string text = Convert(conversion, args[next_arg++], format);
    const std::size_t length = Length16(text);
    const std::size_t blanks = conversion.width > length ? conversion.width - length : 0;
    if (!conversion.left) result.append(blanks, ' ');
    result += text;
    if (conversion.left) result.append(blanks, ' ');
  }
  result += format.substr(place);
  return result;
}

}  // namespace reasoner
