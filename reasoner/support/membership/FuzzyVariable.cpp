#include "reasoner/support/membership/FuzzyVariable.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "reasoner/support/Exception.h"
#include "reasoner/support/SourceWords.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/support/membership/FuzzyText.h"

namespace reasoner {

namespace {

Ref<IFuzzySet> MakePlainSet(IFuzzyVariable* variable, std::string_view name) {
  return Make<TIFuzzySet>(variable, name);
}

double Finite(double number) {
  if (!std::isfinite(number)) throw EKitException("invalid fuzzy value");
  return number;
}

bool Mentions(std::string_view expression, std::string_view name) {
  constexpr std::string_view kBetweenWords = " ()[]";
  for (std::size_t at = expression.find(name); at != std::string_view::npos;
       at = expression.find(name, at + 1)) {
    const std::size_t end = at + name.size();
    const bool begins = at == 0 || kBetweenWords.find(expression[at - 1]) != std::string_view::npos;
    const bool ends =
        end == expression.size() || kBetweenWords.find(expression[end]) != std::string_view::npos;
    if (begins && ends) return true;
  }
  return false;
}

// Bounds that print alike are alike.
bool SameBound(double a, double b) noexcept { return std::fabs(a - b) <= 1e-4; }

}  // namespace

TIFuzzyVariable::TIFuzzyVariable(std::string_view name)
    : name_(name), set_class_(&MakePlainSet), link_(Make<TFuzzyVariableLink>()) {
  link_->variable = this;
}

TIFuzzyVariable::~TIFuzzyVariable() {
  link_->variable = nullptr;
  for (const Ref<IFuzzySet>& set : sets_) set->place_ = -1;
}

Ref<IFuzzyVariable> TIFuzzyVariable::NewInstance() const { return Make<TIFuzzyVariable>(); }

Ref<IFuzzyVariable> TIFuzzyVariable::Clone() const {
  Ref<IFuzzyVariable> clone = NewInstance();
  clone->name_ = name_;
  clone->from_ = from_;
  clone->to_ = to_;
  clone->units_ = units_;
  clone->threshold_ = threshold_;
  clone->parser_ = parser_;
  clone->set_class_ = set_class_;
  for (const Ref<IFuzzySet>& set : sets_) {
    const Ref<IFuzzySet> copy = set->Clone();
    copy->link_ = clone->link_;
    clone->Add(copy)->term_ = set->term_;
  }
  return clone;
}

void TIFuzzyVariable::SetUniverseFrom(double from) { from_ = Finite(from); }

void TIFuzzyVariable::SetUniverseTo(double to) { to_ = Finite(to); }

void TIFuzzyVariable::SetUniverse(double from, double to) {
  Finite(from);
  Finite(to);
  from_ = std::min(from, to);
  to_ = std::max(from, to);
}

void TIFuzzyVariable::SetThreshold(double threshold) {
  if (std::isnan(threshold)) throw EKitException("invalid fuzzy value");
  threshold_ = threshold;
}

Ref<IFuzzySet> TIFuzzyVariable::NewFuzzySet(std::string_view name) {
  Ref<IFuzzySet> set = set_class_(this, name);
  set->SetParser(parser_);
  return Add(std::move(set));
}

IFuzzySet* TIFuzzyVariable::FindFuzzySet(std::string_view name) const noexcept {
  const auto found = index_.find(name);
  return found == index_.end() ? nullptr : sets_[found->second].get();
}

Ref<IFuzzySet> TIFuzzyVariable::GetEmptySet() {
  if (IFuzzySet* set = FindFuzzySet(SEmptyFuzzy)) return set;
  return NewFuzzySet(SEmptyFuzzy);
}

const Ref<IFuzzySet>& TIFuzzyVariable::GetSet(std::int32_t index) const {
  if (index < 0 || index >= GetSetCount()) throw EKitException("invalid fuzzy value");
  return sets_[static_cast<std::size_t>(index)];
}

Ref<IFuzzySet> TIFuzzyVariable::Add(Ref<IFuzzySet> set) {
  if (set == nullptr) throw EKitException("invalid fuzzy value");
  const IFuzzyVariable* owner = set->GetVariable();
  if (owner == this && set->place_ >= 0) return set;
  if (owner != nullptr && owner != this) {
    const bool term = set->term_;
    set = set->Clone();
    set->term_ = term;
  }
  const auto found = index_.find(set->name_);
  if (found != index_.end()) {
    Ref<IFuzzySet>& place = sets_[found->second];
    // Where the new set stands, words may mean what they did not when it was made; and to others
    // its name means something else now. What is left then are the points.
    if (set->GetExpression() != place->GetExpression()) set->SetExpression({}, false);
    if (!set->SamePoints(*place)) {
      for (const Ref<IFuzzySet>& other : sets_) {
        if (Mentions(other->GetExpression(), AtomToSource(set->name_)))
          other->SetExpression({}, false);
      }
    }
    place->place_ = -1;
    set->place_ = static_cast<std::int32_t>(found->second);
    place = set;
  } else {
    sets_.push_back(set);
    try {
      index_.emplace(set->name_, sets_.size() - 1);
    } catch (...) {
      sets_.pop_back();
      throw;
    }
    set->place_ = GetSetCount() - 1;
  }
  set->link_ = link_;
  return set;
}

void TIFuzzyVariable::Rename(IFuzzySet& set, std::string_view name) {
  if (index_.find(name) != index_.end()) {
    throw EKitException("fuzzy set is already defined: " + std::string(name));
  }
  index_.emplace(std::string(name), static_cast<std::size_t>(set.place_));
  index_.erase(index_.find(set.name_));
}

bool TIFuzzyVariable::HasAutoTerms() const noexcept {
  return FindFuzzySet(_SLowFuzzyTerm) != nullptr && FindFuzzySet(_SMediumFuzzyTerm) != nullptr &&
         FindFuzzySet(_SHighFuzzyTerm) != nullptr;
}

// The function of the automatic term of this name; without points for any other name.
static PiecewiseLinear AutoTerm(std::string_view name, double from, double to) {
  if (name == _SLowFuzzyTerm) return PiecewiseLinear({{from, 1}, {to, 0}});
  if (name == _SHighFuzzyTerm) return PiecewiseLinear({{from, 0}, {to, 1}});
  if (name != _SMediumFuzzyTerm) return {};
  return PiecewiseLinear({{from, 0}, {std::midpoint(from, to), 1}, {to, 0}});
}

void TIFuzzyVariable::AddAutoTerms() {
  for (const std::string_view name : {_SLowFuzzyTerm, _SMediumFuzzyTerm, _SHighFuzzyTerm}) {
    if (FindFuzzySet(name) != nullptr) continue;
    const Ref<IFuzzySet> term = NewFuzzySet(name);
    if (name == _SMediumFuzzyTerm) {
      term->SetToTriangle(from_, std::midpoint(from_, to_), to_);
    } else {
      term->SetFunction(AutoTerm(name, from_, to_));
    }
    term->SetTerm(true);
  }
}

bool TIFuzzyVariable::IsAutoTerm(const IFuzzySet& term) const {
  return term.GetCount() > 0 &&
         term.GetFunction().SamePoints(AutoTerm(term.GetGivenName(), from_, to_));
}

Ref<IFuzzySet> TIFuzzyVariable::EvalFuzzyExpression(std::string_view text) {
  if (IFuzzyParser* parser = GetParser()) return parser->EvalFuzzyExpression(this, text);
  if (IFuzzySet* set = FindFuzzySet(text)) return set;
  Ref<IFuzzySet> set = set_class_(this, {});
  if (!ReadShape(text, *set)) throw EKitException("invalid fuzzy value");
  return set;
}

bool TIFuzzyVariable::HasSameUniverse(const IFuzzyVariable& other) const noexcept {
  return units_ == other.units_ && SameBound(from_, other.from_) && SameBound(to_, other.to_);
}

bool TIFuzzyVariable::Equals(const ICloneable& other_object) const {
  if (this == &other_object) return true;
  const auto* other = dynamic_cast<const IFuzzyVariable*>(&other_object);
  if (other == nullptr || !HasSameUniverse(*other)) return false;
  const auto terms_of = [](const IFuzzyVariable& variable) {
    return std::count_if(variable.sets_.begin(), variable.sets_.end(),
                         [](const Ref<IFuzzySet>& set) { return set->IsTerm(); });
  };
  if (terms_of(*this) != terms_of(*other)) return false;
  return std::all_of(sets_.begin(), sets_.end(), [other](const Ref<IFuzzySet>& set) {
    if (!set->IsTerm()) return true;
    const IFuzzySet* same = other->FindFuzzySet(set->name_);
    return same != nullptr && same->IsTerm() && same->SamePoints(*set);
  });
}

std::uint32_t TIFuzzyVariable::GetHashCode() const {
  // Neither the bounds, which are equal within a tolerance, nor the order of the terms count.
  std::uint32_t hash = CalculateHash(units_);
  for (const Ref<IFuzzySet>& set : sets_) {
    if (set->IsTerm()) hash += CalculateHash(set->name_);
  }
  return hash;
}

std::string TIFuzzyVariable::ToString() const { return FuzzyVariableText(*this); }

}  // namespace reasoner
