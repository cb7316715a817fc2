// The fan of the examples against a computation of its own: memberships, strengths and the centre
// of what comes together, worked out from the words of the rules without the library.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "reasoner/engine/FuzzyValues.h"
#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Numbers.h"

namespace reasoner {
namespace {

using TMembership = std::function<double(double)>;

double Ramp(double x, double from, double to) {
  return std::clamp((x - from) / (to - from), 0., 1.);
}
TMembership Falling(double from, double to) {
  return [=](double x) { return 1 - Ramp(x, from, to); };
}
TMembership Rising(double from, double to) {
  return [=](double x) { return Ramp(x, from, to); };
}
TMembership Between(double a, double b, double c, double d) {
  return [=](double x) { return std::min(Ramp(x, a, b), 1 - Ramp(x, c, d)); };
}

const TMembership kTemperatures[] = {Falling(15, 22), Between(16, 22, 22, 28), Rising(22, 32)};
const TMembership kHumidities[] = {Falling(20, 45), Between(25, 40, 60, 75), Rising(55, 80)};
const TMembership kSpeeds[] = {[](double x) { return 1 - Ramp(x, 0, 25); }, Between(10, 30, 30, 50),
                               Between(40, 60, 60, 80), Rising(70, 90)};
constexpr int kRules[3][3] = {{0, 0, 1}, {0, 1, 2}, {2, 2, 3}};  // temperature, humidity: speed

double ExpectedSpeed(double temperature, double humidity, TFuzzyCorrelationMethod correlation,
                     const std::function<double(double, double)>& unite) {
  struct TFired {
    int speed;
    double strength;
  };
  std::vector<TFired> fired;
  for (int t = 0; t < 3; ++t) {
    for (int h = 0; h < 3; ++h) {
      // Strengths have the precision of single floats, and a match has to be above the threshold.
      const auto a = static_cast<float>(kTemperatures[t](temperature));
      const auto b = static_cast<float>(kHumidities[h](humidity));
      if (a > 0.01 && b > 0.01) fired.push_back({kRules[t][h], std::min(a, b)});
    }
  }
  constexpr int kSteps = 100000;
  double area = 0;
  double moment = 0;
  for (int i = 0; i < kSteps; ++i) {
    const double x = (i + 0.5) * 100 / kSteps;
    double y = 0;
    for (const TFired& rule : fired) {
      const double speed = kSpeeds[rule.speed](x);
      y = unite(y,
                correlation == fcmMinimum ? std::min(speed, rule.strength) : speed * rule.strength);
    }
    area += y;
    moment += x * y;
  }
  return moment / area;
}

double ComputedSpeed(TReasoner& engine, double temperature, double humidity) {
  engine.GetFacts().Clear();
  engine.Assert("(reading (temperature " + FloatToSource(temperature) + ") (humidity " +
                FloatToSource(humidity) + "))");
  engine.Run();
  Ref<IFuzzySet> speed;
  for (const Ref<IFact>& fact : engine.GetFacts().Snapshot()) {
    if (fact->GetTemplate()->GetTemplateName() == "fan") GetFuzzySlot(*fact, speed);
  }
  return speed ? speed->GetCentreOfGravity() : -1;
}

TEST(FanTest, TheSpeedIsThatOfAnIndependentComputation) {
  TReasoner engine;
  engine.LoadFromFile(REASONER_SOURCE_DIR "/examples/fan.clp");
  for (const char* rule : {"heading", "show", "begin-row", "read-cell", "end-of-table"}) {
    engine.GetRules().Remove(rule);
  }
  const struct {
    TFuzzyInferenceMethod inference;
    TFuzzyCorrelationMethod correlation;
    std::function<double(double, double)> unite;
    double tolerance;
  } rows[] = {
      {fimMinMax, fcmMinimum, [](double a, double b) { return std::max(a, b); }, 1e-6},
      {fimMinMax, fcmProduct, [](double a, double b) { return std::max(a, b); }, 1e-6},
      {fimBoundedSum, fcmMinimum, [](double a, double b) { return std::min(a + b, 1.); }, 1e-6},
      // Curved between its points, and within a thousandth of the curve.
      {fimProduct, fcmProduct, [](double a, double b) { return a + b - a * b; }, 0.1},
  };
  for (const auto& row : rows) {
    engine.FuzzyInferenceMethod = row.inference;
    engine.FuzzyCorrelationMethod = row.correlation;
    for (double temperature = 0; temperature <= 40; temperature += 5) {
      for (double humidity = 0; humidity <= 100; humidity += 12.5) {
        EXPECT_NEAR(ComputedSpeed(engine, temperature, humidity),
                    ExpectedSpeed(temperature, humidity, row.correlation, row.unite), row.tolerance)
            << temperature << " C, " << humidity << " %, " << FuzzyInferenceNames[row.inference]
            << ", " << FuzzyCorrelationNames[row.correlation];
      }
    }
  }
}

}  // namespace
}  // namespace reasoner
