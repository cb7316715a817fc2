#include "reasoner/facts/DefinedType.h"

#include <algorithm>
#include <cmath>

#include "reasoner/facts/Fact.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

bool FloatEquals(double a, double b, double tolerance) {
  return a == b || std::fabs(a - b) <= tolerance;
}

std::string UpperTypeNames(TKBTypes types, std::string_view separator) {
  return AsciiUpper(SetToString(types, separator, false));
}

Ref<IKBValue> CreateEmptyValue(TKBTypes types) {
  for (const TKBType type : {dtAtom, dtString, dtInteger, dtFloat, dtObject, dtExternalAddress,
                             dtFuzzy, dtFactId, dtFact, dtDescriptor, dtClass}) {
    if (!types.Has(type)) continue;
    switch (type) {
      case dtAtom:
      case dtString:
        return Make<TKBValue>(Text(), type);
      case dtInteger:
      case dtFactId:
      case dtDescriptor:
        return Make<TKBValue>(0, type);
      case dtFloat:
        return NewFloat(0.0);
      case dtFuzzy:
        return FCNil;
      default: {
        Ref<IKBValue> value = Make<TKBValue>();
        if (type == dtObject) value->SetAsObject(nullptr);
        if (type == dtExternalAddress) value->SetAsExternalAddress(nullptr);
        if (type == dtFact) value->SetAsFact(nullptr);
        if (type == dtClass) value->SetAsClass(nullptr);
        return value;
      }
    }
  }
  return Make<TKBValue>();
}

TKBDefinedType::TKBDefinedType(IReasoner* reasoner) { SetReasoner(reasoner); }

TKBDefinedType::~TKBDefinedType() {
  if (fuzzy_type_) fuzzy_type_->SetParser(nullptr);
}

void TKBDefinedType::Change() {
  if (!OnChange.IsHeard()) return;
  const Ref<IKBDefinedType> self(this);
  OnChange(*this);
}

void TKBDefinedType::EndUpdate() {
  if (update_count_ > 0 && --update_count_ == 0) Change();
}

// The pattern of every setter: equal, return; check; store; tell.
#define REASONER_SET(field, value) \
  if ((field) == (value)) return;  \
  (field) = (value);               \
  Change()

void TKBDefinedType::SetName(const std::string& name) {
  if (name_ == name) return;
  // A type that the engine lists moves to the new name there.
  if (IReasoner* const reasoner = GetReasoner()) reasoner->RenameType(*this, name);
  name_ = name;
  Change();
}
void TKBDefinedType::SetComment(const std::string& comment) { REASONER_SET(comment_, comment); }
void TKBDefinedType::SetRangeLimited(bool limited) { REASONER_SET(range_limited_, limited); }
void TKBDefinedType::SetCardinalityLimited(bool limited) {
  REASONER_SET(cardinality_limited_, limited);
}
void TKBDefinedType::SetImplicit(bool implicit) { REASONER_SET(implicit_, implicit); }

#undef REASONER_SET

void TKBDefinedType::SetUnits(const std::string& units) {
  if (units_ == units) return;
  units_ = units;
  if (fuzzy_type_) fuzzy_type_->SetUnits(units);
  Change();
}

void TKBDefinedType::SetReasoner(IReasoner* reasoner) {
  reasoner_ = reasoner == nullptr ? Ref<TReasonerLink>() : reasoner->GetLink();
  TellFuzzyType();
}

// The variable is read and printed by the engine that has the type.
void TKBDefinedType::TellFuzzyType() {
  if (!fuzzy_type_) return;
  IReasoner* const reasoner = GetReasoner();
  const Ref<TFuzzyParserLink> link =
      reasoner == nullptr ? Ref<TFuzzyParserLink>() : reasoner->GetFuzzyParserLink();
  fuzzy_type_->SetParser(link);
  for (std::int32_t i = 0; i < fuzzy_type_->GetSetCount(); ++i) {
    fuzzy_type_->GetSet(i)->SetParser(link);
  }
}

