#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>

#include "reasoner/support/DateTime.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class DateFunctionsTest : public EngineTest {};

// The standard library's calendar knows every day as well.
TEST(DateTimeTest, EveryDayIsTheCalendars) {
  using namespace std::chrono;
  const sys_days zero = year{1899} / 12 / 30;
  for (sys_days day = year{1} / 1 / 1; day <= sys_days(year{9999} / 12 / 31); day += days{1}) {
    const year_month_day date = day;
    const auto number = static_cast<double>((day - zero).count());
    const auto parts = DecodeDateTime(number + 0.25);
    ASSERT_TRUE(parts) << number;
    ASSERT_EQ(parts->year, static_cast<int>(date.year())) << number;
    ASSERT_EQ(static_cast<unsigned>(parts->month), static_cast<unsigned>(date.month())) << number;
    ASSERT_EQ(static_cast<unsigned>(parts->day), static_cast<unsigned>(date.day())) << number;
    ASSERT_EQ(static_cast<unsigned>(parts->day_of_week), weekday(day).c_encoding()) << number;
    ASSERT_EQ(parts->hour, 6) << number;
    ASSERT_EQ(EncodeDate(parts->year, parts->month, parts->day), number);
  }
}

TEST(DateTimeTest, EveryMillisecondComesBack) {
  for (const std::int32_t year : {1, 1899, 2024, 9999}) {
    const double date = EncodeDate(year, 12, 29).value();
    for (std::int32_t ms = 0; ms < 86'400'000; ms += 9'973) {
      const auto time = EncodeTime(ms / 3'600'000, ms / 60'000 % 60, ms / 1000 % 60, ms % 1000);
      ASSERT_TRUE(time);
      const auto parts = DecodeDateTime(date + *time);
      ASSERT_TRUE(parts);
      ASSERT_EQ(
          ((parts->hour * 60 + parts->minute) * 60 + parts->second) * 1000 + parts->millisecond,
          ms);
      ASSERT_EQ(TextToDateTime(DateTimeToText(*parts)), date + *time) << ms;
    }
  }
}

TEST_F(DateFunctionsTest, TextAndParts) {
  ExpectShown({
      {"(datetime-str -0.25)", "\"1899-12-29 18:00:00\""},
      {"(datetime-str 0.99999999999)", "\"1899-12-31 00:00:00\""},
      {"(time-str 0.000002)", "\"00:00:00.173\""},
      {"(datetime-str 2958465.5)", "\"9999-12-31 12:00:00\""},
      {"(decode-hour (str-time \"12:30 am\"))", "0"},
      {"(time-str (str-time \"1:02:03.0456\"))", "\"01:02:03.046\""},
      {"(- (str-date \"2024/03/01\") (str-date \"2024-2-28\"))", "2.0000"},
      {"(= (str-datetime \"1899-12-29 18:00\") -0.25)", "TRUE"},
      {"(decode-year -693593)", "1"},
  });
}

TEST_F(DateFunctionsTest, WhatDoesNotExistIsRefused) {
  for (const char* text :
       {"", "2023-02-29", "1900-2-29", "2024-13-01", "2024-0-1", "2024-1-0", "0000-1-1", "24-1-1",
        "2024-1/1", "2024-1-1 ", " 2024-1-1", "2024-01-01 10:00", "x", "2024-001-1"}) {
    ExpectError("(str-date \"" + std::string(text) + "\")",
                "\"" + std::string(text) + "\" is not a valid date");
  }
  for (const char* text : {"", "24:00", "1:60", "1:00:60", "1", "1:", "1:2:3.", "13:00 pm",
                           "0:00 am", "1:00 xm", "1:00 ", "-1:00"}) {
    ExpectError("(str-time \"" + std::string(text) + "\")",
                "\"" + std::string(text) + "\" is not a valid time");
  }
  ExpectError("(str-datetime \"2024-01-01\")", "\"2024-01-01\" is not a valid date and time");
  ExpectError("(str-datetime \"2024-01-01  1:00\")", "is not a valid date and time");
  ExpectError("(encode-date 2023 2 29)", "\"2023-2-29\" is not a valid date");
  ExpectError("(encode-time 24)", "\"24:0:0.0\" is not a valid time");
  ExpectError("(date-str 2958466)", "is not a valid date");
  ExpectError("(decode-day -693594)", "is not a valid date");
  ExpectError("(decode-hour 1e300)", "is not a valid time");
  EXPECT_FALSE(DecodeDateTime(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(DecodeDateTime(std::numeric_limits<double>::infinity()));
}

TEST_F(DateFunctionsTest, Formats) {
  const TDateTimeParts morning = DecodeDateTime(45357.25 + 0.0003125).value();  // 6:00:27
  const TDateTimeParts evening = DecodeDateTime(45357.75).value();
  const struct {
    const char* format;
    const char* morning;
    const char* evening;
  } kRows[] = {
      {"m mm mmm mmmm yy yyyy", "3 03 Mar March 24 2024", "3 03 Mar March 24 2024"},
      {"yyyymmdd'T'hhnnss", "20240306T060027", "20240306T180000"},
      {"h am/pm, H A/P", "6 am, 6 A", "6 pm, 6 P"},
      {"h 'am/pm'", "6 am/pm", "18 am/pm"},
      {"\"day:\" d z zzz", "day: 6 0 000", "day: 6 0 000"},
      {"c", "2024-03-06 06:00:27", "2024-03-06 18:00:00"},
      {"d 'open", "6 open", "6 open"},
      {"", "", ""},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(FormatDateTime(morning, row.format), row.morning) << row.format;
    EXPECT_EQ(FormatDateTime(evening, row.format), row.evening) << row.format;
  }
}

}  // namespace
}  // namespace reasoner
