// How the cost of a fact and of a rule grows with the number of rules that want other facts.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/EngineBench.h"

namespace bench {

using namespace reasoner;

// A rule for each value of a slot.
static std::string Rules(std::int32_t count) {
  std::string text = "(deftemplate job (slot x) (slot y))";
  for (std::int32_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    text += "(defrule r" + number + " (job (x " + number + ") (y ?y)) => )";
  }
  return text;
}

// Facts that one rule each wants come and go.
static void MeetOneOfManyRules(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  constexpr std::int32_t kFacts = 1000;
  TReasoner engine;
  engine.Parse(Rules(count), true);
  const Ref<IFactTemplate> job = engine.FindFactTemplate("job");
  for (auto _ : state) {
    for (std::int32_t i = 0; i < kFacts; ++i) engine.Assert(MakePair(job, i * 7919 % count, i));
    if (engine.GetAgendaCount() != kFacts) state.SkipWithError("activations are missing");
    while (engine.GetFacts().GetCount() > 0) engine.RetractFact(engine.GetFacts().GetCount() - 1);
  }
  state.SetItemsProcessed(state.iterations() * kFacts);
  state.SetComplexityN(count);
}
BENCHMARK(MeetOneOfManyRules)->Apply(GrowTenfold<100>);

static void AddRules(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  const std::string text = Rules(count);
  for (auto _ : state) {
    TReasoner engine;
    engine.Parse(text, true);
    if (engine.GetRules().GetCount() != count) state.SkipWithError("rules are missing");
  }
  ReportGrowth(state);
}
BENCHMARK(AddRules)->Apply(GrowTenfold<100>);

}  // namespace bench
