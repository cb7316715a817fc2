#include "reasoner/values/BindingInfo.h"

#include "reasoner/support/Numbers.h"

namespace reasoner {

void TBindingInfo::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TBindingInfo*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  SubIndex = other->SubIndex;
  FactIndex = other->FactIndex;
  SlotIndex = other->SlotIndex;
}

std::unique_ptr<TPersistent> TBindingInfo::NewInstance() const {
  return std::make_unique<TBindingInfo>();
}

bool TBindingInfo::Equals(const TBindingInfo& other) const {
  return FactIndex == other.FactIndex && SubIndex == other.SubIndex && SlotIndex == other.SlotIndex;
}

std::string TBindingInfo::ToString() const {
  std::string text = "FactIdx=" + IntegerToText(FactIndex) + " SlotIdx=" + SlotIndex.str();
  if (SubIndex != NoSubIndex) text += " SubIdx=" + IntegerToText(SubIndex);
  return text;
}

}  // namespace reasoner
