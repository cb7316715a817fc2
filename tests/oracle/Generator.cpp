#include "tests/oracle/Generator.h"

#include <algorithm>
#include <utility>

#include "tests/oracle/WellFormed.h"

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

// Values that are alike without being the same: in one bucket, of one text, of one number.
const std::vector<std::vector<TWord>> kKin = {
    {"1", "1.0", "\"1\"", "102"},
    {"-0.0", "0.0", "0", "nil", "\"\""},
    {"0.50001", "0.50002", "0.5", "0"},
    {"abcdefghijklmnop", "aXcdefghijklmnop", "\"abcdefghijklmnop\"", "abcdefghijklmnopq"},
    {"\"a\"", "a", "ea", "\"a b\""},
    {"-3", "2.5", "3", "2"}};
const std::vector<TWord> kAtoms = {"a", "b", "c", "ea"};
// The first ones come most.
const std::vector<TWord> kMany = {
    "k0", "\"k0\"", "1",     "\"1\"", "1.0",    "2",
    "k1", "\"k1\"", "\"2\"", "k2",    "\"k2\"", "-0.0",
    "0",  "\"0\"",  "k5",    "0.0",   "nil",    "\"a long text of many words\""};
const std::vector<TWord> kWords = {
    "cold", "mild", "hot",          "dull",          "low",          "high",     "medium", "1",
    "3",    "6",    "cold or mild", "mild and high", "low and high", "not mild", "not 3"};

void KeepApart(std::vector<TField>& fields) {
  for (std::size_t i = 1; i < fields.size(); ++i) {
    if (!IsApart(fields[i - 1], fields[i]))
      fields.insert(fields.begin() + static_cast<std::ptrdiff_t>(i), TField());
  }
}

class TGenerator {
 public:
  TGenerator(std::uint64_t seed, bool textbook) : random_(seed), textbook_(textbook) {}

  TProgram Program() {
    TProgram program;
    fuzzy_ = random_.Percent(40);
    if (fuzzy_) {
      if (random_.Percent(30)) program.equals_threshold = 0.2811;
      if (random_.Percent(30)) program.least_strength = 0.4139;
      program.by_product = random_.Percent(50);
    }
    program.may_raise = may_raise_ = random_.Percent(12);
    has_ids_ = random_.Percent(35);
    const bool is_fan = random_.Percent(6);
    is_large_ = !is_fan && random_.Percent(3);
    if (is_large_) program.most_facts = 40;
    ChooseValues(is_fan);
    // A few templates for a program, so that facts meet patterns.
    for (std::uint32_t i = 2 + random_.Below(2); i > 0; --i)
      templates_.push_back(static_cast<std::int32_t>(random_.Below(kFuzzyPair)));
    while (program.globals.size() < 2 && random_.Percent(25)) {
      program.globals.push_back(random_.Pick(values_));
      globals_.push_back(GlobalNames()[program.globals.size() - 1]);
    }
    is_fan ? Fan(program) : Rules(program);
    const auto rules = static_cast<std::uint32_t>(program.rules.size());
    // Some rules are there from the start, the others come in between.
    for (std::uint32_t i = 0; i < rules; ++i) {
      if (random_.Percent(is_fan ? 90 : 75))
        program.operations.push_back(OnRule(TOperation::kAddRule, i));
    }
    has_strategies_ = random_.Percent(20);
    has_duplicates_ = random_.Percent(15);
    uses_ids_ = random_.Percent(12);
    if (random_.Percent(20)) program.operations.push_back(FactSet());
    if (uses_ids_ && random_.Percent(70)) {
      program.operations.push_back(OnRule(TOperation::kUseIds, 0));
      program.operations.back().target = random_.Below(1000);
    }
    if (is_large_) {
      for (std::uint32_t i = 0; i < 40; ++i) program.operations.push_back(Assertion());
    }
    const std::uint32_t operations = 25 + random_.Below(46);
    for (std::uint32_t i = 0; i < operations; ++i) program.operations.push_back(Operation(rules));
    return program;
  }

 private:
  struct TScope {
    std::vector<TWord> variables;                       // "?x" and "$?m"
    std::vector<std::pair<TWord, std::int32_t>> facts;  // "?f1" and the pattern's template
  };

