#include "reasoner/support/membership/FuzzySet.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "reasoner/support/Exception.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/SourceWords.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/support/membership/FuzzyText.h"
#include "reasoner/support/membership/FuzzyVariable.h"

namespace reasoner {

TIFuzzySet::TIFuzzySet(IFuzzyVariable* variable, std::string_view name)
    : name_(name), link_(variable != nullptr ? variable->link_ : nullptr) {}

TIFuzzySet::~TIFuzzySet() = default;

Ref<IFuzzySet> TIFuzzySet::NewInstance() const { return Make<TIFuzzySet>(); }

Ref<IFuzzySet> TIFuzzySet::Clone() const {
  Ref<IFuzzySet> clone = NewInstance();
  clone->function_ = function_;
  clone->power_of_ = power_of_;
  clone->sum_height_ = sum_height_;
  clone->shape_ = shape_;
  clone->name_ = name_;
  clone->expression_ = expression_;
  clone->binary_ = binary_;
  clone->link_ = link_;
  clone->parser_ = parser_;
  clone->crisp_ = crisp_;
  return clone;
}

// --- Texts
// ----------------------------------------------------------------------------------------

std::string TIFuzzySet::GetName() const {
  if (!name_.empty()) return name_;
  if (!expression_.empty()) return expression_;
  return ShapeText(*this, fnShown);
}

void TIFuzzySet::SetName(std::string_view name) {
  if (place_ >= 0 && name != name_) GetVariable()->Rename(*this, name);
  name_ = name;
}

void TIFuzzySet::SetExpression(std::string text, bool binary) {
  if (Length16(text) > kMaxExpression) text.clear();
  binary_ = binary && !text.empty();
  expression_ = std::move(text);
}

void TIFuzzySet::SetVariable(IFuzzyVariable* variable) {
  if (variable == GetVariable()) return;
  if (place_ >= 0) throw EKitException("fuzzy set belongs to a variable: " + name_);
  if (LostVariable()) SetExpression({}, false);  // its words are not the new variable's
  link_ = variable != nullptr ? variable->link_ : nullptr;
}

std::string TIFuzzySet::ToString() const { return FuzzySetText(*this, false); }

// A name means what the variable says; a term may be gone, or another by now.
bool TIFuzzySet::IsHeldTerm() const {
  const IFuzzyVariable* const variable = GetVariable();
  const IFuzzySet* const term = variable == nullptr ? nullptr : variable->FindFuzzySet(name_);
  return term != nullptr && term->SamePoints(*this);
}

std::string TIFuzzySet::ToSource() const {
  if (name_ == SEmptyFuzzy) return {};
  if (name_.empty() && !expression_.empty() && !LostVariable()) return expression_;
  if (name_.empty()) return ShapeText(*this, fnExact);
  if (IsHeldTerm() && !MeansOtherwise(name_)) return AtomToSource(name_);
  // The name of a shape or a number shows four decimals, which may be fewer than it has.
  if (shape_.type != fstPoints && name_.front() == '(') {
    const Ref<IFuzzySet> read = Make<TIFuzzySet>();
    return ReadShape(name_, *read) && read->SamePoints(*this) ? name_ : ShapeText(*this, fnExact);
  }
  if (const auto number = TextToFloat(name_); number && function_.IsPeak()) {
    const double x = function_.GetPoints()[1].x;
    return *number == x ? name_ : FloatToSource(x);
  }
  return ShapeText(*this, fnExact);
}

std::uint32_t TIFuzzySet::GetHashCode() const { return CalculateHash(ToString()); }

// --- Points
// ---------------------------------------------------------------------------------------

std::int32_t TIFuzzySet::GetCount() const noexcept {
  return static_cast<std::int32_t>(function_.size());
}

const FuzzyPoint& TIFuzzySet::PointAt(std::int32_t index) const {
  if (index < 0 || index >= GetCount()) throw EKitException("invalid fuzzy value");
  return function_.GetPoints()[static_cast<std::size_t>(index)];
}

double TIFuzzySet::GetLowestX() const noexcept {
  return function_.empty() ? 0 : function_.GetPoints().front().x;
}

double TIFuzzySet::GetHighestX() const noexcept {
  return function_.empty() ? 0 : function_.GetPoints().back().x;
}

void TIFuzzySet::PointsChanged() noexcept {
  shape_ = {};
  power_of_.reset();
  sum_height_ = 1;
  expression_.clear();
  binary_ = false;
  undecidable_ = true;
  crisp_.known = false;
}

void TIFuzzySet::AddPoint(double x, double y) {
  if (updates_ == 0) {
    function_.AddPoint(x, y);
  } else {
    if (!std::isfinite(x) || !std::isfinite(y)) throw EKitException("invalid fuzzy value");
    coming_.push_back({x, y});
  }
  PointsChanged();
}

void TIFuzzySet::SetFunction(PiecewiseLinear function) {
  function_ = std::move(function);
  PointsChanged();
}

void TIFuzzySet::SetSumHeight(double height) {
  if (!std::isfinite(height)) throw EKitException("invalid fuzzy value");
  sum_height_ = std::max(height, 1.0);
  expression_.clear();
  binary_ = false;
}

void TIFuzzySet::EndUpdate() {
  if (updates_ == 0 || --updates_ > 0 || coming_.empty()) return;
  function_.AddPoints(std::exchange(coming_, {}));
  PointsChanged();
}

// --- Memberships
// ----------------------------------------------------------------------------------

Interval TIFuzzySet::GetDomain() const noexcept {
  const IFuzzyVariable* variable = GetVariable();
  if (variable != nullptr && variable->HasUniverse()) {
    return {variable->GetUniverseFrom(), variable->GetUniverseTo()};
  }
  return {GetLowestX(), GetHighestX()};
}

double TIFuzzySet::GetThreshold(const IFuzzySet* other) const noexcept {
  if (const IFuzzyVariable* variable = GetVariable()) return variable->GetThreshold();
  return other != nullptr ? other->GetThreshold() : kDefaultFuzzyThreshold;
}

bool TIFuzzySet::FuzzyOperatorMinThreshold(double, double y_this, double,
                                           double y_other) const noexcept {
  return std::min(y_this, y_other) > GetThreshold();
}

bool TIFuzzySet::FuzzyOperatorMaxOfMin(double, double y_this, double,
                                       double y_other) const noexcept {
  running_maximum_ = std::max(running_maximum_, std::min(y_this, y_other));
  return running_maximum_ >= 1;
}

bool TIFuzzySet::EqualsSet(const IFuzzySet& other) const {
  const double threshold = GetThreshold(&other);
  return PiecewiseLinear::Possibility(function_, other.function_, threshold) > threshold;
}

float TIFuzzySet::FuzzyEqualsSet(const IFuzzySet& other) const {
  // Written once at the end: the set may be compared while it is being compared.
  running_maximum_ = PiecewiseLinear::Possibility(function_, other.function_);
  return static_cast<float>(running_maximum_);
}

float TIFuzzySet::FuzzyEqualsNumber(double x) const noexcept {
  running_maximum_ = DegreeOfMembership(x);
  return static_cast<float>(running_maximum_);
}

bool TIFuzzySet::Equals(const ICloneable& other) const {
  const auto* set = dynamic_cast<const IFuzzySet*>(&other);
  return set != nullptr && EqualsSet(*set);
}

float TIFuzzySet::FuzzyEquals(const ICloneable& other) const {
  if (const auto* set = dynamic_cast<const IFuzzySet*>(&other)) return FuzzyEqualsSet(*set);
  running_maximum_ = 0;
  return 0;
}

// --- Operations
// -----------------------------------------------------------------------------------

void TIFuzzySet::Hedge(TFuzzyHedge hedge) {
  SetToHedged(*this, MeaningOf(hedge));
  if (place_ >= 0) return;
  name_.clear();
  term_ = false;
}

void TIFuzzySet::SetToHedged(const IFuzzySet& operand, const THedgeMeaning& hedge) {
  const auto [base, flag, number] = hedge;
  const PowerOf* const before = operand.power_of_.get();
  const double exponent =
      (flag ? number : 1 / std::fabs(number)) * (before == nullptr ? 1 : before->exponent);
  if (base == bhPower && number > 0 && std::isnormal(exponent)) {
    std::shared_ptr<const PowerOf> power = std::make_shared<PowerOf>(
        PowerOf{before == nullptr ? operand.function_ : before->source, exponent});
    // 1 but for the rounding of 1/3 and its like.
    if (std::fabs(exponent - 1) <= kSamePoint) return SetFunction(power->source);
    SetFunction(power->source.Hedged(bhPower, true, exponent, operand.GetDomain()));
    power_of_ = std::move(power);
    return;
  }
  const double height = base == bhSummed ? number : 1;
  SetFunction(operand.function_.Hedged(base, flag, number, operand.GetDomain()));
  SetSumHeight(height);
}

Ref<IFuzzySet> TIFuzzySet::NewResult(PiecewiseLinear function, const IFuzzySet* other) const {
  Ref<IFuzzySet> result = NewInstance();
  result->function_ = std::move(function);
  result->link_ = GetVariable() != nullptr || other == nullptr ? link_ : other->link_;
  result->parser_ = GetParser() != nullptr || other == nullptr ? parser_ : other->parser_;
  return result;
}

Ref<IFuzzySet> TIFuzzySet::ApplyBaseHedge(TBaseFuzzyHedge hedge, bool flag, double number) const {
  Ref<IFuzzySet> result = NewResult({}, nullptr);
  result->SetToHedged(*this, {hedge, flag, number});
  return result;
}

Ref<IFuzzySet> TIFuzzySet::Combined(const IFuzzySet& other, TFuzzyOperation operation,
                                    bool is_union) const {
  const bool idempotent = operation == foZadeh || operation == foMean;
  if (idempotent && SamePoints(other)) {
    Ref<IFuzzySet> clone = Clone();
    if (sum_height_ != 1) clone->SetSumHeight(1);
    return clone;
  }
  if (operation == foSum && is_union) {
    double height = 1;
    PiecewiseLinear sum =
        PiecewiseLinear::Sum(function_, sum_height_, other.function_, other.sum_height_, height);
    Ref<IFuzzySet> result = NewResult(std::move(sum), &other);
    result->sum_height_ = height;
    return result;
  }
  return NewResult(PiecewiseLinear::Combine(function_, other.function_, operation, is_union),
                   &other);
}

Ref<IFuzzySet> TIFuzzySet::Union(const IFuzzySet& other, TFuzzyOperation operation) const {
  return Combined(other, operation, true);
}

Ref<IFuzzySet> TIFuzzySet::Intersection(const IFuzzySet& other, TFuzzyOperation operation) const {
  return Combined(other, operation, false);
}

// --- Numbers
// --------------------------------------------------------------------------------------

double TIFuzzySet::GetCrisp() const {
  const Interval domain = GetDomain();
  if (!crisp_.known || crisp_.domain.from != domain.from || crisp_.domain.to != domain.to) {
    crisp_ = {true, domain, function_.Centroid(domain)};
  }
  return crisp_.value;
}

double TIFuzzySet::GetCentreOfGravity() const {
  undecidable_ = !(function_.Area(GetDomain()) > 0);
  return GetCrisp();
}

double TIFuzzySet::GetMeanOfMaxima() const {
  const Interval domain = GetDomain();
  undecidable_ = !(function_.Area(domain) > 0);
  return function_.MeanOfMaxima(domain);
}

double TIFuzzySet::GetCompatibilityIndex() const {
  return function_.Height(GetDomain()) > 0 ? DegreeOfMembership(GetCrisp()) : 0;
}

}  // namespace reasoner
