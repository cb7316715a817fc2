// The membership function: points, hedges, operations, measures.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "reasoner/support/membership/PiecewiseLinear.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

using Points = std::vector<FuzzyPoint>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kHuge = std::numeric_limits<double>::max();
constexpr TFuzzyOperation kOperations[] = {foZadeh,   foMean,       foMeanSqr, foMeanSqrt,
                                           foProduct, foBoundedSum, foSum};

PiecewiseLinear Function(Points points) { return PiecewiseLinear(std::move(points)); }
PiecewiseLinear Triangle(double a, double b, double c) {
  return Function({{a, 0}, {b, 1}, {c, 0}});
}
PiecewiseLinear Hedged(const PiecewiseLinear& function, TBaseFuzzyHedge hedge, double number = 0,
                       bool flag = true) {
  return function.Hedged(hedge, flag, number, {0, 10});
}

std::string Shown(const PiecewiseLinear& function) {
  std::string text;
  for (const FuzzyPoint& point : function.GetPoints()) {
    char buffer[80];
    std::snprintf(buffer, sizeof(buffer), "(%g %g)", point.x, point.y);
    text += buffer;
  }
  return text;
}
std::string Shown(const Limits& at) {
  char buffer[80];
  std::snprintf(buffer, sizeof(buffer), "%g %g %g", at.left, at.value, at.right);
  return buffer;
}

// Lines, edges of two and of three, plateaus and held ends, on a coarse grid so that places meet.
PiecewiseLinear RandomFunction(std::mt19937& random) {
  Points points;
  const auto count = random() % 9;
  for (unsigned i = 0; i < count; ++i) {
    points.push_back({static_cast<double>(random() % 12), static_cast<double>(random() % 9) / 8});
  }
  return Function(points);
}

TEST(MembershipTest, PointsAreSortedClampedAndAtMostThreeShareAnX) {
  EXPECT_EQ(Shown(Function({{3, 2}, {1, -1}, {2, 0.5}})), "(1 0)(2 0.5)(3 1)");
  const Points same_x = {{1, 0.1}, {1, 0.2}, {1, 0.3}, {1, 0.4}, {1, 0.5}};
  EXPECT_EQ(Shown(Function(same_x)), "(1 0.1)(1 0.5)(1 0.3)");
  // One by one and at once are the same.
  std::mt19937 random(3);
  for (int i = 0; i < 200; ++i) {
    Points points;
    for (int j = 0; j < 12; ++j) {
      points.push_back({static_cast<double>(random() % 4), static_cast<double>(random() % 9) / 8});
    }
    PiecewiseLinear singly;
    for (const FuzzyPoint& point : points) singly.AddPoint(point.x, point.y);
    EXPECT_EQ(Shown(Function(points)), Shown(singly));
  }
  for (const FuzzyPoint& bad : Points{{kNaN, 0}, {kInfinity, 0}, {0, kNaN}, {0, -kInfinity}}) {
    PiecewiseLinear function = Triangle(0, 1, 2);
    EXPECT_EQ(FailureOf([&] { function.AddPoint(bad.x, bad.y); }), "invalid fuzzy value");
    EXPECT_EQ(FailureOf([&] { function.AddPoints({{7, 1}, bad}); }), "invalid fuzzy value");
    EXPECT_EQ(Shown(function), "(0 0)(1 1)(2 0)");
  }
}

TEST(MembershipTest, LimitsOfPlacesAndHeldEnds) {
  const struct {
    Points points;
    double x;
    const char* wanted;
  } rows[] = {
      {{}, 5, "0 0 0"},
      {{{2, 0.5}}, -kHuge, "0.5 0.5 0.5"},
      {{{2, 0.5}}, kInfinity, "0.5 0.5 0.5"},
      {{{0, 1}, {10, 0}}, -1, "1 1 1"},
      {{{0, 1}, {10, 0}}, 2.5, "0.75 0.75 0.75"},
      {{{0, 1}, {10, 0}}, 11, "0 0 0"},
      {{{5, 0}, {5, 1}, {5, 0}}, 5, "0 1 0"},
      {{{5, 0}, {5, 1}, {5, 0}}, 6, "0 0 0"},
      {{{0, 0}, {5, 1}, {5, 0.25}}, 5, "1 1 0.25"},
      {{{5, 0.25}, {5, 1}, {9, 1}}, 5, "0.25 1 1"},
      {{{5, 1}, {5, 0.5}, {5, 0}}, 5, "1 0.5 0"},
      {{{-kHuge, 0}, {kHuge, 1}}, 0, "0.5 0.5 0.5"},
      {{{0, 0}, {5e-324, 1}}, 5e-324, "1 1 1"},
      {{{0, 1}, {10, 1}}, kNaN, "0 0 0"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Shown(Function(row.points).LimitsAt(row.x)), row.wanted) << row.x;
  }
}

