// A membership function: straight lines between points, held at both ends.
//
// It is the only form of function here. Nothing is sampled and nothing is a formula, so that two
// sets meet exactly where their lines cross and a centre of gravity is exact. Curves (a power, a
// product) become lines that are at most 0.001 of the curve's height off; where the curve is low,
// less, so that a root taken of the result is at most 0.001 off as well.
//
//   y  1 |      b-----c            outside a and d the end's value goes on for ever
//        |     /      |            at the x of c and d: from the left 1, from the right 0,
//      0 |----a       d-----       and the value of the place itself is the higher, 1
//          points: a b c d
//
// Points never go back in x. Up to three share an x, which is an edge: the first is the limit from
// the left, the last the limit from the right. The value of the place is the middle one of three
// and the higher of two: a single peak is (5 0) (5 1) (5 0), and what is not that peak is 0 at 5.
// No point at all is 0 everywhere.
//
// A function of n points answers for an x in O(log n). Whatever combines, compares or measures
// walks once, O(n + m). A value type; it never changes but by assignment and AddPoint.

#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "reasoner/support/membership/FuzzyWords.h"

namespace reasoner {

struct FuzzyPoint {
  double x = 0;
  double y = 0;

  friend bool operator==(const FuzzyPoint&, const FuzzyPoint&) = default;
};

// What a function is at a place: coming from the left, on it, and leaving to the right.
struct Limits {
  double left = 0;
  double value = 0;
  double right = 0;

  bool IsEdge() const noexcept { return left != value || value != right; }
};

// A range of x, from <= to, both finite.
struct Interval {
  double from = 0;
  double to = 0;
};

// Hears of every place of two functions; True ends the walk.
using TFuzzyOperator =
    std::function<bool(double x_this, double y_this, double x_other, double y_other)>;

// How far a line may be off the curve that it stands for, as a part of the curve's height. Less
// than half of what is promised: a curve may be bent from one that has been bent before.
inline constexpr double kCurveTolerance = 0.0004;
// Points that are no further apart than this are the same.
inline constexpr double kSamePoint = 1e-9;

class PiecewiseLinear {
 public:
  PiecewiseLinear() = default;
  // Points in any order; those of one x stay in theirs. Each y is clamped to 0..1. A coordinate
  // that is not finite raises EKitException "invalid fuzzy value".
  explicit PiecewiseLinear(std::vector<FuzzyPoint> points);

  std::span<const FuzzyPoint> GetPoints() const noexcept { return points_; }
  std::size_t size() const noexcept { return points_.size(); }
  bool empty() const noexcept { return points_.empty(); }
  // Same number of points, each within kSamePoint of its counterpart.
  bool SamePoints(const PiecewiseLinear& other) const noexcept;
  // A single peak, as a number is: 0 but at one x.
  bool IsPeak() const noexcept;

  // A NaN has no membership.
  Limits LimitsAt(double x) const noexcept;
  double At(double x) const noexcept { return LimitsAt(x).value; }

  // Behind all points of x not greater. A fourth point of one x takes the place of the middle one.
  void AddPoint(double x, double y);
  void AddPoints(std::vector<FuzzyPoint> points);

  // The highest of all points.
  double Height() const noexcept;
  // Over a range of x. The height counts limits too.
  double Height(Interval domain) const noexcept;
  double Area(Interval domain) const noexcept;
  // The exact centre of gravity. Without area the mean of the peaks by their heights, without any
  // membership the middle of the domain.
  double Centroid(Interval domain) const noexcept;
  // The middle of where the function is highest, over intervals by their lengths or else over
  // single places; without any membership the middle of the domain.
  double MeanOfMaxima(Interval domain) const;

  // The hedges. `flag` False asks for the inverse. A number that is not finite, or that is negative
  // for a power or a scale, raises EKitException "invalid fuzzy value".
  PiecewiseLinear Hedged(TBaseFuzzyHedge hedge, bool flag, double number, Interval domain) const;

  static PiecewiseLinear Combine(const PiecewiseLinear& a, const PiecewiseLinear& b,
                                 TFuzzyOperation operation, bool is_union);
  // factor_a times a and factor_b times b, added, and divided by their height where that is above
  // 1. `divisor` is what it was divided by.
  static PiecewiseLinear Sum(const PiecewiseLinear& a, double factor_a, const PiecewiseLinear& b,
                             double factor_b, double& divisor);
  // The highest place of the smaller of the two; the walk ends early at the first place that is
  // above `enough`.
  static double Possibility(const PiecewiseLinear& a, const PiecewiseLinear& b,
                            double enough = 1.0);
  // Walks both upward over every x of either and every crossing, at an edge over the limits from
  // the left, the values and the limits from the right. True as soon as the operator answers so.
  bool Iterate(const PiecewiseLinear& other, const TFuzzyOperator& visit) const;

 private:
  friend class PieceBuilder;

  std::vector<FuzzyPoint> points_;
};

}  // namespace reasoner
