// Trigonometry, finance and dates against computations of their own.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <numbers>

#include "reasoner/support/DateTime.h"
#include "reasoner/support/Numbers.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

constexpr double kPi = std::numbers::pi;

class TrigonometryFunctionsTest : public EngineTest {
 protected:
  double Number(const std::string& call) {
    const Ref<IKBValue> value = engine.ParseNExecuteFunCall(call);
    EXPECT_EQ(value->GetDType(), dtFloat) << call;
    return value->GetAsNumeric();
  }
  double Of(const std::string& name, double x) {
    return Number("(" + name + " " + FloatToSource(x) + ")");
  }
};

TEST_F(TrigonometryFunctionsTest, KnownValues) {
  const struct {
    const char* call;
    double value;
  } rows[] = {
      {"(acot -1)", 3 * kPi / 4},
      {"(acsch -1e-310)", -714.4945260087142},
      {"(atan2 0 1)", kPi / 2},
      {"(atan2 -1 0)", kPi},
      {"(atan2 0 -1)", -kPi / 2},
      {"(sin (/ (PI) 6))", 0.5},
      {"(cosh 1)", 1.5430806348152437},
      {"(sinh 1)", 1.1752011936438014},
      {"(cycle-rad 0.5)", kPi},
      {"(deg-grad 90)", 100},
      {"(grad-rad 200)", kPi},
      {"(hypotenuse 3e200 4e200)", 5e200},
      {"(distance (create$ 1 2 3) (create$ 3 5 9))", 7},
      {"(distance-sqr (create$ 1 2 3) (create$ 3 5 9))", 49},
      {"(distance-manhattan (create$ 1 2) (create$ -2 4))", 5},
      {"(distance-sqr (create$) (create$))", 0},
      {"(distance (create$ \"1\") (create$ 1))", 0},
  };
  for (const auto& row : rows) {
    EXPECT_NEAR(Number(row.call), row.value, 2e-15 * std::abs(row.value) + 1e-16) << row.call;
  }
}

TEST_F(TrigonometryFunctionsTest, AnInverseUndoesItsFunction) {
  const struct {
    const char* function;
    const char* inverse;
    double arguments[3];
  } rows[] = {
      {"cos", "acos", {-0.9, 0.1, 1}},       {"sin", "asin", {-0.9, 0.1, 1}},
      {"tan", "atan", {-40, 0.3, 40}},       {"cot", "acot", {-40, 0.3, 40}},
      {"sec", "asec", {-3, 1.5, 40}},        {"csc", "acsc", {-3, 1.5, 40}},
      {"cosh", "acosh", {1.1, 3, 40}},       {"sinh", "asinh", {-40, 0.3, 40}},
      {"tanh", "atanh", {-0.9, 0.1, 0.99}},  {"coth", "acoth", {-3, 1.5, 40}},
      {"sech", "asech", {0.01, 0.5, 0.99}},  {"csch", "acsch", {-3, 0.5, 40}},
      {"rad-deg", "deg-rad", {-400, 1, 90}}, {"rad-grad", "grad-rad", {-400, 1, 90}},
      {"deg-grad", "grad-deg", {-4, 1, 90}}, {"cycle-rad", "rad-cycle", {-4, 1, 90}},
  };
  for (const auto& row : rows) {
    for (const double x : row.arguments) {
      EXPECT_NEAR(Of(row.function, Of(row.inverse, x)), x, 1e-13 * std::abs(x))
          << row.function << " of " << row.inverse << " of " << x;
    }
  }
}

TEST_F(TrigonometryFunctionsTest, OutsideTheDomainAtPolesAndBeyondTheRange) {
  for (const std::string call :
       {"(acos 2)",   "(asin -1.5)", "(acosh 0)",   "(atanh 1)",  "(atanh -1)", "(atanh 2)",
        "(acoth 1)",  "(acoth -1)",  "(acoth 0.5)", "(acoth 0)",  "(acsc 0.5)", "(acsc 0)",
        "(asec 0.5)", "(asec 0)",    "(asech 0)",   "(asech -1)", "(asech 2)",  "(acsch 0)",
        "(cot 0)",    "(csc 0)",     "(coth 0)",    "(csch 0)",   "(csch -0.0)"}) {
    const std::size_t blank = call.find(' ');
    ExpectError(call, "Invalid argument for " + call.substr(1, blank - 1) + " function call: ");
  }
  for (const std::string call :
       {"(cosh 1000)", "(sinh -1000)", "(csch 1e-310)", "(hypotenuse 1.5e308 1.5e308)",
        "(rad-deg 1e308)", "(distance-sqr (create$ 0) (create$ 1e200))"}) {
    const std::size_t blank = call.find(' ');
    ExpectError(call, "Floating point overflow in " + call.substr(1, blank - 1) + " function call");
  }
  ExpectShown({{"(sech 1000)", "0.0000"}, {"(csch 1000)", "0.0000"}, {"(coth -1000)", "-1.0000"}});
  ExpectError("(distance (create$ 1) (create$ 1 2))",
              "Invalid multifield arguments, the two multifields must be of the same length");
  ExpectError("(distance (create$ a) (create$ 1))", "Value (a) is a dtAtom type");
}