TEST(MembershipTest, CrossingTrianglesAndTouchingEdges) {
  const PiecewiseLinear left = Triangle(0, 2, 4);
  const PiecewiseLinear right = Triangle(2, 4, 6);
  EXPECT_EQ(Shown(PiecewiseLinear::Combine(left, right, foZadeh, true)),
            "(0 0)(2 1)(3 0.5)(4 1)(6 0)");
  EXPECT_EQ(Shown(PiecewiseLinear::Combine(left, right, foZadeh, false)),
            "(0 0)(2 0)(3 0.5)(4 0)(6 0)");
  EXPECT_DOUBLE_EQ(PiecewiseLinear::Possibility(left, right), 0.5);
  EXPECT_EQ(PiecewiseLinear::Possibility(left, Triangle(4, 5, 6)), 0);
  EXPECT_EQ(PiecewiseLinear::Possibility(left, {}), 0);
  EXPECT_EQ(Shown(PiecewiseLinear::Combine(left, {}, foZadeh, true)), Shown(left));

  // Two edges at one place: the values of the place are what meets, not the limits.
  const PiecewiseLinear falls = Function({{0, 1}, {5, 1}, {5, 0}});
  const PiecewiseLinear rises = Function({{5, 0}, {5, 1}, {9, 1}});
  EXPECT_EQ(PiecewiseLinear::Possibility(falls, rises), 1);
  EXPECT_EQ(Shown(PiecewiseLinear::Combine(falls, rises, foZadeh, false)),
            "(0 0)(5 0)(5 1)(5 0)(9 0)");
  EXPECT_EQ(Shown(PiecewiseLinear::Combine(falls, rises, foZadeh, true)), "(0 1)(9 1)");
  // Held ends meet far outside of all points.
  EXPECT_EQ(PiecewiseLinear::Possibility(Function({{0, 0}, {1, 0.7}}), Function({{50, 0.4}})), 0.4);
}

