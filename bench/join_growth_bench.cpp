// How the cost of a join grows with the memories that it does not touch.

#include <benchmark/benchmark.h>

#include "bench/EngineBench.h"

namespace bench {

using namespace reasoner;

// Pairs that share a value: each fact has one partner among all.
static void JoinOnEqualValue(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  for (auto _ : state) {
    TReasoner engine;
    engine.Parse(R"(
      (deftemplate left (slot x) (slot y))
      (deftemplate right (slot x) (slot y))
      (defrule pair (left (x ?v)) (right (x ?v)) => ))",
                 true);
    const Ref<IFactTemplate> left = engine.FindFactTemplate("left");
    const Ref<IFactTemplate> right = engine.FindFactTemplate("right");
    for (std::int32_t i = 0; i < count; ++i) engine.Assert(MakePair(left, i, 0));
    for (std::int32_t i = 0; i < count; ++i) engine.Assert(MakePair(right, i, 0));
    if (engine.GetAgendaCount() != count) state.SkipWithError("pairs are missing");
    for (std::int32_t i = 1; i <= count; ++i) engine.Retract(i);
    if (engine.GetAgendaCount() != 0) state.SkipWithError("pairs were left");
  }
  ReportGrowth(state);
}
BENCHMARK(JoinOnEqualValue)->Apply(GrowTenfold<1'000>);

// A counter that a rule counts up by modify: the whole road, assert to retract, again and again.
static void CountByModify(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  for (auto _ : state) {
    TReasoner engine;
    engine.Parse(R"(
      (deftemplate counter (slot n) (slot end))
      (defrule count ?c <- (counter (n ?n) (end ?e&:(< ?n ?e))) => (modify ?c (n (+ ?n 1)))))",
                 true);
    engine.Assert("(counter (n 0) (end " + std::to_string(count) + "))");
    if (engine.Run() != count) state.SkipWithError("it did not count to the end");
  }
  ReportGrowth(state);
}
BENCHMARK(CountByModify)->Apply(GrowTenfold<1'000>);

// Facts that one of many rules wants, each by its own template.
static void ManyRules(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  TReasoner engine;
  std::string text;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::string name = std::to_string(i);
    text += "(deftemplate t" + name + " (slot x) (slot y)) (defrule r" + name + " (t" + name +
            " (x ?v)) => )";
  }
  engine.Parse(text, true);
  const Ref<IFactTemplate> wanted = engine.FindFactTemplate("t0");
  std::int32_t next = 0;
  for (auto _ : state) {
    const TFactId id = engine.Assert(MakePair(wanted, next++, 0));
    engine.Retract(id);
  }
  state.SetComplexityN(count);
}
BENCHMARK(ManyRules)->RangeMultiplier(10)->Range(10, 10'000)->Complexity();

}  // namespace bench
