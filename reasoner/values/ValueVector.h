// TValueVector: the multifield, a list of cells; the payload of a dtList cell.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "reasoner/support/Pool.h"
#include "reasoner/values/KBValue.h"

namespace reasoner {

// Members are cells; null is allowed as a member. An index outside the list raises "List index out
// of bounds (%d)".
class TValueVector final : public ICloneable, public Pooled {
 public:
  TValueVector() = default;

  std::int32_t GetValueCount() const noexcept { return static_cast<std::int32_t>(values_.size()); }
  const Ref<IKBValue>& GetItem(std::int32_t index) const { return values_[Checked(index)]; }
  void SetItem(std::int32_t index, const Ref<IKBValue>& value);
  const Ref<IKBValue>& First() const { return GetItem(0); }
  const Ref<IKBValue>& Last() const { return GetItem(GetValueCount() - 1); }
  // The first member that is strictly equal, or -1.
  std::int32_t IndexOf(const IKBValue& value) const;

  std::int32_t Add(const Ref<IKBValue>& value);  // the cell itself; gives its index
  void Insert(std::int32_t index, const Ref<IKBValue>& value);
  void Delete(std::int32_t index);
  // Takes out the first member that is strictly equal; gives its index, or -1.
  std::int32_t Remove(const IKBValue& value);
  void Append(const TValueVector& list);  // the cells themselves
  void Clear();
  void Reserve(std::int32_t count);

  std::int32_t GetTag() const noexcept { return tag_; }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  // Takes over clones of the members (a nested list stays shared) and the tag.
  void Assign(const TValueVector& source);
  Ref<IValueVector> Clone() const;

  bool Equals(const ICloneable& other) const override;
  bool EqualsList(const TValueVector& other) const;
  std::uint32_t GetHashCode() const override;  // the sum of the members': order does not matter
  // Each member's text and a blank, the last one too.
  std::string ToString() const override;
  void AppendTo(std::string& text) const;

  std::vector<Ref<IKBValue>>::const_iterator begin() const noexcept { return values_.begin(); }
  std::vector<Ref<IKBValue>>::const_iterator end() const noexcept { return values_.end(); }

  // For FCNilList: changing its vector raises from now on.
  void MakeConstant() noexcept;

 private:
  std::size_t Checked(std::int32_t index) const;
  void CheckChangeable() const;

  std::vector<Ref<IKBValue>> values_;
  std::int32_t tag_ = 0;
  bool constant_ = false;
};

inline Ref<IValueVector> NewVector() { return Make<TValueVector>(); }

}  // namespace reasoner
