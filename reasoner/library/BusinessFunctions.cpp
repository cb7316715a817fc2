// Interest, annuities, cash flows and depreciation.

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/Finance.h"
#include "reasoner/library/RealFunction.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

// One payment of a loan that is paid off in equal ones.
struct TLoanPayment {
  TAnnuity annuity;
  double period;
};

// Reads the arguments of a call from the first to the last; each is evaluated as it is read, and
// refused when no reckoning could make sense of it.
class TArguments {
 public:
  TArguments(const IFunCall& fun_call, TKBContext& context)
      : fun_call_(fun_call), context_(context) {}

  double Number() {
    const double number = Next().GetAsNumeric();
    Require(std::isfinite(number));
    return number;
  }
  // Of one period. At -1 and below nothing is left of any money.
  double Rate() {
    const double rate = Number();
    Require(rate > -1);
    return rate;
  }
  // Of periods or years.
  double Count() {
    const std::int32_t count = Next().GetAsInteger();
    Require(count >= 1);
    return count;
  }
  // The number of one of `count` periods.
  double Period(double count) {
    const double period = Count();
    Require(period <= count);
    return period;
  }
  std::vector<double> Flows() {
    const Ref<IValueVector> list(Next().GetAsList());
    std::vector<double> flows;
    for (std::int32_t i = 0; i < list->GetValueCount(); ++i) {
      flows.push_back(EvaluateMember(*list, i, context_)->GetAsNumeric());
      Require(std::isfinite(flows.back()));
    }
    return flows;
  }
  TPaymentTime PaymentTime() {
    const Text name = Next().GetAsString();
    if (EqualsIgnoreCase(name, "ptEndOfPeriod")) return ptEndOfPeriod;
    if (EqualsIgnoreCase(name, "ptStartOfPeriod")) return ptStartOfPeriod;
    Raise(SInvalidPaymentTime, name.view());
  }
  // All six arguments of a function that asks for one payment.
  TLoanPayment LoanPayment() {
    TAnnuity annuity;
    annuity.rate = Rate();
    const double period = Count();
    annuity.periods = Count();
    if (period > annuity.periods) RaiseInvalid(1);
    annuity.present = Number();
    annuity.future = Number();
    annuity.time = PaymentTime();
    return {annuity, period};
  }

  [[noreturn]] void RaiseInvalid(std::size_t index) const {
    RaiseInvalidArgument(fun_call_, *values_[index]);
  }
  Ref<IKBValue> Result(double number) const {
    return NewResult(number, fun_call_, *values_.front());
  }

 private:
  const IKBValue& Next() {
    values_.push_back(
        EvaluateArgument(fun_call_, static_cast<std::int32_t>(values_.size()), context_));
    return *values_.back();
  }
  // Of the argument that was read last.
  void Require(bool holds) const {
    if (!holds) RaiseInvalid(values_.size() - 1);
  }

  const IFunCall& fun_call_;
  TKBContext& context_;
  std::vector<Ref<IKBValue>> values_;
};

class TDoubleDecliningBalanceFunction final
    : public TBuiltinFunction<TDoubleDecliningBalanceFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "double-declining-balance",
      .syntax =
          " <cost-numeric-expression> <salvage-numeric-expression> <life-integer-expression> "
          "<period-integer-expression>",
      .arguments = Exactly(4),
      .comment =
          "Returns the depreciation of an asset using the double-declining balance method.  It "
          "determines accelerated depreciation values for an asset, given the initial cost, life "
          "expectancy, end value, and depreciation period",
      .example = "(double-declining-balance 10000 1000 5 1)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    const double cost = arguments.Number();
    const double salvage = arguments.Number();
    const double life = arguments.Count();
    const double period = arguments.Period(life);
    result = arguments.Result(DoubleDecliningBalance(cost, salvage, life, period));
  }
};

