// Not for hosts: the mathematics of the financial functions.
//
// Money received is positive, money paid negative. With the rate r of a period, n periods, t = 1
// for payments at the start of each period and 0 for payments at its end, one equation ties the
// five quantities of an annuity together, g being (1 + r)^n:
//
//   present g + payment (1 + r t) (g - 1) / r + future = 0
//
// The caller has checked what is told here; a result that is not finite is too large for a float.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace reasoner {

enum TPaymentTime : std::uint8_t { ptEndOfPeriod, ptStartOfPeriod };

struct TAnnuity {
  double rate = 0;  // above -1
  double periods = 0;
  double payment = 0;
  double present = 0;
  double future = 0;
  TPaymentTime time = ptEndOfPeriod;
};

// Each solves the equation for one of the five and reads the others.
double FutureValue(const TAnnuity& annuity);
double PresentValue(const TAnnuity& annuity);
double Payment(const TAnnuity& annuity);  // at least one period
// Nothing when no number of periods from 0 on pays the debt.
std::optional<double> NumberOfPeriods(const TAnnuity& annuity);
// The rate nearest to 0; nothing when there is none.
std::optional<double> InterestRate(const TAnnuity& annuity);

// The part of payment number `period`, from 1 on, that is interest.
double InterestPayment(const TAnnuity& annuity, double period);

// The value of equally spaced flows. The first is discounted by a period, or with payments at the
// start by none.
double NetPresentValue(double rate, const std::vector<double>& flows, TPaymentTime time);
// The rate nearest to the guess, which is above -1, at which the flows come to nothing; nothing
// when there is none.
std::optional<double> InternalRateOfReturn(double guess, const std::vector<double>& flows);

// What an asset loses in year number `period` of its `life`.
double StraightLineDepreciation(double cost, double salvage, double life);
double SumOfYearsDepreciation(double cost, double salvage, double life, double period);
// Twice the straight rate of what is left, and never below the salvage value.
double DoubleDecliningBalance(double cost, double salvage, double life, double period);

}  // namespace reasoner
