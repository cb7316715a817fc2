#include "reasoner/match/SlotTest.h"

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/match/Pattern.h"
#include "reasoner/match/PatternNode.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

bool SameConstant(const IKBValue& a, const IKBValue& b) {
  if (a.GetDType() != dtFuzzy && b.GetDType() != dtFuzzy) return a.Equals(b);
  if (a.GetDType() != b.GetDType()) return false;
  const IFuzzySet& set_a = *a.GetAsFuzzy();
  const IFuzzySet& set_b = *b.GetAsFuzzy();
  return set_a.GetVariable() == set_b.GetVariable() && set_a.SamePoints(set_b);
}

bool TKBSlotTest::Equals(const TKBSlotTest& other) const {
  return typeid(*this) == typeid(other) && test_type_ == other.test_type_;
}

std::string TKBSlotTest::ToString() const { return test_type_ == sttEquals ? "=" : "<>"; }

TKBJoinTest::TKBJoinTest(TSlotTestType test_type, std::int32_t token_index, const Text& left,
                         std::int32_t left_sub_index, const Text& right,
                         std::int32_t right_sub_index, bool is_fuzzy)
    : TKBSlotTest(test_type),
      RightSubIndex(right_sub_index),
      RightIndex(right),
      LeftIndex(left),
      TokenIndex(token_index),
      LeftSubIndex(left_sub_index),
      IsFuzzy(is_fuzzy),
      left_(left),
      right_(right),
      left_is_pattern_(left == SPatternBinding),
      right_is_pattern_(right == SPatternBinding) {}

Ref<IKBValue> TKBJoinTest::LeftValue(IFact& fact) const {
  return TPatternMatchNode::PlaceIn(fact, left_, LeftSubIndex);
}

Ref<IKBValue> TKBJoinTest::RightValue(IFact& fact) const {
  return TPatternMatchNode::PlaceIn(fact, right_, RightSubIndex);
}

bool TKBJoinTest::Compare(const IMatch& token, IFact& fact) const {
  IFact* left_fact = token.GetFacts(TokenIndex);
  if (left_fact == nullptr) return true;
  bool equal = false;
  if (left_is_pattern_ && right_is_pattern_) {
    equal = left_fact->GetID() == fact.GetID();
  } else if (left_is_pattern_ || right_is_pattern_) {
    // The variable stands for the whole fact: its id is compared.
    const Ref<IKBValue> value = left_is_pattern_ ? RightValue(fact) : LeftValue(*left_fact);
    equal = value && TPatternMatchNode::IsIdOf(left_is_pattern_ ? *left_fact : fact, *value);
  } else if (GetJoinTestType() == tstSlot) {
    const std::int32_t left_ordinal = left_.In(*left_fact->GetTemplate());
    const std::int32_t right_ordinal = right_.In(*fact.GetTemplate());
    equal = left_ordinal >= 0 && right_ordinal >= 0 &&
            left_fact->GetValueAt(left_ordinal)->Equals(*fact.GetValueAt(right_ordinal));
  } else {
    const Ref<IKBValue> left = LeftValue(*left_fact);
    const Ref<IKBValue> right = RightValue(fact);
    equal = left && right && left->Equals(*right);
  }
  return equal == (test_type_ == sttEquals);
}

std::unique_ptr<TKBSlotTest> TKBJoinTest::Clone() const {
  return std::make_unique<TKBJoinTest>(test_type_, TokenIndex, LeftIndex, LeftSubIndex, RightIndex,
                                       RightSubIndex, IsFuzzy);
}

bool TKBJoinTest::Equals(const TKBSlotTest& other) const {
  if (!TKBSlotTest::Equals(other)) return false;
  const auto& test = static_cast<const TKBJoinTest&>(other);
  return TokenIndex == test.TokenIndex && LeftSubIndex == test.LeftSubIndex &&
         RightSubIndex == test.RightSubIndex && LeftIndex == test.LeftIndex &&
         RightIndex == test.RightIndex;
}

bool TKBJoinTest::PerformTest(TKBContext& context) {
  if (!context.Token) return true;
  return Compare(*context.Token, *context.Fact);
}

std::string TKBJoinTest::ToString() const {
  const bool multi = GetJoinTestType() == tstMultiSlot;
  std::string text = TKBSlotTest::ToString() + " " +
                     std::string(kTemplateSlotTypeNames[GetJoinTestType()]) +
                     " TokenIdx: " + IntegerToText(TokenIndex) + " Left: " + LeftIndex.str();
  if (multi) text += " " + IntegerToText(LeftSubIndex);
  text += " Right: " + RightIndex.str();
  if (multi) text += " " + IntegerToText(RightSubIndex);
  return text;
}

TKBPatternMatchTest::TKBPatternMatchTest(TKBPattern* pattern, TSlotTestType test_type,
                                         std::int32_t sub_index, const Ref<IKBValue>& value)
    : TKBSlotTest(test_type),
      pattern_(pattern),
      slot_value_(value ? value->Clone() : nullptr),
      sub_index_(sub_index) {}

