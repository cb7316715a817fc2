#include "reasoner/match/Pattern.h"

#include <algorithm>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/Numbers.h"
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
    own.has_list = slot.has_list;
    for (const std::unique_ptr<TKBPatternMatchTest>& test :
         slot.folded.empty() ? slot.tests : slot.folded) {
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
      own.tests.push_back(std::move(copy));
    }
  }
}

TKBPattern::~TKBPattern() = default;

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
  if (owner_ != nullptr) owner_->Change();
  if (const auto on_change = OnChange) on_change(*this);  // lives on if the pattern ends in it
}

void TKBPattern::EndUpdate() {
  if (update_count_ > 0 && --update_count_ == 0) Change();
}

void TKBPattern::SetName(std::string_view name) {
  if (name == name_) return;
  BeforeEdit();
  name_ = name;
  Change();
}

void TKBPattern::SetNegatedCount(std::int32_t count) {
  if (count == negated_count_) return;
  BeforeEdit();
  negated_count_ = std::max(count, 0);
  Change();
}

void TKBPattern::SetUnique(bool unique) {
  if (unique == unique_) return;
  BeforeEdit();
  unique_ = unique;
  Change();
}

void TKBPattern::SetExplicit(bool is_explicit) {
  if (is_explicit == explicit_) return;
  BeforeEdit();
  explicit_ = is_explicit;
  Change();
}

void TKBPattern::SetBoundName(std::string_view name) {
  if (name == bound_name_) return;
  if (IsNegated() && IsTest()) Raise(SInvalidPatternBinding);
  BeforeEdit();
  bound_name_ = name;
  Change();
}

void TKBPattern::SetOwner(TRule* owner) {
  if (owner == owner_) return;
  if (owner_ != nullptr) Change();
  owner_ = owner;
  if (owner_ != nullptr) Change();
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
  Slot& changed = slots_[Checked(slot)];
  if (changed.length == length) return;
  BeforeEdit();
  changed.length = length;
  Change();
}

TKBPatternMatchTest& TKBPattern::GetSlotTest(std::int32_t slot, std::int32_t test) const {
  const Slot& asked = slots_[Checked(slot)];
  if (test < 0 || static_cast<std::size_t>(test) >= asked.tests.size())
    Raise(SListIndexError, test);
  return *asked.tests[static_cast<std::size_t>(test)];
}

void TKBPattern::SetSlotTest(std::int32_t slot, std::int32_t test,
                             std::unique_ptr<TKBPatternMatchTest> value) {
  if (GetSlotTest(slot, test).Equals(Given(value, "test"))) return;
  CheckPlace(slots_[Checked(slot)], value->GetMultiSlotSubIndex());
  BeforeEdit();
  value->pattern_ = this;
  slots_[Checked(slot)].tests[static_cast<std::size_t>(test)] = std::move(value);
  TestChange();
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
  CheckPlace(SlotFor(slot_name), test->GetMultiSlotSubIndex());
  BeforeEdit();
  Slot& slot = SlotFor(slot_name);
  slot.has_list = true;
  test->pattern_ = this;
  slot.tests.push_back(std::move(test));
  TestChange();
}

// The same for one of this pattern's tests, once it has been added.
void TKBPattern::CheckPlaceOf(const TKBPatternMatchTest& test, std::int32_t sub_index) const {
  for (const Slot& slot : slots_) {
    for (const std::unique_ptr<TKBPatternMatchTest>& item : slot.tests) {
      if (item.get() == &test) return CheckPlace(slot, sub_index);
    }
  }
}

// A field is a place of a multislot; any other slot has one place only.
void TKBPattern::CheckPlace(const Slot& slot, std::int32_t sub_index) const {
  if (sub_index == NoSubIndex) return;
  if (sub_index < 0) Raise(SListIndexError, sub_index);
  const IFactSlot* const described = fact_template_ ? fact_template_->FindSlot(slot.name) : nullptr;
  if (described != nullptr && !described->IsMulti()) Raise(SNotMultiSlot, slot.name.view());
}

void TKBPattern::RemoveTest(std::int32_t slot, std::int32_t test) {
  GetSlotTest(slot, test);
  BeforeEdit();
  TTests& tests = slots_[Checked(slot)].tests;
  tests.erase(tests.begin() + test);
  TestChange();
}

