#include "reasoner/values/SingletonsVector.h"

#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

TSingletonsVector::TSingletonsVector(IReasoner* reasoner) : x_(NewVector()), y_(NewVector()) {
  SetParser(reasoner);
}

void TSingletonsVector::SetParser(IReasoner* reasoner) {
  parser_ = reasoner == nullptr ? Ref<TReasonerLink>() : reasoner->GetLink();
}

void TSingletonsVector::Freeze() {
  x_->Freeze();
  y_->Freeze();
}

void TSingletonsVector::Add(const Ref<IKBValue>& x, const Ref<IKBValue>& y) {
  x_->Add(x);
  y_->Add(y);
}

void TSingletonsVector::Insert(std::int32_t index, const Ref<IKBValue>& x, const Ref<IKBValue>& y) {
  x_->Insert(index, x);
  y_->Insert(index, y);
}

void TSingletonsVector::Delete(std::int32_t index) {
  x_->Delete(index);
  y_->Delete(index);
}

void TSingletonsVector::Append(const TSingletonsVector& source) {
  x_->Append(*source.x_);
  y_->Append(*source.y_);
}

void TSingletonsVector::Clear() {
  x_->Clear();
  y_->Clear();
}

void TSingletonsVector::Assign(const TSingletonsVector& source) {
  if (&source == this) return;
  x_->Assign(*source.x_);
  y_->Assign(*source.y_);
  parser_ = source.parser_;
  tag_ = source.tag_;
}

Ref<ISingletonsVector> TSingletonsVector::Clone() const {
  Ref<ISingletonsVector> clone = Make<TSingletonsVector>(GetParser());
  clone->Assign(*this);
  return clone;
}

bool TSingletonsVector::Equals(const ICloneable& other) const {
  const auto* vector = dynamic_cast<const TSingletonsVector*>(&other);
  return vector != nullptr && x_->EqualsList(*vector->x_) && y_->EqualsList(*vector->y_);
}

std::uint32_t TSingletonsVector::GetHashCode() const {
  return x_->GetHashCode() + y_->GetHashCode();
}

std::string TSingletonsVector::ToString() const {
  std::string text;
  for (std::int32_t i = 0; i < GetCount(); ++i) {
    text += '(';
    if (GetXValue(i)) GetXValue(i)->AppendTo(text);
    text += ' ';
    if (GetYValue(i)) GetYValue(i)->AppendTo(text);
    text += ") ";
  }
  if (GetParser() == nullptr || text.empty()) return text;
  return "(" + text + ")";  // as the language writes a point list
}

}  // namespace reasoner