  void ChooseValues(bool is_fan) {
    if (is_fan) {
      values_ = kMany;
    } else if (random_.Percent(45)) {
      values_ = kAtoms;
    } else {
      values_ = random_.Pick(kKin);
      for (std::size_t i = values_.size(); i > 1; --i)
        std::swap(values_[i - 1], values_[random_.Below(static_cast<std::uint32_t>(i))]);
      if (random_.Percent(50)) values_[2] = "a";
    }
    if (is_large_) values_.insert(values_.end(), {"b", "d", "e", "4"});
    // Whether nil is a number hangs on the cell.
    if (may_raise_) std::replace(values_.begin(), values_.end(), TWord("nil"), TWord("b"));
    has_only_texts_ = !has_ids_ && std::none_of(values_.begin(), values_.end(),
                                                [](TWord word) { return word.IsNumber(); });
  }

  void Rules(TProgram& program) {
    const std::uint32_t rules = 1 + random_.Below(is_large_ ? 3 : 6);
    for (std::uint32_t i = 0; i < rules; ++i) {
      const TRuleText* like =
          i > 0 && random_.Percent(30) ? &program.rules[random_.Below(i)] : nullptr;
      TRuleText rule = like != nullptr && random_.Percent(40) ? Sibling(i, *like) : Rule(i, like);
      while (IsLeftOut(rule, textbook_)) rule = Rule(i, nullptr);
      program.rules.push_back(std::move(rule));
    }
  }

  // Rules that differ in a constant, so that nine and more tests stand under one node.
  void Fan(TProgram& program) {
    TElement first;
    first.fact_template = static_cast<std::int32_t>(random_.Below(3));
    std::size_t slot = 0;
    for (const TSlotText& described : TemplateAt(first.fact_template).slots) {
      first.slots.emplace_back();
      if (!described.is_multi || TemplateAt(first.fact_template).is_ordered)
        slot = first.slots.size() - 1;
    }
    first.slots[slot].is_tested = true;
    TField field;
    field.constraints.emplace_back();
    first.slots[slot].fields.push_back(field);
    if (TemplateAt(first.fact_template).is_ordered && random_.Percent(50))
      first.slots[slot].fields.emplace_back();
    const bool negated = random_.Percent(15);
    const bool is_first = random_.Percent(60);
    TRuleText base = Rule(0, nullptr);
    const std::uint32_t rules = 12 + random_.Below(6);
    for (std::uint32_t i = 0; i < rules; ++i) {
      TRuleText rule = base;
      if (random_.Percent(15)) rule = Rule(i, nullptr);
      rule.name = "r" + std::to_string(i);
      TConstraint& constraint = first.slots[slot].fields[0].constraints[0];
      constraint.text = values_[i];
      constraint.negated = random_.Percent(5);
      first.negations = negated ? 1 : 0;
      rule.elements.insert(is_first ? rule.elements.begin() : rule.elements.end(), first);
      while (!IsWellFormed(rule) || IsLeftOut(rule, textbook_)) rule = Rule(i, nullptr);
      program.rules.push_back(std::move(rule));
    }
  }

  static TOperation OnRule(TOperation::Kind kind, std::uint32_t rule) {
    TOperation operation;
    operation.kind = kind;
    operation.rule = rule;
    return operation;
  }

  TOperation Assertion() {
    TOperation operation;
    operation.fact_template = FactTemplate();
    operation.values = Values(operation.fact_template);
    return operation;
  }

  TOperation FactSet() {
    TOperation operation;
    operation.kind = TOperation::kFactSet;
    operation.target = random_.Below(2);
    for (std::uint32_t i = 1 + random_.Below(3); i > 0; --i) {
      TFactForm fact;
      fact.fact_template = FactTemplate();
      for (const std::vector<TWord>& words : Values(fact.fact_template)) {
        fact.slots.emplace_back();
        for (const TWord& word : words) fact.slots.back().push_back(TTerm{word, nullptr});
      }
      operation.facts.push_back(std::move(fact));
    }
    return operation;
  }

