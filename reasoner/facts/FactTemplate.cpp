#include "reasoner/facts/FactTemplate.h"

#include <algorithm>
#include <atomic>

#include "reasoner/facts/Fact.h"
#include "reasoner/support/Component.h"
#include "reasoner/support/Streams.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

static std::uint64_t NewLayout() {
  static std::atomic<std::uint64_t> last{0};
  return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

// Names sort without case, those that differ in case alone by their exact text: a stable order for
// every table.
static bool NameLess(std::string_view a, std::string_view b) {
  const std::string folded_a = AsciiLower(a);
  const std::string folded_b = AsciiLower(b);
  return folded_a != folded_b ? folded_a < folded_b : a < b;
}

TFactTemplate::TFactTemplate(TComponent* owner, std::string_view name, std::string_view comment,
                             const Ref<IFactTemplate>& parent)
    : layout_(NewLayout()) {
  if (auto* reasoner = dynamic_cast<IReasoner*>(owner)) {
    reasoner_ = reasoner->GetLink();
  } else {
    owner_ = owner;
  }
  if (parent) {
    backward_chaining_ = parent->backward_chaining_;
    for (const Ref<IFactSlot>& slot : parent->GetSlots()) AddSlot(*slot);
    if (OwnedAlike(*parent)) parent_ = parent;
  }
  template_name_ = name;
  comment_ = comment;
}

TFactTemplate::~TFactTemplate() {
  for (const Ref<IFactSlot>& slot : slots_) {
    if (slot) slot->template_ = nullptr;
  }
}

TComponent* TFactTemplate::GetOwner() const noexcept {
  if (IReasoner* reasoner = GetReasoner()) return &reasoner->AsComponent();
  return owner_;
}

void TFactTemplate::SetTemplateName(std::string_view name) {
  if (name == template_name_) return;
  CheckConstructName(name);
  IReasoner* const reasoner = GetReasoner();
  const Ref<IFactTemplate> self(this);
  if (reasoner == nullptr || reasoner->FindFactTemplate(template_name_) != self) {
    template_name_ = name;
    return LayoutChanged();
  }
  // The engine takes the template off its list, which leads here again for the name itself.
  reasoner->ChangeFactTemplateName(template_name_, name);
}

void TFactTemplate::SetParent(const Ref<IFactTemplate>& parent) {
  for (const TFactTemplate* ancestor = parent.get(); ancestor != nullptr;
       ancestor = ancestor->parent_.get()) {
    if (ancestor == this) Raise(SFactTemplateInheritanceCorrupt);
  }
  if (parent && parent->GetReasoner() != nullptr && GetReasoner() != nullptr &&
      parent->GetReasoner() != GetReasoner()) {
    Raise(SForeignObject, "Template " + parent->template_name_);
  }
  parent_ = parent;
  layout_ = NewLayout();  // what this template descends from is looked up by layout, too
}

bool TFactTemplate::DescendsFrom(std::string_view name) const {
  for (const TFactTemplate* ancestor = this; ancestor != nullptr;
       ancestor = ancestor->parent_.get()) {
    if (ancestor->template_name_ == name) return true;
  }
  return false;
}

bool TFactTemplate::FindFuzzy() const {
  fuzzy_ = std::any_of(slots_.begin(), slots_.end(),
                       [](const Ref<IFactSlot>& slot) { return slot && slot->IsFuzzy(); });
  fuzzy_stale_ = false;
  return fuzzy_;
}

std::int32_t TFactTemplate::OrdinalOf(std::string_view name) const noexcept {
  // Few slots: a look at each name beats a search.
  for (const std::int32_t ordinal : sorted_) {
    if (slots_[static_cast<std::size_t>(ordinal)]->GetName() == name) return ordinal;
  }
  return -1;
}

IFactSlot* TFactTemplate::FindSlot(std::string_view name) const {
  const std::int32_t ordinal = OrdinalOf(name);
  return ordinal < 0 ? nullptr : SlotAt(ordinal);
}

const Ref<IFactSlot>& TFactTemplate::GetSlot(std::string_view name) const {
  const std::int32_t ordinal = OrdinalOf(name);
  if (ordinal < 0) Raise(SInvalidSlotName, name);
  return slots_[static_cast<std::size_t>(ordinal)];
}

void TFactTemplate::LayoutChanged() {
  layout_ = NewLayout();
  hash_stale_ = true;
  fuzzy_stale_ = true;
}

void TFactTemplate::InsertSorted(std::int32_t ordinal) {
  const std::string_view name = SlotAt(ordinal)->GetName();
  const auto place = std::find_if(sorted_.begin(), sorted_.end(), [this, name](std::int32_t other) {
    return NameLess(name, SlotAt(other)->GetName());
  });
  sorted_.insert(place, ordinal);
}

void TFactTemplate::RemoveOrdinal(std::int32_t ordinal) {
  const Ref<IFactSlot> slot = std::move(slots_[static_cast<std::size_t>(ordinal)]);
  sorted_.erase(std::find(sorted_.begin(), sorted_.end(), ordinal));
  slot->template_ = nullptr;
}

void TFactTemplate::SettleOrdered() {
  ordered_ = sorted_.size() < 2 && ContainsSlot(SDefaultSlotName);
}

// Enters a slot under its new name. The slot itself stores the name afterwards, so it is set here
// for the sorting.
void TFactTemplate::NewSlotName(IFactSlot& slot, const Text& name) {
  const Ref<IFactSlot> kept(&slot);
  std::int32_t ordinal = -1;
  for (std::int32_t i = 0; i < GetOrdinalCount(); ++i) {
    if (SlotAt(i) == &slot) ordinal = i;
  }
  const std::int32_t taken = OrdinalOf(name);
  if (taken >= 0) {
    // The slot that has the name gives way; the new one takes its place unless it has one already.
    slots_[static_cast<std::size_t>(taken)]->template_ = nullptr;
    if (ordinal < 0) {
      slots_[static_cast<std::size_t>(taken)] = kept;
      slot.name_ = name;
      SettleOrdered();
      return LayoutChanged();
    }
    sorted_.erase(std::find(sorted_.begin(), sorted_.end(), taken));
    slots_[static_cast<std::size_t>(taken)] = nullptr;
  }
  if (ordinal < 0) {
    slots_.push_back(kept);
    ordinal = GetOrdinalCount() - 1;
  } else {
    sorted_.erase(std::find(sorted_.begin(), sorted_.end(), ordinal));
  }
  slot.name_ = name;
  InsertSorted(ordinal);
  SettleOrdered();
  LayoutChanged();
}

void TFactTemplate::SetSlot(std::string_view name, const Ref<IFactSlot>& slot) {
  if (!(Given(slot, "slot").GetName() == name))
    Raise(SNoIndexNameMatch, name, slot->GetName().view());
  const std::int32_t ordinal = OrdinalOf(name);
  if (ordinal < 0) Raise(SInvalidSlotName, name);
  Ref<IFactSlot>& place = slots_[static_cast<std::size_t>(ordinal)];
  if (place == slot) return;
  if (slot->template_ != nullptr && slot->template_ != this) return AddSlot(*slot);  // a copy
  place->template_ = nullptr;
  place = slot;
  slot->template_ = this;
  LayoutChanged();
}

void TFactTemplate::AddCheckedSlot(std::string_view name, const Ref<IKBValue>& slot_default,
                                   TKBTypes types) {
  const Ref<IFactSlot> slot = Make<TFactSlot>(this);
  slot->SetSlotType(types);
  slot->SetSlotDefault(slot_default);
  slot->SetName(name);
}

void TFactTemplate::AddSlot(std::string_view name, const Ref<IKBValue>& slot_default) {
  if (!slot_default) Raise(SBadSlotType);
  if (slot_default->GetDType() == dtList) Raise(SInvalidSlotDefault, slot_default->ToString());
  if (IFactSlot* slot = FindSlot(name)) {
    const Ref<IKBValue>& old = slot->GetSlotDefault();
    if (old && old->GetDType() == dtList) Raise(SInvalidExistingMultiSlotChange);
    return slot->SetSlotDefault(slot_default);
  }
  AddCheckedSlot(name, slot_default, KBSlotTypes);
}

void TFactTemplate::AddMultiSlot(std::string_view name, const Ref<IKBValue>& slot_default) {
  if (!slot_default) Raise(SBadSlotType);
  if (slot_default->GetDType() != dtList) {
    Raise(SInvalidDefaultMultislotValue, slot_default->GetAsString().view());
  }
  if (Trim(name).empty()) Raise(SBadSlotName, name);
  if (IFactSlot* slot = FindSlot(name)) {
    const Ref<IKBValue>& old = slot->GetSlotDefault();
    if (!old || old->GetDType() != dtList) Raise(SInvalidExistingSlotChange);
    return slot->SetSlotDefault(slot_default);
  }
  AddCheckedSlot(name, slot_default, KBSlotTypes + KBMultiSlotTypes);
}

void TFactTemplate::AddSlot(const IFactSlot& slot) {
  const Ref<IFactSlot> copy = Make<TFactSlot>(this);
  copy->Assign(slot);
}

void TFactTemplate::RemoveSlot(std::string_view name) {
  const std::int32_t ordinal = OrdinalOf(name);
  if (ordinal < 0) Raise(SInvalidSlotName, name);
  RemoveOrdinal(ordinal);
  LayoutChanged();
}

void TFactTemplate::ClearSlots() {
  while (!sorted_.empty()) RemoveOrdinal(sorted_.back());
  LayoutChanged();
}

IFactSlot* TFactTemplate::FindSlotOfType(const IKBDefinedType& type) const {
  for (const Ref<IFactSlot>& slot : slots_) {
    if (slot && slot->GetExtendedTypeInfo() == &type) return slot.get();
  }
  return nullptr;
}

std::vector<Ref<IFactSlot>> TFactTemplate::GetSlots() const {
  std::vector<Ref<IFactSlot>> slots;
  for (const Ref<IFactSlot>& slot : slots_) {
    if (slot) slots.push_back(slot);
  }
  return slots;
}

std::vector<Text> TFactTemplate::GetSlotNames() const {
  std::vector<Text> names;
  for (const std::int32_t ordinal : sorted_) names.push_back(SlotAt(ordinal)->GetName());
  return names;
}

Ref<IFact> TFactTemplate::NewFact() {
  Ref<IFact> fact = Make<TFact>(Ref<IFactTemplate>(this));
  FillFactWithDefaults(*fact);
  return fact;
}

void TFactTemplate::FillFactWithDefaults(IFact& fact) {
  if (!fact.GetTemplate()) Raise(SNoTemplate);
  if (fact.GetTemplate() != this) {
    Raise(SFactTemplatesDifferent, fact.GetTemplate()->GetTemplateName(), template_name_);
  }
  const Ref<IFactTemplate> kept(this);  // a dynamic default may redefine the template
  for (const Text& name : GetSlotNames()) {
    IFactSlot* slot = FindSlot(name);
    if (slot == nullptr || !slot->GetSlotDefault()) continue;
    Ref<IKBValue> value = Make<TKBValue>();
    value->AssignCopy(*slot->GetSlotDefault());
    if (slot->GetSlotDefault()->IsNilLike()) value = slot->GetSlotDefault()->Clone();
    IReasoner* reasoner = GetReasoner();
    if (slot->IsDefaultDynamic() && reasoner != nullptr) {
      value = slot->IsFuzzy() ? slot->EvalFuzzyValue(*reasoner, value, reasoner->GetContext())
                              : reasoner->ResolveInContext(value);
    }
    fact.SetValue(name, value);
  }
}

void TFactTemplate::Assign(const TFactTemplate& source) {
  if (&source == this) return;
  backward_chaining_ = source.backward_chaining_;
  comment_ = source.comment_;
  SetTemplateName(source.template_name_);
  parent_ = source.parent_ && source.parent_->GetOwner() == GetOwner() ? source.parent_
                                                                       : Ref<IFactTemplate>();
  ClearSlots();
  for (const Ref<IFactSlot>& slot : source.GetSlots()) AddSlot(*slot);
  ordered_ = source.ordered_;
}

Ref<IFactTemplate> TFactTemplate::Clone(TComponent* owner) const {
  Ref<IFactTemplate> clone = Make<TFactTemplate>(owner);
  clone->Assign(*this);
  return clone;
}

Ref<IFactTemplate> TFactTemplate::Clone() const { return Clone(GetOwner()); }

bool TFactTemplate::Equals(const ICloneable& other) const {
  if (this == &other) return true;
  const auto* fact_template = dynamic_cast<const TFactTemplate*>(&other);
  if (fact_template == nullptr || ordered_ != fact_template->ordered_ ||
      template_name_ != fact_template->template_name_) {
    return false;
  }
  return std::all_of(slots_.begin(), slots_.end(), [fact_template](const Ref<IFactSlot>& slot) {
    if (!slot) return true;
    const IFactSlot* namesake = fact_template->FindSlot(slot->GetName());
    return namesake != nullptr && slot->Equals(*namesake);
  });
}

std::uint32_t TFactTemplate::GetHashCode() const {
  if (hash_stale_) {
    TextHasher hasher;
    hasher.Append(template_name_);
    for (const std::int32_t ordinal : sorted_) {
      hasher.Append(SlotAt(ordinal)->GetName());
      hasher.Append(NewLineString);
    }
    hash_ = hasher.Get();
    hash_stale_ = false;
  }
  return hash_;
}

std::string TFactTemplate::ToString() const {
  IReasoner* reasoner = GetReasoner();
  return reasoner == nullptr ? template_name_ : reasoner->PrettyPrint(*this);
}

}  // namespace reasoner
