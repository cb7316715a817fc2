// Dates and times: the clock, text, parts. All of them are floats of days.

#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/TextHelpers.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/KindFunction.h"
#include "reasoner/support/DateTime.h"
#include "reasoner/support/Format.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

// The parts of an argument; `what` it is no valid one of otherwise.
TDateTimeParts PartsArgument(const IFunCall& fun_call, TKBContext& context, std::string_view what) {
  const Ref<IKBValue> value = EvaluateArgument(fun_call, 0, context);
  const std::optional<TDateTimeParts> parts = DecodeDateTime(value->GetAsNumeric());
  if (!parts) Raise(SInvalidDateTime, value->ToString(), what);
  return *parts;
}

constexpr std::string_view kDate = "date";
constexpr std::string_view kTime = "time";
constexpr std::string_view kDateTime = "date and time";

double TimeOfDay() {
  const double now = Now();
  return now - std::floor(now);
}

class TTimeFunction final : public TBuiltinFunction<TTimeFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "time",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Returns the time in seconds since the beginning of the day",
      .example = "(<= 0 (time) 86400)"};

  void Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) override {
    constexpr double kDaySeconds = 86'400;
    result = NewFloat(TimeOfDay() * kDaySeconds);
  }
};

enum TClockKind : std::uint8_t { ckDateTime, ckDate, ckTime };

class TSystemDateTimeFunction final : public TKindFunction<TSystemDateTimeFunction, TClockKind> {
 public:
  using TKindFunction::TKindFunction;
  static constexpr std::array<TRow, 3> kRows{{
      {ckDateTime,
       {.name = "system-datetime",
        .syntax = "",
        .arguments = Exactly(0),
        .comment = "Returns the date and time (stored in a float)",
        .example = "(<= (system-date) (system-datetime))"}},
      {ckDate,
       {.name = "system-date",
        .syntax = "",
        .arguments = Exactly(0),
        .comment = "Returns the date (stored in a float)",
        .example = "(> (decode-year (system-date)) 2000)"}},
      {ckTime,
       {.name = "system-time",
        .syntax = "",
        .arguments = Exactly(0),
        .comment =
            "Returns the time in milliseconds since the beginning of the day (stored in a float)",
        .example = "(< (system-time) 1)"}},
  }};

  void Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) override {
    switch (GetKind()) {
      case ckDateTime:
        result = NewFloat(Now());
        return;
      case ckDate:
        result = NewFloat(std::floor(Now()));
        return;
      case ckTime:
        result = NewFloat(TimeOfDay());
        return;
    }
  }
};

enum TTextKind : std::uint8_t {
  tkReadDateTime,
  tkReadDate,
  tkReadTime,
  tkWriteDateTime,
  tkWriteDate,
  tkWriteTime,
  tkWriteFormat
};

class TDateTimeStringFunction final : public TKindFunction<TDateTimeStringFunction, TTextKind> {
 public:
  using TKindFunction::TKindFunction;
  static constexpr std::array<TRow, 7> kRows{{
      {tkReadDateTime,
       {.name = "str-datetime",
        .syntax = " <string-expression> ",
        .arguments = Exactly(1),
        .comment = "Returns the date and time converted from a string to system datetime format",
        .example = "(str-datetime \"2024-02-29 18:00:00\")"}},
      {tkReadDate,
       {.name = "str-date",
        .syntax = " <string-expression> ",
        .arguments = Exactly(1),
        .comment = "Returns the date converted from a string to system date format",
        .example = "(str-date \"2024/2/29\")"}},
      {tkReadTime,
       {.name = "str-time",
        .syntax = " <string-expression> ",
        .arguments = Exactly(1),
        .comment = "Returns the time converted from a string to system time format",
        .example = "(str-time \"6:00 pm\")"}},
      {tkWriteDateTime,
       {.name = "datetime-str",
        .syntax = " <numeric-expression> ",
        .arguments = Exactly(1),
        .comment = "Returns the date and time converted from system datetime format to string",
        .example = "(datetime-str 45351.75)"}},
      {tkWriteDate,
       {.name = "date-str",
        .syntax = " <numeric-expression> ",
        .arguments = Exactly(1),
        .comment = "Returns the date converted from system date format to string",
        .example = "(date-str 45351)"}},
      {tkWriteTime,
       {.name = "time-str",
        .syntax = " <numeric-expression> ",
        .arguments = Exactly(1),
        .comment = "Returns the time converted from system time format to string",
        .example = "(time-str 0.75)"}},
      {tkWriteFormat,
       {.name = "datetime-str-format",
        .syntax = " <numeric-expression> <format-string-expression>",
        .arguments = Exactly(2),
        .comment =
            "Returns the date and time converted from system datetime format to string using the "
            "<format-string-expression> parameter",
        .example = "(datetime-str-format 45351.75 \"dddd, d mmmm yyyy, h:mm am/pm\")"}},
  }};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    switch (GetKind()) {
      case tkReadDateTime:
        return Read(fun_call, context, kDateTime, TextToDateTime, result);
      case tkReadDate:
        return Read(fun_call, context, kDate, TextToDate, result);
      case tkReadTime:
        return Read(fun_call, context, kTime, TextToTime, result);
      case tkWriteDateTime:
        result = NewString(DateTimeToText(PartsArgument(fun_call, context, kDateTime)));
        return;
      case tkWriteDate:
        result = NewString(DateToText(PartsArgument(fun_call, context, kDate)));
        return;
      case tkWriteTime:
        result = NewString(TimeToText(PartsArgument(fun_call, context, kTime)));
        return;
      case tkWriteFormat: {
        const TDateTimeParts parts = PartsArgument(fun_call, context, kDateTime);
        const std::string format = KBStringToString(TextArgument(fun_call, 1, context));
        result = NewString(FormatDateTime(parts, format));
        return;
      }
    }
  }

 private:
  static void Read(const IFunCall& fun_call, TKBContext& context, std::string_view what,
                   std::optional<double> (*read)(std::string_view), Ref<IKBValue>& result) {
    const Text text = TextArgument(fun_call, 0, context);
    const std::optional<double> value = read(text);
    if (!value) Raise(SInvalidDateTime, text.view(), what);
    result = NewFloat(*value);
  }
};