class TFutureValueFunction final : public TBuiltinFunction<TFutureValueFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "future-value",
      .syntax =
          " <rate-numeric-expression> <num-periods-integer-expression> "
          "<payment-numeric-expression> <present-value-numeric-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(5),
      .comment =
          "Returns the future value of an investment of <present-value-numeric-expression> where "
          "<payment-numeric-expression> is invested for <num-periods-integer-expression> at the "
          "rate of <rate-numeric-expression> per period.  The last parameter indicates whether the "
          "investment is an ordinary annuity or an annuity due (enter ptEndOfPeriod if payments "
          "are at the end of each period, ptStartOfPeriod if they are at the beginning)",
      .example = "(future-value 0.005 120 -100 0 ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    TAnnuity annuity;
    annuity.rate = arguments.Rate();
    annuity.periods = arguments.Count();
    annuity.payment = arguments.Number();
    annuity.present = arguments.Number();
    annuity.time = arguments.PaymentTime();
    result = arguments.Result(FutureValue(annuity));
  }
};

class TInterestPaymentFunction final : public TBuiltinFunction<TInterestPaymentFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "interest-payment",
      .syntax =
          " <rate-numeric-expression> <period-integer-expression> <num-periods-integer-expression> "
          "<present-value-numeric-expression> <future-value-numeric-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(6),
      .comment =
          "Returns the interest portion of a loan payment.  It calculates the portion of a loan "
          "payment that reflects the interest.  <rate-numeric-expression> represents the fixed "
          "periodic interest rate.  <period-integer-expression> identifies the payment period.  "
          "<num-periods-integer-expression> is the number of periods of the loan.  "
          "<present-value-numeric-expression> represents the amount borrowed (the principal).  "
          "<future-value-numeric-expression> is the future value of the investment.  The last "
          "parameter indicates whether the cash flow occurs at the beginning (ptStartOfPeriod) or "
          "end (ptEndOfPeriod) of the period",
      .example = "(interest-payment 0.01 2 12 1000 0 ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    const TLoanPayment payment = arguments.LoanPayment();
    result = arguments.Result(InterestPayment(payment.annuity, payment.period));
  }
};

class TInterestRateFunction final : public TBuiltinFunction<TInterestRateFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "interest-rate",
      .syntax =
          " <num-periods-integer-expression> <payment-numeric-expression> "
          "<present-value-numeric-expression> <future-value-numeric-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(5),
      .comment =
          "Returns the interest rate required to increase <present-value-numeric-expression> to "
          "<future-value-numeric-expression>.  It calculates the interest rate required in order "
          "for an investment of <present-value-numeric-expression>, with periodic payments of "
          "<payment-numeric-expression>, to be worth <future-value-numeric-expression> within "
          "<num-periods-integer-expression> compounding periods.  If "
          "<num-periods-integer-expression> represents years, an annual interest rate results; if "
          "it represents months, a monthly interest rate results, and so on.  The last parameter "
          "indicates whether the cash flow occurs at the beginning (ptStartOfPeriod) or end "
          "(ptEndOfPeriod) of the period",
      .example = "(interest-rate 12 -88.8488 1000 0 ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    TAnnuity annuity;
    annuity.periods = arguments.Count();
    annuity.payment = arguments.Number();
    annuity.present = arguments.Number();
    annuity.future = arguments.Number();
    annuity.time = arguments.PaymentTime();
    const std::optional<double> rate = InterestRate(annuity);
    if (!rate) arguments.RaiseInvalid(1);
    result = arguments.Result(*rate);
  }
};

class TInternalRateOfReturnFunction final : public TBuiltinFunction<TInternalRateOfReturnFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "internal-rate-of-return",
      .syntax = " <guess-numeric-expression> <cash-flows-multifield-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns the internal rate of return on an investment.  It references a multifield that "
          "contains cash flow information and uses the supplied internal rate of return estimate "
          "to calculate results.  Before using this function, define a multifield containing "
          "expected cash flow amounts over a period of time.  It is assumed that the amounts are "
          "received at regular intervals.  Negative amounts are interpreted as cash outflows, and "
          "positive amounts as inflows.  The first amount must be a negative number, to reflect "
          "the initial investment.  The following amounts can all be the same for each time "
          "period, or they can be different (including a mixture of negatives, positives, or "
          "zeros).  Specify the estimated rate of return as the <guess-numeric-expression> "
          "parameter.  Pass the expected cash flow amounts as the "
          "<cash-flows-multifield-expression> parameter.",
      .example = "(internal-rate-of-return 0.1 (create$ -1000 500 600))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    const double guess = arguments.Rate();
    const std::vector<double> flows = arguments.Flows();
    const std::optional<double> rate = InternalRateOfReturn(guess, flows);
    if (!rate) arguments.RaiseInvalid(1);
    result = arguments.Result(*rate);
  }
};

