#include "reasoner/facts/FactSlot.h"

#include <optional>
#include <utility>

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

TFactSlot::TFactSlot(TFactTemplate* fact_template) : template_(fact_template) {}

TFactSlot::~TFactSlot() {
  template_ = nullptr;
  if (slot_default_ && !slot_default_->IsConstant()) slot_default_->SetOnChange(nullptr);
}

std::string TFactSlot::GetTemplateName() const {
  return template_ == nullptr ? "" : template_->GetTemplateName();
}

IReasoner* TFactSlot::DynamicChecker() const {
  IReasoner* reasoner = template_ == nullptr ? nullptr : template_->GetReasoner();
  return reasoner != nullptr && reasoner->GetTypeChecks().Has(tcDynamic) ? reasoner : nullptr;
}

void TFactSlot::SetName(const Text& name) {
  if (name == name_) return;
  CheckConstructName(name);
  // Bindings of a whole fact and of a local variable stand under these where others name a slot.
  if (name == SPatternBinding || name == SLocalBinding) Raise(SReservedName, name.view());
  if (template_ != nullptr) template_->NewSlotName(*this, name);
  name_ = name;
}

void TFactSlot::SetSlotDefault(const Ref<IKBValue>& value) {
  if (value && DynamicChecker() != nullptr && !IsValid(value.get()))
    Raise(SInvalidSlotDefault, value->ToString());
  Ref<IKBValue> taken = value && !IsValueConstant(*value) ? value->Clone() : value;
  if (slot_default_ && !slot_default_->IsConstant()) slot_default_->SetOnChange(nullptr);
  slot_default_ = std::move(taken);
  if (slot_default_ && !slot_default_->IsConstant()) slot_default_->SetOnChange(this);
}

void TFactSlot::ValueChanged(const Ref<IKBValue>& value) {
  if (DynamicChecker() != nullptr && !IsValid(value.get()))
    Raise(SInvalidValue, value->ToString(), name_.view());
}

void TFactSlot::SetSlotType(TKBTypes types) {
  if (types == slot_type_) return;
  if (types.Has(dtFuzzy) && !(types - KBMultiSlotTypes == TKBTypes{dtFuzzy}))
    Raise(SCannotMixFuzzy);
  if (template_ != nullptr) template_->SlotTypeChanged();
  slot_type_ = types;
  if (extended_type_info_ && extended_type_info_->IsImplicit()) {
    extended_type_info_->SetBaseTypes(types - KBMultiSlotTypes);
  }
  if (!slot_default_ || !IsValid(slot_default_.get()))
    SetSlotDefault(CreateValidDefault(IsMulti()));
}

void TFactSlot::SetExtendedTypeInfo(const Ref<IKBDefinedType>& type) {
  if (type == extended_type_info_) return;
  extended_type_info_ = type;
  TKBTypes types = type ? type->GetBaseTypes() : TKBTypes{};
  if (name_ == SDefaultSlotName) types += KBMultiSlotTypes;
  SetSlotType(types);
  TellThreshold();
}

// A type of the slot's own is in no registry that would tell its variable.
void TFactSlot::TellThreshold() const {
  if (!extended_type_info_ || !extended_type_info_->IsImplicit()) return;
  const Ref<IFuzzyVariable>& variable = extended_type_info_->GetFuzzyType();
  const IReasoner* reasoner = template_ == nullptr ? nullptr : template_->GetReasoner();
  if (variable && reasoner != nullptr) {
    variable->SetThreshold(double{reasoner->GetFuzzyEqualsThreshold()});
  }
}

IFuzzyVariable* TFactSlot::GetFuzzyVariable() const noexcept {
  return extended_type_info_ ? extended_type_info_->GetFuzzyType().get() : nullptr;
}

Ref<IKBValue> TFactSlot::EvalFuzzyValue(IReasoner& engine, const Ref<IKBValue>& value,
                                        TKBContext& context) const {
  const Ref<IFuzzyVariable> variable(GetFuzzyVariable());
  const Ref<IKBValue> result = engine.EvalFuzzyExpression(variable.get(), value, &context);
  if (slot_type_.Has(dtList)) {
    if (result->GetDType() == dtList)
      return IsValueConstant(*result) ? NewList(NewVector()) : result;
    const Ref<IValueVector> list = NewVector();
    list->Add(result);
    return NewList(list);
  }
  if (result->GetDType() != dtFuzzy) Raise(SInvalidFuzzyExpression, value->ToString());
  return result;
}