enum TPartKind : std::uint8_t { pkYear, pkMonth, pkDay, pkHour, pkMinute, pkSecond, pkMillisecond };

constexpr TFunctionInfo DatePart(std::string_view name, std::string_view comment,
                                 std::string_view example) {
  return {.name = name,
          .syntax = " <system-date-numeric-expression>",
          .arguments = Exactly(1),
          .comment = comment,
          .example = example};
}

constexpr TFunctionInfo TimePart(std::string_view name, std::string_view comment,
                                 std::string_view example) {
  return {.name = name,
          .syntax = " <system-time-numeric-expression>",
          .arguments = Exactly(1),
          .comment = comment,
          .example = example};
}

class TDecodeDateTimeFunction final : public TKindFunction<TDecodeDateTimeFunction, TPartKind> {
 public:
  using TKindFunction::TKindFunction;
  static constexpr std::array<TRow, 7> kRows{{
      {pkYear,
       DatePart("decode-year", "Returns the year value from a system date", "(decode-year 45351)")},
      {pkMonth, DatePart("decode-month", "Returns the month value from a system date",
                         "(decode-month 45351)")},
      {pkDay,
       DatePart("decode-day", "Returns the day value from a system date", "(decode-day 45351)")},
      {pkHour,
       TimePart("decode-hour", "Returns the hour value from a system time", "(decode-hour 0.75)")},
      {pkMinute, TimePart("decode-minute", "Returns the minute value from a system time",
                          "(decode-minute (encode-time 18 30))")},
      {pkSecond, TimePart("decode-second", "Returns the second value from a system time",
                          "(decode-second (encode-time 18 30 15))")},
      {pkMillisecond,
       TimePart("decode-millisecond", "Returns the millisecond value from a system time",
                "(decode-millisecond (encode-time 18 30 15 250))")},
  }};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const TDateTimeParts parts =
        PartsArgument(fun_call, context, GetKind() <= pkDay ? kDate : kTime);
    result = NewInteger(Select(parts));
  }

 private:
  std::int32_t Select(const TDateTimeParts& parts) const {
    switch (GetKind()) {
      case pkYear:
        return parts.year;
      case pkMonth:
        return parts.month;
      case pkDay:
        return parts.day;
      case pkHour:
        return parts.hour;
      case pkMinute:
        return parts.minute;
      case pkSecond:
        return parts.second;
      case pkMillisecond:
        return parts.millisecond;
    }
    return 0;
  }
};

enum TEncodeKind : std::uint8_t { ekDate, ekTime };

class TEncodeDateTimeFunction final : public TKindFunction<TEncodeDateTimeFunction, TEncodeKind> {
 public:
  using TKindFunction::TKindFunction;
  static constexpr std::array<TRow, 2> kRows{{
      {ekDate,
       {.name = "encode-date",
        .syntax =
            " <year-integer-expression> [<month-integer-expression> [<day-integer-expression>]]",
        .arguments = Between(1, 3),
        .comment =
            "Returns a system date that represents the year, month, and day <integer-expression> "
            "parameters",
        .example = "(encode-date 2024 2 29)"}},
      {ekTime,
       {.name = "encode-time",
        .syntax =
            " <hour-integer-expression> [<minute-integer-expression> [<second-integer-expression> "
            "[<millisecond-integer-expression>]]]",
        .arguments = Between(1, 4),
        .comment =
            "Returns a system time that represents the hours, minutes, seconds and milliseconds "
            "<integer-expression> parameters",
        .example = "(encode-time 18 30)"}},
  }};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const bool is_date = GetKind() == ekDate;
    std::array<std::int32_t, 4> parts{0, 0, 0, 0};
    if (is_date) parts = {0, 1, 1, 0};
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      parts[static_cast<std::size_t>(i)] = IntegerArgument(fun_call, i, context);
    }
    const auto [first, second, third, fourth] = parts;
    const std::optional<double> value =
        is_date ? EncodeDate(first, second, third) : EncodeTime(first, second, third, fourth);
    if (!value) {
      const std::string text = is_date ? FormatText("%d-%d-%d", {first, second, third})
                                       : FormatText("%d:%d:%d.%d", {first, second, third, fourth});
      Raise(SInvalidDateTime, text, is_date ? kDate : kTime);
    }
    result = NewFloat(*value);
  }
};

}  // namespace

void AddDateFunctions(TUserFunctionList& functions) {
  functions.AddNew<TTimeFunction>();
  AddKinds<TSystemDateTimeFunction>(functions);
  AddKinds<TDateTimeStringFunction>(functions);
  AddKinds<TDecodeDateTimeFunction>(functions);
  AddKinds<TEncodeDateTimeFunction>(functions);
}

}  // namespace reasoner
