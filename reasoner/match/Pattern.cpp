#include "reasoner/match/Pattern.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "reasoner/facts/FactSlot.h"
#include "reasoner/match/Rule.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

TKBPattern::TKBPattern(TRule* owner, std::string_view name, const Ref<IFactTemplate>& fact_template,
                       std::int32_t negated_count)
    : fact_template_(fact_template), negated_count_(negated_count), name_(name), owner_(owner) {
  EnterSlots();
}

TKBPattern::TKBPattern(TRule* owner, const TKBPattern& source, std::string_view name,
                       std::int32_t negated_count)
    : TKBPattern(owner, name, source.fact_template_, negated_count) {
  for (const Slot& slot : source.slots_) {
    Slot& own = SlotFor(slot.name);
    own.length = slot.length;
    for (const std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) {
      Ref<IKBValue> value = test->GetSlotValue()->Clone();
      const TKBType type = value->GetDType();
      if (KBVariableTypes.Has(type) && value->TextView().starts_with(SBlankPrefix)) {
        const Text fresh = GetReasoner()->GenerateSymbol(SBlankPrefix);
        type == dtVariable ? value->SetAsVariable(fresh) : value->SetAsMultiVariable(fresh);
      }
      auto copy = std::make_unique<TKBPatternMatchTest>(this, test->GetSlotTestType(),
                                                        test->GetMultiSlotSubIndex(), value);
      copy->conjunction_ = test->conjunction_;
      copy->joined_by_and_ = test->joined_by_and_;
      copy->wildcard_ = test->wildcard_;
      own.tests.push_back(std::move(copy));
    }
  }
}

// The updates that are open here are open in the rule as well.
TKBPattern::~TKBPattern() {
  if (owner_ != nullptr) owner_->update_count_ -= update_count_;
}

Ref<IFactTemplate> TKBPattern::NewTestTemplate(IReasoner& engine) {
  const Ref<IFactTemplate> fact_template = Make<TFactTemplate>(&engine.AsComponent(), STestCE);
  fact_template->AddMultiSlot(SDefaultSlotName, FCNilList);
  return fact_template;
}

void TKBPattern::EnterSlots() {
  slots_.clear();
  if (!fact_template_) return;
  for (const Text& name : fact_template_->GetSlotNames()) {
    Slot slot;
    slot.name = name;
    slots_.push_back(std::move(slot));
  }
}

IReasoner* TKBPattern::GetReasoner() const {
  if (owner_ != nullptr && owner_->GetEngine() != nullptr) return owner_->GetEngine();
  return fact_template_ ? fact_template_->GetReasoner() : nullptr;
}

void TKBPattern::Change() {
  if (update_count_ > 0) return;
  if (owner_ != nullptr) {
    // The change is told to handlers, which may end the rule or take the pattern out of it.
    const TRule& owner = *owner_;
    const ComponentWatch watch(owner);
    const bool was_held = owner.HoldsPattern(*this);
    owner_->Change();
    if (watch.HasEnded() || owner.HoldsPattern(*this) != was_held) return;
  }
  OnChange(*this);
}

void TKBPattern::BeginUpdate() noexcept {
  ++update_count_;
  if (owner_ != nullptr) owner_->BeginUpdate();
}

void TKBPattern::EndUpdate() {
  if (update_count_ == 0) return;
  --update_count_;
  if (owner_ != nullptr && owner_->update_count_ > 1) {
    --owner_->update_count_;  // the rule tells of all its changes at once
  } else if (owner_ != nullptr) {
    owner_->update_count_ = 0;
  }
  Change();
}

void TKBPattern::BeforeEdit() {
  if (owner_ != nullptr) owner_->BeforeEdit();
}

template <class T, class U>
void TKBPattern::Edit(T& member, const U& value) {
  if (member == value) return;
  BeforeEdit();
  member = value;
  Change();
}

