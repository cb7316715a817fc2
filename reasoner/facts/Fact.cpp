#include "reasoner/facts/Fact.h"

#include <algorithm>
#include <charconv>
#include <new>

#include "reasoner/support/Depth.h"
#include "reasoner/support/Format.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// A cell for a fact of its own: lists are not shared with the source.
static Ref<IKBValue> OwnCopy(const IKBValue& value) {
  if (value.GetDType() != dtList) return value.Clone();
  Ref<IKBValue> copy = Make<TKBValue>();
  copy->AssignCopy(value);
  return copy;
}

TFact::TFact(Ref<IFactTemplate> fact_template, const TFact* source)
    : template_(std::move(fact_template)) {
  if (source == nullptr) return;
  if (template_ != source->template_) {
    Assign(*source);
    return;
  }
  for (std::int32_t i = 0; template_ && i < source->capacity_; ++i) {
    if (!source->values_[i]) continue;
    Grow(template_->GetOrdinalCount());
    if (i < capacity_) values_[i] = OwnCopy(*source->values_[i]);
  }
  id_ = source->id_;
  tag_ = source->tag_;
}

TFact::~TFact() { ClearValues(); }

void TFact::ClearValues() noexcept {
  Ref<IKBValue>* values = values_;
  const std::int32_t capacity = capacity_;
  values_ = nullptr;
  capacity_ = 0;
  for (std::int32_t i = 0; i < capacity; ++i) values[i].~Ref();
  if (values != nullptr)
    PoolFree(values, static_cast<std::size_t>(capacity) * sizeof(Ref<IKBValue>));
}

void TFact::Grow(std::int32_t count) {
  if (count <= capacity_) return;
  auto* values = static_cast<Ref<IKBValue>*>(
      PoolAllocate(static_cast<std::size_t>(count) * sizeof(Ref<IKBValue>)));
  for (std::int32_t i = 0; i < count; ++i) {
    new (values + i) Ref<IKBValue>(i < capacity_ ? std::move(values_[i]) : Ref<IKBValue>());
  }
  ClearValues();
  values_ = values;
  capacity_ = count;
}

IFactTemplate& TFact::RequireTemplate() const {
  if (!template_) Raise(SNoTemplate);
  return *template_;
}

std::int32_t TFact::RequireOrdinal(std::string_view name) const {
  const std::int32_t ordinal = RequireTemplate().OrdinalOf(name);
  if (ordinal < 0) Raise(SInvalidSlotName, name);
  return ordinal;
}

void TFact::SetID(TFactId id) {
  if (id != id_ && listed_) Raise(SCannotChangeID);
  id_ = id;
}

void TFact::EnterList() {
  for (std::int32_t i = 0; i < capacity_; ++i) {
    if (values_[i]) values_[i]->Freeze();
  }
  listed_ = true;
}

void TFact::RequireUnlisted() const {
  if (listed_) Raise(SListedFact, ToIDString());
}

const Ref<IKBValue>& TFact::GetValue(std::string_view name) {
  const std::int32_t ordinal = RequireOrdinal(name);
  const Ref<IKBValue>& value = GetValueAt(ordinal);
  if (!listed_ && value->IsFrozen()) values_[ordinal] = OwnCopy(*value);
  return value;
}

const Ref<IKBValue>& TFact::GetValueAt(std::int32_t ordinal) {
  if (!HasValueAt(ordinal)) {
    Grow(template_->GetOrdinalCount());
    const IFactSlot* slot = template_->SlotAt(ordinal);
    const Ref<IKBValue>& slot_default = slot->GetSlotDefault();
    values_[ordinal] = slot_default ? OwnCopy(*slot_default) : Ref<IKBValue>(FCNil);
    if (listed_) values_[ordinal]->Freeze();
  }
  return values_[ordinal];
}

void TFact::PutValueAt(std::int32_t ordinal, Ref<IKBValue> value) {
  RequireUnlisted();
  Grow(template_->GetOrdinalCount());
  values_[ordinal] = std::move(value);
}

const IKBValue* TFact::PeekAt(std::int32_t ordinal) const noexcept {
  if (HasValueAt(ordinal)) return values_[ordinal].get();
  const IFactSlot* slot = template_->SlotAt(ordinal);
  const IKBValue* slot_default = slot == nullptr ? nullptr : slot->GetSlotDefault().get();
  return slot_default == nullptr ? FCNil.get() : slot_default;
}

