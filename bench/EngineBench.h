// What the benchmarks share: an engine with knowledge, and facts made without text.

#pragma once

#include <string_view>

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

}  // namespace bench
