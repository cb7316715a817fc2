#include "tests/oracle/BruteForce.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

namespace reasoner::oracle {
namespace {

constexpr std::int32_t kHashSize = 101;
constexpr std::size_t kMostMatches = 3000;

bool Names(const TCall& call, const std::function<bool(TWord)>& is_wanted) {
  return std::any_of(call.terms.begin(), call.terms.end(), [&](const TTerm& term) {
    return term.call ? Names(*term.call, is_wanted) : term.IsVariable() && is_wanted(term.text);
  });
}

std::int32_t BucketOf(const TValue& value) {
  std::uint32_t hash = 0;
  if (!value.is_list) hash = value.word.HashCode();
  for (const TWord& item : value.items) hash += item.HashCode();
  return static_cast<std::int32_t>(
      std::abs(static_cast<std::int64_t>(static_cast<std::int32_t>(hash))) % kHashSize);
}

// All ways to lay a list over the fields of a slot, the longest spans first.
void Split(const std::vector<TValue>& items, const std::vector<TField>& fields, std::size_t item,
           std::vector<TValue>& places, const std::function<void()>& take) {
  if (places.size() == fields.size()) {
    if (item == items.size()) take();
    return;
  }
  if (!fields[places.size()].is_span) {
    if (item == items.size()) return;
    places.push_back(items[item]);
    Split(items, fields, item + 1, places, take);
    places.pop_back();
    return;
  }
  for (std::size_t end = items.size() + 1; end-- > item;) {
    TValue span{true, {}, {}, nullptr};
    for (std::size_t i = item; i < end; ++i) span.items.push_back(items[i].word);
    places.push_back(std::move(span));
    Split(items, fields, end, places, take);
    places.pop_back();
  }
}

// Numbers of one value, worked out in two ways.
bool IsSameStrength(double a, double b) { return std::abs(a - b) < 1e-6; }

template <class TPlaces>
auto FindPlace(const TPlaces& places, TWord variable) {
  return std::find_if(places.begin(), places.end(),
                      [&](const auto& place) { return place.variable == variable; });
}

}  // namespace

std::vector<TValue> TKnownFact::Members(std::size_t slot) const {
  std::vector<TValue> members;
  for (std::size_t i = 0; i < values[slot].size(); ++i) {
    members.push_back(TValue::Single(values[slot][i]));
    if (slot < shapes.size() && i < shapes[slot].size()) members.back().shape = shapes[slot][i];
  }
  return members;
}

void AddToKey(const TValue& value, TMatchKey& key) {
  if (value.shape) {
    key.push_back(-2);
  } else if (!value.is_list) {
    key.push_back(value.word.GetIndex());
  } else {
    key.push_back(-3 - static_cast<std::int32_t>(value.items.size()));
    for (const TWord& item : value.items) key.push_back(item.GetIndex());
  }
}

TValue BruteForce::LiteralFor(const TConstraint& constraint, const TValue& value) const {
  TValue literal = TValue::Single(Constant(constraint.text));
  if (value.shape) literal.shape = ShapeOf(literal.word.Text());
  return literal;
}

bool BruteForce::Holds(const TConstraint& constraint, const TValue& value, const TEnvironment& own,
                       const TEnvironment& before) const {
  bool holds = false;
  switch (constraint.kind) {
    case TConstraint::kLiteral:
      holds = Agree(value, LiteralFor(constraint, value));
      break;
    case TConstraint::kVariable:
      holds = Agree(value, Evaluate(TTerm{constraint.text, nullptr}, own, before));
      break;
    case TConstraint::kPredicate:
      holds = !(Evaluate(*constraint.call, own, before) == TValue::Single("FALSE"));
      break;
    case TConstraint::kEquation: {
      const TValue wanted = Evaluate(*constraint.call, own, before);
      holds = value.shape || wanted.shape ? Agree(value, wanted) : IsLike(value, wanted, textbook_);
    } break;
  }
  return holds != constraint.negated;
}

// `&` binds tighter than `|`. A leading variable that the field binds, or behind which an `&`
// stands, stands before all alternatives.
bool BruteForce::Holds(const TField& field, bool leads, const TValue& value,
                       const TEnvironment& own, const TEnvironment& before) const {
  bool all = true;
  for (std::size_t i = leads ? 1 : 0; i < field.constraints.size(); ++i) {
    if (field.constraints[i].behind_bar && i > (leads ? 1u : 0u)) {
      if (all) return true;
      all = true;
    }
    all = all && Holds(field.constraints[i], value, own, before);
  }
  return all;
}

// A test of the pattern's own: where it compares fuzzy values, the match is as strong as the test
// is true at the most.
bool BruteForce::Compares(const TValue& a, const TValue& b, bool negated, double& strength) const {
  if (Agree(a, b) == negated) return false;
  if (!a.shape && !b.shape) return true;
  const double degree = DegreeOf(a, b);
  const double truth = negated ? 1 - degree : degree;
  if (strength <= truth) return true;
  strength = truth;
  return least_strength_ <= truth;
}

BruteForce::TReading BruteForce::Read(const TElement& element, const std::vector<TPlace>& earlier,
                                      std::int32_t fact_index) {
  TReading reading;
  reading.element = &element;
  reading.earlier = earlier;
  if (element.is_test) return reading;
  if (!element.bound.IsEmpty()) reading.own.push_back({element.bound, fact_index, -1, -1, false});
  std::vector<TWord> order;  // of the earlier variables that stand for themselves
  for (std::size_t s = 0; s < element.slots.size(); ++s) {
    const TSlotText& slot = Templates()[static_cast<std::size_t>(element.fact_template)].slots[s];
    for (std::size_t f = 0; f < element.slots[s].fields.size(); ++f) {
      const TField& field = element.slots[s].fields[f];
      for (std::size_t c = 0; c < field.constraints.size(); ++c) {
        const TConstraint& constraint = field.constraints[c];
        if (constraint.kind != TConstraint::kVariable) continue;
        const TPlace place{constraint.text, fact_index, static_cast<std::int32_t>(s),
                           slot.is_multi ? static_cast<std::int32_t>(f) : -1, slot.is_fuzzy};
        if (FindPlace(earlier, constraint.text) == earlier.end()) {
          if (!constraint.negated && FindPlace(reading.own, constraint.text) == reading.own.end())
            reading.own.push_back(place);
        } else if (c < field.GetPlainCount()) {
          if (std::find(order.begin(), order.end(), constraint.text) == order.end())
            order.push_back(constraint.text);
          if (!constraint.negated &&
              FindPlace(reading.bases, constraint.text) == reading.bases.end())
            reading.bases.push_back(place);
        }
      }
    }
  }
  for (const bool whole : {true, false}) {
    for (const TWord& variable : order) {
      const auto right = FindPlace(reading.bases, variable);
      const auto left = FindPlace(earlier, variable);
      if (!reading.hash_right.variable.IsEmpty() || right == reading.bases.end() ||
          left->slot < 0 || right->is_fuzzy || left->is_fuzzy ||
          whole != (right->field < 0 && left->field < 0)) {
        continue;
      }
      reading.hash_right = *right;
      reading.hash_left = *left;
    }
  }
  return reading;
}

BruteForce::BruteForce(const TRuleText& rule, const TProgram& program, bool textbook)
    : TEvaluator(program), least_strength_(program.least_strength), textbook_(textbook) {
  std::vector<TPlace> bound;
  std::int32_t fact_index = 0;
  const TElement& first = rule.elements.front();
  starts_with_initial_ = first.is_test || first.negations > 0 || (textbook && first.unique);
  if (starts_with_initial_) ++fact_index;
  tests_fuzzy_ = std::any_of(
      rule.elements.begin(), rule.elements.end(),
      [](const TElement& element) { return !element.is_test && IsFuzzy(element.fact_template); });
  for (const TElement& element : rule.elements) {
    readings_.push_back(Read(element, bound, fact_index));
    readings_.back().in_memory = &element != &first || element.negations > 0;
    if (element.is_test) continue;
    ++fact_index;
    deep_negation_ = deep_negation_ || element.negations > 1;
    keeps_past_ =
        keeps_past_ || (!textbook && (element.unique || (element.negations > 0 && tests_fuzzy_)));
    if (element.negations > 0) continue;
    for (const TPlace& place : readings_.back().own) {
      bound.push_back(place);
      variables_.push_back(place.variable);
    }
  }
}

bool BruteForce::Leads(const TReading& reading, std::size_t slot, std::size_t field) {
  const TField& read = reading.element->slots[slot].fields[field];
  if (!read.HasBar()) return false;
  if (read.GetPlainCount() > 0) return true;
  const TConstraint& first = read.constraints.front();
  const auto place = FindPlace(reading.own, first.text);
  return first.kind == TConstraint::kVariable && !first.negated && place != reading.own.end() &&
         place->slot == static_cast<std::int32_t>(slot) &&
         std::max(place->field, 0) == static_cast<std::int32_t>(field);
}

bool BruteForce::IsLocal(const TReading& reading, const TConstraint& constraint) {
  const auto is_earlier = [&](TWord variable) {
    return FindPlace(reading.earlier, variable) != reading.earlier.end();
  };
  return constraint.kind == TConstraint::kVariable
             ? !is_earlier(constraint.text)
             : !constraint.call || !Names(*constraint.call, is_earlier);
}

// The place of the pattern that stands for the variable where it is compared.
const TValue* BruteForce::BaseOf(const TReading& reading, TWord variable, const TView& view) {
  for (const std::vector<TPlace>* places : {&reading.bases, &reading.own}) {
    const auto place = FindPlace(*places, variable);
    if (place == places->end() || place->slot < 0) continue;
    return &view.places[static_cast<std::size_t>(place->slot)]
                       [static_cast<std::size_t>(std::max(place->field, 0))];
  }
  return nullptr;
}

// What the pattern says by itself. A call that raises does not hold.
bool BruteForce::PassesAlone(const TReading& reading, TView& view) const try {
  for (std::size_t s = 0; s < view.places.size(); ++s) {
    for (std::size_t f = 0; f < view.places[s].size(); ++f) {
      const TField& field = reading.element->slots[s].fields[f];
      const TValue& value = view.places[s][f];
      const auto plain = field.constraints.begin() + static_cast<int>(field.GetPlainCount());
      if (field.HasBar() &&
          std::all_of(plain, field.constraints.end(),
                      [&](const auto& constraint) { return IsLocal(reading, constraint); }) &&
          !Holds(field, Leads(reading, s, f), value, view.bindings, {})) {
        return false;
      }
      std::vector<TWord> in_place;  // the variables that have their base here
      for (auto item = field.constraints.begin(); item != plain; ++item) {
        const TConstraint& constraint = *item;
        if (constraint.kind == TConstraint::kVariable) {
          const TValue* base = BaseOf(reading, constraint.text, view);
          if (base == nullptr) {
            if (constraint.text == reading.element->bound && IsLocal(reading, constraint) &&
                !Holds(constraint, value, view.bindings, {}))
              return false;
            continue;
          }
          // Named again in its own place a fuzzy value is as equal to itself as it is high.
          if (base == &value && !constraint.negated &&
              std::find(in_place.begin(), in_place.end(), constraint.text) == in_place.end()) {
            in_place.push_back(constraint.text);
            continue;
          }
          if (!Compares(*base, value, constraint.negated, view.strength)) return false;
        } else if (constraint.kind == TConstraint::kLiteral) {
          if (!Compares(value, LiteralFor(constraint, value), constraint.negated, view.strength))
            return false;
        } else if (IsLocal(reading, constraint) && !Holds(constraint, value, view.bindings, {})) {
          return false;
        }
      }
    }
  }
  return true;
} catch (const TRaised&) {
  return false;
}

// What the pattern says of the facts before it. Equality of fuzzy values does not carry over: only
// one place of a variable is compared with the earlier one, the others are compared with this one.
bool BruteForce::Passes(const TReading& reading, const TView& view,
                        const TEnvironment& before) const try {
  for (std::size_t s = 0; s < view.places.size(); ++s) {
    for (std::size_t f = 0; f < view.places[s].size(); ++f) {
      const TField& field = reading.element->slots[s].fields[f];
      const TValue& value = view.places[s][f];
      if (field.HasBar() && !Holds(field, Leads(reading, s, f), value, view.bindings, before))
        return false;
      const auto plain = field.constraints.begin() + static_cast<int>(field.GetPlainCount());
      for (auto item = field.constraints.begin(); item != plain; ++item) {
        const TConstraint& constraint = *item;
        if (IsLocal(reading, constraint)) continue;
        if (constraint.kind == TConstraint::kVariable) {
          const TValue* base = BaseOf(reading, constraint.text, view);
          if (base != nullptr && (base != &value || constraint.negated)) continue;
        }
        if (!Holds(constraint, value, view.bindings, before)) return false;
      }
    }
  }
  return true;
} catch (const TRaised&) {
  return false;
}

// What a memory behind the pattern holds of the fact.
const std::vector<BruteForce::TView>& BruteForce::ViewsOf(const TReading& reading,
                                                          const TKnownFact& fact) const {
  if (fact.serial >= reading.views.size()) {
    reading.views.resize(fact.serial + 16);
    reading.is_viewed.resize(fact.serial + 16);
  }
  std::vector<TView>& views = reading.views[fact.serial];
  if (reading.is_viewed[fact.serial]) return views;
  reading.is_viewed[fact.serial] = true;
  const TElement& element = *reading.element;
  if (!Descends(fact.fact_template, element.fact_template)) return views;
  const bool has_memory = reading.in_memory && !textbook_;
  TView view;
  view.fact = &fact;
  view.places.resize(element.slots.size());
  const auto value_at = [&view](const TPlace& place) -> const TValue& {
    return view.places[static_cast<std::size_t>(place.slot)]
                      [static_cast<std::size_t>(std::max(place.field, 0))];
  };
  const auto take = [&] {
    view.bindings.clear();
    view.strength = 1;
    for (const TPlace& place : reading.own) {
      view.bindings.emplace_back(place.variable, place.slot < 0
                                                     ? TValue::Single(TWord::FactId(fact.id))
                                                     : value_at(place));
    }
    if (!PassesAlone(reading, view)) return;
    if (has_memory && !reading.hash_right.variable.IsEmpty())
      view.bucket = BucketOf(value_at(reading.hash_right));
    // Of a fact's expansions it holds one for each bucket and strength.
    const auto is_like = [&view](const TView& other) {
      return other.bucket == view.bucket && IsSameStrength(other.strength, view.strength);
    };
    if (!has_memory || std::none_of(views.begin(), views.end(), is_like)) views.push_back(view);
  };
  const std::function<void(std::size_t)> fill = [&](std::size_t slot) {
    if (slot == element.slots.size()) return take();
    if (element.slots[slot].is_tested) {
      const std::size_t in_fact =
          SlotOf(fact.fact_template, TemplateAt(element.fact_template).slots[slot].name);
      Split(fact.Members(in_fact), element.slots[slot].fields, 0, view.places[slot],
            [&] { fill(slot + 1); });
    } else {
      fill(slot + 1);
    }
  };
  fill(0);
  return views;
}

std::vector<const BruteForce::TView*> BruteForce::Entries(const TReading& reading,
                                                          const TFactHistory& history,
                                                          bool with_past) const {
  std::vector<const TView*> entries;
  for (const TKnownFact& fact : history) {
    if ((!with_past && !fact.IsAlive()) || underway_.Hides(fact, *reading.element)) continue;
    for (const TView& view : ViewsOf(reading, fact)) entries.push_back(&view);
  }
  return entries;
}

std::vector<BruteForce::TToken> BruteForce::LeftMemory(const TReading& reading,
                                                       const std::vector<TToken>& tokens,
                                                       bool first_level) const {
  if (textbook_) return tokens;
  std::vector<TToken> held;
  held.reserve(tokens.size());
  for (TToken token : tokens) {
    const TPlace& hashed = reading.hash_left;
    token.bucket = !first_level || hashed.variable.IsEmpty()
                       ? 0
                       : BucketOf(*FindIn(token.bindings, hashed.variable));
    const bool is_held = std::any_of(held.begin(), held.end(), [&](const TToken& other) {
      return other.bucket == token.bucket && other.ids == token.ids &&
             IsSameStrength(other.strength, token.strength);
    });
    if (!is_held) held.push_back(token);
  }
  return held;
}

// In textbook semantics a unique pattern's partner is the oldest one. In the engine's own one that
// came before the token is the first in the memory, and all that came later are partners, too.
std::vector<BruteForce::TToken> BruteForce::Join(const TReading& reading,
                                                 const std::vector<TToken>& tokens,
                                                 const TFactHistory& history,
                                                 std::int64_t rule_added) const {
  const bool unique = reading.element->unique;
  const bool by_time = unique && !textbook_;
  std::vector<const TView*> right = Entries(reading, history, by_time);
  // Without a key to look under, the memory is walked by the facts' ids.
  if (by_time && reading.hash_right.variable.IsEmpty()) {
    std::stable_sort(right.begin(), right.end(), [](const TView* a, const TView* b) {
      return a->fact->id % kHashSize < b->fact->id % kHashSize;
    });
  }
  std::vector<TToken> joined;
  for (const TToken& token : LeftMemory(reading, tokens, true)) {
    const std::int64_t came = std::max(token.came, rule_added);
    bool had_first = false;
    for (const TView* entry : right) {
      const TView& view = *entry;
      if (!Passes(reading, view, token.bindings)) continue;
      // Facts that a new rule finds are fed to it in their order.
      if (by_time && view.fact->born < token.came) {
        const bool was_there = view.fact->died > came;
        const bool is_first = was_there && !had_first;
        had_first = had_first || was_there;
        if (!is_first) continue;
      }
      if (!view.fact->IsAlive()) continue;
      TToken pair = token;
      pair.ids.push_back(view.fact->id);
      pair.came = std::max(pair.came, view.fact->born);
      pair.strength = std::min(pair.strength, view.strength);
      pair.bindings.insert(pair.bindings.end(), view.bindings.begin(), view.bindings.end());
      joined.push_back(std::move(pair));
      if (joined.size() > kMostMatches) throw TTooMany();
      if (unique && textbook_) break;
    }
  }
  return joined;
}

// What exists is as true as the best of the facts that match; what does not exist is true.
std::vector<BruteForce::TToken> BruteForce::NegatePlainly(const TReading& reading,
                                                          const std::vector<TToken>& tokens,
                                                          const TFactHistory& history) const {
  const std::vector<const TView*> right = Entries(reading, history, false);
  const bool exists = reading.element->negations % 2 == 0;
  std::vector<TToken> passed;
  for (TToken token : tokens) {
    double best = -1;
    for (const TView* view : right) {
      if (Passes(reading, *view, token.bindings)) best = std::max(best, view->strength);
    }
    if (exists != (best >= 0)) continue;
    if (exists) token.strength = std::min(token.strength, best);
    token.ids.push_back(-1);
    passed.push_back(std::move(token));
  }
  return passed;
}

std::vector<BruteForce::TToken> BruteForce::Negate(const TReading& reading,
                                                   const std::vector<TToken>& tokens,
                                                   const TFactHistory& history,
                                                   std::int64_t rule_added) const {
  if (textbook_) return NegatePlainly(reading, tokens, history);
  const std::vector<const TView*> right = Entries(reading, history, keeps_past_);
  std::vector<TToken> passed;
  for (TToken token : LeftMemory(reading, tokens, true)) {
    bool is_blocked = false;
    const std::int64_t came = std::max(token.came, rule_added);
    std::int64_t unblocked = came;
    double most = 1;
    for (const TView* entry : right) {
      const TView& view = *entry;
      if (view.fact->died < unblocked || !Passes(reading, view, token.bindings)) continue;
      is_blocked = is_blocked || view.fact->died == TKnownFact::kAlive;
      most = view.strength;
      // One fact let the token come and unblocked it: either may have been first.
      if (view.fact->died == came && most < 1) most = TReadMatch::kAnyStrength;
      unblocked = view.fact->died;
    }
    if (is_blocked) continue;
    token.came = unblocked;
    token.strength = std::min(token.strength, most);
    passed.push_back(std::move(token));
  }
  for (std::int32_t level = 1; level < reading.element->negations; ++level) {
    std::vector<TToken> next;
    for (const TToken& token : LeftMemory(reading, tokens, false)) {
      if (passed.empty()) next.push_back(token);
    }
    passed = std::move(next);
  }
  for (TToken& token : passed) {
    token.ids.push_back(-1);
    if (reading.element->negations > 1 && tests_fuzzy_) token.strength = TReadMatch::kAnyStrength;
  }
  return passed;
}

bool BruteForce::Reads(std::int32_t fact_template) const {
  if (fact_template == -1) return starts_with_initial_;
  return std::any_of(readings_.begin(), readings_.end(), [&](const TReading& reading) {
    return !reading.element->is_test && Descends(fact_template, reading.element->fact_template);
  });
}

std::vector<TReadMatch> BruteForce::Matches(const TFactHistory& history, std::int64_t rule_added,
                                            TUnderway underway) const {
  underway_ = underway;
  std::vector<TToken> tokens;
  if (starts_with_initial_) {
    for (const TKnownFact& fact : history) {
      if (fact.fact_template == -1 && fact.IsAlive())
        tokens.push_back(TToken{{fact.id}, fact.born, {}, 1, 0});
    }
  }
  for (std::size_t i = 0; i < readings_.size(); ++i) {
    const TReading& reading = readings_[i];
    const TElement& element = *reading.element;
    if (element.is_test) {
      std::erase_if(tokens, [&](const TToken& token) {
        try {
          const bool is_false =
              Evaluate(element.test, {}, token.bindings) == TValue::Single("FALSE");
          return is_false == (element.negations == 0);
        } catch (const TRaised&) {
          return true;
        }
      });
    } else if (element.negations > 0) {
      tokens = Negate(reading, tokens, history, rule_added);
    } else if (i == 0 && !starts_with_initial_) {
      // No memory stands before the first join: every expansion goes on.
      for (const TView* view : Entries(reading, history, false)) {
        tokens.push_back(
            TToken{{view->fact->id}, view->fact->born, view->bindings, view->strength, 0});
      }
    } else {
      tokens = Join(reading, tokens, history, rule_added);
    }
  }
  std::vector<TReadMatch> matches;
  matches.reserve(tokens.size());
  for (TToken& token : tokens) {
    TMatchKey key = std::move(token.ids);
    for (const auto& [name, value] : token.bindings) AddToKey(value, key);
    matches.push_back(TReadMatch{std::move(key), token.strength, std::move(token.bindings)});
  }
  std::sort(matches.begin(), matches.end(),
            [](const TReadMatch& a, const TReadMatch& b) { return a.key < b.key; });
  return matches;
}

}  // namespace reasoner::oracle
