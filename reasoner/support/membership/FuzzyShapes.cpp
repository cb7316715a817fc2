// The shapes of a fuzzy set: triangle, S and Z curve, Pi and beta bell, as points.

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "reasoner/support/Exception.h"
#include "reasoner/support/membership/FuzzySet.h"
#include "reasoner/support/membership/PieceBuilder.h"

namespace reasoner {

namespace {

constexpr std::int32_t kMaxBranchPoints = 1'000'000;

void CheckFinite(std::initializer_list<double> numbers) {
  for (const double number : numbers) {
    if (!std::isfinite(number)) throw EKitException("invalid fuzzy value");
  }
}

std::int32_t CheckedCount(std::int32_t count) {
  if (count > kMaxBranchPoints) throw EKitException("invalid fuzzy value");
  return std::max(count, 2);
}

// The i-th of n equal steps over a distance.
double StepOf(double distance, std::int32_t i, std::int32_t n) noexcept {
  const double product = distance * i;
  return std::isfinite(product) ? product / n : distance / n * i;
}

std::vector<FuzzyPoint> Peak(double x) { return {{x, 0}, {x, 1}, {x, 0}}; }

// Zadeh's S: from 0 to 1 in two parabolas that meet at half membership in the inflection. All as
// fractions of the branch.
double SValue(double u, double inflection) noexcept {
  if (u <= 0) return 0;
  if (u >= 1) return 1;
  if (u < inflection) return 0.5 * (u / inflection) * (u / inflection);
  const double rest = (1 - u) / (1 - inflection);
  return 1 - 0.5 * rest * rest;
}

// The points of an S or of its mirror image, ends exact. Without width it is the edge.
void AddBranch(std::vector<FuzzyPoint>& points, double from, double to, double inflection,
               std::int32_t count, bool growth) {
  const std::int32_t steps = from < to ? count - 1 : 1;
  const double width = to - from;
  for (std::int32_t i = 0; i <= steps; ++i) {
    const double u = static_cast<double>(i) / steps;
    const double x = i == steps             ? to
                     : std::isfinite(width) ? from + StepOf(width, i, steps)
                                            : std::lerp(from, to, u);
    points.push_back({x, growth ? SValue(u, inflection) : 1 - SValue(u, inflection)});
  }
}

}  // namespace

void TIFuzzySet::SetToShape(const Shape& shape, std::vector<FuzzyPoint> points) {
  function_ = PiecewiseLinear(std::move(points));
  coming_.clear();
  PointsChanged();
  shape_ = shape;
}

void TIFuzzySet::SetToTriangle(double left, double centre, double right) {
  CheckFinite({left, centre, right});
  double x[] = {left, centre, right};
  std::sort(std::begin(x), std::end(x));
  SetToShape({.type = fstTriangle,
              .standard = true,
              .centre = x[1],
              .width = x[2] / 2 - x[0] / 2,
              .weight = 1,
              .range = 0},
             {{x[0], 0}, {x[1], 1}, {x[2], 0}});
}

void TIFuzzySet::SetToSCurve(double a, double b, double middle, std::int32_t count, bool growth) {
  CheckFinite({a, b, middle});
  count = CheckedCount(count);
  const double from = std::min(a, b);
  const double to = std::max(a, b);
  middle = std::clamp(middle, from, to);
  double inflection = from < to ? FractionOf(middle, from, to) : 0.5;
  // Whoever works out the middle may be a rounding off it.
  const bool centred = std::fabs(inflection - 0.5) <= kSamePoint;
  if (centred) {
    inflection = 0.5;
    middle = std::midpoint(from, to);
  }
  std::vector<FuzzyPoint> points;
  if (from < to) {
    AddBranch(points, from, to, inflection, count, growth);
  } else {
    points = Peak(from);
  }
  SetToShape({.type = growth ? fstGrowth : fstDecline,
              .standard = centred && count == kShapePoints,
              .centre = middle,
              .width = to / 2 - from / 2,
              .weight = 1,
              .range = 0},
             std::move(points));
}

void TIFuzzySet::SetToPi(double left, double right, double centre, std::int32_t count) {
  CheckFinite({left, right, centre});
  count = CheckedCount(count);
  double x[] = {left, centre, right};
  std::sort(std::begin(x), std::end(x));
  std::vector<FuzzyPoint> points;
  AddBranch(points, x[0], x[1], 0.5, count, true);
  points.pop_back();  // the peak stands once
  AddBranch(points, x[1], x[2], 0.5, count, false);
  SetToShape({.type = fstPi,
              .standard = count == kShapePoints,
              .centre = x[1],
              .width = x[2] / 2 - x[0] / 2,
              .weight = 1,
              .range = x[1] - x[0]},
             std::move(points));
}

void TIFuzzySet::SetToPi(double range, double centre, std::int32_t count) {
  range = std::fabs(range);
  SetToPi(centre - range, centre + range, centre, count);
  shape_.width = range;
  shape_.range = range;
}

void TIFuzzySet::SetToBeta(double range, double centre, double width, std::int32_t count) {
  SetToBeta(range, centre, width, 1, count);
}

void TIFuzzySet::SetToBeta(double range, double centre, double width, double weight,
                           std::int32_t count) {
  range = std::fabs(range);
  width = std::fabs(width);
  CheckFinite({centre - range, centre + range, width, weight});
  count = CheckedCount(count);
  if (width == 0) width = BetaDefaultWidth(range);
  if (weight <= 0) weight = 1;

  const double from = centre - range;
  const double to = centre + range;
  const std::int32_t steps = count - 1;
  std::vector<FuzzyPoint> points;
  if (from < centre && centre < to && width > 0) {
    for (std::int32_t i = -steps; i <= steps; ++i) {
      const double distance = StepOf(range, i, steps);
      const double ratio = distance / width;
      // The ends are 0: held, they would match everything outside.
      const bool end = i == -steps || i == steps;
      points.push_back({centre + distance, end ? 0 : 1 / (1 + weight * ratio * ratio)});
    }
    points.front().x = from;
    points.back().x = to;
  } else {
    points = Peak(centre);
  }
  SetToShape({.type = fstBeta,
              .standard = count == kShapePoints,
              .centre = centre,
              .width = width,
              .weight = weight,
              .range = range},
             std::move(points));
}

}  // namespace reasoner
