#include "reasoner/match/PatternNode.h"

#include "reasoner/fuzzy/FuzzyMatch.h"
#include "reasoner/match/ReteNetwork.h"
#include "reasoner/match/SlotTest.h"
#include "reasoner/match/TestFailure.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

std::string_view GetPatternMatchTestName(TPatternMatchTest test) {
  switch (test) {
    case pmtUnknown:
      return "pmtUnknown";
    case pmtTestClassType:
      return "pmtTestClassType";
    case pmtTestEqual:
      return "pmtTestEqual";
    case pmtTestNotEqual:
      return "pmtTestNotEqual";
    case pmtTestSlotValueEqual:
      return "pmtTestSlotValueEqual";
    case pmtTestSlotValueNotEqual:
      return "pmtTestSlotValueNotEqual";
    case pmtTestMultiSlotEqual:
      return "pmtTestMultiSlotEqual";
    case pmtTestMultiSlotNotEqual:
      return "pmtTestMultiSlotNotEqual";
    case pmtTestMultiSlotLength:
      return "pmtTestMultiSlotLength";
    case pmtTestMultiSlotMultiField:
      return "pmtTestMultiSlotMultiField";
    case pmtFailTest:
      return "pmtFailTest";
  }
  return "";
}

TPatternMatchNode::TPatternMatchNode(TReteNetwork& rete, TPatternMatchTest test,
                                     Ref<IKBValue> value, TNodeArgs args)
    : TReteNode(rete),
      test_(test),
      value_(std::move(value)),
      args_(std::move(args)),
      first_slot_(args_.first_slot),
      second_slot_(args_.second_slot),
      tests_own_id_(args_.first_slot == SPatternBinding) {}

Ref<IKBValue> TPatternMatchNode::PlaceIn(IFact& fact, const TSlotAccess& slot,
                                         std::int32_t sub_index) {
  const std::int32_t ordinal = slot.In(*fact.GetTemplate());
  if (ordinal < 0) return nullptr;
  const Ref<IKBValue>& value = fact.GetValueAt(ordinal);
  if (sub_index == NoSubIndex) return value;
  if (value->GetDType() != dtList || sub_index >= value->GetAsList()->GetValueCount())
    return nullptr;
  return value->GetAsList()->GetItem(sub_index);
}

bool TPatternMatchNode::IsIdOf(const IFact& fact, const IKBValue& value) {
  return value.GetDType() == dtFactId && value.RawFactId() == fact.GetID();
}

bool TPatternMatchNode::RunFunction(const Ref<TKBToken>& token) {
  const ScopedMatch match(GetContext(), token, token->GetFact());
  return !IsFalse(*value_->Resolve(&GetContext()));
}

// Two values of a fact compared. What is taken away passes every fuzzy test: it is looked up by its
// facts further down.
static bool ComparePlaces(const IKBValue& a, const IKBValue& b, bool negated, bool is_leaving,
                          float& degree) {
  if (!IsFuzzyTest(a, b)) return a.Equals(b) != negated;
  if (is_leaving) return true;
  const FuzzyMatch match = MatchFuzzy(a, b, negated);
  if (match.passed) degree = match.degree;
  return match.passed;
}

void TPatternMatchNode::PassOn(const Ref<TKBToken>& token, float degree) {
  if (token->GetStrength() <= degree) return CallChildren(token);
  if (GetRete().GetMinActivationStrength() > degree) return;
  const Ref<TKBToken> weaker = Make<TKBToken>(*token);
  weaker->SetStrength(degree);
  CallChildren(weaker);
}

bool TPatternMatchNode::Passes(const Ref<TKBToken>& token, float& degree) {
  IFact& fact = *token->GetFact();
  const bool is_leaving = token->GetTag() == taRemove;
  switch (test_) {
    case pmtUnknown:
    case pmtFailTest:
      return false;
    case pmtTestClassType:
      return fact.GetTemplate()->DescendsFrom(value_->TextView());
    case pmtTestEqual:
    case pmtTestNotEqual:
    case pmtTestMultiSlotEqual:
    case pmtTestMultiSlotNotEqual: {
      const bool negated = test_ == pmtTestNotEqual || test_ == pmtTestMultiSlotNotEqual;
      const Ref<IKBValue> place = PlaceIn(fact, first_slot_, args_.first);
      if (!place) return false;
      if (value_->GetDType() != dtFunCall) {
        return ComparePlaces(*place, *value_, negated, is_leaving, degree);
      }
      // What is taken away is looked up by its facts: the function may have changed its mind.
      if (is_leaving) return true;
      return RunFunction(token) != negated;
    }
    case pmtTestSlotValueEqual:
    case pmtTestSlotValueNotEqual: {
      if (tests_own_id_) {
        const Ref<IKBValue> place = PlaceIn(fact, second_slot_, args_.second);
        return place && IsIdOf(fact, *place) == (test_ == pmtTestSlotValueEqual);
      }
      const Ref<IKBValue> a = PlaceIn(fact, first_slot_, args_.first);
      const Ref<IKBValue> b = PlaceIn(fact, second_slot_, args_.second);
      return a && b && ComparePlaces(*a, *b, test_ == pmtTestSlotValueNotEqual, is_leaving, degree);
    }
    case pmtTestMultiSlotLength: {
      const Ref<IKBValue> place = PlaceIn(fact, first_slot_, NoSubIndex);
      return place && place->GetDType() == dtList &&
             place->GetAsList()->GetValueCount() == args_.first;
    }
    case pmtTestMultiSlotMultiField:
      break;
  }
  return false;
}

