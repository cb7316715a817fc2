// Numbers out of a membership function: height, area, centre of gravity, mean of maxima.
//
// Everything is measured from where the function begins to be of weight and in units of how far
// that reaches, so that neither a far-off peak nor a wide universe costs digits and nothing
// overflows.

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "reasoner/support/membership/PieceBuilder.h"
#include "reasoner/support/membership/PiecewiseLinear.h"

namespace reasoner {

namespace {

// Calls place(x, limits) for the border of the domain and each x inside, and between two of them
// stretch(x1, y1, x2, y2). At a border only what lies inside counts.
template <class TPlace, class TStretch>
void WalkDomain(const PiecewiseLinear& function, Interval domain, TPlace&& place,
                TStretch&& stretch) {
  const auto points = function.GetPoints();
  if (points.empty()) return;
  double last_x = domain.from;
  Limits last = function.LimitsAt(domain.from);
  place(last_x, Limits{last.value, last.value, domain.from < domain.to ? last.right : last.value});
  if (!(domain.from < domain.to)) return;
  const auto first =
      std::upper_bound(points.begin(), points.end(), domain.from,
                       [](double x, const FuzzyPoint& point) { return x < point.x; });
  PieceCursor cursor(std::span(first == points.begin() ? first : first - 1, points.end()));
  if (first != points.begin()) cursor.At(cursor.NextX());
  while (last_x < domain.to) {
    const double x = std::min(cursor.NextX(), domain.to);
    Limits at = cursor.At(x);
    if (x == domain.to) at.right = at.value;
    stretch(last_x, last.right, x, at.left);
    place(x, at);
    last_x = x;
    last = at;
  }
}

double HighestOf(const Limits& at) noexcept { return std::max({at.left, at.value, at.right}); }

// The least range that holds all of some places.
class Extent {
 public:
  void Include(double x) noexcept {
    from_ = std::min(from_, x);
    to_ = std::max(to_, x);
  }
  bool empty() const noexcept { return from_ > to_; }
  double FractionAt(double x) const noexcept { return from_ < to_ ? FractionOf(x, from_, to_) : 0; }
  double At(double fraction) const noexcept {
    return std::lerp(from_, to_, std::clamp(fraction, 0.0, 1.0));
  }

 private:
  double from_ = std::numeric_limits<double>::infinity();
  double to_ = -std::numeric_limits<double>::infinity();
};

// A mean of fractions by their weights.
class WeightedMean {
 public:
  void Add(double fraction, double weight) noexcept {
    moment_ += fraction * weight;
    weight_ += weight;
  }
  void AddMoment(double moment, double weight) noexcept {
    moment_ += moment;
    weight_ += weight;
  }
  std::optional<double> Get() const noexcept {
    if (!(weight_ > 0)) return std::nullopt;
    return moment_ / weight_;
  }

 private:
  double moment_ = 0;
  double weight_ = 0;
};

}  // namespace

double PiecewiseLinear::Height() const noexcept {
  double height = 0;
  for (const FuzzyPoint& point : points_) height = std::max(height, point.y);
  return height;
}

double PiecewiseLinear::Height(Interval domain) const noexcept {
  double height = 0;
  WalkDomain(
      *this, domain,
      [&height](double, const Limits& at) { height = std::max(height, HighestOf(at)); },
      [](double, double, double, double) {});
  return height;
}

double PiecewiseLinear::Area(Interval domain) const noexcept {
  double area = 0;
  WalkDomain(
      *this, domain, [](double, const Limits&) {},
      [&area](double x1, double y1, double x2, double y2) {
        area += (x2 / 2 - x1 / 2) * (y1 + y2);
      });
  return std::min(area, std::numeric_limits<double>::max());
}

double PiecewiseLinear::Centroid(Interval domain) const noexcept {
  Extent support;
  WalkDomain(
      *this, domain,
      [&support](double x, const Limits& at) {
        if (at.value > 0) support.Include(x);
      },
      [&support](double x1, double y1, double x2, double y2) {
        if (y1 <= 0 && y2 <= 0) return;
        support.Include(x1);
        support.Include(x2);
      });
  if (support.empty()) return std::midpoint(domain.from, domain.to);

  WeightedMean area;
  WeightedMean peaks;
  WalkDomain(
      *this, domain,
      [&](double x, const Limits& at) {
        if (at.value > 0) peaks.Add(support.FractionAt(x), at.value);
      },
      [&](double x1, double y1, double x2, double y2) {
        if (y1 <= 0 && y2 <= 0) return;
        const double from = support.FractionAt(x1);
        const double to = support.FractionAt(x2);
        area.AddMoment((to - from) * (from * (2 * y1 + y2) + to * (y1 + 2 * y2)) / 6,
                       (to - from) * (y1 + y2) / 2);
      });
  return support.At(area.Get().value_or(peaks.Get().value_or(0.5)));
}

double PiecewiseLinear::MeanOfMaxima(Interval domain) const {
  const double height = Height(domain);
  if (!(height > 0)) return std::midpoint(domain.from, domain.to);
  const auto highest = [least = height - kSamePoint * height](double y) { return y >= least; };

  Extent extent;
  WalkDomain(
      *this, domain,
      [&](double x, const Limits& at) {
        if (highest(HighestOf(at))) extent.Include(x);
      },
      [](double, double, double, double) {});
  WeightedMean intervals;
  WeightedMean places;
  WalkDomain(
      *this, domain,
      [&](double x, const Limits& at) {
        if (highest(HighestOf(at))) places.Add(extent.FractionAt(x), 1);
      },
      [&](double x1, double y1, double x2, double y2) {
        if (!highest(y1) || !highest(y2)) return;
        const double from = extent.FractionAt(x1);
        const double to = extent.FractionAt(x2);
        intervals.Add((from + to) / 2, to - from);
      });
  return extent.At(intervals.Get().value_or(places.Get().value_or(0.5)));
}

}  // namespace reasoner
