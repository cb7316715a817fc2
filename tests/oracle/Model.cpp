#include "tests/oracle/Model.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace reasoner::oracle {

std::size_t TModel::CountAlive() const {
  return static_cast<std::size_t>(std::count_if(
      facts_.begin(), facts_.end(), [](const TKnownFact& fact) { return fact.IsAlive(); }));
}

TKnownFact* TModel::Chosen(std::uint32_t target) {
  std::vector<TKnownFact*> alive;
  for (TKnownFact& fact : facts_) {
    if (fact.IsAlive() && fact.fact_template >= 0) alive.push_back(&fact);
  }
  return alive.empty() ? nullptr : alive[target % alive.size()];
}

TKnownFact* TModel::Find(double id) {
  for (TKnownFact& fact : facts_) {
    if (fact.IsAlive() && fact.fact_template >= 0 && fact.id == id) return &fact;
  }
  return nullptr;
}

// A fact comes or goes. The patterns before a negation of several levels may see it before the
// negation does, or after: in the engine's own semantics what is gone meanwhile comes back.
void TModel::Pass(const TKnownFact& fact) {
  if (textbook_) return;
  for (auto& [name, rule] : rules_) {
    if (rule.fired.empty() || !rule.reading.HasDeepNegation() ||
        !rule.reading.Reads(fact.fact_template))
      continue;
    for (const bool has_passed_negations : {false, true}) {
      std::multiset<TMatchKey> going = rule.fired;
      for (const TReadMatch& match :
           rule.reading.Matches(facts_, rule.added, {&fact, has_passed_negations})) {
        const auto found = going.find(match.key);
        if (found != going.end()) going.erase(found);
      }
      rule.may_return.merge(going);
    }
  }
}

// Works out the matches anew; one that has fired is forgotten when it goes.
void TModel::Update(std::int32_t fact_template) {
  for (auto& [name, rule] : rules_) {
    if (rule.reading.Reads(fact_template)) Update(rule);
  }
}

void TModel::Update(TLiveRule& rule) {
  rule.read = rule.reading.Matches(facts_, rule.added);
  rule.has_changed = true;
  if (rule.fired.empty()) return;
  std::multiset<TMatchKey> fired;
  std::multiset<TMatchKey> left = std::move(rule.fired);
  for (const TReadMatch& match : rule.read) {
    const auto found = left.find(match.key);
    if (found != left.end()) fired.insert(left.extract(found));
  }
  rule.fired = std::move(fired);
}

void TModel::AddRule(const TRuleText& text) {
  rules_.erase(text.name);
  const auto [live, is_new] = rules_.emplace(
      text.name, TLiveRule{&text, BruteForce(text, program_, textbook_), ++clock_, {}, {}, {}});
  Update(live->second);
}

// A fuzzy fact is united with the one that differs from it in fuzzy slots alone.
void TModel::Enter(std::int32_t fact_template, TSlots values, TShapes shapes) {
  const std::vector<TSlotText>& slots = TemplateAt(fact_template).slots;
  if (IsFuzzy(fact_template) && firing_strength_ != 1) {
    for (std::vector<TSharedShape>& slot : shapes) {
      for (TSharedShape& shape : slot)
        shape = Weakened(*shape, firing_strength_, program_.by_product);
    }
  }
  for (TKnownFact& fact : facts_) {
    if (!fact.IsAlive() || fact.fact_template != fact_template) continue;
    bool is_equal = true;
    for (std::size_t i = 0; i < slots.size(); ++i)
      is_equal = is_equal && (slots[i].is_fuzzy || fact.values[i] == values[i]);
    if (!is_equal) continue;
    if (!IsFuzzy(fact_template)) {
      if (allows_duplicates_) break;
      return;
    }
    for (std::size_t i = 0; i < slots.size(); ++i) {
      if (shapes[i].size() != fact.shapes[i].size()) continue;
      for (std::size_t k = 0; k < shapes[i].size(); ++k)
        shapes[i][k] = UnionOf(*shapes[i][k], *fact.shapes[i][k]);
    }
    Leave(fact);
    break;
  }
  for (std::size_t i = 0; i < slots.size(); ++i) {
    if (!slots[i].is_fuzzy) continue;
    values[i].clear();
    for (const TSharedShape& shape : shapes[i]) {
      if (Possibility(*shape, *shape) <= program_.equals_threshold) throw TLeftOut();
      values[i].emplace_back("<f-" + std::to_string(next_id_) + "." + slots[i].name +
                             std::to_string(values[i].size()) + ">");
    }
  }
  facts_.push_back(TKnownFact{next_id_++, fact_template, std::move(values), std::move(shapes),
                              ++clock_, TKnownFact::kAlive, next_serial_++});
  Pass(facts_.back());
  Update(fact_template);
}