class TNetPresentValueFunction final : public TBuiltinFunction<TNetPresentValueFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "net-present-value",
      .syntax =
          " <rate-numeric-expression> <cash-flows-multifield-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(3),
      .comment =
          "Returns the current value from a multifield of estimated cash flow values.  It "
          "calculates the current value of a multifield estimated cash flow values "
          "(<cash-flow-multifield-expression>), discounted at the given interest rate of "
          "<rate-numeric-expression>.  It helps determine how much an investment is currently "
          "worth, based on expected earnings, although its accuracy depends on the accuracy of the "
          "cash flows.  The last parameter indicates whether the cash flow occurs at the beginning "
          "(ptStartOfPeriod) or end (ptEndOfPeriod) of the period",
      .example = "(net-present-value 0.1 (create$ 500 600) ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    const double rate = arguments.Rate();
    const std::vector<double> flows = arguments.Flows();
    const TPaymentTime time = arguments.PaymentTime();
    result = arguments.Result(NetPresentValue(rate, flows, time));
  }
};

class TNumberOfPeriodsFunction final : public TBuiltinFunction<TNumberOfPeriodsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "number-of-periods",
      .syntax =
          " <rate-numeric-expression> <payment-numeric-expression> "
          "<present-value-numeric-expression> <future-value-numeric-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(5),
      .comment =
          "Returns the number of payment periods for an investment.  It computes the number of "
          "payment periods required for an investment of <present-value-numeric-expression> to "
          "reach a value of <future-value-numeric-expression>, while making regular payments of "
          "<payment-numeric-expression> and accruing interest at the rate of "
          "<rate-numeric-expression> per compounding period.  The last parameter indicates whether "
          "the cash flow occurs at the beginning (ptStartOfPeriod) or end (ptEndOfPeriod) of the "
          "period",
      .example = "(number-of-periods 0.01 -100 1000 0 ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    TAnnuity annuity;
    annuity.rate = arguments.Rate();
    annuity.payment = arguments.Number();
    annuity.present = arguments.Number();
    annuity.future = arguments.Number();
    annuity.time = arguments.PaymentTime();
    const std::optional<double> periods = NumberOfPeriods(annuity);
    if (!periods) arguments.RaiseInvalid(1);
    result = arguments.Result(*periods);
  }
};

class TPaymentFunction final : public TBuiltinFunction<TPaymentFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "payment",
      .syntax =
          " <rate-numeric-expression> <num-periods-integer-expression> "
          "<present-value-numeric-expression> <future-value-numeric-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(5),
      .comment =
          "Returns the fully amortized payment of borrowing <present-value-numeric-expression> at "
          "<rate-numeric-expression> percent per period over <num-periods-integer-expression>.   "
          "It assumes that interest is paid at the end of each period.  "
          "<future-value-numeric-expression> is the value that the investment will reach at some "
          "point.  The last parameter indicates whether the cash flow occurs at the beginning "
          "(ptStartOfPeriod) or end (ptEndOfPeriod) of the period",
      .example = "(payment 0.01 12 1000 0 ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    TAnnuity annuity;
    annuity.rate = arguments.Rate();
    annuity.periods = arguments.Count();
    annuity.present = arguments.Number();
    annuity.future = arguments.Number();
    annuity.time = arguments.PaymentTime();
    result = arguments.Result(Payment(annuity));
  }
};

class TPeriodPaymentFunction final : public TBuiltinFunction<TPeriodPaymentFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "period-payment",
      .syntax =
          " <rate-numeric-expression> <period-integer-expression> <num-periods-integer-expression> "
          "<present-value-numeric-expression> <future-value-numeric-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(6),
      .comment =
          "Returns the principal amount from a full payment.  It gives the part of the payment "
          "that is principal.  The interest-payment function gives the part of the payment that is "
          "interest.  The <rate-numeric-expression> parameter is the interest rate.  "
          "<period-integer-expression> is the number of periods into the loan for which the "
          "principal is desired, and <num-periods-integer-expression> is the number of periods of "
          "the loan.  <future-value-numeric-expression> is the value the investment will reach at "
          "some point.  The last parameter indicates whether the cash flow occurs at the beginning "
          "(ptStartOfPeriod) or end (ptEndOfPeriod) of the period",
      .example = "(period-payment 0.01 2 12 1000 0 ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    const TLoanPayment payment = arguments.LoanPayment();
    const double interest = InterestPayment(payment.annuity, payment.period);
    result = arguments.Result(Payment(payment.annuity) - interest);
  }
};

