// What the benchmarks share: an engine with knowledge, and facts made without text.

#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

#include "reasoner/engine/Reasoner.h"

namespace bench {

// A fact (NAME (x first) (y second)).
inline reasoner::Ref<reasoner::IFact> MakePair(
    const reasoner::Ref<reasoner::IFactTemplate>& fact_template, std::int32_t first,
    std::int32_t second) {
  reasoner::Ref<reasoner::IFact> fact = reasoner::Make<reasoner::TFact>(fact_template);
  fact->SetValue("x", reasoner::NewInteger(first));
  fact->SetValue("y", reasoner::NewInteger(second));
  return fact;
}

// Sizes from the smallest to a hundred times that.
template <std::int64_t smallest>
void GrowTenfold(benchmark::internal::Benchmark* bench) {
  bench->RangeMultiplier(10)->Range(smallest, smallest * 100);
  bench->Unit(benchmark::kMillisecond)->Complexity();
}

inline void ReportGrowth(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetComplexityN(state.range(0));
}

}  // namespace bench
