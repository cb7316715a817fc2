#include <algorithm>
#include <utility>

#include "tests/oracle/Generator.h"
#include "tests/oracle/WellFormed.h"

namespace reasoner::oracle {
namespace {

// Leaves out part after part of a list as long as the program fails without it.
template <class TItems, class TFails>
bool Thin(TItems& items, std::size_t least, const TFails& fails) {
  bool any = false;
  for (std::size_t step = std::max<std::size_t>(items.size() / 2, 1);; step /= 2) {
    for (std::size_t begin = 0; begin < items.size() && items.size() > least;) {
      const TItems kept = items;
      const std::size_t end = std::min({begin + step, items.size(), begin + items.size() - least});
      items.erase(items.begin() + static_cast<std::ptrdiff_t>(begin),
                  items.begin() + static_cast<std::ptrdiff_t>(end));
      if (fails()) {
        any = true;
      } else {
        items = kept;
        begin += step;
      }
    }
    if (step <= 1) return any;
  }
}

template <class TFails>
bool ThinActions(std::vector<TAction>& actions, const TFails& fails) {
  bool any = Thin(actions, 0, fails);
  for (TAction& action : actions) {
    any = Thin(action.facts, 1, fails) || any;
    any = Thin(action.changes, 1, fails) || any;
    any = ThinActions(action.actions, fails) || any;
    any = ThinActions(action.otherwise, fails) || any;
  }
  return any;
}

}  // namespace

TProgram Shrink(TProgram program, const std::function<bool(const TProgram&)>& fails) {
  const auto still = [&] {
    return std::all_of(program.rules.begin(), program.rules.end(), IsWellFormed) && fails(program);
  };
  for (bool any = true; any;) {
    any = Thin(program.operations, 0, still);
    for (TOperation& operation : program.operations) any = Thin(operation.facts, 1, still) || any;
    for (TRuleText& rule : program.rules) {
      any = ThinActions(rule.actions, still) || any;
      any = Thin(rule.elements, 1, still) || any;
      for (TElement& element : rule.elements) {
        const auto simpler = [&](auto& part, auto value) {
          if (part == value) return;
          const auto kept = std::exchange(part, value);
          still() ? any = true : (part = kept, false);
        };
        simpler(element.bound, TWord());
        simpler(element.unique, false);
        simpler(element.negations, std::max(element.negations - 1, 0));
        for (std::size_t s = 0; s < element.slots.size(); ++s) {
          TSlotPattern& slot = element.slots[s];
          const TTemplateText& described = TemplateAt(element.fact_template);
          if (slot.is_tested && !described.is_ordered) {
            const TSlotPattern kept = std::exchange(slot, TSlotPattern());
            still() ? any = true : (slot = kept, false);
          }
          if (described.slots[s].is_multi) any = Thin(slot.fields, 0, still) || any;
          for (TField& field : slot.fields) any = Thin(field.constraints, 0, still) || any;
        }
      }
      const std::int32_t salience = std::exchange(rule.salience, 0);
      if (salience != 0) still() ? any = true : (rule.salience = salience, false);
    }
  }
  // Rules that no operation adds are not printed.
  return program;
}

}  // namespace reasoner::oracle
