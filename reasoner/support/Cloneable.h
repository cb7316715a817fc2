// ICloneable: what a value can hold by reference.

#pragma once

#include <cstdint>
#include <string>

#include "reasoner/support/Ref.h"

namespace reasoner {

// What a cell can hold by reference: something that compares, hashes and prints.
class ICloneable : public IInterface {
 public:
  virtual bool Equals(const ICloneable& other) const = 0;
  virtual std::uint32_t GetHashCode() const = 0;
  virtual std::string ToString() const = 0;
  // Whoever holds the object relies on its content: changing it raises from now on, where the class
  // keeps an eye on that.
  virtual void Freeze() {}
};

}  // namespace reasoner