void TKBPattern::SetName(std::string_view name) {
  if (name == name_) return;
  IReasoner* const engine = GetReasoner();
  const Ref<IFactTemplate> named =
      engine == nullptr || name == STestCE ? nullptr : engine->FindFactTemplate(name);
  BeforeEdit();
  name_ = name;
  if (named) {
    fact_template_ = named;
    std::vector<Slot> old = std::exchange(slots_, {});
    EnterSlots();
    for (Slot& slot : old) {
      if (!slot.tests.empty() || slot.length >= 0) {
        Slot& own = SlotFor(slot.name);
        own = std::move(slot);
      }
    }
  }
  Change();
}

void TKBPattern::SetNegatedCount(std::int32_t count) { Edit(negated_count_, std::max(count, 0)); }

void TKBPattern::SetUnique(bool unique) { Edit(unique_, unique); }

void TKBPattern::SetExplicit(bool is_explicit) { Edit(explicit_, is_explicit); }

void TKBPattern::SetBoundName(std::string_view name) {
  if (name != bound_name_ && IsNegated() && IsTest()) Raise(SInvalidPatternBinding);
  Edit(bound_name_, name);
}

void TKBPattern::SetOwner(TRule* owner) {
  if (owner == owner_) return;
  if (owner_ != nullptr) {
    if (owner_->HoldsPattern(*this)) Raise(SForeignPattern, "Pattern " + name_);
    Change();
    owner_->update_count_ -= update_count_;
  }
  owner_ = owner;
  if (owner_ == nullptr) return;
  owner_->update_count_ += update_count_;
  Change();
}

std::size_t TKBPattern::Checked(std::int32_t slot) const {
  if (slot < 0 || slot >= GetSlotCount()) Raise(SListIndexError, slot);
  return static_cast<std::size_t>(slot);
}

std::int32_t TKBPattern::IndexOfSlotName(std::string_view name) const noexcept {
  for (std::size_t i = 0; i < slots_.size(); ++i) {
    if (slots_[i].name == name) return static_cast<std::int32_t>(i);
  }
  return -1;
}

// A template that has got a slot since the pattern was made: the slot is entered where its name
// belongs.
TKBPattern::Slot& TKBPattern::SlotFor(std::string_view name) {
  const std::int32_t index = IndexOfSlotName(name);
  if (index >= 0) return slots_[static_cast<std::size_t>(index)];
  std::size_t place = 0;
  for (const Text& known : fact_template_->GetSlotNames()) {
    if (known == name) break;
    if (place < slots_.size() && slots_[place].name == known) ++place;
  }
  Slot slot;
  slot.name = name;
  return *slots_.insert(slots_.begin() + static_cast<std::ptrdiff_t>(place), std::move(slot));
}

void TKBPattern::SetSlotLength(std::int32_t slot, std::int32_t length) {
  if (length > kMaxFields) Raise(SListIndexError, length);
  Edit(slots_[Checked(slot)].length, std::max(length, -1));
}

TKBPatternMatchTest& TKBPattern::GetSlotTest(std::int32_t slot, std::int32_t test) const {
  const Slot& asked = slots_[Checked(slot)];
  if (test < 0 || static_cast<std::size_t>(test) >= asked.tests.size())
    Raise(SListIndexError, test);
  return *asked.tests[static_cast<std::size_t>(test)];
}

// A list of as many fields is the longest that a pattern asks for.
static void CheckField(std::int32_t field) {
  if (field < NoSubIndex || field >= TKBPattern::kMaxFields) Raise(SListIndexError, field);
}

void TKBPattern::SetSlotTest(std::int32_t slot, std::int32_t test,
                             std::unique_ptr<TKBPatternMatchTest> value) {
  if (GetSlotTest(slot, test).Equals(Given(value, "test"))) return;
  Given(value->GetSlotValue(), "value");
  CheckField(value->GetMultiSlotSubIndex());
  BeforeEdit();
  value->pattern_ = this;
  std::unique_ptr<TKBPatternMatchTest>& place =
      slots_[Checked(slot)].tests[static_cast<std::size_t>(test)];
  Discard(std::exchange(place, std::move(value)));
  Change();
}