// The financial functions against accounts that are kept period by period.

class BusinessFunctionsTest : public EngineTest {
 protected:
  // A call with numbers, and with the word for payments at the start or end where one is given.
  double Of(const std::string& name, const std::vector<double>& numbers,
            const std::string& time = "") {
    std::string call = "(" + name;
    for (const double number : numbers) {
      const bool whole = number == std::floor(number) && std::abs(number) < 1e9;
      call +=
          " " + (whole ? IntegerToText(static_cast<std::int64_t>(number)) : FloatToSource(number));
    }
    const Ref<IKBValue> value = engine.ParseNExecuteFunCall(call + " " + time + ")");
    EXPECT_EQ(value->GetDType(), dtFloat) << call;
    return value->GetAsNumeric();
  }
};

const char* TimeName(bool at_start) { return at_start ? "ptStartOfPeriod" : "ptEndOfPeriod"; }

struct TLoan {
  double rate;
  int periods;
  double present;
  double future;
};

constexpr TLoan kLoans[] = {{0.01, 12, 1000, 0},    {0.1, 5, -2000, 500}, {0, 4, 1000, -200},
                            {-0.02, 10, 1000, 100}, {1e-9, 24, 1000, 0},  {0.005, 360, 250000, 0},
                            {0.25, 1, 100, 0}};

TEST_F(BusinessFunctionsTest, PaymentsPayTheLoanOff) {
  for (const TLoan& loan : kLoans) {
    for (const bool at_start : {false, true}) {
      const std::string time = TimeName(at_start);
      const auto n = static_cast<double>(loan.periods);
      const double payment = Of("payment", {loan.rate, n, loan.present, loan.future}, time);
      const double close = 1e-9 * std::abs(loan.present);
      double owed = loan.present;
      double interest = 0;  // that has accrued since the last payment
      for (int k = 1; k <= loan.periods; ++k) {
        if (!at_start) interest = owed * loan.rate;
        if (k < 4 || k == loan.periods) {
          const std::vector<double> arguments{loan.rate, static_cast<double>(k), n, loan.present,
                                              loan.future};
          EXPECT_NEAR(Of("interest-payment", arguments, time), -interest, close) << k;
          EXPECT_NEAR(Of("period-payment", arguments, time), payment + interest, close) << k;
        }
        owed += interest + payment;
        interest = at_start ? owed * loan.rate : 0;
      }
      EXPECT_NEAR(owed + interest, -loan.future, 1e-8 * std::abs(loan.present)) << loan.rate;
    }
  }
}

TEST_F(BusinessFunctionsTest, EachQuantityOfAnAnnuityFollowsFromTheOthers) {
  for (const TLoan& loan : kLoans) {
    for (const bool at_start : {false, true}) {
      const std::string time = TimeName(at_start);
      const auto n = static_cast<double>(loan.periods);
      const double payment = loan.present > 0 ? -170 : 35;
      double owed = loan.present;
      for (int k = 0; k < loan.periods; ++k) {
        if (at_start) owed += payment;
        owed += owed * loan.rate;
        if (!at_start) owed += payment;
      }
      const double future = -owed;
      const double close = 1e-8 * std::abs(loan.present);
      EXPECT_NEAR(Of("future-value", {loan.rate, n, payment, loan.present}, time), future, close);
      EXPECT_NEAR(Of("present-value", {loan.rate, n, payment, future}, time), loan.present, close);
      EXPECT_NEAR(Of("payment", {loan.rate, n, loan.present, future}, time), payment, close);
      EXPECT_NEAR(Of("number-of-periods", {loan.rate, payment, loan.present, future}, time), n,
                  1e-6);
      EXPECT_NEAR(Of("interest-rate", {n, payment, loan.present, future}, time), loan.rate, 1e-9);
    }
  }
}

TEST_F(BusinessFunctionsTest, KnownValues) {
  Check(R"(
    (payment 0.01 12 1000 0 PTSTARTOFPERIOD)  ; expect: -87.9691
    (number-of-periods 0 -100 1000 0 ptEndOfPeriod)  ; expect: 10.0000
    (number-of-periods 0.1 -100 1000 -1000 ptEndOfPeriod)  ; expect: 0.0000
    (interest-rate 2 0 -100 121 ptEndOfPeriod)  ; expect: 0.1000
    (net-present-value 0.1 (create$ 110 121) ptEndOfPeriod)  ; expect: 200.0000
    (net-present-value 0.1 (create$ -100 110) ptStartOfPeriod)  ; expect: 0.0000
    (net-present-value 0.1 (create$) ptEndOfPeriod)  ; expect: 0.0000
    ; What is not too large, however many periods there are.
    (payment 0.1 2000000000 1000 0 ptEndOfPeriod)  ; expect: -100.0000
    (present-value 0.1 2000000000 -100 0 ptEndOfPeriod)  ; expect: 1000.0000
    (future-value -0.5 2000000000 -100 1000 ptEndOfPeriod)  ; expect: 200.0000
    (future-value 0.1 2000000000 0 0 ptEndOfPeriod)  ; expect: 0.0000
    (future-value 0.1 2000000000 -100 0 ptEndOfPeriod)  ; error: Floating point overflow in $ function call )");
}