// The split of an expansion: the one that the fact had already, the place of the field and the
// length of its span, mixed so that no two expansions of one fact meet.
static std::uint64_t SplitOf(std::uint64_t before, std::int32_t ordinal, std::int32_t place,
                             std::int32_t span) {
  std::uint64_t mixed = before;
  for (const std::int32_t part : {ordinal, place, span}) {
    mixed = (mixed ^ static_cast<std::uint32_t>(part)) + 0x9E3779B97F4A7C15u;
    mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
    mixed ^= mixed >> 31;
  }
  return mixed;
}

bool TPatternMatchNode::Expand(const Ref<TKBToken>& token) {
  IFact& fact = *token->GetFact();
  const std::int32_t ordinal = first_slot_.In(*fact.GetTemplate());
  if (ordinal < 0) return false;
  const Ref<IKBValue> value = fact.GetValueAt(ordinal);
  if (value->Equals(*FCNil)) {
    CallChildren(token);
    return false;
  }
  const Ref<IValueVector> list(value->GetAsList());
  const std::int32_t length = list->GetValueCount();
  const std::int32_t place = args_.first;
  const bool splits = GetRete().IsTextbook();
  if (length < place) return true;
  // The longest span first, down to the empty one. What fails behind one of them stops no other.
  FirstFailure failures;
  for (std::int32_t span = length - place; span >= 0; --span) {
    const Ref<IValueVector> expanded = NewVector();
    const Ref<IValueVector> inner = NewVector();
    for (std::int32_t i = 0; i < place; ++i) expanded->Add(list->GetItem(i));
    for (std::int32_t i = place; i < place + span; ++i) inner->Add(list->GetItem(i));
    expanded->Add(NewList(inner));
    for (std::int32_t i = place + span; i < length; ++i) expanded->Add(list->GetItem(i));
    // Fields are expanded before any value is compared: the token still has its whole strength.
    const Ref<TKBToken> split =
        Make<TKBToken>(token->GetTag(), fact.CloneWith(ordinal, NewList(expanded)),
                       splits ? SplitOf(token->GetSplit(), ordinal, place, span) : 0);
    failures.Try([&] { CallChildren(split); });
  }
  failures.Raise();
  return true;
}

bool TPatternMatchNode::CallNode(const Ref<TKBToken>& token, TCallType) {
  if (token->GetTag() == taClear) {
    CallChildren(token);
    return false;
  }
  if (test_ == pmtTestMultiSlotMultiField) return Expand(token);
  if (test_ == pmtTestClassType || test_ == pmtTestMultiSlotLength) {
    float whole = 1.0F;
    if (!Passes(token, whole)) return false;
    CallChildren(token);
    return true;
  }
  float degree = 1.0F;
  try {
    if (!Passes(token, degree)) return false;
  } catch (Exception& failure) {
    TellMatch(failure, *this, nullptr, token->GetFact().get());
    TellNode(failure);
    throw;
  }
  try {
    PassOn(token, degree);
  } catch (Exception& failure) {
    TellNode(failure);
    throw;
  }
  return true;
}

// In the literal meaning each node on the way of a failure adds itself to the message.
void TPatternMatchNode::TellNode(Exception& failure) const {
  if (GetRete().IsTextbook()) return;
  failure.AppendMessage(std::string(SPatternMatchError.kFormat) + ToString());
}

bool TPatternMatchNode::Serves(TPatternMatchTest test, const IKBValue* value,
                               const TNodeArgs& args) const {
  if (test != test_ || !(args == args_)) return false;
  if (value == nullptr || !value_) return value == nullptr && !value_;
  return SameConstant(*value, *value_);
}

std::string TPatternMatchNode::ToString() const {
  std::string text = TReteNode::ToString() + " Value: ";
  if (value_) text += value_->ToString();
  text += " Test: " + std::string(GetPatternMatchTestName(test_));
  const auto number = [](std::int32_t value) { return IntegerToText(value); };
  std::string args;
  switch (test_) {
    case pmtFailTest:
      return text;
    case pmtUnknown:
    case pmtTestClassType:
      args = "0, 0";
      break;
    case pmtTestSlotValueEqual:
    case pmtTestSlotValueNotEqual:
      args = args_.first_slot.str() + ", " + args_.second_slot.str() + ", " + number(args_.first) +
             ", " + number(args_.second);
      break;
    case pmtTestMultiSlotLength:
    case pmtTestMultiSlotMultiField:
      args = args_.first_slot.str() + ", " + number(args_.first) + ", 0";
      break;
    default:
      args = args_.first_slot.str() + ", " + number(args_.first);
  }
  return text + " Args: (" + args + ")";
}

}  // namespace reasoner