void TKBPattern::SetSlotTests(std::int32_t slot, Tests tests) {
  Slot& changed = slots_[Checked(slot)];
  for (const std::unique_ptr<TKBPatternMatchTest>& test : tests) {
    Given(Given(test, "test").GetSlotValue(), "value");
    CheckField(test->GetMultiSlotSubIndex());
  }
  BeforeEdit();
  for (const std::unique_ptr<TKBPatternMatchTest>& test : tests) test->pattern_ = this;
  changed.tests.swap(tests);
  for (std::unique_ptr<TKBPatternMatchTest>& test : tests) Discard(std::move(test));
  Change();
}

void TKBPattern::AddTest(std::string_view slot_name, const Ref<IKBValue>& value,
                         std::int32_t sub_index, bool negated, bool conjunction) {
  AddTest(slot_name, value, sub_index, negated, conjunction, conjunction);
}

void TKBPattern::AddTest(std::string_view slot_name, const Ref<IKBValue>& value,
                         std::int32_t sub_index, bool negated, bool conjunction,
                         bool joined_by_and) {
  auto test = std::make_unique<TKBPatternMatchTest>(nullptr, negated ? sttNotEquals : sttEquals,
                                                    sub_index, value);
  test->conjunction_ = conjunction;
  test->joined_by_and_ = joined_by_and;
  AddTest(slot_name, std::move(test));
}

void TKBPattern::AddTest(std::string_view slot_name, std::unique_ptr<TKBPatternMatchTest> test) {
  Given(test, "test");
  Given(test->GetSlotValue(), "value");
  if (!fact_template_) Raise(SNoTemplate);
  if (!fact_template_->ContainsSlot(slot_name)) Raise(SInvalidSlotName, slot_name);
  CheckField(test->GetMultiSlotSubIndex());
  BeforeEdit();
  Slot& slot = SlotFor(slot_name);
  test->pattern_ = this;
  slot.tests.push_back(std::move(test));
  Change();
}

void TKBPattern::RemoveTest(std::int32_t slot, std::int32_t test) {
  GetSlotTest(slot, test);
  BeforeEdit();
  Tests& tests = slots_[Checked(slot)].tests;
  Discard(std::move(tests[static_cast<std::size_t>(test)]));
  tests.erase(tests.begin() + test);
  Change();
}

TKBPattern::Tests TKBPattern::CloneTests(const Tests& tests) {
  Tests clones;
  for (const std::unique_ptr<TKBPatternMatchTest>& test : tests) {
    clones.push_back(test->CloneTest());
  }
  return clones;
}

// The written form as it is read.

static std::unique_ptr<TKBPatternMatchTest> NewWildcard(TKBType kind, std::int32_t field) {
  auto test = std::make_unique<TKBPatternMatchTest>(nullptr, sttEquals, field,
                                                    Make<TKBValue>(Text(), kind));
  test->SetWildcard(true);
  return test;
}

// A test of a whole list is one of a single span.
static void MakeSpan(TKBPattern::Tests& tests) {
  const Ref<IKBValue> first = tests.front()->GetSlotValue();
  const bool leads = tests.front()->GetSlotTestType() == sttEquals;
  if (leads && tests.size() == 1 && first->GetDType() == dtList) {
    const IValueVector& list = *first->GetAsList();
    tests.clear();
    for (std::int32_t i = 0; i < list.GetValueCount(); ++i) {
      tests.push_back(
          std::make_unique<TKBPatternMatchTest>(nullptr, sttEquals, i, list.GetItem(i)));
    }
    return;
  }
  for (const std::unique_ptr<TKBPatternMatchTest>& test : tests) test->SetMultiSlotSubIndex(0);
  if (leads && first->GetDType() == dtVariable) {
    tests.front()->SetSlotValue(Make<TKBValue>(first->GetAsVariable(), dtMultiVariable));
  } else if (!leads || first->GetDType() != dtMultiVariable) {
    tests.insert(tests.begin(), NewWildcard(dtMultiVariable, 0));
  }
}

