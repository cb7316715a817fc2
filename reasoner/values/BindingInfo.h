// TBindingInfo: where in a match the value of a variable lies.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "reasoner/support/Object.h"
#include "reasoner/support/Text.h"
#include "reasoner/vocabulary/KBConsts.h"

namespace reasoner {

class TBindingInfo : public TPersistent {
 public:
  TBindingInfo() = default;
  TBindingInfo(std::int32_t fact_index, const Text& slot_index, std::int32_t sub_index)
      : SubIndex(sub_index), FactIndex(fact_index), SlotIndex(slot_index) {}

  void Assign(const TPersistent& source) override;
  std::unique_ptr<TPersistent> NewInstance() const override;
  bool Equals(const TBindingInfo& other) const;
  std::string ClassName() const override { return "TBindingInfo"; }
  std::string ToString() const override;

  std::int32_t SubIndex = NoSubIndex;          // item of a multislot, or NoSubIndex
  std::int32_t FactIndex = LocalBindingIndex;  // which fact of the token, or LocalBindingIndex
  Text SlotIndex =
      SLocalBinding;  // a slot's name, SLocalBinding, or SPatternBinding for the whole fact
};

}  // namespace reasoner
