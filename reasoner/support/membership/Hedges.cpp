// The base hedges of a membership function: maps of its memberships, shifts, and the two sides of
// its peak.

#include <algorithm>
#include <cmath>
#include <utility>

#include "reasoner/support/Exception.h"
#include "reasoner/support/membership/PieceBuilder.h"
#include "reasoner/support/membership/PiecewiseLinear.h"

namespace reasoner {

namespace {

constexpr double kNoKink = -1;

double Middle(double y1, double y2) noexcept { return y1 + (y2 - y1) / 2; }

// A map of memberships that takes lines to lines, a kink apart.
template <class TMap>
struct Straight {
  TMap map;
  double operator()(double y) const noexcept { return map(y); }
  double OffChord(double, double) const noexcept { return 0; }
  double SizeOf(double y) const noexcept { return y; }
  double Between(double y1, double y2) const noexcept { return Middle(y1, y2); }
};

// y to the power of an exponent, finite and not negative.
struct Power {
  double exponent;

  double operator()(double y) const noexcept { return std::pow(y, exponent); }
  double SizeOf(double y) const noexcept { return y; }
  double Between(double y1, double y2) const noexcept { return Middle(y1, y2); }

  // A power is furthest off its chord where its slope is the chord's.
  double OffChord(double y1, double y2) const noexcept {
    const double from = (*this)(y1);
    const double to = (*this)(y2);
    if (y1 == y2) return 0;
    const double slope = (to - from) / (y2 - y1);
    const auto off = [&](double y) { return std::fabs((*this)(y)-from - slope * (y - y1)); };
    const double steepest = std::pow(slope / exponent, 1 / (exponent - 1));
    const double middle = off(Middle(y1, y2));
    // Outside, or no number, for exponents so far from 1 that the formula fails.
    const bool inside = steepest > std::min(y1, y2) && steepest < std::max(y1, y2);
    return inside ? std::max(middle, off(steepest)) : middle;
  }
};

// Away from the middle in both directions: two parabolas that meet at 0.5.
struct Contrast {
  double operator()(double y) const noexcept {
    return y <= 0.5 ? 2 * y * y : 1 - 2 * (1 - y) * (1 - y);
  }
  double SizeOf(double y) const noexcept { return y; }
  double Between(double y1, double y2) const noexcept { return Middle(y1, y2); }
  double OffChord(double y1, double y2) const noexcept {
    return std::fabs((*this)(Middle(y1, y2)) - Middle((*this)(y1), (*this)(y2)));
  }
};

// Takes every limit of the function through the map, cuts lines where the map has its kink, and
// bends them where it is a curve.
template <class TMap>
PiecewiseLinear Mapped(const PiecewiseLinear& function, const TMap& given, double kink,
                       double origin) {
  struct Clamped : TMap {
    double operator()(double y) const noexcept { return std::clamp(TMap::operator()(y), 0.0, 1.0); }
  };
  const Clamped map{given};
  PieceBuilder builder;
  const auto points = function.GetPoints();
  if (points.empty()) {
    if (map(0) > 0) builder.Point(origin, map(0));
    return builder.AsBuilt();
  }
  builder.Reserve(points.size());
  BendScale scale{0, function.Height()};
  for (const FuzzyPoint& point : points) scale.curve = std::max(scale.curve, map(point.y));
  PieceCursor cursor(points);
  double x = cursor.NextX();
  double y = 0;
  for (bool first = true; !std::isinf(cursor.NextX()); first = false) {
    const double next_x = cursor.NextX();
    const Limits at = cursor.At(next_x);
    if (!first) {
      double from_x = x;
      double from_y = y;
      if ((from_y < kink && kink < at.left) || (at.left < kink && kink < from_y)) {
        // A map that is steep has its kink close to an end, but never on it.
        const double exact = std::lerp(x, next_x, (kink - y) / (at.left - y));
        const double kink_x =
            std::max(std::nextafter(x, next_x), std::min(exact, std::nextafter(next_x, x)));
        if (x < kink_x && kink_x < next_x) {
          Bend(builder, map, scale, x, y, kink_x, kink);
          builder.Point(kink_x, map(kink));
          from_x = kink_x;
          from_y = kink;
        }
      }
      Bend(builder, map, scale, from_x, from_y, next_x, at.left);
    }
    builder.Place(next_x, {map(at.left), map(at.value), map(at.right)});
    x = next_x;
    y = at.right;
  }
  return builder.Simplified();
}

template <class TMap>
PiecewiseLinear MappedStraight(const PiecewiseLinear& function, TMap map, double kink,
                               double origin) {
  return Mapped(function, Straight<TMap>{map}, kink, origin);
}

// 1 at the places whose membership holds, 0 at the others; a line holds where both of its ends,
// or one of them, do. What a power and a scale without bound come to.
template <class THolds>
PiecewiseLinear Steps(const PiecewiseLinear& function, THolds holds, bool both_ends) {
  const auto points = function.GetPoints();
  if (points.empty()) return {};
  const auto step = [&](double y1, double y2) {
    return (both_ends ? holds(y1) && holds(y2) : holds(y1) || holds(y2)) ? 1.0 : 0.0;
  };
  PieceBuilder builder;
  PieceCursor cursor(points);
  double x = cursor.NextX();
  Limits at = cursor.At(x);
  double left = step(at.left, at.left);  // the end is held
  while (true) {
    const double next_x = cursor.NextX();
    const bool last = std::isinf(next_x);
    const Limits next = last ? Limits{at.right, at.right, at.right} : cursor.At(next_x);
    const double right = step(at.right, next.left);
    builder.Place(x, {left, step(at.value, at.value), right});
    if (last) return builder.Simplified();
    x = next_x;
    at = next;
    left = right;
  }
}

PiecewiseLinear Raised(const PiecewiseLinear& function, double exponent, double origin) {
  if (exponent == 1) return function;
  if (exponent == 0) {
    return MappedStraight(
        function, [](double) { return 1.0; }, kNoKink, origin);
  }
  if (std::isinf(exponent)) {
    return Steps(
        function, [](double y) { return y >= 1; }, true);
  }
  return Mapped(function, Power{exponent}, kNoKink, origin);
}

PiecewiseLinear Scaled(const PiecewiseLinear& function, double factor, double origin) {
  return MappedStraight(
      function, [factor](double y) { return std::min(1.0, y * factor); },
      factor > 1 ? 1 / factor : kNoKink, origin);
}

PiecewiseLinear Divided(const PiecewiseLinear& function, double divisor, double origin) {
  if (divisor == 0) {
    return Steps(
        function, [](double y) { return y > 0; }, false);
  }
  return MappedStraight(
      function, [divisor](double y) { return std::min(1.0, y / divisor); },
      divisor < 1 ? divisor : kNoKink, origin);
}

PiecewiseLinear Shifted(const PiecewiseLinear& function, double distance) {
  std::vector<FuzzyPoint> points(function.GetPoints().begin(), function.GetPoints().end());
  for (FuzzyPoint& point : points) point.x += distance;
  return PiecewiseLinear(std::move(points));
}

// What the function is not, on one side of the middle of its maxima; 0 there and on the other side.
PiecewiseLinear OneSide(const PiecewiseLinear& function, bool above, Interval domain) {
  const double peak = function.MeanOfMaxima(domain);
  const Limits at_peak = function.LimitsAt(peak);
  PieceBuilder builder;
  PieceCursor cursor(function.GetPoints());
  const auto copy_up_to = [&](double end) {
    while (cursor.NextX() < end) {
      const double x = cursor.NextX();
      const Limits at = cursor.At(x);
      builder.Place(x, {1 - at.left, 1 - at.value, 1 - at.right});
    }
  };
  if (above) {
    builder.Place(peak, {0, 0, 1 - at_peak.right});
    while (cursor.NextX() <= peak) cursor.At(cursor.NextX());
    copy_up_to(std::numeric_limits<double>::infinity());
  } else {
    copy_up_to(peak);
    builder.Place(peak, {1 - at_peak.left, 0, 0});
  }
  return builder.Simplified();
}

}  // namespace

PiecewiseLinear PiecewiseLinear::Hedged(TBaseFuzzyHedge hedge, bool flag, double number,
                                        Interval domain) const {
  const bool counts = hedge == bhPower || hedge == bhScale;
  if (!std::isfinite(number) || (counts && number < 0)) throw EKitException("invalid fuzzy value");
  switch (hedge) {
    case bhComplement:
      return MappedStraight(
          *this, [](double y) { return 1 - y; }, kNoKink, domain.from);
    case bhPower:
      return Raised(*this, flag ? number : 1 / std::fabs(number), domain.from);
    case bhScale:
      return flag ? Scaled(*this, number, domain.from) : Divided(*this, number, domain.from);
    case bhSummed:
      return *this;
    case bhShift:
      return Shifted(*this, flag ? number : -number);
    case bhIntensify:
      return Mapped(*this, Contrast{}, 0.5, domain.from);
    case bhAbove:
    case bhBelow:
      return OneSide(*this, hedge == bhAbove, domain);
    case bhLimit: {
      const double limit = std::clamp(number, 0.0, 1.0);
      if (flag) {
        return MappedStraight(
            *this, [limit](double y) { return std::min(y, limit); }, limit, domain.from);
      }
      return MappedStraight(
          *this, [limit](double y) { return std::max(y, limit); }, limit, domain.from);
    }
  }
  throw EKitException("invalid fuzzy value");
}

}  // namespace reasoner