void TKBPattern::NormalizeFields(Slot& slot) {
  Tests& tests = slot.tests;
  std::stable_sort(tests.begin(), tests.end(), [](const auto& a, const auto& b) {
    return a->GetMultiSlotSubIndex() < b->GetMultiSlotSubIndex();
  });
  const bool has_whole = !tests.empty() && tests.front()->GetMultiSlotSubIndex() < 0;
  if (has_whole && (tests.back()->GetMultiSlotSubIndex() >= 0 || slot.length > 1)) return;
  if (has_whole) {
    MakeSpan(tests);
    slot.length = 0;
  }
  std::int32_t fields = tests.empty() ? 0 : tests.back()->GetMultiSlotSubIndex() + 1;
  if (slot.length < 0) tests.push_back(NewWildcard(dtMultiVariable, fields++));
  slot.length = std::max(slot.length, fields);
  // A field without a test holds anything.
  Tests filled;
  std::size_t next = 0;
  for (std::int32_t field = 0; field < slot.length; ++field) {
    const bool is_empty = next == tests.size() || tests[next]->GetMultiSlotSubIndex() != field;
    if (is_empty) filled.push_back(NewWildcard(dtVariable, field));
    for (; next < tests.size() && tests[next]->GetMultiSlotSubIndex() == field; ++next) {
      filled.push_back(std::move(tests[next]));
    }
  }
  tests = std::move(filled);
}

// The first test of a field joins nothing; behind a `|` a field is no conjunction any more.
void TKBPattern::NormalizeConnectives(Tests& tests) {
  bool behind_bar = false;
  for (std::size_t i = 0; i < tests.size(); ++i) {
    TKBPatternMatchTest& test = *tests[i];
    if (i == 0 || test.sub_index_ != tests[i - 1]->sub_index_) {
      behind_bar = false;
      test.joined_by_and_ = true;
    }
    behind_bar = behind_bar || !test.joined_by_and_;
    test.conjunction_ = !behind_bar;
    test.wildcard_ = test.wildcard_ && KBVariableTypes.Has(test.slot_value_->GetDType());
    // The variable of a `=(call)` without its comparison is one like any other.
    if (test.wildcard_ && test.slot_value_->TextView().starts_with(SEqStarPrefix) &&
        (i + 1 == tests.size() || test.ComputedBy(*tests[i + 1]) == nullptr)) {
      test.wildcard_ = false;
    }
  }
}

std::unique_ptr<TKBPattern> TKBPattern::Normalized(const Ref<IFactTemplate>& fact_template) const {
  auto normal = std::make_unique<TKBPattern>(nullptr, name_, fact_template, negated_count_);
  normal->Comment = Comment;
  normal->bound_name_ = bound_name_;
  normal->unique_ = unique_ && !IsTest();
  normal->explicit_ = explicit_ && !IsTest();
  for (const Slot& written : slots_) {
    if (written.tests.empty() && written.length < 0) continue;
    Slot& slot = normal->SlotFor(written.name);
    slot.length = written.length;
    slot.tests = CloneTests(written.tests);
  }
  const IReasoner* const engine = fact_template->GetReasoner();
  const bool is_plain = engine == nullptr || engine->GetLink()->textbook_semantics;
  for (Slot& slot : normal->slots_) {
    const IFactSlot* const described = fact_template->FindSlot(slot.name);
    const bool is_list = !IsTest() && described != nullptr && described->IsMulti();
    // An ordered pattern without any field asks for a fact without any.
    const bool is_told = fact_template->IsOrdered() || !slot.tests.empty() || slot.length >= 0;
    if (is_list && is_told) NormalizeFields(slot);
    const TKBTypes types = described == nullptr ? TKBTypes{} : described->GetSlotType();
    for (const std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) {
      if (!is_list) test->sub_index_ = NoSubIndex;
      // As in facts, numbers are those that the slot holds; the word nil is read as no value.
      if (test->slot_value_->GetDType() == dtAtom && test->slot_value_->TextView() == "nil")
        test->slot_value_ = FCNil->Clone();
      FitNumbers(test->slot_value_, types, is_plain);
      // A test is negated by its sign.
      if (IsTest() && IsNegated())
        test->test_type_ = test->test_type_ == sttEquals ? sttNotEquals : sttEquals;
    }
    if (!is_list) slot.length = -1;
    NormalizeConnectives(slot.tests);
  }
  if (IsTest()) normal->negated_count_ = 0;
  return normal;
}