Ref<IKBValue> TFactSlot::TakeFuzzyValue(const IKBValue& value, const IFactSlot* from) const {
  IFuzzyVariable* const variable = GetFuzzyVariable();
  if (value.GetDType() == dtList) {
    const Ref<IValueVector> list = NewVector();
    for (const Ref<IKBValue>& member : *value.GetAsList()) {
      list->Add(member ? TakeFuzzyValue(*member, from) : member);
    }
    list->SetTag(value.GetAsList()->GetTag());
    return NewList(list);
  }
  if (value.GetDType() != dtFuzzy) return value.Clone();
  const IFuzzySet& set = *value.GetAsFuzzy();
  if (set.GetVariable() == variable) return value.Clone();
  const bool foreign = set.GetVariable() != nullptr && from != nullptr &&
                       set.GetVariable() != from->GetFuzzyVariable();
  if (variable != nullptr && !foreign) {
    if (IFuzzySet* own = variable->FindFuzzySet(set.GetGivenName())) {
      return NewFuzzy(Ref<IFuzzySet>(own));
    }
  }
  const Ref<IFuzzySet> taken = set.Clone();
  if (foreign) {
    taken->SetName({});
    taken->SetExpression({}, false);
  }
  taken->SetVariable(variable);
  taken->SetParser(variable == nullptr ? Ref<TFuzzyParserLink>() : variable->GetParserLink());
  return NewFuzzy(taken);
}

// Whether a value of this type, or every member of a list, may stand in a slot of these types.
static bool TypesAllow(TKBTypes types, const IKBValue& value) {
  const TKBTypes allowed = types + KBAlwaysValidTypes;
  if (!allowed.Has(value.GetDType())) return false;
  if (value.GetDType() != dtList) return true;
  for (const Ref<IKBValue>& member : *value.GetAsList()) {
    if (member && !allowed.Has(member->GetDType())) return false;
  }
  return true;
}

bool TFactSlot::IsValid(const IKBValue* value) const {
  if (value == nullptr) return true;
  const bool takes_list = slot_type_.Has(dtList);
  if (!takes_list && value->IsNilLike()) return true;
  if (takes_list && value == FCNilList.get()) return true;
  if (extended_type_info_) return extended_type_info_->IsValid(*value);
  return TypesAllow(slot_type_, *value);
}

std::string TFactSlot::GetInvalidValueString(const IKBValue& value) const {
  if (extended_type_info_) {
    return FillMessage(SInvalidSlotValue, extended_type_info_->GetInvalidValueString(value),
                       name_.view());
  }
  const std::string names = UpperTypeNames(slot_type_, ", ");
  if (!(slot_type_ + TKBTypes{dtVariable, dtFunCall, dtMultiVariable}).Has(value.GetDType())) {
    const std::string reason =
        FillMessage(SNotCorrectType, names, value.ToString(), GetKBTypeName(value.GetDType()));
    return FillMessage(SInvalidSlotValue, reason, name_.view());
  }
  if (value.GetDType() != dtList) return "";
  for (const Ref<IKBValue>& member : *value.GetAsList()) {
    if (!member || TypesAllow(slot_type_, *member)) continue;
    const std::string kind =
        std::string(GetKBTypeName(member->GetDType())) + " (" + member->ToString() + ")";
    return FillMessage(SInvalidSlotValue,
                       FillMessage(SNotCorrectType, names, value.ToString(), kind), name_.view());
  }
  return "";
}

Ref<IKBValue> TFactSlot::CreateValidDefault(bool is_multi) const {
  if (extended_type_info_) return extended_type_info_->CreateValidDefault(is_multi);
  if (is_multi) return NewList(NewVector());
  return CreateEmptyValue(slot_type_);
}

