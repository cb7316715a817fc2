// TPatternMatchNode: one test of one fact.
//
// Pattern nodes keep no memory. They copy a token only for the expansion of a `$?` field, which
// turns a fact into one fact per possible span of the field, the span standing as one nested list,
// so that all nodes behind see fixed fields.

#pragma once

#include <cstdint>
#include <string>

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/match/ReteNode.h"
#include "reasoner/support/Exception.h"

namespace reasoner {

enum TPatternMatchTest : std::uint8_t {
  pmtUnknown,                // passes nothing; the root of a `test` pattern
  pmtTestClassType,          // the fact's template is the value's or descends from it
  pmtTestEqual,              // the slot equals the value, or the value's call does not yield FALSE
  pmtTestNotEqual,           // the opposite
  pmtTestSlotValueEqual,     // two places of the fact are equal, or a place holds the fact's own id
  pmtTestSlotValueNotEqual,  // two places differ
  pmtTestMultiSlotEqual,     // as pmtTestEqual for one field of a multislot
  pmtTestMultiSlotNotEqual,  // the opposite
  pmtTestMultiSlotLength,    // the multislot has exactly so many fields
  pmtTestMultiSlotMultiField,  // expands a `$?` field
  pmtFailTest                  // passes nothing
};
std::string_view GetPatternMatchTestName(TPatternMatchTest test);

// The arguments of a test: two slots and two numbers, as far as the kind of test has them.
struct TNodeArgs {
  Text first_slot;
  Text second_slot;
  std::int32_t first = NoSubIndex;
  std::int32_t second = NoSubIndex;

  friend bool operator==(const TNodeArgs& a, const TNodeArgs& b) {
    return a.first == b.first && a.second == b.second && a.first_slot == b.first_slot &&
           a.second_slot == b.second_slot;
  }
};

class TPatternMatchNode final : public TReteNode {
 public:
  TPatternMatchNode(TReteNetwork& rete, TPatternMatchTest test, Ref<IKBValue> value,
                    TNodeArgs args);

  TPatternMatchTest GetPatternMatchTest() const noexcept { return test_; }
  const Ref<IKBValue>& GetValue() const noexcept { return value_; }
  const TNodeArgs& GetArgs() const noexcept { return args_; }

  bool CallNode(const Ref<TKBToken>& token, TCallType call_type) override;
  // Whether the node can serve a test. `value` is null for tests without one.
  bool Serves(TPatternMatchTest test, const IKBValue* value, const TNodeArgs& args) const;

  std::string ClassName() const override { return "TPatternMatchNode"; }
  std::string ToString() const override;

  // The value of a slot, or of one member of its list; null where there is no such place.
  static Ref<IKBValue> PlaceIn(IFact& fact, const TSlotAccess& slot, std::int32_t sub_index);
  static bool IsIdOf(const IFact& fact, const IKBValue& value);

 private:
  // `degree` is left alone but by a fuzzy comparison, which says how true it is.
  bool Passes(const Ref<TKBToken>& token, float& degree);
  // Passes on a token that is true to the degree, at most.
  void PassOn(const Ref<TKBToken>& token, float degree);
  bool RunFunction(const Ref<TKBToken>& token);
  bool Expand(const Ref<TKBToken>& token);
  void TellNode(Exception& failure) const;

  TPatternMatchTest test_;
  Ref<IKBValue> value_;
  TNodeArgs args_;
  TSlotAccess first_slot_;
  TSlotAccess second_slot_;
  bool tests_own_id_;  // the first slot is the fact itself
};

}  // namespace reasoner
