// TKBPattern: one element of a rule's left side, as it was written.
//
// For each slot of its template a pattern has a list of tests. `(not P)` is P with one level of
// negation more, `(exists P)` with two; `(test F)` is a pattern on the template "test" with one
// test that holds the call.
//
// Each setter is an edit of the rule that holds the pattern: the rule is compiled anew. An edit
// that leaves no rule that could be read raises, and the pattern is as it was before.

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
  using Tests = std::vector<std::unique_ptr<TKBPatternMatchTest>>;
  // The longest list that a pattern can ask for by its fields.
  static constexpr std::int32_t kMaxFields = 1'000'000;

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

  // Moves the pattern to the engine's template of that name, if there is one.
  void SetName(std::string_view name);
  void SetNegatedCount(std::int32_t count);
  void SetUnique(bool unique);
  void SetExplicit(bool is_explicit);
  void SetBoundName(std::string_view name);  // raises on a negated test
  // Raises for a pattern that a rule holds: it stays that rule's.
  void SetOwner(TRule* owner);

  // Slots, sorted by name.
  std::int32_t GetSlotCount() const noexcept { return static_cast<std::int32_t>(slots_.size()); }
  const Text& GetSlotName(std::int32_t slot) const { return slots_[Checked(slot)].name; }
  std::int32_t IndexOfSlotName(std::string_view name) const noexcept;  // -1 for an unknown name
  // The number of fields wanted in a multislot, a `$?` counting as one. With -1 the fields that
  // have tests may be followed by others; fields without a test hold anything.
  std::int32_t GetSlotLength(std::int32_t slot) const { return slots_[Checked(slot)].length; }
  void SetSlotLength(std::int32_t slot, std::int32_t length);
  std::int32_t GetSlotTestCount(std::int32_t slot) const {
    return static_cast<std::int32_t>(slots_[Checked(slot)].tests.size());
  }
  TKBPatternMatchTest& GetSlotTest(std::int32_t slot, std::int32_t test) const;
  void SetSlotTest(std::int32_t slot, std::int32_t test,
                   std::unique_ptr<TKBPatternMatchTest> value);
  void SetSlotTests(std::int32_t slot, Tests tests);

  // Appends a test; raises for a slot that the template lacks. `joined_by_and` tells `&` from `|`
  // where both stand in one field; without it, it is as `conjunction`.
  void AddTest(std::string_view slot_name, const Ref<IKBValue>& value, std::int32_t sub_index,
               bool negated, bool conjunction);
  void AddTest(std::string_view slot_name, const Ref<IKBValue>& value, std::int32_t sub_index,
               bool negated, bool conjunction, bool joined_by_and);
  void AddTest(std::string_view slot_name, std::unique_ptr<TKBPatternMatchTest> test);
  void RemoveTest(std::int32_t slot, std::int32_t test);

  // Changes are told to the rule, and to OnChange, once the outermost update ends.
  void BeginUpdate() noexcept;
  void EndUpdate();
  void Change();

  // The pattern that reading its text gives, without names for wildcards that have none: tests by
  // field, each field of a list with one at least, flags without a meaning left out.
  std::unique_ptr<TKBPattern> Normalized(const Ref<IFactTemplate>& fact_template) const;

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
    Tests tests;
    std::int32_t length = -1;
  };

  std::size_t Checked(std::int32_t slot) const;
  Slot& SlotFor(std::string_view name);
  static Tests CloneTests(const Tests& tests);
  void EnterSlots();
  // Sets a member to another value, as an edit.
  template <class T, class U>
  void Edit(T& member, const U& value);
  void BeforeEdit();
  static void NormalizeFields(Slot& slot);
  static void NormalizeConnectives(Tests& tests);
  // Every test, slot by slot.
  std::vector<TKBPatternMatchTest*> GetTests() const;
  // Lets go of a test that an edit takes away.
  void Discard(std::unique_ptr<TKBPatternMatchTest> test);
  // Moves every test there.
  void GiveTests(Tests& tests);
  // Takes over the content of a copy that was made earlier. The tests that this pattern had then
  // are taken from `tests`, so that they are the same objects.
  void TakeBack(TKBPattern& copy, const std::vector<TKBPatternMatchTest*>& originals, Tests& tests);

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
