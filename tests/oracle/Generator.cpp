#include "tests/oracle/Generator.h"

#include <algorithm>
#include <utility>

namespace reasoner::oracle {
namespace {

class TRandom {
 public:
  explicit TRandom(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}

  std::uint32_t Below(std::uint32_t bound) {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = (state_ ^ state_ >> 30) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
    return static_cast<std::uint32_t>((mixed ^ mixed >> 31) % bound);
  }
  bool Percent(std::uint32_t chance) { return Below(100) < chance; }
  template <class TItems>
  const auto& Pick(const TItems& items) {
    return items[Below(static_cast<std::uint32_t>(std::size(items)))];
  }

 private:
  std::uint64_t state_;
};

// "ea" and "a" share a bucket and are different values. All are atoms, so that no comparison
// raises.
const std::vector<std::string> kValues = {"a", "b", "c", "ea"};
const std::vector<std::string> kWords = {
    "cold", "mild", "hot",          "dull",          "low",          "high",     "medium", "1",
    "3",    "6",    "cold or mild", "mild and high", "low and high", "not mild", "not 3"};

// The variables that are bound in fuzzy slots only, so that none of these values gets elsewhere.
bool IsFuzzyName(const std::string& variable) { return variable == "?d" || variable == "?e"; }

// Whether what two fields of a fuzzy list say is read as two: words behind words are, where each
// stand alone in their field.
bool IsApart(const TField& field, const TField& next) {
  if (field.constraints.empty() || next.constraints.empty()) return true;
  const TConstraint& last = field.constraints.back();
  const TConstraint& first = next.constraints.front();
  if (last.kind != TConstraint::kLiteral || first.kind != TConstraint::kLiteral || first.negated)
    return true;
  return field.constraints.size() == 1 && !last.negated && next.constraints.size() == 1;
}

void KeepApart(std::vector<TField>& fields) {
  for (std::size_t i = 1; i < fields.size(); ++i) {
    if (!IsApart(fields[i - 1], fields[i]))
      fields.insert(fields.begin() + static_cast<std::ptrdiff_t>(i), TField());
  }
}

// Whether the variables of a rule are bound where they are named.
bool IsWellFormed(const TRuleText& rule);

class TGenerator {
 public:
  TGenerator(std::uint64_t seed, bool textbook) : random_(seed), textbook_(textbook) {}

  TProgram Program() {
    TProgram program;
    fuzzy_ = random_.Percent(50);
    if (fuzzy_) {
      if (random_.Percent(30)) program.equals_threshold = 0.2811;
      if (random_.Percent(30)) program.least_strength = 0.4139;
      program.by_product = random_.Percent(50);
    }
    const std::uint32_t rules = 1 + random_.Below(6);
    for (std::uint32_t i = 0; i < rules; ++i) {
      const TRuleText* like =
          i > 0 && random_.Percent(30) ? &program.rules[random_.Below(i)] : nullptr;
      TRuleText rule = like != nullptr && random_.Percent(40) ? Sibling(i, *like) : Rule(i, like);
      while (IsLeftOut(rule, textbook_)) rule = Rule(i, nullptr);
      program.rules.push_back(std::move(rule));
    }
    // Some rules are there from the start, the others come in between.
    for (std::uint32_t i = 0; i < rules; ++i) {
      if (random_.Percent(60)) program.operations.push_back(OnRule(TOperation::kAddRule, i));
    }
    const std::uint32_t operations = 30 + random_.Below(51);
    for (std::uint32_t i = 0; i < operations; ++i) program.operations.push_back(Operation(rules));
    return program;
  }

 private:
  struct TScope {
    std::vector<std::string> variables;  // "?x" and "$?m"
    std::vector<std::string> facts;      // "?f1"
  };

  static TOperation OnRule(TOperation::Kind kind, std::uint32_t rule) {
    TOperation operation;
    operation.kind = kind;
    operation.rule = rule;
    return operation;
  }

  TOperation Operation(std::uint32_t rules) {
    const std::uint32_t choice = random_.Below(100);
    TOperation operation;
    operation.target = random_.Below(1000);
    if (choice < 46) {
      operation.kind = TOperation::kAssert;
    } else if (choice < 66) {
      operation.kind = TOperation::kRetract;
    } else if (choice < 73) {
      operation.kind = TOperation::kModify;
    } else if (choice < 77) {
      operation.kind = TOperation::kDuplicate;
    } else if (choice < 84) {
      return OnRule(TOperation::kAddRule, random_.Below(rules));
    } else if (choice < 88) {
      return OnRule(TOperation::kRemoveRule, random_.Below(rules));
    } else if (choice < 90) {
      operation.kind = TOperation::kReset;
    } else if (choice < 91) {
      operation.kind = TOperation::kClear;
    } else {
      operation.kind = TOperation::kStep;
    }
    operation.fact_template = FactTemplate();
    operation.values = Values(operation.fact_template);
    if (fuzzy_) operation.words = random_.Pick(kWords);
    return operation;
  }