// Going back.

std::vector<TKBPatternMatchTest*> TKBPattern::GetTests() const {
  std::vector<TKBPatternMatchTest*> tests;
  for (const Slot& slot : slots_) {
    for (const std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) tests.push_back(test.get());
  }
  return tests;
}

void TKBPattern::Discard(std::unique_ptr<TKBPatternMatchTest> test) {
  if (owner_ != nullptr) owner_->Keep(std::move(test));
}

void TKBPattern::GiveTests(Tests& tests) {
  for (Slot& slot : slots_) {
    std::move(slot.tests.begin(), slot.tests.end(), std::back_inserter(tests));
    slot.tests.clear();
  }
}

void TKBPattern::TakeBack(TKBPattern& copy, const std::vector<TKBPatternMatchTest*>& originals,
                          Tests& tests) {
  Comment = copy.Comment;
  unique_ = copy.unique_;
  explicit_ = copy.explicit_;
  fact_template_ = copy.fact_template_;
  negated_count_ = copy.negated_count_;
  bound_name_ = copy.bound_name_;
  name_ = copy.name_;
  slots_ = std::move(copy.slots_);
  std::size_t next = 0;
  for (Slot& slot : slots_) {
    for (std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) {
      const TKBPatternMatchTest* const original = originals[next++];
      const auto found = std::find_if(tests.begin(), tests.end(),
                                      [&](const auto& item) { return item.get() == original; });
      if (found != tests.end()) {
        (*found)->TakeOver(*test);
        test = std::move(*found);
      }
      test->pattern_ = this;
    }
  }
}

void TKBPattern::Assign(const TPersistent& source) {
  const auto* pattern = dynamic_cast<const TKBPattern*>(&source);
  if (pattern == nullptr) return TPersistent::Assign(source);
  if (pattern == this) return;
  IReasoner* const theirs =
      pattern->fact_template_ ? pattern->fact_template_->GetReasoner() : nullptr;
  if (owner_ != nullptr && theirs != nullptr && theirs != owner_->GetEngine()) {
    Raise(SForeignObject, "Pattern " + pattern->name_);
  }
  BeforeEdit();
  Comment = pattern->Comment;
  bound_name_ = pattern->bound_name_;
  unique_ = pattern->unique_;
  explicit_ = pattern->explicit_;
  name_ = pattern->name_;
  fact_template_ = pattern->fact_template_;
  negated_count_ = pattern->negated_count_;
  Tests old;
  GiveTests(old);
  for (std::unique_ptr<TKBPatternMatchTest>& test : old) Discard(std::move(test));
  slots_.clear();
  for (const Slot& slot : pattern->slots_) {
    Slot copy;
    copy.name = slot.name;
    copy.length = slot.length;
    copy.tests = CloneTests(slot.tests);
    for (const std::unique_ptr<TKBPatternMatchTest>& test : copy.tests) test->pattern_ = this;
    slots_.push_back(std::move(copy));
  }
  Change();
}

std::unique_ptr<TKBPattern> TKBPattern::Clone(IReasoner* engine) const {
  auto clone = std::make_unique<TKBPattern>(nullptr, name_, fact_template_, negated_count_);
  clone->Assign(*this);
  if (engine == nullptr || !fact_template_ || fact_template_->GetReasoner() == engine) return clone;
  Ref<IFactTemplate> own = IsTest() ? NewTestTemplate(*engine)
                                    : engine->FindFactTemplate(fact_template_->GetTemplateName());
  if (!own) {
    own = engine->CreateFactTemplate(fact_template_->GetTemplateName());
    own->Assign(*fact_template_);
  }
  clone->fact_template_ = own;
  return clone;
}

std::string TKBPattern::ToString() const {
  IReasoner* reasoner = GetReasoner();
  return reasoner == nullptr ? name_ : reasoner->PrettyPrint(*this);
}

}  // namespace reasoner
