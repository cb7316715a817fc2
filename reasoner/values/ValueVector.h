// TValueVector: the multifield, a list of cells; the payload of a dtList cell.
//
// A list and its rest, which begins one member further on, share the places of their members;
// whichever of the two is changed first takes places of its own. So a walk along a list by its
// rests costs a step for each member. When more than half of the places lie in front of a rest, the
// list moves to new places: what keeps a short rest does not keep a long list.

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

  std::int32_t GetValueCount() const noexcept {
    return static_cast<std::int32_t>(Cells().size() - first_);
  }
  const Ref<IKBValue>& GetItem(std::int32_t index) const {
    CheckIndex(index);
    return Cells()[first_ + static_cast<std::size_t>(index)];
  }
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
  // A new list of the members behind the first, the cells themselves; empty for an empty list. The
  // members may move: no reference to one may be held across the call.
  Ref<IValueVector> Rest();

  bool Equals(const ICloneable& other) const override;
  bool EqualsList(const TValueVector& other) const;
  std::uint32_t GetHashCode() const override;  // the sum of the members': order does not matter
  // Each member's text and a blank, the last one too.
  std::string ToString() const override;
  void AppendTo(std::string& text) const;

  using TConstIterator = std::vector<Ref<IKBValue>>::const_iterator;
  TConstIterator begin() const noexcept {
    return Cells().begin() + static_cast<std::ptrdiff_t>(first_);
  }
  TConstIterator end() const noexcept { return Cells().end(); }

  // For FCNilList: changing its vector raises from now on.
  void MakeConstant() noexcept;
  // The same for the list of a listed fact, and for its members.
  void Freeze() override;

 private:
  struct TPlaces final : public IInterface, public Pooled {
    std::vector<Ref<IKBValue>> cells;
  };

  void CheckIndex(std::int32_t index) const {
    if (index < 0 || index >= GetValueCount()) RaiseIndexError(index);
  }
  [[noreturn]] static void RaiseIndexError(std::int32_t index);
  void CheckChangeable() const;
  const std::vector<Ref<IKBValue>>& Cells() const noexcept {
    return shared_ ? shared_->cells : cells_;
  }
  // Gives the list places of its own. The answer, the places that it has left, keeps alive what a
  // caller refers to there.
  Ref<TPlaces> Leave();

  std::vector<Ref<IKBValue>> cells_;  // empty while the places are shared
  Ref<TPlaces> shared_;
  std::size_t first_ = 0;  // the place of the first member; 0 in places of its own
  std::int32_t tag_ = 0;
  bool constant_ = false;
  bool frozen_ = false;
};

inline Ref<IValueVector> NewVector() { return Make<TValueVector>(); }

}  // namespace reasoner