TEST_F(BusinessFunctionsTest, InternalRateOfReturn) {
  const struct {
    const char* call;
    double rate;
  } rows[] = {
      {"(internal-rate-of-return 0.1 (create$ -100 110))", 0.1},
      {"(internal-rate-of-return 0.1 (create$ -100 50))", -0.5},
      {"(internal-rate-of-return 0 (create$ -1 1e9))", 1e9 - 1},
      {"(internal-rate-of-return 0 (create$ 0 0 -100 110 0))", 0.1},
      {"(internal-rate-of-return 1.5 (create$ -100 110))", 0.1},
      {"(internal-rate-of-return 1.45 (create$ -1 5 -6))", 1},
      {"(internal-rate-of-return 1.55 (create$ -1 5 -6))", 2},
      {"(internal-rate-of-return 0.19 (create$ 100 -230 132))", 0.2},
  };
  for (const auto& row : rows) {
    EXPECT_NEAR(engine.ParseNExecuteFunCall(row.call)->GetAsNumeric(), row.rate,
                1e-12 * (1 + std::abs(row.rate)))
        << row.call;
  }
}

TEST_F(BusinessFunctionsTest, DepreciationTakesTheCostDownToTheSalvageValue) {
  for (const double life : {1.0, 2.0, 5.0, 10.0}) {
    double sum_of_years = 0;
    double worth = 10000;
    for (double k = 1; k <= life; ++k) {
      sum_of_years += Of("syd-depreciation", {10000, 1000, life, k});
      const double lost = std::min(worth * 2 / life, worth - 1000);
      EXPECT_NEAR(Of("double-declining-balance", {10000, 1000, life, k}), lost, 1e-8) << k;
      worth -= lost;
    }
    EXPECT_NEAR(sum_of_years, 9000, 1e-8);
    EXPECT_NEAR(Of("sln-depreciation", {10000, 1000, life}) * life, 9000, 1e-8);
  }
  ExpectShown({{"(double-declining-balance 1000 2000 5 1)", "0.0000"}});
}

TEST_F(BusinessFunctionsTest, ImpossibleInputIsRefusedAndShown) {
  const struct {
    const char* call;
    const char* shown;
  } rows[] = {
      {"(payment -1 12 1000 0 ptEndOfPeriod)", "-1"},
      {"(payment 0.01 0 1000 0 ptEndOfPeriod)", "0"},
      {"(interest-payment 0.01 13 12 1000 0 ptEndOfPeriod)", "13"},
      {"(period-payment 0.01 0 12 1000 0 ptEndOfPeriod)", "0"},
      {"(interest-rate 12 0 1000 0 ptEndOfPeriod)", "0"},
      {"(number-of-periods 0.1 -50 1000 0 ptEndOfPeriod)", "-50"},
      {"(number-of-periods 0 100 1000 0 ptEndOfPeriod)", "100"},
      {"(internal-rate-of-return 0.1 (create$ 100 200))", "100 200 "},
      {"(internal-rate-of-return -1 (create$ -100 200))", "-1"},
      {"(internal-rate-of-return 0.1 (create$ 1 -2 2))", "1 -2 2 "},
      {"(net-present-value -1 (create$ 1) ptEndOfPeriod)", "-1"},
      {"(sln-depreciation 100 10 0)", "0"},
      {"(syd-depreciation 100 10 5 6)", "6"},
      {"(double-declining-balance 100 10 5 0)", "0"},
  };
  for (const auto& row : rows) {
    const std::string call(row.call);
    ExpectError(call, "Invalid argument for " + call.substr(1, call.find(' ') - 1) +
                          " function call: " + row.shown);
  }
  ExpectError("(payment 0.01 12 1000 0 ptMiddle)", "Invalid payment time: ptMiddle");
  ExpectError("(payment a 12 1000 0 ptEndOfPeriod)", "Value (a) is a dtAtom type");
  ExpectError("(net-present-value 0.1 5 ptEndOfPeriod)", "Value (5) is a dtInteger type");
}

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
  Check(R"(
    (datetime-str -0.25)  ; expect: "1899-12-29 18:00:00"
    (datetime-str 0.99999999999) (time-str 0.000002)  ; values: "1899-12-31 00:00:00", "00:00:00.173"
    (datetime-str 2958465.5) (decode-hour (str-time "12:30 am"))  ; values: "9999-12-31 12:00:00", 0
    (time-str (str-time "1:02:03.0456"))  ; expect: "01:02:03.046"
    (- (str-date "2024/03/01") (str-date "2024-2-28"))  ; expect: 2.0000
    (= (str-datetime "1899-12-29 18:00") -0.25) (decode-year -693593)  ; values: TRUE, 1 )");
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
