#include "reasoner/library/Finance.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace reasoner {

namespace {

// Rates are looked for by their logarithm ln(1 + r): all of them, from just above -1 on.
constexpr double kLowestLogRate = -36;
constexpr double kHighestLogRate = 700;

// What the equation of an annuity multiplies its quantities with. The three have a common factor,
// so that none becomes infinite, however many periods there are.
struct TFactors {
  double present;
  double payment;
  double future;
};

TFactors FactorsOf(double log_rate, double periods, TPaymentTime time) {
  const double growth = log_rate * periods;
  if (log_rate == 0) return {1, periods, 1};
  const double rate = std::expm1(log_rate);
  const double due = time == ptStartOfPeriod ? 1 + rate : 1;
  if (growth > 0) return {1, due * -std::expm1(-growth) / rate, std::exp(-growth)};
  return {std::exp(growth), due * std::expm1(growth) / rate, 1};
}

TFactors FactorsOf(const TAnnuity& annuity) {
  return FactorsOf(std::log1p(annuity.rate), annuity.periods, annuity.time);
}

// A factor that has vanished beside the others leaves an infinite answer, but nothing stays
// nothing.
double Solve(double others, double factor) { return others == 0 ? 0 : -others / factor; }

// A function of ln(1 + r) whose sign is that of what is to become 0.
using TSignedValue = std::function<double(double log_rate)>;

// The root between two places where the function has different signs. A rate of 0 is met exactly.
double RootBetween(const TSignedValue& value, double low, double high) {
  const bool rising = value(low) < 0;
  double middle = low < 0 && high > 0 ? 0 : low + (high - low) / 2;
  while (middle > low && middle < high) {
    const double here = value(middle);
    if (here == 0) return middle;
    ((here < 0) == rising ? low : high) = middle;
    middle = low + (high - low) / 2;
  }
  return middle;
}

// The first root on the way from `start` up to `limit`. The steps grow with the way that has been
// gone, so that near roots are told apart and far ones found soon.
std::optional<double> FirstRoot(const TSignedValue& value, double start, double limit) {
  const double direction = limit < start ? -1 : 1;
  double from = start;
  double value_from = value(from);
  for (double way = 0.001; from != limit; way *= 1.1) {
    if (value_from == 0) return from;
    const double next = start + direction * way;
    const double to = direction < 0 ? std::max(next, limit) : std::min(next, limit);
    const double value_to = value(to);
    if (value_to == 0) return to;
    if ((value_from < 0) != (value_to < 0)) {
      return RootBetween(value, std::min(from, to), std::max(from, to));
    }
    from = to;
    value_from = value_to;
  }
  return std::nullopt;
}

// The rate nearest to `guess` at which the function is 0.
std::optional<double> NearestRate(const TSignedValue& value, double guess) {
  const double start = std::clamp(std::log1p(guess), kLowestLogRate, kHighestLogRate);
  const std::optional<double> below = FirstRoot(value, start, kLowestLogRate);
  const std::optional<double> above = FirstRoot(value, start, kHighestLogRate);
  if (!below && !above) return std::nullopt;
  if (!below) return std::expm1(*above);
  if (!above) return std::expm1(*below);
  const double lower = std::expm1(*below);
  const double higher = std::expm1(*above);
  return guess - lower < higher - guess ? lower : higher;
}

// What is owed behind `periods` payments.
double Balance(const TAnnuity& annuity, double payment, double periods) {
  TAnnuity begun = annuity;
  begun.periods = periods;
  begun.payment = payment;
  return -FutureValue(begun);
}

}  // namespace

double FutureValue(const TAnnuity& annuity) {
  const TFactors factors = FactorsOf(annuity);
  return Solve(annuity.present * factors.present + annuity.payment * factors.payment,
               factors.future);
}

double PresentValue(const TAnnuity& annuity) {
  const TFactors factors = FactorsOf(annuity);
  return Solve(annuity.payment * factors.payment + annuity.future * factors.future,
               factors.present);
}

double Payment(const TAnnuity& annuity) {
  const TFactors factors = FactorsOf(annuity);
  return Solve(annuity.present * factors.present + annuity.future * factors.future,
               factors.payment);
}

std::optional<double> NumberOfPeriods(const TAnnuity& annuity) {
  const double missing = annuity.present + annuity.future;
  if (missing == 0) return 0;
  const double rate = annuity.rate;
  const double due = annuity.time == ptStartOfPeriod ? 1 + rate : 1;
  // What the first period takes off, and g - 1 in terms of it.
  const double first = annuity.payment * due + annuity.present * rate;
  if (first == 0) return std::nullopt;
  const double growth = -missing * rate / first;
  if (growth <= -1) return std::nullopt;
  const double periods = rate == 0 ? -missing / first : std::log1p(growth) / std::log1p(rate);
  if (periods < 0) return std::nullopt;
  return periods;
}

std::optional<double> InterestRate(const TAnnuity& annuity) {
  // Money must go both ways. What goes one way alone may vanish in the far, but is never nothing.
  const auto [least, most] = std::minmax({annuity.present, annuity.payment, annuity.future});
  if (least >= 0 || most <= 0) return std::nullopt;
  const auto value = [&annuity](double log_rate) {
    const TFactors factors = FactorsOf(log_rate, annuity.periods, annuity.time);
    return annuity.present * factors.present + annuity.payment * factors.payment +
           annuity.future * factors.future;
  };
  return NearestRate(value, 0);
}

double InterestPayment(const TAnnuity& annuity, double period) {
  if (annuity.time == ptStartOfPeriod && period == 1) return 0;
  const double interest = -Balance(annuity, Payment(annuity), period - 1) * annuity.rate;
  return annuity.time == ptStartOfPeriod ? interest / (1 + annuity.rate) : interest;
}

double NetPresentValue(double rate, const std::vector<double>& flows, TPaymentTime time) {
  double value = 0;
  for (auto flow = flows.rbegin(); flow != flows.rend(); ++flow) value = *flow + value / (1 + rate);
  return time == ptEndOfPeriod ? value / (1 + rate) : value;
}

std::optional<double> InternalRateOfReturn(double guess, const std::vector<double>& flows) {
  const auto is_flow = [](double flow) { return flow != 0; };
  const auto first = std::find_if(flows.begin(), flows.end(), is_flow);
  const auto last = std::find_if(flows.rbegin(), flows.rend(), is_flow).base();
  if (first >= last) return std::nullopt;
  const std::vector<double> rest(first, last);
  // Discounted to the first flow for rates above 0 and to the last for those below: a factor above
  // 0 apart the same, and no power is above 1.
  const auto value = [&rest](double log_rate) {
    const double factor = std::exp(-std::abs(log_rate));
    double sum = 0;
    if (log_rate >= 0) {
      for (auto flow = rest.rbegin(); flow != rest.rend(); ++flow) sum = *flow + sum * factor;
    } else {
      for (const double flow : rest) sum = flow + sum * factor;
    }
    return sum;
  };
  return NearestRate(value, guess);
}

double StraightLineDepreciation(double cost, double salvage, double life) {
  return (cost - salvage) / life;
}

double SumOfYearsDepreciation(double cost, double salvage, double life, double period) {
  return (cost - salvage) * (life - period + 1) / (life * (life + 1) / 2);
}

double DoubleDecliningBalance(double cost, double salvage, double life, double period) {
  if (cost <= salvage) return 0;
  const double kept = std::max(1 - 2 / life, 0.0);
  const auto worth_after = [&](double years) {
    return std::max(cost * std::pow(kept, years), salvage);
  };
  return worth_after(period - 1) - worth_after(period);
}

}  // namespace reasoner