  TOperation Operation(std::uint32_t rules) {
    const std::uint32_t choice = random_.Below(100);
    if (choice < 86) {
      TOperation operation = Assertion();
      operation.target = random_.Below(1000);
      if (fuzzy_) operation.words = random_.Pick(kWords);
      operation.kind = choice < 42   ? TOperation::kAssert
                       : choice < 58 ? TOperation::kRetract
                       : choice < 64 ? TOperation::kModify
                       : choice < 68 ? TOperation::kDuplicate
                                     : TOperation::kStep;
      return operation;
    }
    if (choice < 91) return OnRule(TOperation::kAddRule, random_.Below(rules));
    if (choice < 93) return OnRule(TOperation::kRemoveRule, random_.Below(rules));
    TOperation operation;
    operation.target = random_.Below(1000);
    const std::uint32_t rare = random_.Below(100);
    operation.kind = TOperation::kStep;
    if (rare < 5) return FactSet();
    if (rare < 15) operation.kind = TOperation::kReset;
    if (rare >= 15 && rare < 17) operation.kind = TOperation::kClear;
    if (rare >= 20 && rare < 25) operation.kind = TOperation::kTemplateAnew;
    if (rare >= 25 && rare < 50 && uses_ids_) operation.kind = TOperation::kUseIds;
    if (rare >= 50 && rare < 75 && has_strategies_) operation.kind = TOperation::kStrategy;
    if (rare >= 75 && has_duplicates_) operation.kind = TOperation::kDuplicates;
    return operation;
  }

  std::int32_t FactTemplate() {
    if (fuzzy_ && random_.Percent(40)) return random_.Percent(60) ? kFuzzyPair : kFuzzyList;
    if (random_.Percent(10)) return static_cast<std::int32_t>(random_.Below(kFuzzyPair));
    return random_.Pick(templates_);
  }

  std::vector<std::vector<TWord>> Values(std::int32_t fact_template) {
    std::vector<std::vector<TWord>> values;
    for (const TSlotText& slot : TemplateAt(fact_template).slots) {
      const std::uint32_t count = slot.is_multi ? Length() : 1;
      values.emplace_back();
      for (std::uint32_t i = 0; i < count; ++i) values.back().push_back(Literal(slot.is_fuzzy));
    }
    return values;
  }

  // Of a list; most have one or two members.
  std::uint32_t Length() {
    static constexpr std::uint32_t kLengths[] = {0, 1, 1, 1, 2, 2, 3};
    return random_.Pick(kLengths);
  }

  TWord Literal(bool in_fuzzy_slot = false) {
    if (in_fuzzy_slot) return random_.Pick(kWords);
    const auto count = static_cast<std::uint32_t>(values_.size());
    if (random_.Percent(75)) return values_[random_.Below(count < 8 ? 2 : 6)];
    return values_[random_.Below(count)];
  }

  // In a pattern or an action, where globals are known.
  TWord Constant(bool in_fuzzy_slot) {
    if (!in_fuzzy_slot && !globals_.empty() && random_.Percent(15)) return random_.Pick(globals_);
    return Literal(in_fuzzy_slot);
  }

  TRuleText Rule(std::uint32_t number, const TRuleText* like) {
    TRuleText rule;
    rule.name = "r" + std::to_string(number);
    if (random_.Percent(30)) rule.salience = static_cast<std::int32_t>(random_.Below(5)) - 2;
    TScope scope;
    static constexpr std::uint32_t kCounts[] = {1, 2, 2, 2, 3, 3, 4};
    const std::uint32_t count = is_large_ ? 1 + random_.Below(2) : random_.Pick(kCounts);
    const std::size_t taken =
        like == nullptr ? 0 : 1 + random_.Below(static_cast<std::uint32_t>(like->elements.size()));
    for (std::uint32_t i = 0; i < count; ++i) {
      rule.elements.push_back(i < taken && i < like->elements.size() ? like->elements[i]
                                                                     : Element(scope, i));
      Enter(rule.elements.back(), scope);
    }
    // What is behind a failure is not done.
    const std::size_t most = may_raise_ ? 1 : 4;
    while (rule.actions.size() < most && random_.Percent(55))
      rule.actions.push_back(Action(scope, 0));
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
    std::erase_if(scope.variables, [](TWord name) { return name.IsMultiVariable(); });
    if (!places.empty()) {
      TConstraint& place = *random_.Pick(places);
      place.text =
          scope.variables.empty() ? Variable({}, false, false) : random_.Pick(scope.variables);
    }
    return IsWellFormed(rule) ? rule : Rule(number, nullptr);
  }

  // The variables that the element leaves bound.
  static void Enter(const TElement& element, TScope& scope) {
    if (element.is_test || element.negations > 0) return;
    if (!element.bound.IsEmpty()) scope.facts.emplace_back(element.bound, element.fact_template);
    for (const TSlotPattern& slot : element.slots) {
      for (const TField& field : slot.fields) {
        for (const TConstraint& constraint : field.constraints) {
          if (constraint.kind == TConstraint::kVariable && !constraint.negated)
            Add(scope, constraint.text);
        }
      }
    }
  }