void TKBDefinedType::SetBaseTypes(TKBTypes types) {
  const TKBTypes masked = types * KBSlotTypesWithFuzzy;
  if (masked == base_types_) return;
  if (masked.Has(dtFuzzy) && !(masked == TKBTypes{dtFuzzy})) Raise(SCannotMixFuzzy);
  base_types_ = masked;
  if (!masked.Has(dtFuzzy)) {
    SetFuzzyType(nullptr);
  } else if (!fuzzy_type_) {
    const Ref<IFuzzyVariable> variable = Make<TKBFuzzyVariable>(name_);
    if (range_limited_) variable->SetUniverse(min_range_, max_range_);
    variable->SetUnits(units_);
    return SetFuzzyType(variable);
  }
  Change();
}

void TKBDefinedType::SetFuzzyType(const Ref<IFuzzyVariable>& variable) {
  if (variable == fuzzy_type_) return;
  if (fuzzy_type_) fuzzy_type_->SetParser(nullptr);
  fuzzy_type_ = variable;
  TellFuzzyType();
  if (variable) {
    base_types_ = dtFuzzy;
    min_range_ = variable->GetUniverseFrom();
    max_range_ = variable->GetUniverseTo();
    units_ = variable->GetUnits();
  }
  Change();
}

void TKBDefinedType::SetMaxRange(double value) {
  if (max_range_ == value) return;
  if (fuzzy_type_) fuzzy_type_->SetUniverse(std::min(min_range_, value), value);
  max_range_ = value;
  if (max_range_ < min_range_) min_range_ = max_range_;
  Change();
}

void TKBDefinedType::SetMinRange(double value) {
  if (min_range_ == value) return;
  if (fuzzy_type_) fuzzy_type_->SetUniverse(value, std::max(max_range_, value));
  min_range_ = value;
  if (min_range_ > max_range_) max_range_ = min_range_;
  Change();
}

void TKBDefinedType::SetMaxCardinality(std::int32_t value) {
  value = std::max(value, 0);
  if (max_cardinality_ == value) return;
  max_cardinality_ = value;
  min_cardinality_ = std::min(min_cardinality_, value);
  Change();
}

void TKBDefinedType::SetMinCardinality(std::int32_t value) {
  value = std::max(value, 0);
  if (min_cardinality_ == value) return;
  min_cardinality_ = value;
  max_cardinality_ = std::max(max_cardinality_, value);
  Change();
}

void TKBDefinedType::SetAncestor(const Ref<IKBDefinedType>& ancestor) {
  if (ancestor_ == ancestor) return;
  for (const TKBDefinedType* type = ancestor.get(); type != nullptr; type = type->ancestor_.get()) {
    if (type == this) Raise(STypeInheritanceLoop, name_);
  }
  if (ancestor && ancestor->GetReasoner() != nullptr && GetReasoner() != nullptr &&
      ancestor->GetReasoner() != GetReasoner()) {
    Raise(SForeignObject, "Type " + ancestor->name_);
  }
  ancestor_ = ancestor;
  if (ancestor_) implicit_ = false;
  Change();
}

std::optional<TValueConstraint> TKBDefinedType::KindOf(const IKBValue& value) const {
  switch (value.GetDType()) {
    case dtAtom:
      return vcAtom;
    case dtString:
      return vcString;
    case dtInteger:
      // Looked for among the floats when there are allowed floats and no allowed integers.
      return !constraints_.Has(vcInteger) && constraints_.Has(vcFloat) ? vcFloat : vcInteger;
    case dtFloat:
      if (!constraints_.Has(vcFloat) && constraints_.Has(vcInteger) &&
          value.RawFloat() == std::trunc(value.RawFloat())) {
        return vcInteger;
      }
      return vcFloat;
    default:
      return std::nullopt;
  }
}

TValueConstraint TKBDefinedType::KindOrRaise(const IKBValue& value) const {
  const std::optional<TValueConstraint> kind = KindOf(value);
  if (!kind || !constraints_.Has(*kind))
    Raise(SInvalidConstraint, name_, GetKBTypeName(value.GetDType()).substr(2));
  return *kind;
}

