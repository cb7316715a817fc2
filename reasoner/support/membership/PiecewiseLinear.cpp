#include "reasoner/support/membership/PiecewiseLinear.h"

#include <algorithm>
#include <utility>

#include "reasoner/support/Exception.h"
#include "reasoner/support/membership/PieceBuilder.h"

namespace reasoner {

namespace {

// Puts a point into the range of the memberships. Adding zero takes the sign off a zero.
FuzzyPoint Checked(double x, double y) {
  if (!std::isfinite(x) || !std::isfinite(y)) throw EKitException("invalid fuzzy value");
  return {x + 0.0, std::clamp(y, 0.0, 1.0) + 0.0};
}

bool LeftOf(const FuzzyPoint& a, const FuzzyPoint& b) noexcept { return a.x < b.x; }

}  // namespace

PiecewiseLinear::PiecewiseLinear(std::vector<FuzzyPoint> points) { AddPoints(std::move(points)); }

void PiecewiseLinear::AddPoint(double x, double y) {
  const FuzzyPoint point = Checked(x, y);
  const auto place = std::upper_bound(points_.begin(), points_.end(), point, LeftOf);
  if (place - points_.begin() >= 3 && (place - 3)->x == point.x) {
    (place - 2)->y = point.y;
  } else {
    points_.insert(place, point);
  }
}

void PiecewiseLinear::AddPoints(std::vector<FuzzyPoint> points) {
  for (FuzzyPoint& point : points) point = Checked(point.x, point.y);
  const auto old_size = static_cast<std::ptrdiff_t>(points_.size());
  if (points_.empty()) {
    points_ = std::move(points);
  } else {
    points_.insert(points_.end(), points.begin(), points.end());
  }
  const auto middle = points_.begin() + old_size;
  if (!std::is_sorted(middle, points_.end(), LeftOf)) {
    std::stable_sort(middle, points_.end(), LeftOf);
  }
  std::inplace_merge(points_.begin(), middle, points_.end(), LeftOf);

  // Of more than three points of one x the first, the newest and the third stay.
  std::size_t kept = 0;
  for (std::size_t i = 0; i < points_.size(); ++i) {
    if (kept >= 3 && points_[kept - 3].x == points_[i].x) {
      points_[kept - 2].y = points_[i].y;
    } else {
      points_[kept++] = points_[i];
    }
  }
  points_.resize(kept);
}

bool PiecewiseLinear::SamePoints(const PiecewiseLinear& other) const noexcept {
  if (points_.data() == other.points_.data()) return true;
  return std::equal(points_.begin(), points_.end(), other.points_.begin(), other.points_.end(),
                    [](const FuzzyPoint& a, const FuzzyPoint& b) {
                      return std::fabs(a.x - b.x) <= kSamePoint &&
                             std::fabs(a.y - b.y) <= kSamePoint;
                    });
}

bool PiecewiseLinear::IsPeak() const noexcept {
  return points_.size() == 3 && points_[0].x == points_[2].x && points_[0].y == 0 &&
         points_[2].y == 0;
}

Limits PiecewiseLinear::LimitsAt(double x) const noexcept {
  if (points_.empty() || std::isnan(x)) return {};
  const auto first = std::lower_bound(points_.begin(), points_.end(), FuzzyPoint{x, 0}, LeftOf);
  const auto from = first == points_.begin() ? first : first - 1;
  const auto to = first + std::min<std::ptrdiff_t>(3, points_.end() - first);
  return PieceCursor(std::span(from, to)).At(x);
}

Limits LimitsOfGroup(std::span<const FuzzyPoint> group) noexcept {
  const double left = group.front().y;
  const double right = group.back().y;
  return {left, group.size() == 3 ? group[1].y : std::max(left, right), right};
}

Limits PieceCursor::At(double x) noexcept {
  while (next_ < points_.size() && points_[next_].x < x) ++next_;
  if (next_ < points_.size() && points_[next_].x == x) {
    const std::size_t first = next_;
    while (next_ < points_.size() && points_[next_].x == x) ++next_;
    return LimitsOfGroup(points_.subspan(first, next_ - first));
  }
  if (points_.empty()) return {};
  double y = 0;
  if (next_ == 0) {
    y = points_.front().y;
  } else if (next_ == points_.size()) {
    y = points_.back().y;
  } else {
    const FuzzyPoint& a = points_[next_ - 1];
    const FuzzyPoint& b = points_[next_];
    y = std::lerp(a.y, b.y, FractionOf(x, a.x, b.x));
  }
  return {y, y, y};
}

void PieceBuilder::Place(double x, const Limits& limits) {
  Point(x, limits.left);
  if (!limits.IsEdge()) return;
  const bool value_is_higher_limit =
      limits.left != limits.right && limits.value == std::max(limits.left, limits.right);
  if (!value_is_higher_limit) Point(x, limits.value);
  Point(x, limits.right);
}

PiecewiseLinear PieceBuilder::AsBuilt() {
  PiecewiseLinear built;
  built.points_ = std::move(points_);
  return built;
}

PiecewiseLinear PieceBuilder::Simplified() {
  if (points_.size() < 2) return AsBuilt();
  const std::vector<FuzzyPoint>& points = points_;
  // Differences of x must stay finite; only their ratios matter.
  const double scale = std::isfinite(points.back().x - points.front().x) ? 1.0 : 0.25;
  const double infinity = std::numeric_limits<double>::infinity();
  const auto alone = [&points](std::size_t i) {
    return points[i - 1].x < points[i].x && points[i].x < points[i + 1].x;
  };

  std::vector<FuzzyPoint> kept{points.front()};
  double least = -infinity;  // slopes of lines from the last point kept that pass all dropped ones
  double most = infinity;
  for (std::size_t i = 1; i < points.size(); ++i) {
    const FuzzyPoint& point = points[i];
    const auto slope_to = [&](const FuzzyPoint& target, double off) {
      const double distance = target.x * scale - kept.back().x * scale;
      return (target.y + off - kept.back().y) / distance;
    };
    bool keep = i + 1 == points.size() || !alone(i);
    if (!keep) {
      const double off = std::max(kSamePoint * RootSafe(point.y), kNoMembership);
      least = std::max(least, slope_to(point, -off));
      most = std::min(most, slope_to(point, off));
      const double slope = slope_to(points[i + 1], 0);
      keep = !(least <= slope && slope <= most);  // written so that a NaN keeps the point
    }
    if (!keep) continue;
    kept.push_back(point);
    least = -infinity;
    most = infinity;
  }
  kept.shrink_to_fit();
  PiecewiseLinear simple;
  simple.points_ = std::move(kept);
  return simple;
}

}  // namespace reasoner
