// Tests of slots: one kind stands in a pattern, the other in a join.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/functions/Context.h"
#include "reasoner/values/KBValue.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

// Whether two constants of tests are the same. Fuzzy ones overlap easily: theirs are the same
// points of the same variable.
bool SameConstant(const IKBValue& a, const IKBValue& b);

class TKBSlotTest : public TPersistent {
 public:
  TSlotTestType GetSlotTestType() const noexcept { return test_type_; }
  virtual std::unique_ptr<TKBSlotTest> Clone() const = 0;
  virtual bool Equals(const TKBSlotTest& other) const;
  // The context's fact is the one from the right, its token the match so far.
  virtual bool PerformTest(TKBContext& context) = 0;
  std::string ToString() const override;  // "=" or "<>"

 protected:
  explicit TKBSlotTest(TSlotTestType test_type) : test_type_(test_type) {}

  TSlotTestType test_type_;
};

// Compares a slot of the fact from the right with a slot of a fact earlier in the token.
class TKBJoinTest final : public TKBSlotTest {
 public:
  TKBJoinTest(TSlotTestType test_type, std::int32_t token_index, const Text& left,
              std::int32_t left_sub_index, const Text& right, std::int32_t right_sub_index,
              bool is_fuzzy = false);

  // tstSlot when neither side has a sub-index.
  TTemplateSlotType GetJoinTestType() const noexcept {
    return LeftSubIndex == NoSubIndex && RightSubIndex == NoSubIndex ? tstSlot : tstMultiSlot;
  }
  // True when a side is the whole fact: ids are compared.
  bool ComparesFactIds() const noexcept { return left_is_pattern_ || right_is_pattern_; }

  // The value of one side, or null where there is no such place.
  Ref<IKBValue> LeftValue(IFact& fact) const;
  Ref<IKBValue> RightValue(IFact& fact) const;
  bool Compare(const IMatch& token, IFact& fact) const;

  std::unique_ptr<TKBSlotTest> Clone() const override;
  bool Equals(const TKBSlotTest& other) const override;
  bool PerformTest(TKBContext& context) override;
  std::string ClassName() const override { return "TKBJoinTest"; }
  std::string ToString() const override;

  const std::int32_t RightSubIndex;
  const Text RightIndex;
  const Text LeftIndex;
  const std::int32_t TokenIndex;
  const std::int32_t LeftSubIndex;
  // A side is a fuzzy slot: its values are equal by degree and have no key in common.
  const bool IsFuzzy;

 private:
  TSlotAccess left_;
  TSlotAccess right_;
  bool left_is_pattern_;
  bool right_is_pattern_;
};

// A constant, a variable or a function call at a place of a pattern.
class TKBPatternMatchTest final : public TKBSlotTest {
 public:
  // Stores a clone of the value. The pattern, which owns the test, is told of changes; null for a
  // test of a node.
  TKBPatternMatchTest(TKBPattern* pattern, TSlotTestType test_type, std::int32_t sub_index,
                      const Ref<IKBValue>& value);

  const Ref<IKBValue>& GetSlotValue() const noexcept { return slot_value_; }
  std::int32_t GetMultiSlotSubIndex() const noexcept { return sub_index_; }
  // True: joined with the test before it by `&`; False: behind a `|`.
  bool IsConjunction() const noexcept { return conjunction_; }
  // Whether `&` itself stands between the test before and this one: `a|b&c` means a or (b and c).
  bool IsJoinedByAnd() const noexcept { return joined_by_and_; }
  // Whether the variable was written without a name: its name is generated and never printed.
  bool IsWildcard() const noexcept { return wildcard_; }
  TKBPattern* GetPattern() const noexcept { return pattern_; }
  // The call of a field `=(call)`, which is read as a variable without a name and the comparison
  // behind it; null when this test and the next one of the field are not these two.
  const IKBValue* ComputedBy(const TKBPatternMatchTest& next) const;

  void SetSlotTestType(TSlotTestType test_type);
  void SetSlotValue(const Ref<IKBValue>& value);  // what is given is no wildcard
  // Another name for the variable of the test; a wildcard stays one.
  void RenameVariable(const Text& name);
  void SetMultiSlotSubIndex(std::int32_t sub_index);
  void SetConjunction(bool conjunction);
  void SetJoinedByAnd(bool joined);
  void SetWildcard(bool wildcard);  // raises for what is no variable

  void Assign(const TPersistent& source) override;
  std::unique_ptr<TKBSlotTest> Clone() const override { return CloneTest(); }
  // A copy that belongs to no pattern.
  std::unique_ptr<TKBPatternMatchTest> CloneTest() const;
  bool Equals(const TKBSlotTest& other) const override;
  // Passes unless the evaluated value is FALSE, with sttNotEquals when it is.
  bool PerformTest(TKBContext& context) override;
  std::string ClassName() const override { return "TKBPatternMatchTest"; }
  std::string ToString() const override;

 private:
  friend class TKBPattern;
  friend class TRule;

  // Sets a member to another value, as an edit of the pattern.
  template <class T>
  void Edit(T& member, const T& value);
  // The content of the other test, told to nobody.
  void TakeOver(const TKBPatternMatchTest& test);

  TKBPattern* pattern_;
  Ref<IKBValue> slot_value_;
  std::int32_t sub_index_;
  bool conjunction_ = true;
  bool joined_by_and_ = true;
  bool wildcard_ = false;
};

}  // namespace reasoner
