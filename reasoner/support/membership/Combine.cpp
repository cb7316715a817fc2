// Two membership functions walked side by side: their operations, their possibility, Iterate.

#include <algorithm>
#include <cmath>
#include <utility>

#include "reasoner/support/membership/PieceBuilder.h"
#include "reasoner/support/membership/PiecewiseLinear.h"

namespace reasoner {

namespace {

// The memberships of both at one place, which go linearly with x between two places.
struct Pair {
  double a;
  double b;
};

Pair Along(const Pair& from, const Pair& to, double fraction) noexcept {
  return {std::lerp(from.a, to.a, fraction), std::lerp(from.b, to.b, fraction)};
}

// The fraction at which a value that goes from `from` to `to` passes 0 in between, or 0.
double ZeroBetween(double from, double to) noexcept {
  return (from < 0 && to > 0) || (from > 0 && to < 0) ? from / (from - to) : 0;
}

// Calls place(x, limits of a, limits of b) for every x of either, and before it
// stretch(x1, pair1, x2, pair2) for the lines that lead there. Either ends the walk with True.
template <class TPlace, class TStretch>
bool WalkBoth(const PiecewiseLinear& a, const PiecewiseLinear& b, TPlace&& place,
              TStretch&& stretch) {
  PieceCursor read_a(a.GetPoints());
  PieceCursor read_b(b.GetPoints());
  bool first = true;
  double last_x = 0;
  Pair last{};
  while (true) {
    const double x = std::min(read_a.NextX(), read_b.NextX());
    if (std::isinf(x)) return false;
    const Limits at_a = read_a.At(x);
    const Limits at_b = read_b.At(x);
    if (!first && stretch(last_x, last, x, Pair{at_a.left, at_b.left})) return true;
    if (place(x, at_a, at_b)) return true;
    first = false;
    last_x = x;
    last = {at_a.right, at_b.right};
  }
}

// Calls visit(x, a, b) in the order that Iterate promises.
template <class TVisit>
bool VisitBoth(const PiecewiseLinear& a, const PiecewiseLinear& b, TVisit&& visit) {
  return WalkBoth(
      a, b,
      [&](double x, const Limits& at_a, const Limits& at_b) {
        if (!at_a.IsEdge() && !at_b.IsEdge()) return bool{visit(x, at_a.value, at_b.value)};
        return visit(x, at_a.left, at_b.left) || visit(x, at_a.value, at_b.value) ||
               visit(x, at_a.right, at_b.right);
      },
      [&](double x1, const Pair& from, double x2, const Pair& to) {
        const double fraction = ZeroBetween(from.a - from.b, to.a - to.b);
        if (fraction == 0) return false;
        const Pair crossing = Along(from, to, fraction);
        return bool{visit(std::lerp(x1, x2, fraction), crossing.a, crossing.b)};
      });
}

// One operation as a formula of two memberships that go linearly between two places.
class Formula {
 public:
  Formula(TFuzzyOperation operation, bool is_union) noexcept
      : operation_(operation), is_union_(is_union) {}
  // The sum of both times their factors.
  Formula(double factor_a, double factor_b, double divisor) noexcept
      : operation_(foSum),
        is_union_(true),
        factor_a_(factor_a / divisor),
        factor_b_(factor_b / divisor) {}

  double operator()(const Pair& pair) const noexcept {
    const double y = is_union_ ? Union(pair) : Intersection(pair);
    return std::clamp(y, 0.0, 1.0);
  }
  Limits operator()(const Limits& a, const Limits& b) const noexcept {
    const Formula& self = *this;
    return {self(Pair{a.left, b.left}), self(Pair{a.value, b.value}), self(Pair{a.right, b.right})};
  }

  bool IsUnion() const noexcept { return is_union_; }
  // Where the formula has a kink between two places, as a fraction, or 0.
  double Kink(const Pair& from, const Pair& to) const noexcept {
    if (operation_ == foBoundedSum || (operation_ == foSum && !is_union_)) {
      return ZeroBetween(from.a + from.b - 1, to.a + to.b - 1);
    }
    if (operation_ == foProduct || operation_ == foSum) return 0;
    return ZeroBetween(from.a - from.b, to.a - to.b);
  }

  // Only a product bends: it is a parabola, which is furthest off its chord in the middle.
  double OffChord(const Pair& from, const Pair& to) const noexcept {
    if (operation_ != foProduct) return 0;
    return std::fabs((to.a - from.a) * (to.b - from.b)) / 4;
  }
  Pair Between(const Pair& from, const Pair& to) const noexcept { return Along(from, to, 0.5); }
  double SizeOf(const Pair& pair) const noexcept { return std::max(pair.a, pair.b); }