const TKBPattern::TTests& TKBPattern::GetPlanTests(std::int32_t slot) const {
  const Slot& asked = slots_[Checked(slot)];
  return asked.folded.empty() ? asked.tests : asked.folded;
}

void TKBPattern::TestChange() {
  for (Slot& slot : slots_) slot.folded.clear();
  Change();
}

void TKBPattern::BeforeEdit() {
  if (owner_ == nullptr) return;
  owner_->BeforeEdit(true);
  if (owner_->IsDeriving() || !generated_) return;
  if (negated_count_ > 0) Raise(SGeneratedPattern, name_);
  generated_ = false;  // the initial fact, as a host wants it, is written from now on
}

// `(test F)` holds one call; under `not` it is the test that is negated.
void TKBPattern::SettleTest() {
  const std::int32_t slot = IndexOfSlotName(SDefaultSlotName);
  const bool has_call = GetSlotCount() == 1 && slot == 0 && GetSlotTestCount(slot) == 1 &&
                        GetSlotTest(slot, 0).GetSlotValue()->GetDType() == dtFunCall;
  if (!has_call) Raise(SInvalidTestPattern);
  TKBPatternMatchTest& test = GetSlotTest(slot, 0);
  if (IsNegated()) test.test_type_ = sttNotEquals;
  negated_count_ = 0;
  test.sub_index_ = NoSubIndex;
  slots_[0].length = -1;
}

// A variable for a whole multislot is its only field, `$?x`.
void TKBPattern::SettleFields(Slot& slot, const IFactSlot& described) {
  std::int32_t fields = 0;
  for (const std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) {
    const Ref<IKBValue> value = test->slot_value_;
    const TKBType type = value->GetDType();
    if (!described.IsMulti()) {
      if (type == dtMultiVariable || test->sub_index_ != NoSubIndex)
        Raise(SNotMultiSlot, slot.name.view());
      continue;
    }
    if (test->sub_index_ == NoSubIndex) {
      if (!KBVariableTypes.Has(type) || slot.length > 1) Raise(SBadSlotValue, value->ToString());
      if (type == dtVariable)
        test->StoreValue(Make<TKBValue>(value->GetAsVariable(), dtMultiVariable));
      test->sub_index_ = 0;
      slot.length = 1;
    }
    fields = std::max(fields, test->sub_index_ + 1);
  }
  if (slot.length >= 0) slot.length = std::max(slot.length, fields);
  std::stable_sort(slot.tests.begin(), slot.tests.end(),
                   [](const auto& a, const auto& b) { return a->sub_index_ < b->sub_index_; });
}

void TKBPattern::Settle(IReasoner& engine) {
  if (generated_ || !fact_template_) return;
  if (name_ != fact_template_->GetTemplateName()) {
    // Another name is a pattern on that template, if it has the slots that are tested.
    const Ref<IFactTemplate> named = engine.FindFactTemplate(name_);
    if (!named) Raise(SUnknownFactTemplate, name_);
    std::vector<Slot> old = std::move(slots_);
    fact_template_ = named;
    EnterSlots();
    for (Slot& slot : old) {
      if (slot.tests.empty()) continue;
      Slot& own = SlotFor(named->GetSlot(slot.name)->GetName());
      own = std::move(slot);
    }
  }
  const bool is_goal_name = bound_name_.starts_with(SFactPrefix);
  if (!bound_name_.empty() && !is_goal_name && (negated_count_ > 0 || IsTest()))
    Raise(SInvalidTestBinding);
  if (IsTest()) return SettleTest();
  const bool checked = engine.GetTypeChecks().Has(tcStatic);
  for (Slot& slot : slots_) {
    const IFactSlot* const described = fact_template_->FindSlot(slot.name);
    if (described == nullptr) continue;
    SettleFields(slot, *described);
    const TKBTypes types = described->GetSlotType();
    for (const std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) {
      const Ref<IKBValue> value = test->slot_value_;
      if (checked && value->GetDType() == dtInteger && types.Has(dtFloat) &&
          !types.Has(dtInteger)) {
        test->StoreValue(NewFloat(value->GetAsFloat()));
      }
    }
  }
}

