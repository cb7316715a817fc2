#include "reasoner/support/DateTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <ctime>

#include "reasoner/support/Format.h"
#include "reasoner/support/LocalTime.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {

static constexpr std::int64_t kDayMilliseconds = 86'400'000;
static constexpr std::int64_t kFirstDay = -693'593;  // 0001-01-01
static constexpr std::int64_t kLastDay = 2'958'465;  // 9999-12-31
static constexpr std::int64_t kDayZero = 693'899;    // days from 0000-03-01 to 1899-12-30
static constexpr std::int32_t kDaysOf400Years = 146'097;

// Days since 1899-12-30. Years are counted from March on, so that a leap day is a year's last.
static std::int64_t DayNumber(std::int32_t year, std::int32_t month, std::int32_t day) noexcept {
  const std::int32_t y = month > 2 ? year : year - 1;
  const std::int32_t days_before_month = (153 * ((month + 9) % 12) + 2) / 5;
  return 365 * y + y / 4 - y / 100 + y / 400 + days_before_month + day - 1 - kDayZero;
}

static bool IsLeapYear(std::int32_t year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

static std::int32_t DaysOfMonth(std::int32_t year, std::int32_t month) noexcept {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// Milliseconds as a part of a day.
static double OfDay(std::int64_t milliseconds) noexcept {
  return static_cast<double>(milliseconds) / static_cast<double>(kDayMilliseconds);
}

double Now() {
  using namespace std::chrono;
  const std::int64_t since_epoch =
      duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  const std::tm now = LocalTime(static_cast<std::time_t>(since_epoch / 1000));
  const std::int64_t in_day =
      ((now.tm_hour * 60 + now.tm_min) * 60 + std::min(now.tm_sec, 59)) * 1000LL +
      since_epoch % 1000;
  return static_cast<double>(DayNumber(now.tm_year + 1900, now.tm_mon + 1, now.tm_mday)) +
         OfDay(in_day);
}

std::optional<TDateTimeParts> DecodeDateTime(double value) noexcept {
  constexpr double kRange = 3e6;  // days, well beyond both ends
  if (!(std::fabs(value) < kRange)) return std::nullopt;
  const std::int64_t total = std::llround(value * static_cast<double>(kDayMilliseconds));
  std::int64_t day = total / kDayMilliseconds;
  std::int64_t in_day = total % kDayMilliseconds;
  if (in_day < 0) {
    in_day += kDayMilliseconds;
    --day;
  }
  if (day < kFirstDay || day > kLastDay) return std::nullopt;
  TDateTimeParts parts;
  const auto since_march = static_cast<std::int32_t>(day + kDayZero);
  const std::int32_t era = since_march / kDaysOf400Years;
  const std::int32_t in_era = since_march % kDaysOf400Years;
  const std::int32_t year_of_era =
      (in_era - in_era / 1460 + in_era / 36524 - in_era / (kDaysOf400Years - 1)) / 365;
  const std::int32_t in_year = in_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int32_t month = (5 * in_year + 2) / 153;  // from March
  parts.day = in_year - (153 * month + 2) / 5 + 1;
  parts.month = month < 10 ? month + 3 : month - 9;
  parts.year = era * 400 + year_of_era + (parts.month <= 2 ? 1 : 0);
  parts.day_of_week = static_cast<std::int32_t>(((day + 6) % 7 + 7) % 7);  // day 0 is a Saturday
  parts.millisecond = static_cast<std::int32_t>(in_day % 1000);
  parts.second = static_cast<std::int32_t>(in_day / 1000 % 60);
  parts.minute = static_cast<std::int32_t>(in_day / 60'000 % 60);
  parts.hour = static_cast<std::int32_t>(in_day / 3'600'000);
  return parts;
}

std::optional<double> EncodeDate(std::int32_t year, std::int32_t month, std::int32_t day) noexcept {
  if (year < 1 || year > 9999 || month < 1 || month > 12) return std::nullopt;
  if (day < 1 || day > DaysOfMonth(year, month)) return std::nullopt;
  return static_cast<double>(DayNumber(year, month, day));
}

std::optional<double> EncodeTime(std::int32_t hour, std::int32_t minute, std::int32_t second,
                                 std::int32_t millisecond) noexcept {
  const auto is_within = [](std::int32_t value, std::int32_t end) {
    return value >= 0 && value < end;
  };
  if (!is_within(hour, 24) || !is_within(minute, 60) || !is_within(second, 60) ||
      !is_within(millisecond, 1000)) {
    return std::nullopt;
  }
  return OfDay(((hour * 60 + minute) * 60 + second) * 1000LL + millisecond);
}

std::string DateToText(const TDateTimeParts& parts) {
  return FormatText("%.4d-%.2d-%.2d", {parts.year, parts.month, parts.day});
}

std::string TimeToText(const TDateTimeParts& parts) {
  std::string text = FormatText("%.2d:%.2d:%.2d", {parts.hour, parts.minute, parts.second});
  if (parts.millisecond != 0) text += FormatText(".%.3d", {parts.millisecond});
  return text;
}

std::string DateTimeToText(const TDateTimeParts& parts) {
  return DateToText(parts) + " " + TimeToText(parts);
}

// Reading.

namespace {

class Reader {
 public:
  explicit Reader(std::string_view text) noexcept : text_(text) {}

  bool AtEnd() const noexcept { return text_.empty(); }
  bool Take(char character) noexcept {
    if (text_.empty() || text_.front() != character) return false;
    text_.remove_prefix(1);
    return true;
  }
  bool TakeWord(std::string_view word) noexcept {
    if (!EqualsIgnoreCase(text_.substr(0, word.size()), word)) return false;
    text_.remove_prefix(word.size());
    return true;
  }
  // Decimal digits, at least and at most so many.
  bool TakeDigits(std::size_t min, std::size_t max, std::int32_t& value) noexcept {
    std::size_t count = 0;
    value = 0;
    for (; count < max && IsDigit(); ++count) value = value * 10 + TakeDigit();
    return count >= min;
  }
  bool IsDigit() const noexcept {
    return !text_.empty() && text_.front() >= '0' && text_.front() <= '9';
  }
  std::int32_t TakeDigit() noexcept {
    const std::int32_t digit = text_.front() - '0';
    text_.remove_prefix(1);
    return digit;
  }

 private:
  std::string_view text_;
};

std::optional<double> ReadDate(Reader& reader) noexcept {
  std::int32_t year = 0;
  std::int32_t month = 0;
  std::int32_t day = 0;
  if (!reader.TakeDigits(4, 4, year)) return std::nullopt;
  const char separator = reader.Take('-') ? '-' : '/';
  if (separator == '/' && !reader.Take('/')) return std::nullopt;
  if (!reader.TakeDigits(1, 2, month) || !reader.Take(separator)) return std::nullopt;
  if (!reader.TakeDigits(1, 2, day)) return std::nullopt;
  return EncodeDate(year, month, day);
}

std::optional<double> ReadTime(Reader& reader) noexcept {
  std::int32_t hour = 0;
  std::int32_t minute = 0;
  std::int32_t second = 0;
  double fraction = 0;  // of a second
  if (!reader.TakeDigits(1, 2, hour) || !reader.Take(':')) return std::nullopt;
  if (!reader.TakeDigits(1, 2, minute)) return std::nullopt;
  if (reader.Take(':')) {
    if (!reader.TakeDigits(1, 2, second)) return std::nullopt;
    if (reader.Take('.')) {
      if (!reader.IsDigit()) return std::nullopt;
      for (double place = 0.1; reader.IsDigit(); place /= 10)
        fraction += reader.TakeDigit() * place;
    }
  }
  const bool has_blank = reader.Take(' ');
  const bool is_morning = reader.TakeWord("am");
  const bool is_evening = !is_morning && reader.TakeWord("pm");
  if (has_blank && !is_morning && !is_evening) return std::nullopt;
  if (is_morning || is_evening) {
    if (hour < 1 || hour > 12) return std::nullopt;
    hour = hour % 12 + (is_evening ? 12 : 0);
  }
  if (!EncodeTime(hour, minute, second, 0)) return std::nullopt;
  return OfDay(((hour * 60 + minute) * 60 + second) * 1000LL + std::llround(fraction * 1000));
}

}  // namespace

std::optional<double> TextToDate(std::string_view text) noexcept {
  Reader reader(text);
  const std::optional<double> date = ReadDate(reader);
  return reader.AtEnd() ? date : std::nullopt;
}

std::optional<double> TextToTime(std::string_view text) noexcept {
  Reader reader(text);
  const std::optional<double> time = ReadTime(reader);
  return reader.AtEnd() ? time : std::nullopt;
}

std::optional<double> TextToDateTime(std::string_view text) noexcept {
  Reader reader(text);
  const std::optional<double> date = ReadDate(reader);
  if (!date || !reader.Take(' ')) return std::nullopt;
  const std::optional<double> time = ReadTime(reader);
  if (!time || !reader.AtEnd()) return std::nullopt;
  return *date + *time;
}

// Formatting.

static constexpr std::array<std::string_view, 7> kDayNames{
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
static constexpr std::array<std::string_view, 12> kMonthNames{
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

namespace {

class Formatter {
 public:
  Formatter(const TDateTimeParts& parts, std::string_view format)
      : parts_(parts), format_(format), twelve_hours_(HasHalfDay(format)) {}

  std::string Run() {
    while (at_ < format_.size()) {
      if (!TakeQuoted(format_, at_, &text_) && !TakeHalfDay() && !TakePart())
        text_ += format_[at_++];
    }
    return std::move(text_);
  }

 private:
  // Moves behind a quoted text that begins here; one without an end goes on to the format's.
  static bool TakeQuoted(std::string_view format, std::size_t& at, std::string* text) {
    const char quote = format[at];
    if (quote != '"' && quote != '\'') return false;
    const std::size_t end = std::min(format.find(quote, at + 1), format.size());
    if (text != nullptr) *text += format.substr(at + 1, end - at - 1);
    at = std::min(end + 1, format.size());
    return true;
  }

  static std::size_t HalfDaySize(std::string_view rest) {
    if (EqualsIgnoreCase(rest.substr(0, 5), "am/pm")) return 5;
    return EqualsIgnoreCase(rest.substr(0, 3), "a/p") ? 3 : 0;
  }

  static bool HasHalfDay(std::string_view format) {
    for (std::size_t at = 0; at < format.size();) {
      if (TakeQuoted(format, at, nullptr)) continue;
      if (HalfDaySize(format.substr(at)) > 0) return true;
      ++at;
    }
    return false;
  }

  // Written as the half that holds is written in the format.
  bool TakeHalfDay() {
    const std::size_t size = HalfDaySize(format_.substr(at_));
    if (size == 0) return false;
    const std::size_t half = size / 2;
    text_ += format_.substr(at_ + (parts_.hour < 12 ? 0 : half + 1), half);
    at_ += size;
    return true;
  }

  bool TakePart() {
    const char letter = AsciiLower(format_.substr(at_, 1)).front();
    if (std::string_view("dmyhnszc").find(letter) == std::string_view::npos) return false;
    std::size_t count = 0;
    while (at_ < format_.size() && AsciiLower(format_.substr(at_, 1)).front() == letter) {
      ++at_;
      ++count;
    }
    AppendPart(letter, count);
    after_hour_ = letter == 'h';
    return true;
  }

  void AppendPart(char letter, std::size_t count) {
    switch (letter) {
      case 'd':
        if (count > 2) return AppendName(kDayNames[Index(parts_.day_of_week)], count);
        return AppendNumber(parts_.day, count);
      case 'm':
        if (after_hour_) return AppendNumber(parts_.minute, count);
        if (count > 2) return AppendName(kMonthNames[Index(parts_.month - 1)], count);
        return AppendNumber(parts_.month, count);
      case 'y':
        text_ +=
            count > 2 ? FormatText("%.4d", {parts_.year}) : FormatText("%.2d", {parts_.year % 100});
        return;
      case 'h':
        return AppendNumber(twelve_hours_ ? (parts_.hour + 11) % 12 + 1 : parts_.hour, count);
      case 'n':
        return AppendNumber(parts_.minute, count);
      case 's':
        return AppendNumber(parts_.second, count);
      case 'z':
        text_ += FormatText(count > 2 ? "%.3d" : "%d", {parts_.millisecond});
        return;
      default:
        text_ += DateTimeToText(parts_);
    }
  }

  static std::size_t Index(std::int32_t value) { return static_cast<std::size_t>(value); }
  void AppendNumber(std::int32_t value, std::size_t count) {
    text_ += FormatText(count > 1 ? "%.2d" : "%d", {value});
  }
  void AppendName(std::string_view name, std::size_t count) {
    text_ += count > 3 ? name : name.substr(0, 3);
  }

  const TDateTimeParts& parts_;
  std::string_view format_;
  bool twelve_hours_;
  std::size_t at_ = 0;
  bool after_hour_ = false;  // the part before was the hour
  std::string text_;
};

}  // namespace

std::string FormatDateTime(const TDateTimeParts& parts, std::string_view format) {
  return Formatter(parts, format).Run();
}

}  // namespace reasoner
