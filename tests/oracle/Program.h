// Programs of the oracle: rules, and what is done to an engine that holds them.
//
// A program is data that can be printed as rule-language text, read by the brute-force matcher
// without any of the engine's classes, and cut down to a smaller one that fails in the same way.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/oracle/Shape.h"

namespace reasoner::oracle {

// An atom is its text, a span of a list its members, a fuzzy value the place that it comes from and
// its shape.
struct TValue {
  bool is_list = false;
  std::vector<std::string> items;
  TSharedShape shape;

  static TValue Single(std::string text) { return TValue{false, {std::move(text)}, nullptr}; }
  // Fuzzy values differ in their text from place to place: they are told by their shapes.
  std::string ToString() const;
  // The very same, which is more than what "eq" says of two fuzzy values.
  friend bool operator==(const TValue& a, const TValue& b) {
    return a.is_list == b.is_list && a.items == b.items;
  }
};

struct TCall;

// An argument: a constant, a variable (with its "?" or "$?"), or a call.
struct TTerm {
  std::string text;
  std::shared_ptr<const TCall> call;

  bool IsVariable() const { return !text.empty() && (text[0] == '?' || text[0] == '$'); }
  std::string ToString() const;
};

// Of eq, neq, and, or, not, and pick, a deffunction of the preamble.
struct TCall {
  std::string function;
  std::vector<TTerm> terms;

  std::string ToString() const;
};

struct TConstraint {
  enum Kind : std::uint8_t { kLiteral, kVariable, kPredicate, kEquation } kind = kLiteral;
  bool negated = false;
  bool behind_bar = false;  // "|" and not "&" stands before it
  std::string text;         // of a literal, or of a variable with its "?" or "$?"
  std::shared_ptr<const TCall> call;

  std::string ToString() const;
};

// One field; without constraints it is a wildcard.
struct TField {
  bool is_span = false;
  std::vector<TConstraint> constraints;

  bool HasBar() const;
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
  std::string bound;  // "?f1", or empty
  std::int32_t fact_template = 0;
  std::vector<TSlotPattern> slots;  // as the template's, sorted by name
  TCall test;

  std::string ToString() const;
};

struct TAction {
  enum Kind : std::uint8_t { kAssert, kAssertFuzzy, kRetract } kind = kAssert;
  std::vector<TTerm> terms;  // the fields of an ordered fact, of a fuzzy one, or the bound fact
  std::int32_t fact_template = 0;
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
    kReset,
    kClear,
    kStep
  } kind = kAssert;
  std::int32_t fact_template = 0;
  std::vector<std::vector<std::string>> values;  // a slot each
  std::string words;                             // for a fuzzy slot that changes
  std::uint32_t target = 0;                      // chooses a fact or a slot, modulo their number
  std::uint32_t rule = 0;                        // an index of the program's rules
};

struct TProgram {
  double equals_threshold = 0.01;
  double least_strength = 0;
  bool by_product = false;  // correlation
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
};
// The last two have fuzzy slots: two single ones, and a list.
const std::vector<TTemplateText>& Templates();
constexpr std::int32_t kFuzzyPair = 5;
constexpr std::int32_t kFuzzyList = 6;
inline bool IsFuzzy(std::int32_t fact_template) { return fact_template >= kFuzzyPair; }
// Whether facts of the one template match patterns of the other.
bool Descends(std::int32_t fact_template, std::int32_t ancestor);
// The templates and functions that all programs share.
std::string Preamble();
std::string FactText(std::int32_t fact_template,
                     const std::vector<std::vector<std::string>>& values);
// The fields of an asserted fuzzy fact by slot.
template <class TItem>
std::vector<std::vector<TItem>> BySlot(const TAction& action, const std::vector<TItem>& fields) {
  if (action.fact_template == kFuzzyList) return {{fields[0], fields[1]}, {fields[2]}};
  return {{fields[0]}, {fields[1]}, {fields[2]}};
}

}  // namespace reasoner::oracle
