// SPDX-License-Identifier: MIT

// Division of magnitudes by divisors that are prepared once. Both classes use the method of Moeller
// and Granlund ("Improved division by invariant integers", 2011): two products replace the
// processor's division instruction. B is 2^limbBits.
#ifndef KT_BIGINT_DIVISION_H
#define KT_BIGINT_DIVISION_H

#include <array>
#include <bit>
#include <cstddef>
#include <span>

#include "kt/bigint/Limb.h"

namespace kt::bigint {

// A divisor of one limb.
class LimbDivisor {
 public:
  // Requires: divisor != 0.
  constexpr explicit LimbDivisor(Limb divisor)
      : bits_(static_cast<unsigned>(std::countl_zero(divisor))),
        divisor_(divisor << bits_),
        reciprocal_(reciprocalOf(divisor_)) {}

  // Replaces `dividend` by the quotient and returns the remainder.
  [[nodiscard]] Limb divide(std::span<Limb> dividend) const;

  // Returns floor((B^2 - 1) / divisor) - B. Requires: the divisor's most significant bit is set.
  static constexpr Limb reciprocalOf(Limb divisor) {
    return low(join(~divisor, ~Limb{0}) / divisor);
  }

 private:
  unsigned bits_;    // by which the divisor is shifted left
  Limb divisor_;     // shifted, so that its most significant bit is set
  Limb reciprocal_;  // of divisor_
};

// A divisor of 1 to maxLimbs limbs.
class Divisor {
 public:
  // Uninitialised; assign before use. (The digit writer has eight and usually fills few.)
  Divisor() = default;

  // Requires: 1 <= divisor.size() <= maxLimbs, and its most significant limb is not 0.
  explicit Divisor(Limbs divisor);

  // The number of limbs.
  [[nodiscard]] std::size_t size() const { return count_; }

  // Replaces `dividend` by the remainder and stores dividend.size() - size() + 1 limbs of quotient.
  // Requires: size() <= dividend.size() <= 2 * maxLimbs.
  void divide(Limb *quotient, std::span<Limb> dividend) const;

 private:
  [[nodiscard]] Limbs limbs() const { return {limbs_.data(), count_}; }
  Limb divideThreeByTwo(DoubleLimb &upper, Limb lower) const;
  Limb divideStep(DoubleLimb &upper, Limb *window) const;
  void divideByLimb(Limb *quotient, Limbs dividend, Limb &remainder) const;

  std::array<Limb, maxLimbs> limbs_;  // shifted left, so that the most significant bit is set
  std::size_t count_;                 // of limbs_ that are used
  unsigned bits_;                     // by which they are shifted
  Limb reciprocal_;                   // of the two most significant limbs, or of the only one
};

}  // namespace kt::bigint

#endif
