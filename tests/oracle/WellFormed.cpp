#include "tests/oracle/WellFormed.h"

#include <algorithm>

namespace reasoner::oracle {
namespace {

bool HasSpan(const TElement& element) {
  return std::any_of(element.slots.begin(), element.slots.end(), [](const TSlotPattern& slot) {
    return std::any_of(slot.fields.begin(), slot.fields.end(),
                       [](const TField& field) { return field.is_span; });
  });
}

bool NamesOnly(const TCall& call, const std::vector<TWord>& known) {
  return std::all_of(call.terms.begin(), call.terms.end(), [&](const TTerm& term) {
    if (term.call) return NamesOnly(*term.call, known);
    return !term.IsVariable() || term.text.GetKind() == TWord::kGlobal ||
           std::find(known.begin(), known.end(), term.text) != known.end();
  });
}

bool AreWellFormed(const std::vector<TAction>& actions, std::vector<TWord>& known) {
  return std::all_of(actions.begin(), actions.end(), [&known](const TAction& action) {
    std::vector<TTerm> terms = {action.term};
    const bool names_fact = action.kind == TAction::kRetract || action.kind == TAction::kModify ||
                            action.kind == TAction::kDuplicate;
    if (names_fact) terms.push_back(TTerm{action.name, nullptr});
    for (const TFactForm& fact : action.facts) {
      for (const std::vector<TTerm>& slot : fact.slots)
        terms.insert(terms.end(), slot.begin(), slot.end());
    }
    for (const auto& change : action.changes)
      terms.insert(terms.end(), change.second.begin(), change.second.end());
    if (!NamesOnly(TCall{"", terms}, known)) return false;
    if (action.kind == TAction::kBind) known.push_back(action.name);
    return AreWellFormed(action.actions, known) && AreWellFormed(action.otherwise, known);
  });
}

}  // namespace

bool IsApart(const TField& field, const TField& next) {
  if (field.constraints.empty() || next.constraints.empty()) return true;
  const TConstraint& last = field.constraints.back();
  const TConstraint& first = next.constraints.front();
  if (last.kind != TConstraint::kLiteral || first.kind != TConstraint::kLiteral || first.negated)
    return true;
  return field.constraints.size() == 1 && !last.negated && next.constraints.size() == 1;
}

bool IsFuzzyName(TWord variable) { return variable == TWord("?d") || variable == TWord("?e"); }

bool IsWellFormed(const TRuleText& rule) {
  std::vector<TWord> bound;
  for (const TElement& element : rule.elements) {
    if (element.is_test) {
      if (!NamesOnly(element.test, bound)) return false;
      continue;
    }
    std::vector<TWord> here = bound;
    if (!element.bound.IsEmpty()) here.push_back(element.bound);
    for (const bool binding : {true, false}) {
      for (std::size_t s = 0; s < element.slots.size(); ++s) {
        const bool is_fuzzy = TemplateAt(element.fact_template).slots[s].is_fuzzy;
        const std::vector<TField>& fields = element.slots[s].fields;
        for (const TField& field : fields) {
          if (is_fuzzy && &field != &fields.front() && !IsApart((&field)[-1], field)) return false;
          for (const TConstraint& constraint : field.constraints) {
            if (constraint.call) {
              if (!binding && !NamesOnly(*constraint.call, here)) return false;
            } else if (constraint.kind == TConstraint::kVariable && binding) {
              if (constraint.negated) continue;
              if (IsFuzzyName(constraint.text) != is_fuzzy &&
                  std::find(here.begin(), here.end(), constraint.text) == here.end())
                return false;
              here.push_back(constraint.text);
            } else if (constraint.kind == TConstraint::kVariable && constraint.negated) {
              if (std::find(here.begin(), here.end(), constraint.text) == here.end()) return false;
            }
          }
        }
      }
    }
    if (element.negations == 0) bound = here;
  }
  return !rule.elements.empty() && AreWellFormed(rule.actions, bound);
}

bool IsLeftOut(const TRuleText& rule, bool textbook) {
  if (textbook) return false;
  bool has_span = false;
  bool has_negation = false;
  bool second_has_span = false;
  bool splits_fuzzy_list = false;
  bool has_deep_negation = false;
  std::int32_t patterns = 0;
  for (std::size_t i = 0; i < rule.elements.size(); ++i) {
    const TElement& element = rule.elements[i];
    if (element.is_test) continue;
    ++patterns;
    // Both can bring tokens that differ in their spans alone: which comes first depends on which
    // fact did.
    if (patterns == 3 && HasSpan(rule.elements[0]) && second_has_span) return true;
    if (patterns == 2) second_has_span = HasSpan(element);
    has_span = has_span || HasSpan(element);
    if (i > 0 && HasSpan(rule.elements[0]) && element.negations > 0) {
      // Only the join that the first pattern's tokens meet can hold equal ones.
      const auto is_pattern = [](const TElement& item) { return !item.is_test; };
      if (std::find_if(rule.elements.begin() + 1, rule.elements.end(), is_pattern) ==
          rule.elements.begin() + static_cast<std::ptrdiff_t>(i))
        return true;
    }
    if (element.unique) {
      if (has_span || has_negation) return true;
      for (std::size_t other = 0; other < i; ++other) {
        const TElement& before = rule.elements[other];
        if (!before.is_test && (Descends(before.fact_template, element.fact_template) ||
                                Descends(element.fact_template, before.fact_template)))
          return true;
      }
    }
    has_negation = has_negation || element.negations > 0;
    has_deep_negation = has_deep_negation || element.negations > 1;
    splits_fuzzy_list = splits_fuzzy_list || (element.fact_template == kFuzzyList &&
                                              element.negations == 0 && HasSpan(element));
  }
  // Splits of one strength are one token, and behind such a negation strengths are not worked out.
  return splits_fuzzy_list && has_deep_negation;
}

}  // namespace reasoner::oracle
