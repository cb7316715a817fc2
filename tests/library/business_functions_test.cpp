// The financial functions against accounts that are kept period by period.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "reasoner/support/Numbers.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

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
  ExpectShown({
      {"(payment 0.01 12 1000 0 PTSTARTOFPERIOD)", "-87.9691"},
      {"(number-of-periods 0 -100 1000 0 ptEndOfPeriod)", "10.0000"},
      {"(number-of-periods 0.1 -100 1000 -1000 ptEndOfPeriod)", "0.0000"},
      {"(interest-rate 2 0 -100 121 ptEndOfPeriod)", "0.1000"},
      {"(net-present-value 0.1 (create$ 110 121) ptEndOfPeriod)", "200.0000"},
      {"(net-present-value 0.1 (create$ -100 110) ptStartOfPeriod)", "0.0000"},
      {"(net-present-value 0.1 (create$) ptEndOfPeriod)", "0.0000"},
      // What is not too large, however many periods there are.
      {"(payment 0.1 2000000000 1000 0 ptEndOfPeriod)", "-100.0000"},
      {"(present-value 0.1 2000000000 -100 0 ptEndOfPeriod)", "1000.0000"},
      {"(future-value -0.5 2000000000 -100 1000 ptEndOfPeriod)", "200.0000"},
      {"(future-value 0.1 2000000000 0 0 ptEndOfPeriod)", "0.0000"},
  });
  ExpectError("(future-value 0.1 2000000000 -100 0 ptEndOfPeriod)",
              "Floating point overflow in future-value function call");
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

}  // namespace
}  // namespace reasoner