void TKBPattern::Restore(const TKBPattern& saved,
                         const std::vector<std::vector<TKBPatternMatchTest*>>& tests) {
  std::vector<std::unique_ptr<TKBPatternMatchTest>> here;
  for (Slot& slot : slots_) {
    for (std::unique_ptr<TKBPatternMatchTest>& test : slot.tests) here.push_back(std::move(test));
  }
  ++update_count_;  // nobody is told
  Assign(saved);
  --update_count_;
  generated_ = saved.generated_;
  for (std::size_t slot = 0; slot < slots_.size(); ++slot) {
    for (std::size_t i = 0; i < slots_[slot].tests.size(); ++i) {
      const auto found = std::find_if(
          here.begin(), here.end(), [&](const auto& test) { return test.get() == tests[slot][i]; });
      if (found == here.end()) continue;
      (*found)->Take(*slots_[slot].tests[i]);
      slots_[slot].tests[i] = std::move(*found);
    }
  }
}

TKBPattern::TTests TKBPattern::CloneTests(const TTests& tests) {
  TTests clones;
  for (const std::unique_ptr<TKBPatternMatchTest>& test : tests) {
    std::unique_ptr<TKBSlotTest> clone = test->Clone();
    clones.emplace_back(static_cast<TKBPatternMatchTest*>(clone.release()));
    clones.back()->pattern_ = this;
  }
  return clones;
}

// A call that is true where the predicate holds: `or` takes nothing but TRUE for true, a predicate
// everything but FALSE.
static Ref<IFunCall> IsNotFalse(IReasoner& engine, IFunCall& predicate) {
  Ref<IFunCall> comparison = Make<TFunctionCall>(&engine, "neq");
  comparison->BindLogicFunction(engine.GetLogicFunction(lfNeq));
  comparison->AddArgument(Ref<IFunCall>(&predicate));
  comparison->AddArgument(FCFalse);
  return comparison;
}

// A test on a value as a call: the call itself, or a comparison of the two.
static Ref<IFunCall> ConvertToFunCall(IReasoner& engine, const TKBPatternMatchTest& test,
                                      const Ref<IKBValue>& field) {
  const bool equals = test.GetSlotTestType() == sttEquals;
  const Ref<IKBValue>& value = test.GetSlotValue();
  if (value->GetDType() == dtFunCall && equals) return IsNotFalse(engine, *value->GetAsFunCall());
  if (value->GetDType() == dtFunCall) {
    Ref<IFunCall> negation = Make<TFunctionCall>(&engine, "not");
    negation->BindLogicFunction(engine.GetLogicFunction(lfNot));
    negation->AddArgument(Ref<IFunCall>(value->GetAsFunCall()));
    return negation;
  }
  Ref<IFunCall> comparison = Make<TFunctionCall>(&engine, equals ? "eq" : "neq");
  comparison->BindLogicFunction(engine.GetLogicFunction(equals ? lfEq : lfNeq));
  comparison->AddArgument(value->Clone());
  comparison->AddArgument(field->Clone());
  return comparison;
}

