// TKBPattern: one element of a rule's left side, held as data.
//
// For each slot of its template a pattern has a list of tests. `(not P)` is P with one level of
// negation more,
// `(exists P)` with two; `(test F)` is a pattern on the template "test" with one test that holds
// the call.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/match/SlotTest.h"
#include "reasoner/support/Event.h"

namespace reasoner {

class TKBPattern final : public TPersistent {
 public:
  // Every slot of the template is entered without tests. The rule, once there is one, outlives the
  // pattern.
  TKBPattern(TRule* owner, std::string_view name, const Ref<IFactTemplate>& fact_template,
             std::int32_t negated_count = 0);
  // A pattern on the template of `source` with its tests; wildcards get fresh names.
  TKBPattern(TRule* owner, const TKBPattern& source, std::string_view name,
             std::int32_t negated_count);
  ~TKBPattern() override;

  // What a `test` element has for a template: no facts, and no name that a user could take.
  static Ref<IFactTemplate> NewTestTemplate(IReasoner& engine);

  // What the network matches: normally the template's name.
  const TKBName& GetName() const noexcept { return name_; }
  const Ref<IFactTemplate>& GetFactTemplate() const noexcept { return fact_template_; }
  std::int32_t GetNegatedCount() const noexcept { return negated_count_; }
  bool IsNegated() const noexcept { return negated_count_ % 2 == 1; }
  bool IsTest() const noexcept { return name_ == STestCE; }
  bool IsUnique() const noexcept { return unique_; }
  bool IsExplicit() const noexcept { return explicit_; }
  // The variable bound to the whole fact, or empty.
  const TKBName& GetBoundName() const noexcept { return bound_name_; }
  TRule* GetOwner() const noexcept { return owner_; }
  IReasoner* GetReasoner() const;
  std::string Comment;
  Event<void(TKBPattern& sender)> OnChange;

  void SetName(std::string_view name);
  void SetNegatedCount(std::int32_t count);
  void SetUnique(bool unique);
  void SetExplicit(bool is_explicit);
  void SetBoundName(std::string_view name);  // raises on a negated test
  void SetOwner(TRule* owner);

  // Slots, sorted by name.
  std::int32_t GetSlotCount() const noexcept { return static_cast<std::int32_t>(slots_.size()); }
  const Text& GetSlotName(std::int32_t slot) const { return slots_[Checked(slot)].name; }
  std::int32_t IndexOfSlotName(std::string_view name) const noexcept;  // -1 for an unknown name
  // The number of fields wanted in a multislot; -1 means any. A `$?` counts as one.
  std::int32_t GetSlotLength(std::int32_t slot) const { return slots_[Checked(slot)].length; }
  void SetSlotLength(std::int32_t slot, std::int32_t length);
  bool HasTestList(std::int32_t slot) const { return slots_[Checked(slot)].has_list; }
  std::int32_t GetSlotTestCount(std::int32_t slot) const {
    return static_cast<std::int32_t>(slots_[Checked(slot)].tests.size());
  }
  TKBPatternMatchTest& GetSlotTest(std::int32_t slot, std::int32_t test) const;
  void SetSlotTest(std::int32_t slot, std::int32_t test,
                   std::unique_ptr<TKBPatternMatchTest> value);
  // The tests as they were written, before FixTests folded alternatives: for printing.
  const std::vector<std::unique_ptr<TKBPatternMatchTest>>& GetWrittenTests(std::int32_t slot) const;

  // Appends a test; raises for a slot that the template lacks. `joined_by_and` tells `&` from `|`
  // where both stand in one field; without it, it is as `conjunction`.
  void AddTest(std::string_view slot_name, const Ref<IKBValue>& value, std::int32_t sub_index,
               bool negated, bool conjunction);
  void AddTest(std::string_view slot_name, const Ref<IKBValue>& value, std::int32_t sub_index,
               bool negated, bool conjunction, bool joined_by_and);
  void AddTest(std::string_view slot_name, std::unique_ptr<TKBPatternMatchTest> test);
  void RemoveTest(std::int32_t slot, std::int32_t test);

  // Folds each `|` of a field into one call of `or`, so that only conjunctions are left.
  void FixTests();

  // Changes are told to the rule, and to OnChange, once the outermost update ends.
  void BeginUpdate() noexcept { ++update_count_; }
  void EndUpdate();
  void Change();
  // A test has changed.
  void TestChange();

  void Assign(const TPersistent& source) override;
  // A copy without owner; in another engine on the template of that name there, which is made if it
  // is missing.
  std::unique_ptr<TKBPattern> Clone(IReasoner* engine) const;
  std::string ClassName() const override { return "TKBPattern"; }
  std::string ToString() const override;

 private:
  friend class TKBPatternMatchTest;

  struct Slot {
    Text name;
    std::vector<std::unique_ptr<TKBPatternMatchTest>> tests;
    std::vector<std::unique_ptr<TKBPatternMatchTest>> written;  // empty where it is `tests`
    bool has_list = false;  // tests were given once, perhaps none
    std::int32_t length = -1;
  };

  std::size_t Checked(std::int32_t slot) const;
  Slot& SlotFor(std::string_view name);
  std::vector<std::unique_ptr<TKBPatternMatchTest>> CloneTests(
      const std::vector<std::unique_ptr<TKBPatternMatchTest>>& tests);
  void FixSlot(std::int32_t slot);
  void EnterSlots();

  bool unique_ = false;
  bool explicit_ = false;
  Ref<IFactTemplate> fact_template_;
  std::int32_t negated_count_ = 0;
  TKBName bound_name_;
  TKBName name_;
  std::vector<Slot> slots_;
  std::int32_t update_count_ = 0;
  TRule* owner_ = nullptr;
};

}  // namespace reasoner
