// What the operations on membership functions share: reading points from left to right, and
// building a function from left to right. For this folder's own sources.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <span>
#include <vector>

#include "reasoner/support/membership/PiecewiseLinear.h"

namespace reasoner {

// How far x lies between x1 < x2, from 0 to 1, also where their distance is beyond the range of a
// double.
inline double FractionOf(double x, double x1, double x2) noexcept {
  const double width = x2 - x1;
  if (std::isfinite(width)) return (x - x1) / width;
  return (x / 4 - x1 / 4) / (x2 / 4 - x1 / 4);
}

// Reads a function at places that never go back; a whole walk costs O(n).
class PieceCursor {
 public:
  explicit PieceCursor(std::span<const FuzzyPoint> points) noexcept : points_(points) {}

  // The x of the next points, infinity behind the last.
  double NextX() const noexcept {
    return next_ < points_.size() ? points_[next_].x : std::numeric_limits<double>::infinity();
  }
  // The place must not lie beyond NextX(); being on it takes its points.
  Limits At(double x) noexcept;

 private:
  std::span<const FuzzyPoint> points_;
  std::size_t next_ = 0;
};

// The limits that up to three points of one x stand for.
Limits LimitsOfGroup(std::span<const FuzzyPoint> group) noexcept;

// Puts a function together from left to right, in as few points as show it.
class PieceBuilder {
 public:
  void Reserve(std::size_t points) { points_.reserve(points); }
  void Point(double x, double y) { points_.push_back({x, y}); }
  void Place(double x, const Limits& limits);

  // OPTIMIZATION: dropped points are bounded by the slopes that keep all of them within tolerance,
  // so that one walk drops any number of points without their errors adding up.
  PiecewiseLinear Simplified();
  PiecewiseLinear AsBuilt();

 private:
  std::vector<FuzzyPoint> points_;
};

// Memberships below this are as good as 0, for whatever root.
inline constexpr double kNoMembership = 1e-60;

// What a curve is bent by: how high it is, and how high what it is made of.
struct BendScale {
  double curve = 1;
  double source = 1;
};

// How much of an error is allowed at a membership y, so that whatever root is taken of it the error
// is no greater than it would be at 1. An error d at y becomes u d y^(u-1) under the root 1/u,
// which is greatest for u = 1 / ln(1/y).
inline double RootSafe(double y) noexcept {
  constexpr double e = 2.718281828459045;
  if (y <= kNoMembership) return 0;
  return y * e < 1 ? e * y * -std::log(y) : 1;
}

// Whether the line between two places has to be bent. A curve answers for an argument (which goes
// linearly with x), how far it is off the chord between two arguments, and how large an argument
// is.
template <class TCurve, class TArgument>
bool HasToBend(const TCurve& curve, const BendScale& scale, const TArgument& argument1,
               const TArgument& argument2) {
  const double off = curve.OffChord(argument1, argument2);
  if (!(off > 0)) return false;
  const double value1 = curve(argument1);
  const double value2 = curve(argument2);
  const double low = std::min(value1, value2);
  const double high = std::max({value1, value2, off});  // it may be 0 at both ends
  if (!(high > kNoMembership)) return false;
  const double tolerance = scale.curve * kCurveTolerance;
  if (low > 0) return off > tolerance * RootSafe(low / scale.curve);
  if (off > tolerance) return true;
  // A line to 0 looks alike however often it is halved: it ends where its source is low enough.
  const double size = std::max(curve.SizeOf(argument1), curve.SizeOf(argument2));
  return size > scale.source / 1024 && off > tolerance * RootSafe(high / scale.curve);
}

// Adds the places at which a curve between two given ones has to bend, halving as long as the chord
// is too far off.
template <class TCurve, class TArgument>
void Bend(PieceBuilder& builder, const TCurve& curve, const BendScale& scale, double x1,
          const TArgument& argument1, double x2, const TArgument& argument2, int levels = 64) {
  if (levels == 0 || !HasToBend(curve, scale, argument1, argument2)) return;
  const double x = std::midpoint(x1, x2);
  if (!(x1 < x && x < x2)) return;
  const TArgument argument = curve.Between(argument1, argument2);
  Bend(builder, curve, scale, x1, argument1, x, argument, levels - 1);
  builder.Point(x, curve(argument));
  Bend(builder, curve, scale, x, argument, x2, argument2, levels - 1);
}

}  // namespace reasoner
