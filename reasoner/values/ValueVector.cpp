#include "reasoner/values/ValueVector.h"

#include "reasoner/support/Depth.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

std::size_t TValueVector::Checked(std::int32_t index) const {
  if (index < 0 || index >= GetValueCount()) Raise(SListIndexError, index);
  return static_cast<std::size_t>(index);
}

void TValueVector::CheckChangeable() const {
  if (constant_) Raise(SSharedConstant, ToString());
}

void TValueVector::MakeConstant() noexcept {
  constant_ = true;
  MakeImmortal();
}

void TValueVector::SetItem(std::int32_t index, const Ref<IKBValue>& value) {
  CheckChangeable();
  values_[Checked(index)] = value;
}

std::int32_t TValueVector::IndexOf(const IKBValue& value) const {
  for (std::int32_t i = 0; i < GetValueCount(); ++i) {
    const Ref<IKBValue>& member = values_[static_cast<std::size_t>(i)];
    if (member && member->Equals(value)) return i;
  }
  return -1;
}

std::int32_t TValueVector::Add(const Ref<IKBValue>& value) {
  CheckChangeable();
  values_.push_back(value);
  return GetValueCount() - 1;
}

void TValueVector::Insert(std::int32_t index, const Ref<IKBValue>& value) {
  CheckChangeable();
  if (index < 0 || index > GetValueCount()) Raise(SListIndexError, index);
  values_.insert(values_.begin() + index, value);
}

void TValueVector::Delete(std::int32_t index) {
  CheckChangeable();
  const Ref<IKBValue> doomed = values_[Checked(index)];  // ends after the list is whole again
  values_.erase(values_.begin() + index);
}

std::int32_t TValueVector::Remove(const IKBValue& value) {
  const std::int32_t index = IndexOf(value);
  if (index >= 0) Delete(index);
  return index;
}

void TValueVector::Append(const TValueVector& list) {
  CheckChangeable();
  const std::size_t count = list.values_.size();  // the list may be this one
  values_.reserve(values_.size() + count);
  for (std::size_t i = 0; i < count; ++i) values_.push_back(list.values_[i]);
}

void TValueVector::Clear() {
  CheckChangeable();
  std::vector<Ref<IKBValue>> doomed;
  doomed.swap(values_);
}

void TValueVector::Reserve(std::int32_t count) { values_.reserve(static_cast<std::size_t>(count)); }

void TValueVector::Assign(const TValueVector& source) {
  if (&source == this) return;
  CheckChangeable();
  std::vector<Ref<IKBValue>> values;
  values.reserve(source.values_.size());
  for (const Ref<IKBValue>& value : source.values_)
    values.push_back(value ? value->Clone() : nullptr);
  values_.swap(values);
  tag_ = source.tag_;
}

Ref<IValueVector> TValueVector::Clone() const {
  Ref<IValueVector> clone = NewVector();
  clone->Assign(*this);
  return clone;
}

bool TValueVector::Equals(const ICloneable& other) const {
  const auto* list = dynamic_cast<const TValueVector*>(&other);
  return list != nullptr && EqualsList(*list);
}

bool TValueVector::EqualsList(const TValueVector& other) const {
  if (this == &other) return true;
  if (values_.size() != other.values_.size()) return false;
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const IKBValue* a = values_[i].get();
    const IKBValue* b = other.values_[i].get();
    if ((a == nullptr) != (b == nullptr)) return false;
    if (a != nullptr && !a->Equals(*b)) return false;
  }
  return true;
}

std::uint32_t TValueVector::GetHashCode() const {
  std::uint32_t hash = 0;
  for (const Ref<IKBValue>& value : values_) {
    if (value) hash += value->GetHashCode();
  }
  return hash;
}

void TValueVector::AppendTo(std::string& text) const {
  for (const Ref<IKBValue>& value : values_) {
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