Ref<IKBValue> TFact::ContainsKey(std::string_view name) {
  return RequireTemplate().ContainsSlot(name) ? GetValue(name) : Ref<IKBValue>();
}

std::vector<Text> TFact::GetSlotNames() const {
  std::vector<Text> names;
  if (!template_) return names;
  for (const std::int32_t ordinal : template_->SortedOrdinals()) {
    if (HasValueAt(ordinal)) names.push_back(template_->SlotAt(ordinal)->GetName());
  }
  return names;
}

// A text that a fuzzy slot is to read; nil is no text.
static bool IsFuzzyText(const IKBValue& value) {
  return TKBTypes{dtAtom, dtString}.Has(value.GetDType()) && !value.IsNilLike() &&
         !IsValueConstant(value);
}

static bool HasPlainMeaning(const IFactTemplate& fact_template) {
  const IReasoner* reasoner = fact_template.GetReasoner();
  return reasoner == nullptr || reasoner->GetLink()->textbook_semantics;
}

// Whether the value is or may hold a number of another type than the slot takes.
static bool MayNeedFitting(const IKBValue& value, const IFactSlot& slot) {
  const TKBTypes types = slot.GetSlotType();
  switch (value.GetDType()) {
    case dtInteger:
      return types.Has(dtFloat) && !types.Has(dtInteger);
    case dtFloat:
      return types.Has(dtInteger) && !types.Has(dtFloat);
    case dtList:
      return types.Has(dtFloat) != types.Has(dtInteger);
    default:
      return false;
  }
}

void TFact::FitToSlots() {
  if (!template_ || listed_) return;
  for (const std::int32_t ordinal : template_->SortedOrdinals()) {
    const IFactSlot& slot = *template_->SlotAt(ordinal);
    const IKBValue& held = *PeekAt(ordinal);
    if (!MayNeedFitting(held, slot)) continue;
    Ref<IKBValue> value = HasValueAt(ordinal) ? values_[ordinal] : slot.GetSlotDefault();
    FitNumbers(value, slot.GetSlotType(), HasPlainMeaning(*template_));
    if (value.get() == &held) continue;
    Grow(template_->GetOrdinalCount());
    values_[ordinal] = std::move(value);
  }
}

void TFact::SetValue(std::string_view name, const Ref<IKBValue>& value) {
  const std::int32_t ordinal = RequireOrdinal(name);
  RequireUnlisted();
  Ref<IKBValue> kept = value ? value : Ref<IKBValue>(FCNil);
  // A cell of a listed fact, which a conversion would write to, stays as it is.
  const auto convertible = [&kept]() -> IKBValue& {
    if (kept->IsFrozen()) kept = kept->Clone();
    return *kept;
  };
  const IReasoner* reasoner = template_->GetReasoner();
  const bool checks = reasoner != nullptr && reasoner->GetTypeChecks().Has(tcDynamic);
  if (const IFactSlot& slot = *template_->SlotAt(ordinal); MayNeedFitting(*kept, slot)) {
    Ref<IKBValue> fitting = kept;
    FitNumbers(fitting, slot.GetSlotType(), HasPlainMeaning(*template_));
    if (checks && fitting != kept && fitting->GetDType() == dtFloat && !IsValueConstant(*kept)) {
      convertible().SetAsFloat(fitting->RawFloat());
    } else {
      kept = std::move(fitting);
    }
  }
  if (checks) {
    const Ref<IFactSlot> slot(template_->SlotAt(ordinal));
    if (IFuzzyVariable* const variable = slot->IsFuzzy() ? slot->GetFuzzyVariable() : nullptr;
        variable != nullptr && IsFuzzyText(*kept)) {
      convertible().SetAsFuzzy(variable->EvalFuzzyExpression(kept->TextView()));
    }
    if (!slot->IsValid(kept.get())) throw EKBException(slot->GetInvalidValueString(*kept));
  }
  Grow(template_->GetOrdinalCount());
  values_[ordinal] = std::move(kept);
}