  static bool Has(const TScope& scope, TWord variable) {
    const auto is_it = [&](const auto& fact) { return fact.first == variable; };
    return std::find(scope.variables.begin(), scope.variables.end(), variable) !=
               scope.variables.end() ||
           std::any_of(scope.facts.begin(), scope.facts.end(), is_it);
  }
  static void Add(TScope& scope, TWord variable) {
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
    if (element.negations == 0 && random_.Percent(35)) element.bound = "?f" + std::to_string(index);
    element.fact_template = FactTemplate();
    // What the pattern may name: what is bound before, and what it binds itself.
    TScope here = scope;
    if (!element.bound.IsEmpty()) here.facts.emplace_back(element.bound, element.fact_template);
    const TTemplateText& described = TemplateAt(element.fact_template);
    for (const TSlotText& slot : described.slots) {
      TSlotPattern tested;
      tested.is_tested = described.is_ordered || random_.Percent(60);
      if (tested.is_tested) {
        const std::uint32_t fields = slot.is_multi ? Length() : 1;
        for (std::uint32_t i = 0; i < fields; ++i) {
          const bool is_span = slot.is_multi && random_.Percent(35);
          tested.fields.push_back(Field(here, is_span, slot.is_fuzzy));
        }
        if (slot.is_fuzzy) KeepApart(tested.fields);
      }
      element.slots.push_back(std::move(tested));
    }
    return element;
  }