  std::int32_t FactTemplate() {
    if (fuzzy_ && random_.Percent(40)) return random_.Percent(60) ? kFuzzyPair : kFuzzyList;
    return static_cast<std::int32_t>(random_.Below(kFuzzyPair));
  }

  std::vector<std::vector<std::string>> Values(std::int32_t fact_template) {
    std::vector<std::vector<std::string>> values;
    for (const TSlotText& slot : Templates()[static_cast<std::size_t>(fact_template)].slots) {
      const std::uint32_t count = slot.is_multi ? random_.Below(4) : 1;
      values.emplace_back();
      for (std::uint32_t i = 0; i < count; ++i) values.back().push_back(Literal(slot.is_fuzzy));
    }
    return values;
  }

  std::string Literal(bool in_fuzzy_slot = false) {
    if (in_fuzzy_slot) return random_.Pick(kWords);
    return kValues[random_.Percent(75) ? random_.Below(2) : random_.Below(4)];
  }

  TRuleText Rule(std::uint32_t number, const TRuleText* like) {
    TRuleText rule;
    rule.name = "r" + std::to_string(number);
    if (random_.Percent(30)) rule.salience = static_cast<std::int32_t>(random_.Below(5)) - 2;
    TScope scope;
    static constexpr std::uint32_t kCounts[] = {1, 2, 2, 2, 3, 3, 4};
    const std::uint32_t count = random_.Pick(kCounts);
    const std::size_t taken =
        like == nullptr ? 0 : 1 + random_.Below(static_cast<std::uint32_t>(like->elements.size()));
    for (std::uint32_t i = 0; i < count; ++i) {
      rule.elements.push_back(i < taken && i < like->elements.size() ? like->elements[i]
                                                                     : Element(scope, i));
      Enter(rule.elements.back(), scope);
    }
    while (random_.Percent(25)) rule.actions.push_back(Action(scope));
    return rule;
  }

  // The rule with another variable in one place: most of its nodes are the other rule's, too.
  TRuleText Sibling(std::uint32_t number, const TRuleText& like) {
    TRuleText rule = like;
    rule.name = "r" + std::to_string(number);
    std::vector<TConstraint*> places;
    TScope scope;
    Enter(rule.elements[0], scope);
    for (std::size_t i = 1; i < rule.elements.size(); ++i) {
      for (TSlotPattern& slot : rule.elements[i].slots) {
        for (TField& field : slot.fields) {
          for (TConstraint& constraint : field.constraints) {
            if (constraint.kind == TConstraint::kVariable && !field.is_span)
              places.push_back(&constraint);
          }
        }
      }
    }
    std::erase_if(scope.variables, [](const std::string& name) { return name[0] == '$'; });
    if (!places.empty()) {
      random_.Pick(places)->text =
          scope.variables.empty() ? Variable({}, false, false) : random_.Pick(scope.variables);
    }
    return IsWellFormed(rule) ? rule : Rule(number, nullptr);
  }

  // The variables that the element leaves bound.
  static void Enter(const TElement& element, TScope& scope) {
    if (element.is_test || element.negations > 0) return;
    if (!element.bound.empty()) scope.facts.push_back(element.bound);
    for (const TSlotPattern& slot : element.slots) {
      for (const TField& field : slot.fields) {
        for (const TConstraint& constraint : field.constraints) {
          if (constraint.kind == TConstraint::kVariable && !constraint.negated)
            Add(scope, constraint.text);
        }
      }
    }
  }

  static bool Has(const TScope& scope, const std::string& variable) {
    return std::find(scope.variables.begin(), scope.variables.end(), variable) !=
           scope.variables.end();
  }
  static void Add(TScope& scope, const std::string& variable) {
    if (!Has(scope, variable)) scope.variables.push_back(variable);
  }