void TFact::SetTemplate(const Ref<IFactTemplate>& fact_template) {
  if (fact_template == template_) return;
  RequireUnlisted();
  const Ref<IFactTemplate> old = template_;
  std::vector<std::pair<Text, Ref<IKBValue>>> kept;
  if (old && fact_template) {
    for (const Text& name : GetSlotNames()) kept.emplace_back(name, values_[old->OrdinalOf(name)]);
  }
  ClearValues();
  template_ = fact_template;
  if (!template_) return;
  Grow(template_->GetOrdinalCount());
  for (auto& [name, value] : kept) {
    if (const std::int32_t ordinal = template_->OrdinalOf(name); ordinal >= 0)
      values_[ordinal] = std::move(value);
  }
  for (const std::int32_t ordinal : template_->SortedOrdinals()) GetValueAt(ordinal);
}

void TFact::AssignValues(const TFact& source) {
  if (!template_ || !source.template_) Raise(SNoTemplate);
  if (template_ != source.template_) {
    Raise(SFactTemplatesDifferent, template_->GetTemplateName(),
          source.template_->GetTemplateName());
  }
  if (&source == this) return;
  RequireUnlisted();
  ClearValues();
  Grow(template_->GetOrdinalCount());
  for (const std::int32_t ordinal : template_->SortedOrdinals()) {
    if (source.HasValueAt(ordinal)) values_[ordinal] = OwnCopy(*source.values_[ordinal]);
  }
}

void TFact::Assign(const TFact& source) {
  if (&source == this) return;
  RequireUnlisted();
  if (template_ && source.template_ && template_ != source.template_ &&
      template_->GetOwner() != source.template_->GetOwner()) {
    AssignCrossing(source);
  } else {
    const Ref<IFactTemplate> taken = source.template_;
    ClearValues();
    template_ = taken;
    if (template_) AssignValues(source);
  }
  id_ = source.id_;
  tag_ = source.tag_;
}

// From a fact of another engine: what belongs to that engine comes over by its text, all else as a
// copy, to which nothing can happen on the way.
void TFact::AssignCrossing(const TFact& source) {
  IReasoner* const reasoner = template_->GetReasoner();
  if (reasoner == nullptr) Raise(SUnknownEngine);
  const IFactTemplate& source_template = *source.template_;
  Ref<IFactTemplate> own = reasoner->FindFactTemplate(source_template.GetTemplateName());
  if (!own) {
    own = source_template.Clone(template_->GetOwner());
    reasoner->EnterTemplate(own);
  }
  const Ref<IFact> fact = Make<TFact>(own);
  for (const std::int32_t ordinal : source_template.SortedOrdinals()) {
    if (!source.HasValueAt(ordinal)) continue;
    const Text& name = source_template.SlotAt(ordinal)->GetName();
    const IKBValue& value = *source.PeekAt(ordinal);
    const IFactSlot* const slot = own->FindSlot(name);
    if (slot == nullptr) {
      if (value.ToString().empty()) continue;
      Raise(SInvalidSlotName, name.view());
    }
    if (slot->IsFuzzy() || value.GetDType() == dtFuzzy) {
      fact->SetValue(name, slot->TakeFuzzyValue(value, source_template.SlotAt(ordinal)));
      continue;
    }
    fact->SetValue(name, KBReparseTypes.Has(value.GetDType())
                             ? reasoner->ParseSlotValueText(value.ToString(), *slot)
                             : value.Clone());
  }
  ClearValues();
  template_ = own;
  AssignValues(*fact);
}

Ref<IFact> TFact::Clone() { return Make<TFact>(template_, this); }

Ref<IFact> TFact::CloneWith(std::int32_t ordinal, Ref<IKBValue> value) {
  Ref<IFact> clone = Make<TFact>(template_);
  clone->Grow(template_->GetOrdinalCount());
  for (std::int32_t i = 0; i < capacity_; ++i) clone->values_[i] = values_[i];
  clone->values_[ordinal] = std::move(value);
  clone->id_ = id_;
  clone->tag_ = tag_;
  clone->listed_ = listed_;  // it shares the cells
  return clone;
}

bool TFact::Equals(const ICloneable& other) const {
  if (this == &other) return true;
  const auto* fact = dynamic_cast<const TFact*>(&other);
  return fact != nullptr && EqualsFact(*fact);
}

bool TFact::EqualsFact(const TFact& other) const {
  if (this == &other) return true;
  if (template_ != other.template_) return false;
  if (!template_) return true;
  for (const std::int32_t ordinal : template_->SortedOrdinals()) {
    if (template_->SlotAt(ordinal)->IsFuzzy()) continue;
    if (!PeekAt(ordinal)->Equals(*other.PeekAt(ordinal))) return false;
  }
  return true;
}