TEST(MembershipTest, HedgesOnEdgesPeaksAndNothing) {
  const PiecewiseLinear peak = Function({{5, 0}, {5, 1}, {5, 0}});
  const PiecewiseLinear hot = Function({{50, 0}, {100, 1}, {100, 0}});
  const PiecewiseLinear low = Function({{0, 0}, {4, 0.5}, {8, 0}});
  const struct {
    PiecewiseLinear function;
    TBaseFuzzyHedge hedge;
    double number;
    bool flag;
    const char* wanted;
  } rows[] = {
      {peak, bhComplement, 0, true, "(5 1)(5 0)(5 1)"},
      {hot, bhComplement, 0, true, "(50 1)(100 0)(100 0)(100 1)"},
      {{}, bhComplement, 0, true, "(0 1)"},
      {{}, bhPower, 2, true, ""},
      {{}, bhLimit, 0.3, false, "(0 0.3)"},
      {hot, bhLimit, 0.5, true, "(50 0)(75 0.5)(100 0.5)(100 0)"},
      {hot, bhLimit, 7, true, "(50 0)(100 1)(100 0)"},
      {hot, bhLimit, 0.5, false, "(50 0.5)(75 0.5)(100 1)(100 0.5)"},
      {hot, bhScale, 0.5, true, "(50 0)(100 0.5)(100 0)"},
      {low, bhScale, 4, true, "(0 0)(2 1)(6 1)(8 0)"},
      {hot, bhScale, 1e308, true, "(50 0)(50 1)(100 1)(100 0)"},  // one number off either edge
      {low, bhScale, 0.25, false, "(0 0)(2 1)(6 1)(8 0)"},
      {low, bhScale, 0, false, "(0 0)(0 0)(0 1)(8 1)(8 0)(8 0)"},
      {low, bhPower, 0, true, "(0 1)(8 1)"},
      {hot, bhPower, 0, false, "(50 0)(100 0)(100 1)(100 0)"},
      {low, bhShift, 2, true, "(2 0)(6 0.5)(10 0)"},
      {low, bhShift, 2, false, "(-2 0)(2 0.5)(6 0)"},
      {peak, bhAbove, 0, true, "(5 0)(5 0)(5 1)"},
      {peak, bhBelow, 0, true, "(5 1)(5 0)(5 0)"},
      {low, bhAbove, 0, true, "(4 0)(4 0)(4 0.5)(8 1)"},
      {low, bhBelow, 0, true, "(0 1)(4 0.5)(4 0)(4 0)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Shown(Hedged(row.function, row.hedge, row.number, row.flag)), row.wanted)
        << row.hedge << " " << row.number << " " << row.flag;
  }
  EXPECT_EQ(Hedged(Hedged(hot, bhComplement), bhComplement).At(100), 1);
  for (const double bad : {kNaN, kInfinity, -1.0}) {
    EXPECT_EQ(FailureOf([&] { Hedged(low, bhPower, bad); }), "invalid fuzzy value");
    EXPECT_EQ(FailureOf([&] { Hedged(low, bhScale, bad); }), "invalid fuzzy value");
  }
  EXPECT_EQ(FailureOf([&] {
              Hedged(Function({{kHuge, 1}}), bhShift, kHuge);
            }),
            "invalid fuzzy value");
}

TEST(MembershipTest, PowersStayWithinTolerance) {
  const PiecewiseLinear ramp = Function({{0, 0}, {1, 1}});
  const PiecewiseLinear tent = Function({{-3, 0.2}, {1, 0.9}, {1, 0.1}, {7, 1}});
  EXPECT_LE(Hedged(ramp, bhPower, 2).size(), 80u);
  EXPECT_LE(Hedged(Triangle(0, 1, 2), bhPower, 2, false).size(), 160u);
  for (const double n : {1.25, 2.0, 3.0, 7.5, 50.0, 1000.0}) {
    for (const bool flag : {true, false}) {
      for (const auto* function : {&ramp, &tent}) {
        const PiecewiseLinear power = Hedged(*function, bhPower, n, flag);
        double worst = 0;
        for (int i = 0; i <= 10'000; ++i) {
          const double x = -3 + i * 0.001;
          const double wanted = std::pow(function->At(x), flag ? n : 1 / n);
          worst = std::max(worst, std::fabs(power.At(x) - wanted));
        }
        EXPECT_LE(worst, kCurveTolerance + 1e-7) << n << flag;
      }
    }
  }
  const PiecewiseLinear intense = Hedged(ramp, bhIntensify);
  for (int i = 0; i <= 10'000; ++i) {
    const double y = i / 10'000.0;
    const double wanted = y <= 0.5 ? 2 * y * y : 1 - 2 * (1 - y) * (1 - y);
    ASSERT_NEAR(intense.At(y), wanted, 0.001) << y;
  }
}

// The formulas themselves, apart from the library.
double Wanted(TFuzzyOperation operation, bool is_union, double a, double b, double height) {
  const double low = std::min(a, b);
  const double high = std::max(a, b);
  const double mean = is_union ? (low + 2 * high) / 3 : (a + b) / 2;
  switch (operation) {
    case foZadeh:
      return is_union ? high : low;
    case foMean:
      return mean;
    case foMeanSqr:
      return mean * mean;
    case foMeanSqrt:
      return std::sqrt(mean);
    case foProduct:
      return is_union ? a + b - a * b : a * b;
    case foBoundedSum:
      return is_union ? std::min(1.0, a + b) : std::max(0.0, a + b - 1);
    case foSum:
      return is_union ? (a + b) / std::max(1.0, height) : std::max(0.0, a + b - 1);
  }
  return 0;
}

TEST(MembershipTest, OperationsOnRandomSetsFollowTheirFormulas) {
  std::mt19937 random(20250711);
  std::uniform_real_distribution<double> places(-2, 14);
  for (int round = 0; round < 1000; ++round) {
    const PiecewiseLinear a = RandomFunction(random);
    const PiecewiseLinear b = RandomFunction(random);
    double height = 0;
    a.Iterate(b, [&height](double, double y_a, double, double y_b) {
      height = std::max(height, y_a + y_b);
      return false;
    });
    std::vector<double> xs;
    for (int x = -1; x <= 13; ++x) xs.push_back(x);
    for (int i = 0; i < 20; ++i) xs.push_back(places(random));
    for (const TFuzzyOperation operation : kOperations) {
      const PiecewiseLinear both[] = {PiecewiseLinear::Combine(a, b, operation, false),
                                      PiecewiseLinear::Combine(a, b, operation, true)};
      for (const bool is_union : {false, true}) {
        const PiecewiseLinear& result = both[is_union ? 1 : 0];
        const PiecewiseLinear swapped = PiecewiseLinear::Combine(b, a, operation, is_union);
        for (const FuzzyPoint& point : result.GetPoints()) {
          ASSERT_TRUE(point.y >= 0 && point.y <= 1);
        }
        for (const double x : xs) {
          const Limits at = result.LimitsAt(x);
          const Limits at_a = a.LimitsAt(x);
          const Limits at_b = b.LimitsAt(x);
          const auto place = [&] {
            return std::to_string(round) + ": " + Shown(a) + " " + Shown(b) + " operation " +
                   std::to_string(operation) + (is_union ? " union" : " intersection") + " at " +
                   std::to_string(x);
          };
          // The root of a rounding near 0 is far larger than the rounding.
          constexpr double kOff = kCurveTolerance + 1e-6;
          ASSERT_NEAR(at.left, Wanted(operation, is_union, at_a.left, at_b.left, height), kOff)
              << place();
          ASSERT_NEAR(at.value, Wanted(operation, is_union, at_a.value, at_b.value, height), kOff)
              << place();
          ASSERT_NEAR(at.right, Wanted(operation, is_union, at_a.right, at_b.right, height), kOff)
              << place();
          ASSERT_NEAR(at.value, swapped.At(x), 1e-8) << place();
          ASSERT_GE(both[1].At(x), both[0].At(x) - 2 * kOff) << place();
        }
      }
    }
    const double possibility = PiecewiseLinear::Possibility(a, b);
    ASSERT_EQ(possibility, PiecewiseLinear::Possibility(b, a));
    ASSERT_NEAR(possibility, PiecewiseLinear::Combine(a, b, foZadeh, false).Height({-5, 20}), 1e-8)
        << Shown(a) << " " << Shown(b);
    ASSERT_TRUE(PiecewiseLinear::Combine(a, a, foZadeh, true).SamePoints(a));
  }
}

TEST(MembershipTest, CentroidAgainstAFineSum) {
  std::mt19937 random(77);
  constexpr int kSteps = 1'000'000;
  for (int round = 0; round < 12; ++round) {
    const PiecewiseLinear function = RandomFunction(random);
    const Interval domain{1, 11};
    if (!(function.Area(domain) > 0)) continue;
    double area = 0;
    double moment = 0;
    for (int i = 0; i < kSteps; ++i) {
      const double x = domain.from + (domain.to - domain.from) * (i + 0.5) / kSteps;
      const double y = function.At(x);
      area += y;
      moment += x * y;
    }
    EXPECT_NEAR(function.Centroid(domain), moment / area, 1e-6) << Shown(function);
    EXPECT_NEAR(function.Area(domain), area * 10 / kSteps, 1e-5) << Shown(function);
  }
}

TEST(MembershipTest, MeasuresOfEdgeCases) {
  const struct {
    const char* name;
    Points points;
    Interval domain;
    double height, area, centroid, maxima;
  } rows[] = {
      {"nothing", {}, {2, 8}, 0, 0, 5, 5},
      {"nothing, no width", {}, {3, 3}, 0, 0, 3, 3},
      {"outside the domain", {{20, 0}, {21, 1}, {22, 0}}, {2, 8}, 0, 0, 5, 5},
      {"one held point", {{3, 0.5}}, {0, 4}, 0.5, 2, 2, 2},
      {"one point, no width", {{3, 0.5}}, {3, 3}, 0.5, 0, 3, 3},
      {"a peak", {{5, 0}, {5, 1}, {5, 0}}, {0, 20}, 1, 0, 5, 5},
      {"a peak on the border", {{0, 0}, {0, 1}, {0, 0}}, {0, 20}, 1, 0, 0, 0},
      {"two peaks", {{2, 0}, {2, 1}, {2, 0}, {8, 0}, {8, 0.5}, {8, 0}}, {0, 10}, 1, 0, 4, 2},
      {"a plateau", {{0, 0}, {2, 1}, {4, 1}, {10, 0}}, {0, 10}, 1, 6, 4.222222222222222, 3},
      {"two plateaus", {{0, 1}, {1, 1}, {1, 0}, {9, 0}, {9, 1}, {12, 1}}, {0, 12}, 1, 4, 8, 8},
      {"a held plateau", {{0, 0}, {4, 1}}, {0, 8}, 1, 6, 4.8888888888888893, 6},
      {"a held plateau cut off", {{4, 1}, {8, 0}}, {2, 6}, 1, 3.5, 3.8095238095238093, 3},
      {"an edge", {{0, 0}, {6, 1}, {6, 0}}, {0, 9}, 1, 3, 4, 6},
      {"huge", {{-kHuge, 0}, {0, 1}, {kHuge, 0}}, {-kHuge, kHuge}, 1, kHuge, 0, 0},
      {"narrow and far",
       {{1e9, 0}, {1e9 + 1, 1}, {1e9 + 2, 0}},
       {-1e12, 1e12},
       1,
       1,
       1e9 + 1,
       1e9 + 1},
      {"denormal", {{0, 0}, {5e-324, 1}, {1e-323, 0}}, {0, 1e-323}, 1, 0, 5e-324, 5e-324},
  };
  for (const auto& row : rows) {
    const PiecewiseLinear function = Function(row.points);
    EXPECT_DOUBLE_EQ(function.Height(row.domain), row.height) << row.name;
    EXPECT_DOUBLE_EQ(function.Area(row.domain), row.area) << row.name;
    EXPECT_DOUBLE_EQ(function.Centroid(row.domain), row.centroid) << row.name;
    EXPECT_DOUBLE_EQ(function.MeanOfMaxima(row.domain), row.maxima) << row.name;
  }
}

TEST(MembershipTest, IterateVisitsEveryXAndCrossingOnceUnlessAnEdge) {
  std::string seen;
  const auto visit = [&seen](double x, double y_a, double, double y_b) {
    char buffer[80];
    std::snprintf(buffer, sizeof(buffer), "[%g %g %g]", x, y_a, y_b);
    seen += buffer;
    return x >= 4;
  };
  EXPECT_TRUE(Triangle(0, 2, 4).Iterate(Function({{1, 0}, {1, 1}, {6, 1}}), visit));
  EXPECT_EQ(seen, "[0 0 0][1 0.5 0][1 0.5 1][1 0.5 1][2 1 1][4 0 1]");
  seen.clear();
  EXPECT_FALSE(Function({{0, 0}, {2, 1}}).Iterate(Function({{0, 1}, {2, 0}}), visit));
  EXPECT_EQ(seen, "[0 0 1][1 0.5 0.5][2 1 0]");
  EXPECT_FALSE(PiecewiseLinear().Iterate({}, visit));
}

// Sorted, at most three points of one x, all in range, every measure finite and in the domain.
void ExpectSound(const PiecewiseLinear& function, const std::string& what) {
  const auto points = function.GetPoints();
  for (std::size_t i = 0; i < points.size(); ++i) {
    ASSERT_TRUE(std::isfinite(points[i].x) && points[i].y >= 0 && points[i].y <= 1) << what;
    ASSERT_TRUE(i < 1 || points[i - 1].x <= points[i].x) << what;
    ASSERT_TRUE(i < 3 || points[i - 3].x < points[i].x) << what;
  }
  for (const Interval& domain : {Interval{-kHuge, kHuge}, Interval{0, 5e-324}, Interval{1, 1}}) {
    for (const double x : {function.Centroid(domain), function.MeanOfMaxima(domain)}) {
      ASSERT_TRUE(x >= domain.from && x <= domain.to) << what << " gives " << x;
    }
    ASSERT_TRUE(std::isfinite(function.Area(domain)) && function.Area(domain) >= 0) << what;
  }
}

TEST(MembershipTest, ExtremeNumbersKeepFunctionsSound) {
  const double xs[] = {
      -kHuge,    -1e200, -1,   -1e-300,  0,     5e-324, 1e-323, 1e-300, 1, std::nextafter(1.0, 2),
      1 + 5e-16, 2,      1e16, 1e16 + 2, 1e200, kHuge};
  const double ys[] = {0, 5e-324, 1e-300, 1e-10, 0.25, 0.5, 1 - 1e-16, 1};
  const double numbers[] = {0, 5e-324, 1e-10, 0.3, 1, 1 + 1e-15, 17, 1e300, kHuge};
  std::mt19937 random(99);
  const auto extreme = [&] {
    Points points(random() % 8);
    for (FuzzyPoint& point : points) {
      point = {xs[random() % std::size(xs)], ys[random() % std::size(ys)]};
    }
    return Function(std::move(points));
  };
  for (int round = 0; round < 1000; ++round) {
    const PiecewiseLinear a = extreme();
    const PiecewiseLinear b = extreme();
    ExpectSound(a, Shown(a));
    for (const TFuzzyOperation operation : kOperations) {
      for (const bool is_union : {false, true}) {
        const PiecewiseLinear result = PiecewiseLinear::Combine(a, b, operation, is_union);
        ExpectSound(result, Shown(a) + Shown(b) + std::to_string(operation));
        ASSERT_EQ(result.size(), PiecewiseLinear::Combine(b, a, operation, is_union).size());
      }
    }
    for (int hedge = bhComplement; hedge <= bhLimit; ++hedge) {
      const double number = numbers[random() % std::size(numbers)];
      for (const bool flag : {true, false}) {
        const std::string what = Shown(a) + std::to_string(hedge) + " " + std::to_string(number);
        PiecewiseLinear result;
        const std::string failure = FailureOf(
            [&] { result = Hedged(a, static_cast<TBaseFuzzyHedge>(hedge), number, flag); });
        ASSERT_TRUE(failure == "" || hedge == bhShift) << what << failure;
        ExpectSound(result, what);
      }
    }
    ASSERT_LE(PiecewiseLinear::Possibility(a, b), 1);
  }
}

TEST(MembershipTest, ThousandsOfPointsAreSimplifiedWithoutDrift) {
  // A parabola so fine that each point lies on the chord of its neighbours.
  Points points;
  for (int i = 0; i <= 200'000; ++i) {
    const double x = i / 200'000.0;
    points.push_back({x, x * x});
  }
  const PiecewiseLinear parabola = Function(points);
  const PiecewiseLinear same = PiecewiseLinear::Combine(parabola, {}, foZadeh, true);
  EXPECT_LT(same.size(), points.size() / 4);
  for (int i = 0; i <= 10'000; ++i) {
    const double x = i / 10'000.0;
    ASSERT_NEAR(same.At(x), x * x, 3e-9) << x;
  }
  // Collinear points go, and a function far apart from itself meets nobody.
  EXPECT_EQ(Shown(Hedged(Function({{0, 0}, {1, 0.25}, {2, 0.5}, {4, 1}}), bhComplement)),
            "(0 1)(4 0)");
  EXPECT_EQ(Shown(Hedged(Function({{-kHuge, 0}, {0, 0.5}, {kHuge, 1}}), bhComplement)).substr(0, 2),
            "(-");
}

}  // namespace
}  // namespace reasoner
