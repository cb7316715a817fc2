#include "reasoner/values/ValueVector.h"

#include <utility>

#include "reasoner/support/Depth.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TValueVector::RaiseIndexError(std::int32_t index) { Raise(SListIndexError, index); }

void TValueVector::CheckChangeable() const {
  if (constant_) Raise(SSharedConstant, ToString());
  if (frozen_) Raise(SListedValue, ToString());
}

void TValueVector::Freeze() {
  if (constant_ || frozen_) return;
  const DepthGuard guard("value");
  frozen_ = true;  // first: a list may hold itself
  for (const Ref<IKBValue>& member : *this) {
    if (member) member->Freeze();
  }
}

void TValueVector::MakeConstant() noexcept {
  constant_ = true;
  MakeImmortal();
}

Ref<TValueVector::TPlaces> TValueVector::Leave() {
  if (!shared_) return nullptr;
  std::vector<Ref<IKBValue>> cells(begin(), end());
  cells_.swap(cells);
  first_ = 0;
  return std::move(shared_);
}

void TValueVector::SetItem(std::int32_t index, const Ref<IKBValue>& value) {
  CheckChangeable();
  CheckIndex(index);
  const Ref<TPlaces> left = Leave();
  cells_[static_cast<std::size_t>(index)] = value;
}

std::int32_t TValueVector::IndexOf(const IKBValue& value) const {
  for (std::int32_t i = 0; i < GetValueCount(); ++i) {
    const Ref<IKBValue>& member = GetItem(i);
    if (member && member->Equals(value)) return i;
  }
  return -1;
}

std::int32_t TValueVector::Add(const Ref<IKBValue>& value) {
  CheckChangeable();
  const Ref<TPlaces> left = Leave();
  cells_.push_back(value);
  return GetValueCount() - 1;
}

void TValueVector::Insert(std::int32_t index, const Ref<IKBValue>& value) {
  CheckChangeable();
  if (index < 0 || index > GetValueCount()) RaiseIndexError(index);
  const Ref<TPlaces> left = Leave();
  cells_.insert(cells_.begin() + index, value);
}

void TValueVector::Delete(std::int32_t index) {
  CheckChangeable();
  const Ref<IKBValue> doomed = GetItem(index);  // ends after the list is whole again
  Leave();
  cells_.erase(cells_.begin() + index);
}

std::int32_t TValueVector::Remove(const IKBValue& value) {
  const std::int32_t index = IndexOf(value);
  if (index >= 0) Delete(index);
  return index;
}

void TValueVector::Append(const TValueVector& list) {
  CheckChangeable();
  Leave();
  const std::int32_t count = list.GetValueCount();  // the list may be this one
  for (std::int32_t i = 0; i < count; ++i) {
    const Ref<IKBValue> value = list.GetItem(i);
    cells_.push_back(value);
  }
}

void TValueVector::Clear() {
  CheckChangeable();
  const Ref<TPlaces> left = std::move(shared_);
  first_ = 0;
  std::vector<Ref<IKBValue>> doomed;
  doomed.swap(cells_);
}

void TValueVector::Reserve(std::int32_t count) {
  Leave();
  cells_.reserve(static_cast<std::size_t>(count));
}

void TValueVector::Assign(const TValueVector& source) {
  if (&source == this) return;
  CheckChangeable();
  std::vector<Ref<IKBValue>> cells;
  cells.reserve(static_cast<std::size_t>(source.GetValueCount()));
  for (const Ref<IKBValue>& value : source) cells.push_back(value ? value->Clone() : nullptr);
  const Ref<TPlaces> left = std::move(shared_);
  first_ = 0;
  cells_.swap(cells);
  tag_ = source.tag_;
}

Ref<IValueVector> TValueVector::Clone() const {
  Ref<IValueVector> clone = NewVector();
  clone->Assign(*this);
  return clone;
}

Ref<IValueVector> TValueVector::Rest() {
  Ref<IValueVector> rest = NewVector();
  rest->tag_ = tag_;
  if (GetValueCount() <= 1) return rest;
  if (first_ + 1 > Cells().size() / 2) Leave();
  if (!shared_) {
    shared_ = Make<TPlaces>();
    shared_->cells.swap(cells_);
  }
  rest->shared_ = shared_;
  rest->first_ = first_ + 1;
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