  TWord Variable(const TScope& here, bool is_span, bool in_fuzzy_slot) {
    static const TWord kSingle[] = {"?x", "?x", "?y", "?z"};
    static const TWord kFuzzy[] = {"?d", "?d", "?e"};
    static const TWord kSpan[] = {"$?m", "$?n"};
    if (is_span) return random_.Pick(kSpan);
    if (has_ids_ && !here.facts.empty() && !in_fuzzy_slot && random_.Percent(25))
      return random_.Pick(here.facts).first;
    if (fuzzy_ && random_.Percent(10) && !here.variables.empty()) {
      // A variable that may have been bound in a slot of the other kind.
      const TWord any = random_.Pick(here.variables);
      if (!any.IsMultiVariable()) return any;
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
      if (field.constraints.size() == 1 && random_.Percent(25)) {
        for (std::uint32_t i = 1 + random_.Below(2); i > 0; --i) {
          TConstraint alternative;
          alternative.kind = TConstraint::kPredicate;
          alternative.call = std::make_shared<TCall>(Predicate(here, 0));
          alternative.behind_bar = field.constraints.size() > 1;
          field.constraints.push_back(std::move(alternative));
        }
      }
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
    constraint.text = Constant(in_fuzzy_slot);
    constraint.negated = random_.Percent(30);
    return constraint;
  }

  TConstraint Constraint(TScope& here, bool in_fuzzy_slot) {
    const std::uint32_t choice = random_.Below(100);
    if (choice < 40) return VariableConstraint(here, false, in_fuzzy_slot);
    if (choice < 65 || here.variables.empty()) return LiteralConstraint(in_fuzzy_slot);
    TConstraint constraint;
    constraint.negated = random_.Percent(25);
    const bool compares = textbook_ || has_only_texts_ || may_raise_;
    if (choice < 85 || in_fuzzy_slot || !compares) {
      constraint.kind = TConstraint::kPredicate;
      constraint.call = std::make_shared<TCall>(Predicate(here, 0));
    } else {
      constraint.kind = TConstraint::kEquation;
      const bool is_same = (textbook_ || may_raise_) && !fuzzy_ && random_.Percent(50);
      constraint.call = std::make_shared<TCall>(Call(is_same ? "same" : "pick", here));
    }
    return constraint;
  }

  TTerm Term(const TScope& scope) {
    if (has_ids_ && !scope.facts.empty() && random_.Percent(25))
      return TTerm{random_.Pick(scope.facts).first, nullptr};
    if (random_.Percent(35) || scope.variables.empty()) return TTerm{Constant(false), nullptr};
    return TTerm{random_.Pick(scope.variables), nullptr};
  }

  TCall Call(const char* function, const TScope& scope) {
    TCall call{function, {}};
    call.terms.push_back(Term(scope));
    if (call.function != "same") call.terms.push_back(Term(scope));
    return call;
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
    if (may_raise_ && random_.Percent(40))
      return Call(fuzzy_ || random_.Percent(60) ? "must" : ">", scope);
    if (depth == 0 && random_.Percent(10)) return Call("pick", scope);
    return Call(random_.Percent(50) ? "eq" : "neq", scope);
  }

  TAction Action(TScope& scope, std::uint32_t depth) {
    TAction action;
    const std::uint32_t choice = random_.Below(100);
    if (choice < 35 && !scope.facts.empty()) {
      const auto [name, fact_template] = random_.Pick(scope.facts);
      action.name = name;
      action.fact_template = fact_template;
      const bool is_ordered = TemplateAt(fact_template).is_ordered;
      action.kind = is_ordered || choice < 15 ? TAction::kRetract
                    : choice < 28             ? TAction::kModify
                                              : TAction::kDuplicate;
      if (action.kind != TAction::kRetract) Changes(scope, action);
    } else if (choice < 50 && depth == 0 && !may_raise_) {
      action.kind = TAction::kBind;
      action.name = random_.Percent(50) ? "?b" : "?c";
      action.term = CrispTerm(scope);
      if (random_.Percent(25))
        action.term = TTerm{"", std::make_shared<TCall>(Call("pick", scope))};
      Add(scope, action.name);
    } else if (choice < 65 && depth == 0) {
      action.kind = TAction::kIf;
      action.term = TTerm{"", std::make_shared<TCall>(Call("eq", scope))};
      if (!may_raise_) action.term.call = std::make_shared<TCall>(Predicate(scope, 0));
      action.actions.push_back(Action(scope, 1));
      if (!may_raise_ && random_.Percent(30)) action.actions.push_back(Action(scope, 1));
      if (random_.Percent(50)) action.otherwise.push_back(Action(scope, 1));
    } else if (choice >= 65 && choice < 69) {
      action.kind = TAction::kUndefRule;
      action.name = "r" + std::to_string(random_.Below(6));
    } else if (choice >= 69 && choice < 71) {
      action.kind = TAction::kReset;
    } else {
      for (std::uint32_t i = random_.Percent(70) ? 1 : 2 + random_.Below(2); i > 0; --i)
        action.facts.push_back(Fact(scope));
    }
    return action;
  }

  void Changes(const TScope& scope, TAction& action) {
    const std::vector<TSlotText>& slots = TemplateAt(action.fact_template).slots;
    for (std::size_t i = 0; i < slots.size(); ++i) {
      // A duplicate's fuzzy values are not evaluated.
      if (slots[i].is_fuzzy && action.kind == TAction::kDuplicate) continue;
      if (slots[i].is_fuzzy && slots[i].is_multi) continue;
      if (random_.Percent(50)) action.changes.emplace_back(i, Terms(scope, slots[i], 1));
    }
    if (action.changes.empty())
      action.changes.emplace_back(slots.size() - 1, Terms(scope, slots.back(), 1));
  }

  TFactForm Fact(const TScope& scope) {
    TFactForm fact;
    fact.fact_template = FactTemplate();
    for (const TSlotText& slot : TemplateAt(fact.fact_template).slots)
      fact.slots.push_back(Terms(scope, slot, 0));
    return fact;
  }

  std::vector<TTerm> Terms(const TScope& scope, const TSlotText& slot, std::uint32_t least) {
    std::vector<TTerm> terms;
    for (std::uint32_t i = slot.is_multi ? least + random_.Below(3 - least) : 1; i > 0; --i) {
      if (slot.is_fuzzy) {
        const TWord variable = Variable({}, false, true);
        const bool is_variable = Has(scope, variable) && random_.Percent(50);
        terms.push_back(TTerm{is_variable ? variable : Literal(true), nullptr});
      } else {
        terms.push_back(CrispTerm(scope, slot.is_multi));
      }
    }
    return terms;
  }

  TTerm CrispTerm(const TScope& scope, bool may_be_list = false) {
    TTerm term = Term(scope);
    if ((term.text.IsMultiVariable() && !may_be_list) || IsFuzzyName(term.text))
      term.text = Literal();
    return term;
  }

  TRandom random_;
  bool textbook_;
  bool fuzzy_ = false;
  bool is_large_ = false;
  bool may_raise_ = false;
  bool has_ids_ = false;  // in slots
  bool has_only_texts_ = false;
  bool has_strategies_ = false;
  bool has_duplicates_ = false;
  bool uses_ids_ = false;
  std::vector<std::int32_t> templates_;
  std::vector<TWord> values_;
  std::vector<TWord> globals_;
};

}  // namespace

TProgram Generate(std::uint64_t seed, bool textbook) {
  return TGenerator(seed, textbook).Program();
}

}  // namespace reasoner::oracle