  TElement Element(const TScope& scope, std::uint32_t index) {
    TElement element;
    if (random_.Percent(12) && !scope.variables.empty()) {
      element.is_test = true;
      element.negations = random_.Percent(20) ? 1 : 0;
      element.test = Predicate(scope, 0);
      return element;
    }
    if (random_.Percent(30)) {
      static constexpr std::int32_t kDepths[] = {1, 1, 1, 2, 2, 3};
      element.negations = random_.Pick(kDepths);
    } else if (index > 0 && random_.Percent(10)) {
      element.unique = true;
    }
    if (element.negations == 0 && random_.Percent(25)) element.bound = "?f" + std::to_string(index);
    element.fact_template = FactTemplate();
    // What the pattern may name: what is bound before, and what it binds itself.
    TScope here = scope;
    const TTemplateText& described = Templates()[static_cast<std::size_t>(element.fact_template)];
    for (const TSlotText& slot : described.slots) {
      TSlotPattern tested;
      tested.is_tested = described.is_ordered || random_.Percent(60);
      if (tested.is_tested) {
        const std::uint32_t fields = slot.is_multi ? random_.Below(4) : 1;
        for (std::uint32_t i = 0; i < fields; ++i)
          tested.fields.push_back(Field(here, slot.is_multi && random_.Percent(35), slot.is_fuzzy));
        if (slot.is_fuzzy) KeepApart(tested.fields);
      }
      element.slots.push_back(std::move(tested));
    }
    return element;
  }

  std::string Variable(const TScope& here, bool is_span, bool in_fuzzy_slot) {
    static const char* const kSingle[] = {"?x", "?x", "?y", "?z"};
    static const char* const kFuzzy[] = {"?d", "?d", "?e"};
    static const char* const kSpan[] = {"$?m", "$?n"};
    if (is_span) return random_.Pick(kSpan);
    if (fuzzy_ && random_.Percent(10)) {
      // A variable that may have been bound in a slot of the other kind.
      const std::string any = here.variables.empty() ? "$" : random_.Pick(here.variables);
      if (any[0] == '?') return any;
    }
    return in_fuzzy_slot ? random_.Pick(kFuzzy) : random_.Pick(kSingle);
  }

  TConstraint VariableConstraint(TScope& here, bool is_span, bool in_fuzzy_slot) {
    TConstraint constraint;
    constraint.kind = TConstraint::kVariable;
    constraint.text = Variable(here, is_span, in_fuzzy_slot);
    constraint.negated = Has(here, constraint.text) && random_.Percent(35);
    if (!constraint.negated) Add(here, constraint.text);
    return constraint;
  }

  TField Field(TScope& here, bool is_span, bool in_fuzzy_slot) {
    TField field;
    field.is_span = is_span;
    if (random_.Percent(20) || (is_span && in_fuzzy_slot)) return field;
    if (is_span) {
      field.constraints.push_back(VariableConstraint(here, true, false));
      field.constraints.back().negated = false;
      Add(here, field.constraints.back().text);
      if (random_.Percent(15)) field.constraints.push_back(VariableConstraint(here, true, false));
      return field;
    }
    const std::uint32_t shape = random_.Below(100);
    if (shape < (in_fuzzy_slot ? 45 : 25)) {
      field.constraints.push_back(LiteralConstraint(in_fuzzy_slot));
    } else if (shape < 65) {
      field.constraints.push_back(VariableConstraint(here, false, in_fuzzy_slot));
    } else {
      const std::uint32_t count = 2 + random_.Below(2);
      const bool bars = random_.Percent(40);
      for (std::uint32_t i = 0; i < count; ++i) {
        field.constraints.push_back(Constraint(here, in_fuzzy_slot));
        field.constraints.back().behind_bar = i > 0 && bars && random_.Percent(60);
      }
    }
    return field;
  }

  TConstraint LiteralConstraint(bool in_fuzzy_slot) {
    TConstraint constraint;
    constraint.text = Literal(in_fuzzy_slot);
    constraint.negated = random_.Percent(30);
    return constraint;
  }

  TConstraint Constraint(TScope& here, bool in_fuzzy_slot) {
    const std::uint32_t choice = random_.Below(100);
    if (choice < 40) return VariableConstraint(here, false, in_fuzzy_slot);
    if (choice < 65 || here.variables.empty()) return LiteralConstraint(in_fuzzy_slot);
    TConstraint constraint;
    constraint.negated = random_.Percent(25);
    if (choice < 85 || in_fuzzy_slot) {
      constraint.kind = TConstraint::kPredicate;
      constraint.call = std::make_shared<TCall>(Predicate(here, 0));
    } else {
      constraint.kind = TConstraint::kEquation;
      constraint.call = std::make_shared<TCall>(TCall{"pick", {Term(here), Term(here)}});
    }
    return constraint;
  }

  TTerm Term(const TScope& scope) {
    if (random_.Percent(35) || scope.variables.empty()) return TTerm{Literal(), nullptr};
    return TTerm{random_.Pick(scope.variables), nullptr};
  }