std::int32_t TKBDefinedType::IndexOfAllowed(const IKBValue& value, TValueConstraint kind) const {
  const auto place = [](const auto& list, const auto& matches) {
    const auto found = std::find_if(list.begin(), list.end(), matches);
    return found == list.end() ? -1 : static_cast<std::int32_t>(found - list.begin());
  };
  switch (kind) {
    case vcAtom:
      return place(atoms_, [&value](const std::string& text) { return text == value.TextView(); });
    case vcString:
      return place(strings_,
                   [&value](const std::string& text) { return text == value.TextView(); });
    case vcInteger: {
      const double number = value.GetAsNumeric();
      return place(integers_, [number](std::int32_t allowed) { return allowed == number; });
    }
    case vcFloat: {
      const double number = value.GetAsNumeric();
      return place(floats_, [number](const Ref<IKBValue>& allowed) {
        return allowed->GetAsFloat() == number;
      });
    }
  }
  return -1;
}

void TKBDefinedType::AddConstraint(const Ref<IKBValue>& value) {
  const TValueConstraint kind = KindOrRaise(Given(value, "value"));
  if (IndexOfAllowed(*value, kind) >= 0) return;
  switch (kind) {
    case vcAtom:
      atoms_.push_back(value->GetAsAtom().str());
      break;
    case vcString:
      strings_.push_back(value->GetAsString().str());
      break;
    case vcInteger:
      integers_.push_back(value->GetAsInteger());
      break;
    case vcFloat:
      floats_.push_back(value);
      break;
  }
  Change();
}

bool TKBDefinedType::IsConstraint(const IKBValue& value, TValueConstraint& kind) const {
  const std::optional<TValueConstraint> found = KindOf(value);
  if (!found) return false;
  kind = *found;
  return constraints_.Has(kind) && IndexOfAllowed(value, kind) >= 0;
}

void TKBDefinedType::RemoveConstraint(const IKBValue& value) {
  TValueConstraint kind = vcAtom;
  if (IsConstraint(value, kind)) DeleteConstraint(IndexOfAllowed(value, kind), kind);
}

void TKBDefinedType::RequireConstraint(TValueConstraint kind, std::string_view name) const {
  if (!constraints_.Has(kind)) Raise(SNoSuchConstraint, name_, name);
}

template <class TList>
static auto& AllowedAt(TList& list, std::int32_t index) {
  if (index < 0 || index >= static_cast<std::int32_t>(list.size())) Raise(SListIndexError, index);
  return list[static_cast<std::size_t>(index)];
}

void TKBDefinedType::DeleteConstraint(std::int32_t index, TValueConstraint kind) {
  static constexpr std::string_view kNames[] = {"Atom", "String", "Integer", "Float"};
  RequireConstraint(kind, kNames[kind]);
  const auto erase = [index](auto& list) {
    AllowedAt(list, index);
    list.erase(list.begin() + index);
  };
  if (kind == vcAtom) erase(atoms_);
  if (kind == vcString) erase(strings_);
  if (kind == vcInteger) erase(integers_);
  if (kind == vcFloat) erase(floats_);
  Change();
}

const std::string& TKBDefinedType::GetConstraintAtom(std::int32_t index) const {
  RequireConstraint(vcAtom, "Atom");
  return AllowedAt(atoms_, index);
}

const std::string& TKBDefinedType::GetConstraintString(std::int32_t index) const {
  RequireConstraint(vcString, "String");
  return AllowedAt(strings_, index);
}

std::int32_t TKBDefinedType::GetConstraintInteger(std::int32_t index) const {
  RequireConstraint(vcInteger, "Integer");
  return AllowedAt(integers_, index);
}

const Ref<IKBValue>& TKBDefinedType::GetConstraintFloat(std::int32_t index) const {
  RequireConstraint(vcFloat, "Float");
  return AllowedAt(floats_, index);
}

