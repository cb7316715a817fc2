// Dates and times as floats of days.
//
// Day 0 is 1899-12-30, the fraction is the time of day: 1.75 is 1899-12-31 18:00, -0.25 the evening
// of the day before day 0. The calendar is the Gregorian one also before its time, the years are 1
// to 9999, and moments are those of the place where the process runs. A value means the millisecond
// that is nearest.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace reasoner {

struct TDateTimeParts {
  std::int32_t year = 0;
  std::int32_t month = 0;        // from 1
  std::int32_t day = 0;          // from 1
  std::int32_t day_of_week = 0;  // from Sunday, 0
  std::int32_t hour = 0;
  std::int32_t minute = 0;
  std::int32_t second = 0;
  std::int32_t millisecond = 0;
};

// Now, in local time, to the millisecond.
double Now();

// Nothing for a value outside the years, or for what is no finite number.
std::optional<TDateTimeParts> DecodeDateTime(double value) noexcept;
// Nothing for a date or a time that does not exist.
std::optional<double> EncodeDate(std::int32_t year, std::int32_t month, std::int32_t day) noexcept;
std::optional<double> EncodeTime(std::int32_t hour, std::int32_t minute, std::int32_t second,
                                 std::int32_t millisecond) noexcept;

// "2024-02-29", "18:05:00" (or "18:05:00.250"), and both with a blank between them.
std::string DateToText(const TDateTimeParts& parts);
std::string TimeToText(const TDateTimeParts& parts);
std::string DateTimeToText(const TDateTimeParts& parts);
// The reverse; `/` may stand for `-`, and a time may lack its seconds, have a fraction of one, and
// be told in twelve hours with "am" or "pm". Nothing for any other text.
std::optional<double> TextToDate(std::string_view text) noexcept;
std::optional<double> TextToTime(std::string_view text) noexcept;
std::optional<double> TextToDateTime(std::string_view text) noexcept;

// Letters of the format, in either case, stand for parts: d dd ddd dddd, m mm mmm mmmm, yy yyyy, h
// hh, n nn, s ss, z zzz, c for all of it; the count of letters chooses digits, padded digits, short
// or long names. An m behind an h is minutes. "am/pm" or "a/p" makes the hours twelve. What stands
// in quotes, and everything else, is itself.
std::string FormatDateTime(const TDateTimeParts& parts, std::string_view format);

}  // namespace reasoner
