// TObjectHandle: what a cell holds of an object that is the host's.
//
// The cell holds no pointer to the object but this, which whoever keeps track of the object empties
// when the object ends: a cell then reads as holding nothing. There is one handle an object, so
// that cells of the same object are equal, also when it is gone.

#pragma once

#include <cstdint>
#include <string>

#include "reasoner/support/Cloneable.h"

namespace reasoner {

class TClassReference;
class TObject;

class TObjectHandle : public ICloneable {
 public:
  // The object's class as rules see it. Lives as long as the process.
  virtual const TClassReference& GetClass() const noexcept = 0;
  virtual bool IsGone() const noexcept = 0;
  // The object where it is a TObject and not gone, else null.
  virtual TObject* GetObject() const noexcept = 0;

  bool Equals(const ICloneable& other) const override { return this == &other; }
  // Neither the hash nor the text changes when the object ends: facts are found by them.
  std::uint32_t GetHashCode() const override;
  std::string ToString() const override;
};

}  // namespace reasoner