class TPresentValueFunction final : public TBuiltinFunction<TPresentValueFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "present-value",
      .syntax =
          " <rate-numeric-expression> <num-periods-integer-expression> "
          "<payment-numeric-expression> <future-value-numeric-expression> "
          "ptEndOfPeriod|ptStartOfPeriod",
      .arguments = Exactly(5),
      .comment =
          "Returns the present value of an investment where <payment-numeric-expression> is "
          "received for <num-periods-integer-expression> and is discounted at the rate of "
          "<rate-numeric-expression> per period.  <future-value-numeric-expression> is the value "
          "the investment will reach at some point.  The last parameter indicates whether the cash "
          "flow occurs at the beginning (ptStartOfPeriod) or end (ptEndOfPeriod) of the period",
      .example = "(present-value 0.01 12 -100 0 ptEndOfPeriod)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    TAnnuity annuity;
    annuity.rate = arguments.Rate();
    annuity.periods = arguments.Count();
    annuity.payment = arguments.Number();
    annuity.future = arguments.Number();
    annuity.time = arguments.PaymentTime();
    result = arguments.Result(PresentValue(annuity));
  }
};

class TSLNDepreciationFunction final : public TBuiltinFunction<TSLNDepreciationFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "sln-depreciation",
      .syntax = " <cost-numeric-expression> <salvage-numeric-expression> <life-integer-expression>",
      .arguments = Exactly(3),
      .comment =
          "Returns the straight-line depreciation allowance of an asset.  The function divides the "
          "<cost-numeric-expression> minus the <salvage-numeric-expression> by the number of years "
          "of useful <life-integer-expression> of the asset.   <cost-numeric-expression> is the "
          "amount initially paid for the asset.  <salvage-numeric-expression> is the value of the "
          "asset at the end of its useful life.  To compute accelerated depreciation (allowing "
          "higher depreciation values in the first years of the assets life), use the "
          "syd-depreciation function",
      .example = "(sln-depreciation 10000 1000 5)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    const double cost = arguments.Number();
    const double salvage = arguments.Number();
    const double life = arguments.Count();
    result = arguments.Result(StraightLineDepreciation(cost, salvage, life));
  }
};

class TSYDDepreciationFunction final : public TBuiltinFunction<TSYDDepreciationFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "syd-depreciation",
      .syntax =
          " <cost-numeric-expression> <salvage-numeric-expression> <life-integer-expression> "
          "<period-integer-expression>",
      .arguments = Exactly(4),
      .comment =
          "SYD Depreciation (for \"sum-of-years-digits depreciation\") returns depreciation "
          "amounts for an asset using an accelerated depreciation method.   This allows for higher "
          "depreciation in the earlier years of an asset's life.  <cost-numeric-expression> is the "
          "initial cost of the asset.  <salvage-numeric-expression> is the value of the asset at "
          "the end of its life expectancy.  <life-integer-expression> is the length of the asset's "
          "life expectancy.  <period-integer-expression> is the period for which to calculate the "
          "depreciation",
      .example = "(syd-depreciation 10000 1000 5 1)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TArguments arguments(fun_call, context);
    const double cost = arguments.Number();
    const double salvage = arguments.Number();
    const double life = arguments.Count();
    const double period = arguments.Period(life);
    result = arguments.Result(SumOfYearsDepreciation(cost, salvage, life, period));
  }
};

}  // namespace

void AddBusinessFunctions(TUserFunctionList& functions) {
  functions.AddNew<TDoubleDecliningBalanceFunction, TFutureValueFunction, TInterestPaymentFunction,
                   TInterestRateFunction, TInternalRateOfReturnFunction, TNetPresentValueFunction,
                   TNumberOfPeriodsFunction, TPaymentFunction, TPeriodPaymentFunction,
                   TPresentValueFunction, TSLNDepreciationFunction, TSYDDepreciationFunction>();
}

}  // namespace reasoner
