// What the engine does with fuzzy values: reading them, weakening what rules assert, combining what
// is asserted again.

#include <algorithm>
#include <utility>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/fuzzy/FuzzyExpression.h"
#include "reasoner/fuzzy/FuzzyInference.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

Ref<IKBValue> TReasoner::EvalFuzzyExpression(IFuzzyVariable* variable, const Ref<IKBValue>& value,
                                             TKBContext* context) {
  Given(value, "value");
  const Ref<IFuzzyVariable> kept(variable);  // a call may redefine the type
  return EvaluateFuzzy(variable, value, context);
}

Ref<IKBValue> TReasoner::EvalFuzzyExpression(IFuzzyVariable* variable,
                                             const Ref<IValueVector>& list, TKBContext* context) {
  return EvalFuzzyExpression(variable, NewList(list), context);
}

Ref<IKBValue> TReasoner::EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text,
                                             TKBContext* context) {
  Ref<IKBValue> value = ParseValue(text);
  if (!value) value = FCNil;
  return EvalFuzzyExpression(variable, value, context);
}

double TReasoner::EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text,
                                      Ref<IFuzzySet>& set) {
  const Ref<IKBValue> value =
      EvalFuzzyExpression(variable, text, static_cast<TKBContext*>(nullptr));
  set = Ref<IFuzzySet>(value->GetAsFuzzy());
  return value->GetAsNumeric();
}

Ref<IFuzzySet> TReasoner::EvalFuzzyExpression(IFuzzyVariable* variable, std::string_view text) {
  Ref<IFuzzySet> set;
  EvalFuzzyExpression(variable, text, set);
  return set;
}

Ref<IFuzzySet> TReasoner::ParseFuzzyExpression(IFuzzyVariable* variable, std::string_view text) {
  const Ref<IKBValue> value = EvalFuzzyExpression(variable, text, context_.get());
  return Ref<IFuzzySet>(value->GetAsFuzzy());
}

void TReasoner::SetFuzzyEqualsThreshold(float value) {
  if (value == fuzzy_equals_threshold_) return;
  fuzzy_equals_threshold_ = value > 0 ? std::min(value, 1.0F) : 0.0F;  // and not a number is 0
  const auto tell = [this](const Ref<IKBDefinedType>& type) {
    if (type && type->GetFuzzyType()) {
      type->GetFuzzyType()->SetThreshold(double{fuzzy_equals_threshold_});
    }
  };
  for (const Ref<IKBDefinedType>& type : defined_types_->GetItems()) tell(type);
  for (const Ref<IFactTemplate>& fact_template : fact_templates_->GetItems()) {
    for (const Ref<IFactSlot>& slot : fact_template->GetSlots()) {
      const Ref<IKBDefinedType>& type = slot->GetExtendedTypeInfo();
      if (type && type->IsImplicit()) tell(type);
    }
  }
}

void TReasoner::FuzzyCorrelation(const Ref<IFact>& fact, float strength) {
  Given(fact, "fact");
  if (strength == 1.0F) return;
  bool done = false;
  OnFuzzyCorrelation(*this, fact, strength, done);
  if (!done) WeakenFact(*fact, FuzzyCorrelationMethod, double{strength});
}

void TReasoner::FuzzyInference(const Ref<IFact>& fact1, const Ref<IFact>& fact2) {
  Given(fact1, "fact");
  Given(fact2, "fact");
  bool done = false;
  OnFuzzyInference(*this, fact1, fact2, done);
  if (!done) FuzzyOperation(fact1, fact2, true);
}

void TReasoner::FuzzyOperation(const Ref<IFact>& fact1, const Ref<IFact>& fact2, bool is_union) {
  const TFuzzyOperation operation = OperationOf(FuzzyInferenceMethod);
  CombineFacts(Given(fact1, "fact"), Given(fact2, "fact"),
               [&](Ref<IKBValue> value1, const Ref<IKBValue>& value2) {
                 if (is_union) {
                   FuzzyUnion(value1, value2, operation);
                 } else {
                   FuzzyIntersection(value1, value2, operation);
                 }
                 return value1;
               });
}

void TReasoner::FuzzyIntersection(Ref<IKBValue>& value1, const Ref<IKBValue>& value2,
                                  TFuzzyOperation operation) {
  Given(value1, "value");
  value1 = CombineValues(value1, Given(value2, "value"), operation, false);
}

void TReasoner::FuzzyUnion(Ref<IKBValue>& value1, const Ref<IKBValue>& value2,
                           TFuzzyOperation operation) {
  Given(value1, "value");
  value1 = CombineValues(value1, Given(value2, "value"), operation, true);
}

TFactId TReasoner::Assert(const Ref<IFact>& fact, TFuzzyInferenceMethod method,
                          bool unconditional) {
  struct Method {
    TFuzzyInferenceMethod& current;
    TFuzzyInferenceMethod old;
    ~Method() { current = old; }
  } scope{FuzzyInferenceMethod, std::exchange(FuzzyInferenceMethod, method)};
  return Assert(fact, unconditional);
}

// Equal facts do not stand beside each other: the new one takes in the old one's fuzzy values, and
// its place.
TFactId TReasoner::AssertFuzzy(const Ref<IFact>& asserted, bool unconditional) {
  // One object stands in the list once.
  const Ref<IFact> fact = asserted->IsListed() ? asserted->Clone() : asserted;
  if (current_activation_ != nullptr) {
    FuzzyCorrelation(fact, current_activation_->GetStrength());
  }
  const std::uint32_t hash = facts_->HashOf(*fact);
  FirstFailure failures;
  if (const TFacts::Entry* entry = facts_->FindEqual(*fact, hash)) {
    const Ref<IFact> old = entry->fact;
    RequireFactId();
    FuzzyOperation(fact, old, !unconditional);
    OwnFuzzySets(*fact);
    // A retraction that has begun is carried through, whatever a handler raises; one that has not
    // leaves everything as it was.
    if (TFacts::Entry* listed = facts_->FindEntry(*old); listed != nullptr && !listed->leaving) {
      failures.Try([&] { RetractListed(*listed); });
    }
    if (const TFacts::Entry* listed = facts_->FindEntry(*old); listed != nullptr) {
      if (!listed->leaving) failures.Raise();
    }
  } else {
    OwnFuzzySets(*fact);
  }
  TFactId id = -1;
  failures.Try([&] { id = EnterFact(fact, hash); });
  failures.Raise();
  return id;
}

std::string TReasoner::PrettyPrint(const IFuzzySet& set, bool full) {
  return parser_->PrettyPrint(set, full);
}

std::string TReasoner::PrettyPrint(const IFuzzyVariable& variable) {
  return parser_->PrettyPrint(variable);
}

}  // namespace reasoner
