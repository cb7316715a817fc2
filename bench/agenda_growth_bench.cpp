// How the cost of an activation grows with the number of activations that wait.

#include <benchmark/benchmark.h>

#include "bench/EngineBench.h"

namespace bench {

using namespace reasoner;

static constexpr const char* kRules = R"(
  (deftemplate job (slot x) (slot y))
  (defrule high (declare (salience 10)) (job (x ?n) (y 0)) => )
  (defrule some (declare (salience 5)) (job (x ?n) (y 1)) => )
  (defrule none (job (x ?n) (y 2)) => )
  (defrule less (declare (salience -5)) (job (x ?n) (y 3)) => )
)";

static void FillAgenda(TReasoner& engine, std::int32_t count) {
  const Ref<IFactTemplate> job = engine.FindFactTemplate("job");
  for (std::int32_t i = 0; i < count; ++i) engine.Assert(MakePair(job, i, i * 31 % 4));
}

// Activations of mixed salience wait, and are withdrawn by their facts.
static void WaitAndWithdraw(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  for (auto _ : state) {
    TReasoner engine;
    engine.Parse(kRules, true);
    FillAgenda(engine, count);
    if (engine.GetAgendaCount() != count) state.SkipWithError("activations are missing");
    for (std::int64_t i = 0; i < count; ++i) {
      engine.Retract(static_cast<std::int32_t>(i * 7919 % count) + 1);
    }
    if (engine.GetAgendaCount() != 0) state.SkipWithError("activations were left");
  }
  ReportGrowth(state);
}
BENCHMARK(WaitAndWithdraw)->Apply(GrowTenfold<10'000>);

// The same, fired.
static void WaitAndFire(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  for (auto _ : state) {
    TReasoner engine;
    engine.Parse(kRules, true);
    FillAgenda(engine, count);
    if (engine.Run() != count) state.SkipWithError("rules did not fire");
  }
  ReportGrowth(state);
}
BENCHMARK(WaitAndFire)->Apply(GrowTenfold<10'000>);

}  // namespace bench
