#include "tests/oracle/Shape.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <stdexcept>

namespace reasoner::oracle {
namespace {

using TKnot = TShape::TKnot;

template <class TChange>
TShape Mapped(const TShape& shape, const TChange& change) {
  TShape result = shape;
  for (TKnot& knot : result.knots)
    knot = TKnot{knot.x, change(knot.left), change(knot.value), change(knot.right)};
  return result;
}

// Straight between two knots as long as the change is linear where neither of two values passes the
// other.
template <class TChange>
TShape Combined(const TShape& a, const TShape& b, const TChange& change) {
  std::vector<double> places;
  for (const TShape* shape : {&a, &b}) {
    for (const TKnot& knot : shape->knots) places.push_back(knot.x);
  }
  std::sort(places.begin(), places.end());
  places.erase(std::unique(places.begin(), places.end()), places.end());
  TShape result;
  const auto add = [&](double x) {
    const TKnot one = a.At(x);
    const TKnot other = b.At(x);
    result.knots.push_back(TKnot{x, change(one.left, other.left), change(one.value, other.value),
                                 change(one.right, other.right)});
  };
  for (std::size_t i = 0; i < places.size(); ++i) {
    add(places[i]);
    if (i + 1 == places.size()) break;
    const double before = a.At(places[i]).right - b.At(places[i]).right;
    const double behind = a.At(places[i + 1]).left - b.At(places[i + 1]).left;
    if (before * behind >= 0) continue;
    const double crossing = places[i] + (places[i + 1] - places[i]) * before / (before - behind);
    if (crossing > places[i] && crossing < places[i + 1]) add(crossing);
  }
  return result;
}

double Lesser(double a, double b) { return std::min(a, b); }
double Greater(double a, double b) { return std::max(a, b); }

TShape Word(const std::string& word) {
  static const auto line = [](std::initializer_list<std::pair<double, double>> points) {
    TShape shape;
    for (const auto& [x, y] : points) shape.knots.push_back(TKnot{x, y, y, y});
    return shape;
  };
  static const std::map<std::string, TShape> kTerms = {
      {"cold", line({{0, 1}, {3, 0}})},
      {"mild", line({{1, 0}, {4, 1}, {7, 0}})},
      {"hot", line({{5, 0}, {8, 1}})},
      {"dull", line({{0, 0.6}, {2, 0.6}, {6, 0.2}})},
      // These come by themselves: the universe is 0 to 8.
      {"low", line({{0, 1}, {8, 0}})},
      {"medium", line({{0, 0}, {4, 1}, {8, 0}})},
      {"high", line({{0, 0}, {8, 1}})},
  };
  const auto term = kTerms.find(word);
  if (term != kTerms.end()) return term->second;
  TShape peak;
  peak.knots.push_back(TKnot{std::stod(word), 0, 1, 0});
  return peak;
}

}  // namespace

TKnot TShape::At(double x) const {
  const auto behind = std::lower_bound(knots.begin(), knots.end(), x,
                                       [](const TKnot& knot, double at) { return knot.x < at; });
  double held = 0;
  if (behind == knots.end()) {
    held = knots.back().right;
  } else if (behind->x == x) {
    return *behind;
  } else if (behind == knots.begin()) {
    held = behind->left;
  } else {
    const TKnot& before = behind[-1];
    held = before.right + (behind->left - before.right) * (x - before.x) / (behind->x - before.x);
  }
  return TKnot{x, held, held, held};
}

TSharedShape ShapeOf(const std::string& words) {
  static std::map<std::string, TSharedShape> known;
  TSharedShape& shape = known[words];
  if (shape) return shape;
  std::istringstream stream(words);
  TShape result;
  std::string joint;
  for (std::string word; stream >> word;) {
    if (word == "or" || word == "and") {
      joint = word;
      continue;
    }
    const bool negated = word == "not";
    if (negated) stream >> word;
    TShape next = Word(word);
    if (negated) next = Mapped(next, [](double y) { return 1 - y; });
    if (joint.empty()) {
      result = std::move(next);
    } else {
      result = Combined(result, next, joint == "or" ? Greater : Lesser);
    }
  }
  shape = std::make_shared<TShape>(std::move(result));
  return shape;
}

TSharedShape UnionOf(const TShape& a, const TShape& b) {
  return std::make_shared<TShape>(Combined(a, b, Greater));
}

TSharedShape Weakened(const TShape& shape, double strength, bool by_product) {
  if (by_product) {
    return std::make_shared<TShape>(Mapped(shape, [strength](double y) { return y * strength; }));
  }
  const TShape level{{TKnot{0, strength, strength, strength}}};
  return std::make_shared<TShape>(Combined(shape, level, Lesser));
}

double Possibility(const TShape& a, const TShape& b) {
  double greatest = 0;
  for (const TKnot& knot : Combined(a, b, Lesser).knots)
    greatest = std::max({greatest, knot.left, knot.value, knot.right});
  return greatest;
}

}  // namespace reasoner::oracle