void TModel::Leave(TKnownFact& fact) {
  Pass(fact);
  fact.died = ++clock_;
  Update(fact.fact_template);
}

void TModel::Retract(TKnownFact& fact) { Leave(fact); }

void TModel::Fill(std::vector<TWord>& values, std::vector<TSharedShape>& shapes, bool is_fuzzy,
                  const std::vector<TTerm>& terms, const TEnvironment& environment) const {
  values.clear();
  shapes.clear();
  for (const TTerm& term : terms) {
    const TValue value = evaluator_.Evaluate(term, {}, environment);
    if (is_fuzzy) {
      shapes.push_back(value.shape ? value.shape : ShapeOf(value.word.Text()));
    } else if (value.is_list) {
      values.insert(values.end(), value.items.begin(), value.items.end());
    } else {
      values.push_back(value.word);
    }
  }
}

void TModel::Assert(const TFactForm& fact, const TEnvironment& environment) {
  TSlots values(fact.slots.size());
  TShapes shapes(fact.slots.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    Fill(values[i], shapes[i], TemplateAt(fact.fact_template).slots[i].is_fuzzy, fact.slots[i],
         environment);
  }
  Enter(fact.fact_template, std::move(values), std::move(shapes));
}

void TModel::Assert(const TFactForm& fact) { Assert(fact, {}); }

void TModel::Assert(std::int32_t fact_template, const TSlots& values) {
  TFactForm fact{fact_template, {}};
  for (const std::vector<TWord>& words : values) {
    fact.slots.emplace_back();
    for (const TWord& word : words) fact.slots.back().push_back(TTerm{word, nullptr});
  }
  Assert(fact);
}

void TModel::Change(TKnownFact& fact, std::size_t slot, TWord value, bool is_duplicate) {
  TSlots values = fact.values;
  TShapes shapes = fact.shapes;
  Fill(values[slot], shapes[slot], TemplateAt(fact.fact_template).slots[slot].is_fuzzy,
       {TTerm{value, nullptr}}, {});
  if (!is_duplicate) Leave(fact);
  Enter(fact.fact_template, std::move(values), std::move(shapes));
}

// All new values are worked out before anything changes.
bool TModel::ChangeByAction(const TAction& action, const TEnvironment& environment) {
  TKnownFact* fact = Find(FindIn(environment, action.name)->word.GetNumber());
  if (fact == nullptr) return false;
  TSlots values = fact->values;
  TShapes shapes = fact->shapes;
  const std::vector<TSlotText>& slots = TemplateAt(fact->fact_template).slots;
  for (const auto& [slot, terms] : action.changes) {
    const std::size_t at =
        SlotOf(fact->fact_template, TemplateAt(action.fact_template).slots[slot].name);
    if (at == slots.size()) return false;
    Fill(values[at], shapes[at], slots[at].is_fuzzy, terms, environment);
  }
  if (action.kind == TAction::kModify) Leave(*fact);
  Enter(fact->fact_template, std::move(values), std::move(shapes));
  return true;
}