void TKBPattern::FixSlot(std::int32_t slot_index) {
  Slot& slot = slots_[Checked(slot_index)];
  slot.folded.clear();
  // Between the first test of a field and the one before it stands nothing.
  const auto is_alternative = [&slot](std::size_t test) {
    return test > 0 && !slot.tests[test]->IsJoinedByAnd() &&
           slot.tests[test]->GetMultiSlotSubIndex() == slot.tests[test - 1]->GetMultiSlotSubIndex();
  };
  bool any_or = false;
  for (std::size_t i = 0; i < slot.tests.size(); ++i) any_or = any_or || is_alternative(i);
  if (!any_or) return;
  const auto add = [this](TTests& tests, const Ref<IKBValue>& value, std::int32_t sub_index) {
    tests.push_back(std::make_unique<TKBPatternMatchTest>(this, sttEquals, sub_index, value));
  };
  TTests fixed;
  std::size_t begin = 0;
  while (begin < slot.tests.size()) {
    const std::int32_t field = slot.tests[begin]->GetMultiSlotSubIndex();
    std::size_t end = begin;
    bool has_or = false;
    while (end < slot.tests.size() && slot.tests[end]->GetMultiSlotSubIndex() == field) {
      has_or = has_or || is_alternative(end);
      ++end;
    }
    if (!has_or) {
      for (; begin < end; ++begin) {
        std::unique_ptr<TKBSlotTest> clone = slot.tests[begin]->Clone();
        fixed.emplace_back(static_cast<TKBPatternMatchTest*>(clone.release()));
      }
      continue;
    }
    // The field's variable: a leading one that is bound at this very place, or a new one.
    if (owner_ == nullptr || owner_->GetEngine() == nullptr) Raise(SRuleMissingForPattern);
    IReasoner& engine = *owner_->GetEngine();
    Ref<IKBValue> variable;
    const TKBPatternMatchTest& first = *slot.tests[begin];
    if (first.GetSlotValue()->GetDType() == dtVariable && first.GetSlotTestType() == sttEquals) {
      const TBinding* binding =
          owner_->BindingFor(first.GetSlotValue()->GetAsVariable(), owner_->FactIndexOf(*this));
      if (binding != nullptr && binding->SlotIndex == slot.name && binding->SubIndex == field &&
          binding->FactIndex == owner_->FactIndexOf(*this)) {
        variable = first.GetSlotValue();
        ++begin;
      }
    }
    if (!variable) {
      // In a negated pattern the name is the one that reading it there would give.
      std::string prefix(SBlankPrefix);
      if (IsNegated()) prefix = "_" + IntegerToText(owner_->GetPatternCount()) + "_" + prefix;
      variable = Make<TKBValue>(owner_->NewVariableName(prefix), dtVariable);
      owner_->AddBinding(variable->GetAsVariable(), owner_->FactIndexOf(*this), slot.name, field);
    }
    add(fixed, variable, field);
    Ref<IFunCall> alternatives = Make<TFunctionCall>(&engine, "or");
    alternatives->BindLogicFunction(engine.GetLogicFunction(lfOr));
    while (begin < end) {
      std::size_t run = begin + 1;
      while (run < end && !is_alternative(run)) ++run;
      if (run - begin == 1) {
        alternatives->AddArgument(ConvertToFunCall(engine, *slot.tests[begin], variable));
      } else {
        Ref<IFunCall> all = Make<TFunctionCall>(&engine, "and");
        all->BindLogicFunction(engine.GetLogicFunction(lfAnd));
        for (std::size_t i = begin; i < run; ++i) {
          all->AddArgument(ConvertToFunCall(engine, *slot.tests[i], variable));
        }
        alternatives->AddArgument(all);
      }
      begin = run;
    }
    add(fixed, NewFunCallValue(alternatives), field);
  }
  slot.folded = std::move(fixed);
}

void TKBPattern::FixTests() {
  BeginUpdate();
  try {
    for (std::int32_t slot = 0; slot < GetSlotCount(); ++slot) FixSlot(slot);
  } catch (...) {
    --update_count_;
    throw;
  }
  EndUpdate();
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
  BeginUpdate();
  Comment = pattern->Comment;
  bound_name_ = pattern->bound_name_;
  unique_ = pattern->unique_;
  explicit_ = pattern->explicit_;
  name_ = pattern->name_;
  fact_template_ = pattern->fact_template_;
  negated_count_ = pattern->negated_count_;
  slots_.clear();
  for (const Slot& slot : pattern->slots_) {
    Slot copy;
    copy.name = slot.name;
    copy.has_list = slot.has_list;
    copy.length = slot.length;
    copy.tests = CloneTests(slot.tests);
    copy.folded = CloneTests(slot.folded);
    slots_.push_back(std::move(copy));
  }
  EndUpdate();
}

std::unique_ptr<TKBPattern> TKBPattern::Clone(IReasoner* engine) const {
  auto clone = std::make_unique<TKBPattern>(nullptr, name_, fact_template_, negated_count_);
  clone->Assign(*this);
  if (engine == nullptr || !fact_template_ || fact_template_->GetReasoner() == engine) return clone;
  Ref<IFactTemplate> own = engine->FindFactTemplate(fact_template_->GetTemplateName());
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