const IKBValue* TKBPatternMatchTest::ComputedBy(const TKBPatternMatchTest& next) const {
  if (!wildcard_ || !next.joined_by_and_ || next.sub_index_ != sub_index_ ||
      next.slot_value_->GetDType() != dtFunCall) {
    return nullptr;
  }
  const IFunCall& call = *next.slot_value_->GetAsFunCall();
  if (!(call.GetName() == "eq*") || call.GetArgumentCount() != 2 ||
      !call.GetArgument(0)->Equals(*slot_value_) || call.GetArgument(1)->GetDType() != dtFunCall) {
    return nullptr;
  }
  return call.GetArgument(1).get();
}

template <class T>
void TKBPatternMatchTest::Edit(T& member, const T& value) {
  if (member == value) return;
  if (pattern_ != nullptr) pattern_->BeforeEdit();
  member = value;
  if (pattern_ != nullptr) pattern_->Change();
}

void TKBPatternMatchTest::SetSlotTestType(TSlotTestType test_type) { Edit(test_type_, test_type); }

void TKBPatternMatchTest::SetSlotValue(const Ref<IKBValue>& value) {
  const Ref<IKBValue> given = Given(value, "value").Clone();
  if (pattern_ != nullptr) pattern_->BeforeEdit();
  slot_value_ = given;
  wildcard_ = false;
  if (pattern_ != nullptr) pattern_->Change();
}

void TKBPatternMatchTest::RenameVariable(const Text& name) {
  Edit(slot_value_, Ref<IKBValue>(Make<TKBValue>(name, slot_value_->GetDType())));
}

void TKBPatternMatchTest::SetMultiSlotSubIndex(std::int32_t sub_index) {
  if (sub_index < NoSubIndex || sub_index >= TKBPattern::kMaxFields)
    Raise(SListIndexError, sub_index);
  Edit(sub_index_, sub_index);
}

void TKBPatternMatchTest::SetConjunction(bool conjunction) {
  if (conjunction == conjunction_) return;
  if (pattern_ != nullptr) pattern_->BeforeEdit();
  conjunction_ = conjunction;
  joined_by_and_ = conjunction;
  if (pattern_ != nullptr) pattern_->Change();
}

void TKBPatternMatchTest::SetJoinedByAnd(bool joined) { Edit(joined_by_and_, joined); }

void TKBPatternMatchTest::SetWildcard(bool wildcard) {
  if (wildcard && !KBVariableTypes.Has(slot_value_->GetDType()))
    Raise(SNoVariable, slot_value_->ToString());
  Edit(wildcard_, wildcard);
}

void TKBPatternMatchTest::Assign(const TPersistent& source) {
  const auto* test = dynamic_cast<const TKBPatternMatchTest*>(&source);
  if (test == nullptr) return TKBSlotTest::Assign(source);
  if (test == this) return;
  if (pattern_ != nullptr) pattern_->BeforeEdit();
  TakeOver(*test);
  if (pattern_ != nullptr) pattern_->Change();
}

void TKBPatternMatchTest::TakeOver(const TKBPatternMatchTest& test) {
  test_type_ = test.test_type_;
  sub_index_ = test.sub_index_;
  conjunction_ = test.conjunction_;
  joined_by_and_ = test.joined_by_and_;
  slot_value_ = test.slot_value_ ? test.slot_value_->Clone() : nullptr;
  wildcard_ = test.wildcard_;
}

std::unique_ptr<TKBPatternMatchTest> TKBPatternMatchTest::CloneTest() const {
  auto clone = std::make_unique<TKBPatternMatchTest>(nullptr, test_type_, sub_index_, nullptr);
  clone->TakeOver(*this);
  return clone;
}

bool TKBPatternMatchTest::Equals(const TKBSlotTest& other) const {
  if (!TKBSlotTest::Equals(other)) return false;
  const auto& test = static_cast<const TKBPatternMatchTest&>(other);
  if (sub_index_ != test.sub_index_ || conjunction_ != test.conjunction_ ||
      joined_by_and_ != test.joined_by_and_ || wildcard_ != test.wildcard_) {
    return false;
  }
  if (slot_value_ == test.slot_value_) return true;
  return slot_value_ && test.slot_value_ && SameConstant(*slot_value_, *test.slot_value_);
}

bool TKBPatternMatchTest::PerformTest(TKBContext& context) {
  const bool is_false = IsFalse(*slot_value_->Resolve(&context));
  return is_false == (test_type_ == sttNotEquals);
}

std::string TKBPatternMatchTest::ToString() const {
  std::string text = TKBSlotTest::ToString() + " SubIdx: " + IntegerToText(sub_index_);
  if (slot_value_) text += " Slot: " + slot_value_->ToString();
  return text;
}

}  // namespace reasoner