void TKBDefinedType::SetConstraints(TValueConstraints kinds) {
  if (kinds == constraints_) return;
  if (!kinds.Has(vcAtom)) atoms_.clear();
  if (!kinds.Has(vcString)) strings_.clear();
  if (!kinds.Has(vcInteger)) integers_.clear();
  if (!kinds.Has(vcFloat)) floats_.clear();
  constraints_ = kinds;
  Change();
}

void TKBDefinedType::ClearConstraints() { ClearConstraints(constraints_); }

void TKBDefinedType::ClearConstraints(TValueConstraints kinds) {
  if (!constraints_.empty()) SetConstraints(constraints_ - kinds);
}

bool TKBDefinedType::ConstraintsEqual(const TKBDefinedType& other) const {
  if (!(constraints_ == other.constraints_) || atoms_ != other.atoms_ ||
      strings_ != other.strings_ || integers_ != other.integers_ ||
      floats_.size() != other.floats_.size()) {
    return false;
  }
  for (std::size_t i = 0; i < floats_.size(); ++i) {
    if (!FloatEquals(floats_[i]->GetAsFloat(), other.floats_[i]->GetAsFloat())) return false;
  }
  return true;
}

static bool MayBecomeFuzzy(TKBType type) {
  // Terms, numbers, points and what will yield one of them; evaluated later.
  return TKBTypes{dtAtom,  dtString,  dtInteger,    dtVariable,
                  dtFloat, dtFunCall, dtSingletons, dtMultiVariable}
      .Has(type);
}

bool TKBDefinedType::IsValid(const IKBValue& value) const {
  const TKBType type = value.GetDType();
  if (type == dtList) {
    const DepthGuard guard("value");
    const IValueVector& list = *value.GetAsList();
    if (cardinality_limited_ &&
        (list.GetValueCount() < min_cardinality_ || list.GetValueCount() > max_cardinality_)) {
      return false;
    }
    return std::all_of(list.begin(), list.end(),
                       [this](const Ref<IKBValue>& member) { return !member || IsValid(*member); });
  }
  if (base_types_.Has(dtFuzzy)) {
    return type == dtFuzzy ? value.GetAsFuzzy()->GetVariable() == fuzzy_type_.get()
                           : MayBecomeFuzzy(type);
  }
  if (!(base_types_ + KBAlwaysValidTypes).Has(type)) return false;
  TValueConstraint kind = vcAtom;
  if (const auto own = KindOf(value); own && constraints_.Has(*own) && !IsConstraint(value, kind))
    return false;
  if (range_limited_ && KBNumericTypes.Has(type)) {
    const double number = value.GetAsNumeric();
    // An open end lets numbers beyond those of 32 bits pass.
    if (min_range_ != kNoMinRange && number < min_range_) return false;
    if (max_range_ != kNoMaxRange && number > max_range_) return false;
  }
  return true;
}

std::string TKBDefinedType::Wrapped(const IKBValue& value, const std::string& reason) const {
  return FillMessage(SInvalidValue, value.ToString(), reason);
}

std::string TKBDefinedType::GetInvalidValueString(const IKBValue& value) const {
  const TKBType type = value.GetDType();
  if (type == dtList) {
    const IValueVector& list = *value.GetAsList();
    if (cardinality_limited_ &&
        (list.GetValueCount() < min_cardinality_ || list.GetValueCount() > max_cardinality_)) {
      return Wrapped(value, FillMessage(SListCardinalityError, min_cardinality_, max_cardinality_));
    }
    for (const Ref<IKBValue>& member : list) {
      if (member && !IsValid(*member)) return GetInvalidValueString(*member);
    }
    return "";
  }
  if (base_types_.Has(dtFuzzy)) return Wrapped(value, std::string(SInvalidFuzzyValue.kFormat));
  if (!(base_types_ + KBAlwaysValidTypes).Has(type)) {
    return Wrapped(value, FillMessage(SNotCorrectType, UpperTypeNames(base_types_, ", "),
                                      value.ToString(), GetKBTypeName(type)));
  }
  TValueConstraint kind = vcAtom;
  if (const auto own = KindOf(value); own && constraints_.Has(*own) && !IsConstraint(value, kind)) {
    return Wrapped(value, std::string(SNotAllowedValue.kFormat));
  }
  if (!IsValid(value)) return Wrapped(value, FillMessage(SOutOfRangeError, min_range_, max_range_));
  return "";
}

