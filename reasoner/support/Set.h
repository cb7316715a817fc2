// A set over an enumeration of at most 32 members, whose ordinals are the bits.

#pragma once

#include <cstdint>
#include <initializer_list>

namespace reasoner {

template <class TEnum>
class Set {
 public:
  constexpr Set() = default;
  constexpr Set(TEnum member) : bits_(Bit(member)) {}  // NOLINT: one member is a set too
  constexpr Set(std::initializer_list<TEnum> members) {
    for (const TEnum member : members) bits_ |= Bit(member);
  }

  static constexpr Set FromBits(std::uint32_t bits) {
    Set set;
    set.bits_ = bits;
    return set;
  }

  constexpr bool Has(TEnum member) const { return (bits_ & Bit(member)) != 0; }
  constexpr bool HasAny(Set other) const { return (bits_ & other.bits_) != 0; }
  constexpr bool empty() const { return bits_ == 0; }
  constexpr std::uint32_t Bits() const { return bits_; }

  constexpr Set operator+(Set other) const { return FromBits(bits_ | other.bits_); }
  constexpr Set operator-(Set other) const { return FromBits(bits_ & ~other.bits_); }
  constexpr Set operator*(Set other) const { return FromBits(bits_ & other.bits_); }
  constexpr Set& operator+=(Set other) { return *this = *this + other; }
  constexpr Set& operator-=(Set other) { return *this = *this - other; }
  friend constexpr bool operator==(Set a, Set b) { return a.bits_ == b.bits_; }

 private:
  static constexpr std::uint32_t Bit(TEnum member) {
    return std::uint32_t{1} << static_cast<std::uint32_t>(member);
  }

  std::uint32_t bits_ = 0;
};

}  // namespace reasoner