  TCall Predicate(const TScope& scope, std::uint32_t depth) {
    if (depth < 2 && random_.Percent(25)) {
      static const char* const kLogic[] = {"and", "or", "not"};
      TCall call{random_.Pick(kLogic), {}};
      const std::uint32_t count = call.function == "not" ? 1 : 2;
      for (std::uint32_t i = 0; i < count; ++i)
        call.terms.push_back(TTerm{"", std::make_shared<TCall>(Predicate(scope, depth + 1))});
      return call;
    }
    if (depth == 0 && random_.Percent(10)) return TCall{"pick", {Term(scope), Term(scope)}};
    TCall call{random_.Percent(50) ? "eq" : "neq", {Term(scope), Term(scope)}};
    return call;
  }

  TAction Action(const TScope& scope) {
    TAction action;
    if (!scope.facts.empty() && random_.Percent(50)) {
      action.kind = TAction::kRetract;
      action.terms.push_back(TTerm{random_.Pick(scope.facts), nullptr});
      return action;
    }
    if (fuzzy_ && random_.Percent(50)) {
      action.kind = TAction::kAssertFuzzy;
      action.fact_template = random_.Percent(60) ? kFuzzyPair : kFuzzyList;
      for (std::int32_t slot = 0; slot < 2; ++slot) {
        const std::string variable = Variable({}, false, true);
        action.terms.push_back(
            TTerm{Has(scope, variable) && random_.Percent(50) ? variable : Literal(true), nullptr});
      }
      action.terms.push_back(CrispTerm(scope));
      return action;
    }
    for (std::uint32_t i = random_.Below(3); i > 0; --i) action.terms.push_back(CrispTerm(scope));
    return action;
  }

  TTerm CrispTerm(const TScope& scope) {
    TTerm term = Term(scope);
    if (term.text[0] == '$' || IsFuzzyName(term.text)) term.text = Literal();
    return term;
  }

  TRandom random_;
  bool textbook_;
  bool fuzzy_ = false;
};

bool HasSpan(const TElement& element) {
  return std::any_of(element.slots.begin(), element.slots.end(), [](const TSlotPattern& slot) {
    return std::any_of(slot.fields.begin(), slot.fields.end(),
                       [](const TField& field) { return field.is_span; });
  });
}

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

bool NamesOnly(const TCall& call, const std::vector<std::string>& known) {
  return std::all_of(call.terms.begin(), call.terms.end(), [&](const TTerm& term) {
    if (term.call) return NamesOnly(*term.call, known);
    return !term.IsVariable() || std::find(known.begin(), known.end(), term.text) != known.end();
  });
}

bool IsWellFormed(const TRuleText& rule) {
  std::vector<std::string> bound;
  for (const TElement& element : rule.elements) {
    if (element.is_test) {
      if (!NamesOnly(element.test, bound)) return false;
      continue;
    }
    std::vector<std::string> here = bound;
    if (!element.bound.empty()) here.push_back(element.bound);
    for (const bool binding : {true, false}) {
      for (std::size_t s = 0; s < element.slots.size(); ++s) {
        const bool is_fuzzy =
            Templates()[static_cast<std::size_t>(element.fact_template)].slots[s].is_fuzzy;
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
  for (const TAction& action : rule.actions) {
    if (!NamesOnly(TCall{"", action.terms}, bound)) return false;
  }
  return !rule.elements.empty();
}

}  // namespace

TProgram Generate(std::uint64_t seed, bool textbook) {
  return TGenerator(seed, textbook).Program();
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

TProgram Shrink(TProgram program, const std::function<bool(const TProgram&)>& fails) {
  const auto still = [&] {
    return std::all_of(program.rules.begin(), program.rules.end(), IsWellFormed) && fails(program);
  };
  for (bool any = true; any;) {
    any = Thin(program.operations, 0, still);
    for (TRuleText& rule : program.rules) {
      any = Thin(rule.actions, 0, still) || any;
      any = Thin(rule.elements, 1, still) || any;
      for (TElement& element : rule.elements) {
        const auto simpler = [&](auto& part, auto value) {
          if (part == value) return;
          const auto kept = std::exchange(part, value);
          still() ? any = true : (part = kept, false);
        };
        simpler(element.bound, std::string());
        simpler(element.unique, false);
        simpler(element.negations, std::max(element.negations - 1, 0));
        for (std::size_t s = 0; s < element.slots.size(); ++s) {
          TSlotPattern& slot = element.slots[s];
          const TTemplateText& described =
              Templates()[static_cast<std::size_t>(element.fact_template)];
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
