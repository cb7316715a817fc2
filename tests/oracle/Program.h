// Programs of the oracle: rules, and what is done to an engine that holds them.
//
// A program is data that can be printed as rule-language text, read by the brute-force matcher
// without any of the engine's classes, and cut down to a smaller one that fails in the same way.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/oracle/Shape.h"
#include "tests/oracle/Words.h"

namespace reasoner::oracle {

// An atom is its text, a span of a list its members, a fuzzy value the place that it comes from and
// its shape.
struct TValue {
  bool is_list = false;
  TWord word;
  std::vector<TWord> items;
  TSharedShape shape;

  static TValue Single(TWord word) { return TValue{false, word.Value(), {}, nullptr}; }
  std::string ToString() const;
  // The very same, which is more than what "eq" says of two fuzzy values.
  friend bool operator==(const TValue& a, const TValue& b) {
    return a.is_list == b.is_list && (a.is_list ? a.items == b.items : a.word == b.word);
  }
};

struct TCall;

// An argument: a constant, a variable (with its "?" or "$?"), or a call.
struct TTerm {
  TWord text;
  std::shared_ptr<const TCall> call;

  bool IsVariable() const { return !call && text.IsVariable(); }
  std::string ToString() const;
};

// Of eq, neq, and, or, not, and of the preamble's functions.
struct TCall {
  std::string function;
  std::vector<TTerm> terms;

  std::string ToString() const;
};

struct TConstraint {
  enum Kind : std::uint8_t { kLiteral, kVariable, kPredicate, kEquation } kind = kLiteral;
  bool negated = false;
  bool behind_bar = false;  // "|" and not "&" stands before it
  TWord text;               // of a literal, a global, or a variable with its "?" or "$?"
  std::shared_ptr<const TCall> call;

  std::string ToString() const;
};

// One field; without constraints it is a wildcard.
struct TField {
  bool is_span = false;
  std::vector<TConstraint> constraints;

  bool HasBar() const;
  // How many constraints stand before the alternatives: all without a `|`, or a leading variable.
  std::size_t GetPlainCount() const;
  std::string ToString() const;
};

struct TSlotPattern {
  bool is_tested = false;
  std::vector<TField> fields;
};

struct TElement {
  bool is_test = false;
  std::int32_t negations = 0;  // of a test: 0 or 1
  bool unique = false;
  TWord bound;  // "?f1", or empty
  std::int32_t fact_template = 0;
  std::vector<TSlotPattern> slots;  // as the template's, sorted by name
  TCall test;

  std::string ToString() const;
};

// A fact with terms in its slots, which are sorted by name.
struct TFactForm {
  std::int32_t fact_template = 0;
  std::vector<std::vector<TTerm>> slots;

  std::string ToString() const;
};

struct TAction {
  enum Kind : std::uint8_t {
    kAssert,
    kRetract,
    kModify,
    kDuplicate,
    kBind,
    kIf,
    kUndefRule,
    kReset
  } kind = kAssert;
  std::vector<TFactForm> facts;  // of assert
  TWord name;                    // the bound fact, the bound variable, or the rule
  // Of modify and duplicate: the bound fact's template, and what changes.
  std::int32_t fact_template = 0;
  std::vector<std::pair<std::size_t, std::vector<TTerm>>> changes;
  TTerm term;  // what is bound, or the condition
  std::vector<TAction> actions;
  std::vector<TAction> otherwise;

  std::string ToString() const;
};

struct TRuleText {
  std::string name;
  std::int32_t salience = 0;
  std::vector<TElement> elements;
  std::vector<TAction> actions;

  std::string ToString() const;
};

struct TOperation {
  enum Kind : std::uint8_t {
    kAssert,
    kRetract,
    kModify,
    kDuplicate,
    kAddRule,
    kRemoveRule,
    kFactSet,
    kTemplateAnew,
    kUseIds,
    kStrategy,
    kDuplicates,
    kReset,
    kClear,
    kStep
  } kind = kAssert;
  std::int32_t fact_template = 0;
  std::vector<std::vector<TWord>> values;  // a slot each
  std::vector<TFactForm> facts;            // of a fact set
  TWord words;                             // for a fuzzy slot that changes
  std::uint32_t target = 0;                // chooses a fact, a slot or a name
  std::uint32_t rule = 0;                  // an index of the program's rules
};

struct TProgram {
  double equals_threshold = 0.01;
  double least_strength = 0;
  bool by_product = false;  // correlation
  std::size_t most_facts = 9;
  bool may_raise = false;      // tests may
  std::vector<TWord> globals;  // the values of ?*g* and ?*h*
  std::vector<TRuleText> rules;
  std::vector<TOperation> operations;
};

struct TSlotText {
  std::string name;
  bool is_multi = false;
  bool is_fuzzy = false;
};
struct TTemplateText {
  std::string name;
  bool is_ordered;
  std::int32_t parent;           // -1 for none
  std::vector<TSlotText> slots;  // sorted by name
  std::string text;              // its definition, or nothing for an ordered one
};
// The last two have fuzzy slots: two single ones, and a list.
const std::vector<TTemplateText>& Templates();
constexpr std::int32_t kFuzzyPair = 6;
constexpr std::int32_t kFuzzyList = 7;
inline const TTemplateText& TemplateAt(std::int32_t index) {
  return Templates()[static_cast<std::size_t>(index)];
}
inline bool IsFuzzy(std::int32_t fact_template) { return fact_template >= kFuzzyPair; }
// Whether facts of the one template match patterns of the other.
bool Descends(std::int32_t fact_template, std::int32_t ancestor);
// The place of a slot; behind the last one if the template has none of that name.
std::size_t SlotOf(std::int32_t fact_template, const std::string& name);
// The templates and functions that all programs share.
std::string Preamble(const TProgram& program);
std::string FactText(std::int32_t fact_template, const std::vector<std::vector<TWord>>& values);

const std::vector<TWord>& GlobalNames();

}  // namespace reasoner::oracle