Ref<IKBValue> TKBDefinedType::CreateValidDefault(bool is_multi) const {
  if (is_multi) {
    const Ref<IValueVector> list = NewVector();
    if (cardinality_limited_) {
      for (std::int32_t i = 0; i < min_cardinality_; ++i) list->Add(CreateValidDefault(false));
    }
    return NewList(list);
  }
  // The number nearest to what the range allows: 0 with open bounds, else the bound that is set.
  const auto in_range = [this]() -> double {
    if (!range_limited_) return 0;
    if (min_range_ != kNoMinRange) return min_range_;
    return max_range_ != kNoMaxRange ? max_range_ : 0;
  };
  if (fuzzy_type_) return NewFuzzy(fuzzy_type_->GetEmptySet());
  Ref<IKBValue> value = CreateEmptyValue(base_types_);
  switch (value->GetDType()) {
    case dtAtom:
      if (!value->IsConstant() && !atoms_.empty()) value->SetAsAtom(atoms_.front());
      break;
    case dtString:
      if (!strings_.empty()) value->SetAsString(strings_.front());
      break;
    case dtInteger:
      value->SetAsInteger(integers_.empty() ? TruncateToInteger(in_range()).value_or(0)
                                            : integers_.front());
      break;
    case dtFloat:
      value->SetAsFloat(floats_.empty() ? in_range() : floats_.front()->GetAsFloat());
      break;
    default:
      break;
  }
  return value;
}

void TKBDefinedType::Assign(const TKBDefinedType& source) {
  if (&source == this) return;
  BeginUpdate();
  ancestor_ = reasoner_ == source.reasoner_ ? source.ancestor_ : Ref<IKBDefinedType>();
  base_types_ = source.base_types_;
  name_ = source.name_;
  comment_ = source.comment_;
  min_range_ = source.min_range_;
  max_range_ = source.max_range_;
  range_limited_ = source.range_limited_;
  min_cardinality_ = source.min_cardinality_;
  max_cardinality_ = source.max_cardinality_;
  cardinality_limited_ = source.cardinality_limited_;
  tag_ = source.tag_;
  implicit_ = source.implicit_;
  units_ = source.units_;
  fuzzy_type_ = source.fuzzy_type_ ? source.fuzzy_type_->Clone() : Ref<IFuzzyVariable>();
  TellFuzzyType();
  constraints_ = source.constraints_;
  atoms_ = source.atoms_;
  strings_ = source.strings_;
  integers_ = source.integers_;
  floats_.clear();
  for (const Ref<IKBValue>& value : source.floats_) floats_.push_back(value->Clone());
  EndUpdate();
}

Ref<IKBDefinedType> TKBDefinedType::Clone() const {
  Ref<IKBDefinedType> clone = Make<TKBDefinedType>(GetReasoner());
  clone->Assign(*this);
  return clone;
}

bool TKBDefinedType::Equals(const ICloneable& other) const {
  const auto* type = dynamic_cast<const TKBDefinedType*>(&other);
  if (type == nullptr || name_ != type->name_ || !(base_types_ == type->base_types_)) return false;
  if (fuzzy_type_) return type->fuzzy_type_ && fuzzy_type_->Equals(*type->fuzzy_type_);
  return FloatEquals(min_range_, type->min_range_) && FloatEquals(max_range_, type->max_range_) &&
         min_cardinality_ == type->min_cardinality_ && max_cardinality_ == type->max_cardinality_ &&
         range_limited_ == type->range_limited_ &&
         cardinality_limited_ == type->cardinality_limited_ && ConstraintsEqual(*type);
}

std::string TKBDefinedType::ToString() const {
  IReasoner* reasoner = GetReasoner();
  return reasoner == nullptr ? name_ : reasoner->PrettyPrint(*this);
}

}  // namespace reasoner
