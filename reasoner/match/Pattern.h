// TKBPattern: one element of a rule's left side, held as data.
//
// For each slot of its template a pattern has a list of tests. `(not P)` is P with one level of
// negation more,
// `(exists P)` with two; `(test F)` is a pattern on the template "test" with one test that holds
// the call.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/match/SlotTest.h"

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
  std::function<void(TKBPattern& sender)> OnChange;

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
  using TTests = std::vector<std::unique_ptr<TKBPatternMatchTest>>;
  // The tests as they are written: those above, for printing.
  const TTests& GetWrittenTests(std::int32_t slot) const { return slots_[Checked(slot)].tests; }
  // What the network is compiled from: the tests as FixTests has folded them.
  const TTests& GetPlanTests(std::int32_t slot) const;

  // Appends a test; raises for a slot that the template lacks. `joined_by_and` tells `&` from `|`
  // where both stand in one field; without it, it is as `conjunction`.
  void AddTest(std::string_view slot_name, const Ref<IKBValue>& value, std::int32_t sub_index,
               bool negated, bool conjunction);
  void AddTest(std::string_view slot_name, const Ref<IKBValue>& value, std::int32_t sub_index,
               bool negated, bool conjunction, bool joined_by_and);
  void AddTest(std::string_view slot_name, std::unique_ptr<TKBPatternMatchTest> test);
  void RemoveTest(std::int32_t slot, std::int32_t test);

  // Folds each `|` of a field into one call of `or`, so that only conjunctions are left in the
  // tests that the network is compiled from. The written tests stay, ordered by their fields.
  void FixTests();
  // True for a pattern that its rule has added by itself: the initial fact before a first pattern
  // that needs a left input, or the negated pattern behind a goal.
  bool IsGenerated() const noexcept { return generated_; }

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
  friend class TRule;

  struct Slot {
    Text name;
    TTests tests;
    TTests folded;          // empty where it is `tests`
    bool has_list = false;  // tests were given once, perhaps none
    std::int32_t length = -1;
  };

  std::size_t Checked(std::int32_t slot) const;
  Slot& SlotFor(std::string_view name);
  TTests CloneTests(const TTests& tests);
  // Every setter calls it before it changes anything: the rule may have to go back.
  void BeforeEdit();
  void CheckPlaceOf(const TKBPatternMatchTest& test, std::int32_t sub_index) const;
  void CheckPlace(const Slot& slot, std::int32_t sub_index) const;
  // Brings what a host has put together into the form that its text has, or raises where no text
  // says it: a rule's meaning is that of its text.
  void Settle(IReasoner& engine);
  void SettleTest();
  void SettleFields(Slot& slot, const IFactSlot& described);
  // Takes over what `saved` has kept of this pattern; `tests` are the objects that its tests were
  // kept from, slot by slot, which are used again where they are still there.
  void Restore(const TKBPattern& saved,
               const std::vector<std::vector<TKBPatternMatchTest*>>& tests);
  void FixSlot(std::int32_t slot);
  void EnterSlots();

  bool unique_ = false;
  bool explicit_ = false;
  bool generated_ = false;
  Ref<IFactTemplate> fact_template_;
  std::int32_t negated_count_ = 0;
  TKBName bound_name_;
  TKBName name_;
  std::vector<Slot> slots_;
  std::int32_t update_count_ = 0;
  TRule* owner_ = nullptr;
};

}  // namespace reasoner
