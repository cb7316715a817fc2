// TRandom: a generator of pseudo-random numbers.
//
// The numbers follow from the seed by 64-bit integer arithmetic alone, so that a seed gives the
// same sequence on every machine and with every standard library. Not for secrets.

#pragma once

#include <cstdint>

namespace reasoner {

class TRandom {
 public:
  explicit TRandom(std::uint64_t seed = 0) noexcept : state_(seed) {}

  void SetSeed(std::uint64_t seed) noexcept { state_ = seed; }

  // SplitMix64: a counter whose bits are mixed. Every seed is as good as any other.
  std::uint64_t Next() noexcept {
    std::uint64_t number = state_ += 0x9E3779B97F4A7C15u;
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9u;
    number = (number ^ number >> 27) * 0x94D049BB133111EBu;
    return number ^ number >> 31;
  }

  // From 0 up to `bound`, which is above 0 and not included; each number as likely as any other.
  std::uint32_t Below(std::uint32_t bound) noexcept {
    // The product's upper half is the answer. Of its lower halves a few must be drawn again, or
    // some answers would come from one number more than others.
    const std::uint32_t surplus = (0u - bound) % bound;
    std::uint64_t product = 0;
    do {
      product = (Next() >> 32) * bound;
    } while (static_cast<std::uint32_t>(product) < surplus);
    return static_cast<std::uint32_t>(product >> 32);
  }

 private:
  std::uint64_t state_;
};

}  // namespace reasoner