 private:
  double Union(const Pair& pair) const noexcept {
    const auto [a, b] = pair;
    switch (operation_) {
      case foZadeh:
        break;
      case foMean:
      case foMeanSqr:
      case foMeanSqrt:
        return (std::min(a, b) + 2 * std::max(a, b)) / 3;
      case foProduct:
        return a + b - a * b;
      case foBoundedSum:
        return a + b;
      case foSum:
        return a * factor_a_ + b * factor_b_;
    }
    return std::max(a, b);
  }
  double Intersection(const Pair& pair) const noexcept {
    const auto [a, b] = pair;
    switch (operation_) {
      case foZadeh:
        break;
      case foMean:
      case foMeanSqr:
      case foMeanSqrt:
        return (a + b) / 2;
      case foProduct:
        return a * b;
      case foBoundedSum:
      case foSum:
        return a + b - 1;
    }
    return std::min(a, b);
  }

  TFuzzyOperation operation_;
  bool is_union_;
  double factor_a_ = 1;
  double factor_b_ = 1;
};

// True when no place of one can meet a place of the other: both are 0 outside their points, and
// these lie apart.
bool LieApart(std::span<const FuzzyPoint> a, std::span<const FuzzyPoint> b) noexcept {
  if (a.empty() || b.empty()) return true;
  if (a.front().x > b.front().x) std::swap(a, b);
  return a.back().y == 0 && b.front().y == 0 && a.back().x < b.front().x;
}

PieceBuilder Combined(const PiecewiseLinear& a, const PiecewiseLinear& b, const Formula& formula) {
  const double height_a = a.Height();
  const double height_b = b.Height();
  const double height = std::max(height_a, height_b);
  const BendScale scale{formula.IsUnion() ? height : height_a * height_b, height};
  PieceBuilder builder;
  builder.Reserve(a.size() + b.size());
  WalkBoth(
      a, b,
      [&](double x, const Limits& at_a, const Limits& at_b) {
        builder.Place(x, formula(at_a, at_b));
        return false;
      },
      [&](double x1, const Pair& from, double x2, const Pair& to) {
        const double fraction = formula.Kink(from, to);
        if (fraction != 0) {
          const double x = std::lerp(x1, x2, fraction);
          if (x1 < x && x < x2) builder.Point(x, formula(Along(from, to, fraction)));
        } else {
          Bend(builder, formula, scale, x1, from, x2, to);
        }
        return false;
      });
  return builder;
}

}  // namespace

PiecewiseLinear PiecewiseLinear::Combine(const PiecewiseLinear& a, const PiecewiseLinear& b,
                                         TFuzzyOperation operation, bool is_union) {
  if (operation == foMeanSqr || operation == foMeanSqrt) {
    // The mean is of straight lines, and its square or root is a power like any other.
    const PiecewiseLinear mean = Combined(a, b, Formula(foMean, is_union)).AsBuilt();
    return mean.Hedged(bhPower, operation == foMeanSqr, 2, {});
  }
  if ((operation == foZadeh || operation == foMean) && a.SamePoints(b)) return a;
  if (operation == foSum && is_union) {
    double divisor = 1;
    return Sum(a, 1, b, 1, divisor);
  }
  return Combined(a, b, Formula(operation, is_union)).Simplified();
}

PiecewiseLinear PiecewiseLinear::Sum(const PiecewiseLinear& a, double factor_a,
                                     const PiecewiseLinear& b, double factor_b, double& divisor) {
  divisor = 1;
  VisitBoth(a, b, [&](double, double y_a, double y_b) {
    divisor = std::max(divisor, factor_a * y_a + factor_b * y_b);
    return false;
  });
  return Combined(a, b, Formula(factor_a, factor_b, divisor)).Simplified();
}

double PiecewiseLinear::Possibility(const PiecewiseLinear& a, const PiecewiseLinear& b,
                                    double enough) {
  // OPTIMIZATION: a number is one place of the other function.
  if (a.IsPeak()) return std::min(a.points_[1].y, b.At(a.points_[1].x));
  if (b.IsPeak()) return std::min(b.points_[1].y, a.At(b.points_[1].x));
  if (LieApart(a.points_, b.points_)) return 0;
  double height = 0;
  VisitBoth(a, b, [&height, enough](double, double y_a, double y_b) {
    height = std::max(height, std::min(y_a, y_b));
    return height > enough || height == 1;
  });
  return height;
}

bool PiecewiseLinear::Iterate(const PiecewiseLinear& other, const TFuzzyOperator& visit) const {
  return VisitBoth(*this, other, [&visit](double x, double y_this, double y_other) {
    return visit(x, y_this, x, y_other);
  });
}

}  // namespace reasoner