// The printed form of a value goes into the hash in pieces; only what prints by a longer road is
// built first.
static void HashText(TextHasher& hasher, const IKBValue& value) {
  switch (value.GetDType()) {
    case dtNone:
      return;
    case dtAtom:
    case dtSlot:
    case dtMultiSlot:
      hasher.Append(value.TextView());
      return;
    case dtInteger: {
      char digits[16];
      const auto end = std::to_chars(digits, digits + sizeof(digits), value.RawInteger());
      hasher.Append(std::string_view(digits, static_cast<std::size_t>(end.ptr - digits)));
      return;
    }
    case dtString:
      if (value.TextView().find_first_of("\\\"") == std::string_view::npos) {
        hasher.Append("\"");
        hasher.Append(value.TextView());
        hasher.Append("\"");
        return;
      }
      hasher.Append(value.ToString());
      return;
    case dtList: {
      const DepthGuard guard("value");
      for (const Ref<IKBValue>& member : *value.GetAsList()) {
        if (member) HashText(hasher, *member);
        hasher.Append(" ");
      }
      return;
    }
    default:
      hasher.Append(value.ToString());
  }
}

std::uint32_t TFact::GetHashCode() const {
  TextHasher hasher;
  if (!template_) return 0;
  for (const std::int32_t ordinal : template_->SortedOrdinals()) HashText(hasher, *PeekAt(ordinal));
  return template_->GetHashCode() * 31 + hasher.Get();
}

std::uint32_t TFact::GetCrispHash() const {
  TextHasher hasher;
  if (!template_) return 0;
  for (const std::int32_t ordinal : template_->SortedOrdinals()) {
    if (!template_->SlotAt(ordinal)->IsFuzzy()) HashText(hasher, *PeekAt(ordinal));
  }
  return template_->GetHashCode() * 31 + hasher.Get();
}

// In the plain meaning a list shows its members nil, which print as nothing elsewhere.
static void AppendShown(std::string& text, const IKBValue& value, bool plain) {
  if (!plain || value.GetDType() != dtList) return value.AppendTo(text);
  for (const Ref<IKBValue>& member : *value.GetAsList()) {
    const std::size_t before = text.size();
    if (member) member->AppendTo(text);
    text += text.size() == before ? "nil " : " ";
  }
}

std::string FactToText(const IFact& fact) {
  const DepthGuard guard("fact");
  if (!fact.GetTemplate()) return "()";
  const IFactTemplate& fact_template = *fact.GetTemplate();
  std::string text = "(" + fact_template.GetTemplateName();
  std::string value;
  for (const std::int32_t ordinal : fact_template.SortedOrdinals()) {
    value.clear();
    AppendShown(value, *fact.PeekAt(ordinal), HasPlainMeaning(fact_template));
    if (value.empty()) continue;
    if (fact_template.IsOrdered()) {
      text += " " + value;
    } else {
      text += " (" + fact_template.SlotAt(ordinal)->GetName().str() + " " + value + ")";
    }
  }
  text += ')';
  return text;
}

std::string TFact::ToString() const {
  IReasoner* reasoner = template_ ? template_->GetReasoner() : nullptr;
  return reasoner == nullptr ? FactToText(*this) : reasoner->PrettyPrint(*this);
}

std::string TFact::ToIDString() const {
  const IReasoner* reasoner = template_ ? template_->GetReasoner() : nullptr;
  std::string id = IntegerToText(id_);
  if (reasoner != nullptr) {
    const std::size_t width = IntegerToText(reasoner->GetNextFactId()).size();
    const std::size_t sign = id_ < 0 ? 1 : 0;
    while (id.size() < width + sign) id.insert(sign, 1, '0');
  }
  return "f-" + id + " " + ToString();
}

// The cell's side of facts: it holds them, and this floor knows what they are.

IFact* TKBValue::GetAsFact() const { return static_cast<IFact*>(SharedOf(dtFact, "fact")); }

void TKBValue::SetAsFact(const Ref<IFact>& fact) { SetShared(fact, dtFact); }

Ref<IKBValue> NewFactValue(const Ref<IFact>& fact) {
  Ref<IKBValue> value = Make<TKBValue>();
  value->SetAsFact(fact);
  return value;
}

}  // namespace reasoner