bool TModel::Perform(const std::vector<TAction>& actions, TEnvironment& environment) {
  for (const TAction& action : actions) {
    switch (action.kind) {
      case TAction::kAssert:
        for (const TFactForm& fact : action.facts) Assert(fact, environment);
        break;
      case TAction::kRetract:
        if (TKnownFact* fact = Find(FindIn(environment, action.name)->word.GetNumber()))
          Leave(*fact);
        break;
      case TAction::kModify:
      case TAction::kDuplicate:
        if (!ChangeByAction(action, environment)) return false;
        break;
      case TAction::kBind:
        environment.emplace(environment.begin(), action.name,
                            evaluator_.Evaluate(action.term, {}, environment));
        break;
      case TAction::kIf: {
        const bool is_false =
            evaluator_.Evaluate(action.term, {}, environment) == TValue::Single("FALSE");
        if (!Perform(is_false ? action.otherwise : action.actions, environment)) return false;
        break;
      }
      case TAction::kUndefRule:
        RemoveRule(action.name.Text());
        break;
      case TAction::kReset:
        Reset();
        break;
    }
  }
  return true;
}

bool TModel::Fire(const TRuleText& rule, const TReadMatch& match, double strength) {
  TEnvironment environment = match.bindings;
  firing_strength_ = strength;
  bool is_done = false;
  try {
    is_done = Perform(rule.actions, environment);
  } catch (const TRaised&) {
  }
  firing_strength_ = 1;
  return is_done;
}

void TModel::DefineFactSet(std::uint32_t name, const std::vector<TFactForm>& facts) {
  std::erase_if(fact_sets_, [name](const auto& set) { return set.first == name; });
  fact_sets_.emplace_back(name, facts);
}

void TModel::Reset() {
  facts_.clear();
  next_id_ = 0;
  for (auto& [name, rule] : rules_) rule.fired.clear();
  facts_.push_back(
      TKnownFact{next_id_++, -1, {}, {}, ++clock_, TKnownFact::kAlive, next_serial_++});
  for (auto& [name, rule] : rules_) Update(rule);
  for (const auto& [name, facts] : fact_sets_) {
    for (const TFactForm& fact : facts) Assert(fact);
  }
}

void TModel::Clear() {
  rules_.clear();
  facts_.clear();
  fact_sets_.clear();
  next_id_ = 0;
}

// Facts come back under new ids, the last one first, then what reads them; then the children.
void TModel::DefineAnew(std::int32_t fact_template) {
  std::vector<TKnownFact*> facts;
  for (TKnownFact& fact : facts_) {
    if (fact.IsAlive() && fact.fact_template == fact_template) facts.push_back(&fact);
  }
  std::reverse(facts.begin(), facts.end());
  for (TKnownFact* fact : facts) Leave(*fact);
  const auto asserts_it = [&](const auto& self, const TAction& action) -> bool {
    const auto is_it = [&](const TFactForm& fact) { return fact.fact_template == fact_template; };
    const auto within = [&](const TAction& inner) { return self(self, inner); };
    return std::any_of(action.facts.begin(), action.facts.end(), is_it) ||
           std::any_of(action.actions.begin(), action.actions.end(), within) ||
           std::any_of(action.otherwise.begin(), action.otherwise.end(), within);
  };
  std::vector<const TRuleText*> dependents;
  for (const auto& [name, rule] : rules_) {
    const auto reads_it = [&](const TElement& element) {
      return !element.is_test && element.fact_template == fact_template;
    };
    const std::vector<TElement>& elements = rule.text->elements;
    const std::vector<TAction>& actions = rule.text->actions;
    if (std::any_of(elements.begin(), elements.end(), reads_it) ||
        std::any_of(actions.begin(), actions.end(),
                    [&](const TAction& action) { return asserts_it(asserts_it, action); }))
      dependents.push_back(rule.text);
  }
  for (const TRuleText* rule : dependents) RemoveRule(rule->name);
  for (const TKnownFact* fact : facts) Enter(fact_template, fact->values, fact->shapes);
  for (const TRuleText* rule : dependents) AddRule(*rule);
  for (std::size_t i = 0; i < Templates().size(); ++i) {
    if (Templates()[i].parent == fact_template) DefineAnew(static_cast<std::int32_t>(i));
  }
}

}  // namespace reasoner::oracle
