// How the cost of asserting and retracting grows with the number of facts.

#include <benchmark/benchmark.h>

#include "bench/EngineBench.h"

namespace bench {

using namespace reasoner;

// Facts of a two-slot template that no rule wants, asserted and then retracted in an order of no
// pattern.
static void AssertAndRetract(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  for (auto _ : state) {
    TReasoner engine;
    engine.Parse("(deftemplate cell (slot x) (slot y))", true);
    const Ref<IFactTemplate> cell = engine.FindFactTemplate("cell");
    for (std::int32_t i = 0; i < count; ++i) engine.Assert(MakePair(cell, i, i / 7));
    for (std::int64_t i = 0; i < count; ++i) {
      engine.Retract(static_cast<std::int32_t>(i * 7919 % count) + 1);
    }
    if (engine.GetFacts().GetCount() != 1) state.SkipWithError("facts were left");
  }
  ReportGrowth(state);
}
BENCHMARK(AssertAndRetract)->Apply(GrowTenfold<10'000>);

// The same, refused: every fact stands there already.
static void RefuseDuplicates(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  TReasoner engine;
  engine.Parse("(deftemplate cell (slot x) (slot y))", true);
  const Ref<IFactTemplate> cell = engine.FindFactTemplate("cell");
  for (std::int32_t i = 0; i < count; ++i) engine.Assert(MakePair(cell, i, i / 7));
  for (auto _ : state) {
    for (std::int32_t i = 0; i < count; ++i)
      benchmark::DoNotOptimize(engine.Assert(MakePair(cell, i, i / 7)));
  }
  ReportGrowth(state);
}
BENCHMARK(RefuseDuplicates)->Apply(GrowTenfold<10'000>);

}  // namespace bench
