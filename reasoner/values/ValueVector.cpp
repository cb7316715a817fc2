#include "reasoner/values/ValueVector.h"

#include <utility>

#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TValueVector::RaiseIndexError(std::int32_t index) { Raise(SListIndexError, index); }

void TValueVector::CheckChangeable() const {
  if (constant_) Raise(SSharedConstant, ToString());
}

void TValueVector::MakeConstant() noexcept {
  constant_ = true;
  MakeImmortal();
}

void TValueVector::MoveToNewPlaces() {
  const Ref<TPlaces> places = Make<TPlaces>();
  places->cells.assign(begin(), end());
  places_ = places;
  first_ = 0;
}

std::vector<Ref<IKBValue>>& TValueVector::Own() {
  CheckChangeable();
  if (!places_ || first_ > 0 || places_->GetRefCount() > 1) MoveToNewPlaces();
  return places_->cells;
}

void TValueVector::SetItem(std::int32_t index, const Ref<IKBValue>& value) {
  CheckChangeable();
  CheckIndex(index);
  Ref<IKBValue> kept = value;  // it may lie in the places that this list is to leave
  std::swap(Own()[static_cast<std::size_t>(index)], kept);
}

std::int32_t TValueVector::IndexOf(const IKBValue& value) const {
  for (std::int32_t i = 0; i < GetValueCount(); ++i) {
    const Ref<IKBValue>& member = GetItem(i);
    if (member && member->Equals(value)) return i;
  }
  return -1;
}

std::int32_t TValueVector::Add(const Ref<IKBValue>& value) {
  Ref<IKBValue> kept = value;
  Own().push_back(std::move(kept));
  return GetValueCount() - 1;
}

void TValueVector::Insert(std::int32_t index, const Ref<IKBValue>& value) {
  CheckChangeable();
  if (index < 0 || index > GetValueCount()) RaiseIndexError(index);
  Ref<IKBValue> kept = value;
  std::vector<Ref<IKBValue>>& cells = Own();
  cells.insert(cells.begin() + index, std::move(kept));
}

void TValueVector::Delete(std::int32_t index) {
  CheckChangeable();
  const Ref<IKBValue> doomed = GetItem(index);  // ends after the list is whole again
  std::vector<Ref<IKBValue>>& cells = Own();
  cells.erase(cells.begin() + index);
}

std::int32_t TValueVector::Remove(const IKBValue& value) {
  const std::int32_t index = IndexOf(value);
  if (index >= 0) Delete(index);
  return index;
}

void TValueVector::Append(const TValueVector& list) {
  std::vector<Ref<IKBValue>>& cells = Own();
  const std::int32_t count = list.GetValueCount();  // the list may be this one
  for (std::int32_t i = 0; i < count; ++i) {
    Ref<IKBValue> kept = list.GetItem(i);
    cells.push_back(std::move(kept));
  }
}

void TValueVector::Clear() {
  CheckChangeable();
  const Ref<TPlaces> doomed = std::move(places_);
  first_ = 0;
}

void TValueVector::Reserve(std::int32_t count) {
  if (count > GetValueCount()) Own().reserve(static_cast<std::size_t>(count));
}

void TValueVector::Assign(const TValueVector& source) {
  if (&source == this) return;
  CheckChangeable();
  const Ref<TPlaces> places = Make<TPlaces>();
  places->cells.reserve(static_cast<std::size_t>(source.GetValueCount()));
  for (const Ref<IKBValue>& value : source)
    places->cells.push_back(value ? value->Clone() : nullptr);
  places_ = places;
  first_ = 0;
  tag_ = source.tag_;
}

Ref<IValueVector> TValueVector::Clone() const {
  Ref<IValueVector> clone = NewVector();
  clone->Assign(*this);
  return clone;
}

Ref<IValueVector> TValueVector::Rest() {
  Ref<IValueVector> rest = NewVector();
  if (GetValueCount() <= 1) return rest;
  if (first_ + 1 > places_->cells.size() / 2 && first_ > 0) MoveToNewPlaces();
  rest->places_ = places_;
  rest->first_ = first_ + 1;
  rest->tag_ = tag_;
  return rest;
}

bool TValueVector::Equals(const ICloneable& other) const {
  const auto* list = dynamic_cast<const TValueVector*>(&other);
  return list != nullptr && EqualsList(*list);
}

bool TValueVector::EqualsList(const TValueVector& other) const {
  if (this == &other) return true;
  if (GetValueCount() != other.GetValueCount()) return false;
  for (std::int32_t i = 0; i < GetValueCount(); ++i) {
    const IKBValue* a = GetItem(i).get();
    const IKBValue* b = other.GetItem(i).get();
    if ((a == nullptr) != (b == nullptr)) return false;
    if (a != nullptr && !a->Equals(*b)) return false;
  }
  return true;
}

std::uint32_t TValueVector::GetHashCode() const {
  std::uint32_t hash = 0;
  for (const Ref<IKBValue>& value : *this) {
    if (value) hash += value->GetHashCode();
  }
  return hash;
}

void TValueVector::AppendTo(std::string& text) const {
  for (const Ref<IKBValue>& value : *this) {
    if (value) value->AppendTo(text);
    text += ' ';
  }
}

std::string TValueVector::ToString() const {
  std::string text;
  AppendTo(text);
  return text;
}

}  // namespace reasoner