void TFactSlot::Assign(const TFactSlot& source) {
  if (&source == this) return;
  const Ref<const TFactSlot> kept(&source);  // the name may push the source out of the template
  SetName(source.name_);
  default_dynamic_ = source.default_dynamic_;
  tag_ = source.tag_;
  IReasoner* reasoner = template_ == nullptr ? nullptr : template_->GetReasoner();
  IReasoner* source_reasoner =
      source.template_ == nullptr ? nullptr : source.template_->GetReasoner();
  if (source.extended_type_info_ && reasoner != nullptr && source.template_ != nullptr &&
      source_reasoner != reasoner) {
    Ref<IKBDefinedType> own;
    if (source.extended_type_info_->IsImplicit()) {
      own = Make<TKBDefinedType>(reasoner);
      own->Assign(*source.extended_type_info_);
    } else {
      const std::string& name = source.extended_type_info_->GetName();
      own = reasoner->FindDefinedType(name);
      if (!own) {
        reasoner->EnterType(source.extended_type_info_);  // which takes a copy
        own = reasoner->FindDefinedType(name);
      }
    }
    if (own) return AssignType(source, *reasoner, own);
  }
  if (template_ != nullptr) template_->SlotTypeChanged();
  extended_type_info_ = source.extended_type_info_;
  slot_type_ = source.slot_type_;
  SetSlotDefault(source.slot_default_);
  TellThreshold();
}

// A slot of another engine, with its type in this one: a default that is bound to an engine is read
// anew.
void TFactSlot::AssignType(const TFactSlot& source, IReasoner& reasoner,
                           const Ref<IKBDefinedType>& own) {
  SetExtendedTypeInfo(own);
  SetSlotType(source.slot_type_);
  const Ref<IKBValue>& value = source.slot_default_;
  if (value && IsFuzzy()) {
    SetSlotDefault(TakeFuzzyValue(*value, &source));
  } else if (value && KBReparseTypes.Has(value->GetDType())) {
    SetSlotDefault(reasoner.ParseSlotValueText(value->ToString(), *this));
  } else {
    SetSlotDefault(value);
  }
}

// The number as one of the wanted type; null where it stays as it is.
static Ref<IKBValue> FittingNumber(const IKBValue* value, TKBType wanted) {
  if (value == nullptr) return nullptr;
  if (value->GetDType() == dtInteger && wanted == dtFloat) return NewFloat(value->RawInteger());
  if (value->GetDType() != dtFloat || wanted != dtInteger) return nullptr;
  const std::optional<std::int32_t> whole = TruncateToInteger(value->RawFloat());
  return whole && *whole == value->RawFloat() ? NewInteger(*whole) : Ref<IKBValue>();
}

void FitNumbers(Ref<IKBValue>& value, TKBTypes types, bool plain) {
  const bool takes_floats = types.Has(dtFloat);
  if (takes_floats == types.Has(dtInteger) || !(takes_floats || plain)) return;
  const TKBType wanted = takes_floats ? dtFloat : dtInteger;
  if (Ref<IKBValue> number = FittingNumber(value.get(), wanted)) {
    value = std::move(number);
    return;
  }
  if (value->GetDType() != dtList) return;
  const IValueVector& list = *value->GetAsList();
  Ref<IValueVector> fitting;
  for (std::int32_t i = 0; i < list.GetValueCount(); ++i) {
    Ref<IKBValue> number = FittingNumber(list.GetItem(i).get(), wanted);
    if (!number) continue;
    if (!fitting) fitting = list.Clone();
    fitting->SetItem(i, number);
  }
  if (fitting) value = NewList(fitting);
}

Ref<IFactSlot> TFactSlot::Clone() const {
  Ref<IFactSlot> clone = Make<TFactSlot>(template_);
  clone->Assign(*this);
  return clone;
}

bool TFactSlot::Equals(const ICloneable& other) const {
  if (this == &other) return true;
  const auto* slot = dynamic_cast<const TFactSlot*>(&other);
  if (slot == nullptr || !(name_ == slot->name_) || !(slot_type_ == slot->slot_type_)) return false;
  const IKBDefinedType* a_type = extended_type_info_.get();
  const IKBDefinedType* b_type = slot->extended_type_info_.get();
  if (a_type != b_type && (a_type == nullptr || b_type == nullptr || !a_type->Equals(*b_type)))
    return false;
  const IKBValue* a = slot_default_.get();
  const IKBValue* b = slot->slot_default_.get();
  if (a == b) return true;
  if (a == nullptr || b == nullptr) return false;
  if (IsFuzzy() && IsSameFuzzyValue(*a, *b)) return true;
  try {
    return a->EqualsStar(*b);
  } catch (const EKBException&) {
    return false;  // a default that does not convert is another default
  }
}

std::string TFactSlot::ToString() const {
  IReasoner* reasoner = template_ == nullptr ? nullptr : template_->GetReasoner();
  return reasoner == nullptr ? name_.str() : reasoner->PrettyPrint(*this);
}

}  // namespace reasoner
