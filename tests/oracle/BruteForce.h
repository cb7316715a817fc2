// What a left side means, read directly: all combinations of facts are tried, nothing is kept.
//
// In textbook semantics that is all there is to say. The engine's own semantics show some of the
// network where a plain reading would not, and the reading models these:
// - a memory holds the expansions of one fact once a bucket and strength, the longest span that
//   passes first, so the key that a join hashes on can be seen: the first equality of whole slots,
//   else of fields, in the order in which the pattern's variables come
// - from the second level of a negation on, one token that the level before lets through blocks all
//   left tokens
// - a unique pattern gives a new left token its first partner only, but each new right token to all
//   left tokens: when facts came and went is part of the reading
// - the strength of what a negation lets through is history, too: when its last blocker goes, that
//   blocker's strength is the most that is left
//
// In textbook semantics all of this, and when facts came and went, is without meaning.
//
// What the generator leaves out, or the comparison allows, because more of the network's history
// would have to be modelled:
// - in the engine's own semantics: a first pattern with `$?` directly before a negated one, or
//   before one with `$?` and a third one; unique patterns behind negated ones, behind or with `$?`,
//   or on a template that came before in the rule; `$?` in a list of fuzzy values beside a negation
//   of several levels
// - in the engine's own semantics: a match that has fired and is gone while a fact has reached the
//   other patterns before it reaches a negation of several levels, or the other way round: it may
//   stand on the agenda again
// - in the engine's own semantics: strengths behind a negation of several levels, and where a
//   blocker of one negation goes at the same moment as one of the next
// - fuzzy values that are nowhere above the threshold: such a value is equal to none, but a cell is
//   equal to itself
// - goals, function calls that change their mind, variables for lists of fuzzy values, operations
//   on fuzzy sets whose result is not made of straight lines
// - the order of activations made by one token (each one's place on the agenda is checked)

#pragma once

#include <cstdint>
#include <deque>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/oracle/Evaluator.h"

namespace reasoner::oracle {

// A fact with the times at which it came and went.
struct TKnownFact {
  static constexpr std::int64_t kAlive = std::numeric_limits<std::int64_t>::max();

  std::int32_t id = 0;
  std::int32_t fact_template = 0;                 // -1 for the initial fact
  std::vector<std::vector<TWord>> values;         // of fuzzy slots only a name of the place
  std::vector<std::vector<TSharedShape>> shapes;  // of the fuzzy slots; may be empty without any
  std::int64_t born = 0;
  std::int64_t died = kAlive;
  std::size_t serial = 0;  // no other fact has it

  bool IsAlive() const { return died == kAlive; }
  std::vector<TValue> Members(std::size_t slot) const;
};
using TFactHistory = std::deque<TKnownFact>;

// What tells a match from the others of its rule: the ids, -1 for what is not there, and the values
// of the variables.
using TMatchKey = std::vector<std::int32_t>;
void AddToKey(const TValue& value, TMatchKey& key);

// What a rule is matched by.
struct TReadMatch {
  // Not worked out: see above.
  static constexpr double kAnyStrength = -1;

  TMatchKey key;
  double strength = 1;
  TEnvironment bindings;
};

// A fact that is on its way: it has passed the negations of several levels only, or all others.
struct TUnderway {
  const TKnownFact* fact = nullptr;
  bool has_passed_negations = false;

  bool Hides(const TKnownFact& other, const TElement& element) const {
    return fact == &other && (element.negations > 1) != has_passed_negations;
  }
};

class BruteForce : private TEvaluator {
 public:
  // More matches, at any stage, than are worth looking at.
  struct TTooMany {};

  // The program's settings are read, not its rules.
  BruteForce(const TRuleText& rule, const TProgram& program, bool textbook);

  // The matches of the facts that are alive, ordered by their keys.
  std::vector<TReadMatch> Matches(const TFactHistory& history, std::int64_t rule_added,
                                  TUnderway underway = {}) const;
  // Whether a fact of the template can change them.
  bool Reads(std::int32_t fact_template) const;
  bool HasDeepNegation() const { return deep_negation_; }
  // The variables that actions see.
  const std::vector<TWord>& GetVariables() const { return variables_; }

 private:
  struct TPlace {
    TWord variable;
    std::int32_t fact_index = 0;
    std::int32_t slot = -1;   // -1 for the fact itself
    std::int32_t field = -1;  // -1 for a slot as a whole
    bool is_fuzzy = false;
  };
  struct TView {
    const TKnownFact* fact = nullptr;
    std::vector<std::vector<TValue>> places;
    TEnvironment bindings;
    double strength = 1;
    std::int32_t bucket = 0;
  };
  // An element with what is bound before it and in it.
  struct TReading {
    const TElement* element = nullptr;
    std::vector<TPlace> earlier;
    std::vector<TPlace> own;
    std::vector<TPlace> bases;  // the place that is compared with an earlier variable
    TPlace hash_right;          // without a variable: none
    TPlace hash_left;
    bool in_memory = true;  // the first pattern has none behind it
    // By the facts' serial numbers.
    mutable std::vector<std::vector<TView>> views;
    mutable std::vector<bool> is_viewed;
  };
  struct TToken {
    std::vector<std::int32_t> ids;
    std::int64_t came = 0;
    TEnvironment bindings;
    double strength = 1;
    std::int32_t bucket = 0;
  };

  static TReading Read(const TElement& element, const std::vector<TPlace>& earlier,
                       std::int32_t fact_index);
  const std::vector<TView>& ViewsOf(const TReading& reading, const TKnownFact& fact) const;
  std::vector<const TView*> Entries(const TReading& reading, const TFactHistory& history,
                                    bool with_past) const;
  static bool Leads(const TReading& reading, std::size_t slot, std::size_t field);
  bool Holds(const TConstraint& constraint, const TValue& value, const TEnvironment& own,
             const TEnvironment& before) const;
  bool Holds(const TField& field, bool leads, const TValue& value, const TEnvironment& own,
             const TEnvironment& before) const;
  bool Compares(const TValue& a, const TValue& b, bool negated, double& strength) const;
  TValue LiteralFor(const TConstraint& constraint, const TValue& value) const;
  static bool IsLocal(const TReading& reading, const TConstraint& constraint);
  static const TValue* BaseOf(const TReading& reading, TWord variable, const TView& view);
  // Gives the view its strength.
  bool PassesAlone(const TReading& reading, TView& view) const;
  bool Passes(const TReading& reading, const TView& view, const TEnvironment& before) const;
  std::vector<TToken> LeftMemory(const TReading& reading, const std::vector<TToken>& tokens,
                                 bool first_level) const;
  std::vector<TToken> Join(const TReading& reading, const std::vector<TToken>& left,
                           const TFactHistory& history, std::int64_t rule_added) const;
  std::vector<TToken> NegatePlainly(const TReading& reading, const std::vector<TToken>& tokens,
                                    const TFactHistory& history) const;
  std::vector<TToken> Negate(const TReading& reading, const std::vector<TToken>& tokens,
                             const TFactHistory& history, std::int64_t rule_added) const;

  double least_strength_;
  bool textbook_;
  mutable TUnderway underway_;
  bool deep_negation_ = false;
  bool tests_fuzzy_ = false;
  bool starts_with_initial_ = false;
  bool keeps_past_ = false;  // when facts came and went counts
  std::vector<TReading> readings_;
  std::vector<TWord> variables_;
};

}  // namespace reasoner::oracle
