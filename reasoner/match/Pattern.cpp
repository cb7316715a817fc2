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

TKBPattern::~TKBPattern() = default;

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

void TKBPattern::EndUpdate() {
  if (update_count_ > 0 && --update_count_ == 0) Change();
}

void TKBPattern::SetName(std::string_view name) {
  if (name == name_) return;
  name_ = name;
  Change();
}

void TKBPattern::SetNegatedCount(std::int32_t count) {
  if (count == negated_count_) return;
  negated_count_ = std::max(count, 0);
  Change();
}

void TKBPattern::SetUnique(bool unique) {
  if (unique == unique_) return;
  unique_ = unique;
  Change();
}

void TKBPattern::SetExplicit(bool is_explicit) {
  if (is_explicit == explicit_) return;
  explicit_ = is_explicit;
  Change();
}

void TKBPattern::SetBoundName(std::string_view name) {
  if (name == bound_name_) return;
  if (IsNegated() && IsTest()) Raise(SInvalidPatternBinding);
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
  Slot& slot = SlotFor(slot_name);
  slot.has_list = true;
  test->pattern_ = this;
  slot.tests.push_back(std::move(test));
  TestChange();
}

void TKBPattern::RemoveTest(std::int32_t slot, std::int32_t test) {
  GetSlotTest(slot, test);
  std::vector<std::unique_ptr<TKBPatternMatchTest>>& tests = slots_[Checked(slot)].tests;
  tests.erase(tests.begin() + test);
  TestChange();
}

const std::vector<std::unique_ptr<TKBPatternMatchTest>>& TKBPattern::GetWrittenTests(
    std::int32_t slot) const {
  const Slot& asked = slots_[Checked(slot)];
  return asked.written.empty() ? asked.tests : asked.written;
}

void TKBPattern::TestChange() {
  for (Slot& slot : slots_) slot.written.clear();
  Change();
}

std::vector<std::unique_ptr<TKBPatternMatchTest>> TKBPattern::CloneTests(
    const std::vector<std::unique_ptr<TKBPatternMatchTest>>& tests) {
  std::vector<std::unique_ptr<TKBPatternMatchTest>> clones;
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
  const bool any_or = std::any_of(slot.tests.begin(), slot.tests.end(),
                                  [](const auto& test) { return !test->IsConjunction(); });
  if (!any_or) return;
  const auto add = [this](std::vector<std::unique_ptr<TKBPatternMatchTest>>& tests,
                          const Ref<IKBValue>& value, std::int32_t sub_index) {
    tests.push_back(std::make_unique<TKBPatternMatchTest>(this, sttEquals, sub_index, value));
  };
  std::vector<std::unique_ptr<TKBPatternMatchTest>> written = CloneTests(slot.tests);
  std::vector<std::unique_ptr<TKBPatternMatchTest>> fixed;
  std::size_t begin = 0;
  while (begin < slot.tests.size()) {
    const std::int32_t field = slot.tests[begin]->GetMultiSlotSubIndex();
    std::size_t end = begin;
    bool has_or = false;
    while (end < slot.tests.size() && slot.tests[end]->GetMultiSlotSubIndex() == field) {
      has_or = has_or || !slot.tests[end]->IsConjunction();
      ++end;
    }
    if (!has_or) {
      for (; begin < end; ++begin) fixed.push_back(std::move(slot.tests[begin]));
      continue;
    }
    // The field's variable: a leading one that is bound at this very place, or a new one. A field
    // in which a `$?` stands is a span, whichever of its tests comes first.
    const bool is_span = std::any_of(
        slot.tests.begin() + static_cast<std::ptrdiff_t>(begin),
        slot.tests.begin() + static_cast<std::ptrdiff_t>(end),
        [](const auto& test) { return test->GetSlotValue()->GetDType() == dtMultiVariable; });
    if (owner_ == nullptr || owner_->GetEngine() == nullptr) Raise(SRuleMissingForPattern);
    IReasoner& engine = *owner_->GetEngine();
    Ref<IKBValue> variable;
    const TKBPatternMatchTest& first = *slot.tests[begin];
    if (first.GetSlotValue()->GetDType() == (is_span ? dtMultiVariable : dtVariable) &&
        first.GetSlotTestType() == sttEquals) {
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
      variable =
          Make<TKBValue>(owner_->NewVariableName(prefix), is_span ? dtMultiVariable : dtVariable);
      owner_->AddBinding(variable->GetAsVariable(), owner_->FactIndexOf(*this), slot.name, field);
    }
    add(fixed, variable, field);
    Ref<IFunCall> alternatives = Make<TFunctionCall>(&engine, "or");
    alternatives->BindLogicFunction(engine.GetLogicFunction(lfOr));
    while (begin < end) {
      std::size_t run = begin + 1;
      while (run < end && slot.tests[run]->IsJoinedByAnd()) ++run;
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
  slot.tests.swap(fixed);
  slot.written = std::move(written);
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
    copy.written = CloneTests(slot.written);
    slots_.push_back(std::move(copy));
  }
  EndUpdate();
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
