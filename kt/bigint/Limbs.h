// SPDX-License-Identifier: MIT

// Arithmetic on magnitudes: spans of words or of limbs, least significant first. Knows nothing of
// signs, records or assertions, and allocates nothing. A result may stand where an operand stands,
// starting at the same place, where that is said.
#ifndef KT_BIGINT_LIMBS_H
#define KT_BIGINT_LIMBS_H

#include <array>
#include <cassert>
#include <span>

#include "kt/bigint/Limb.h"
#include "kt/bigint/LimbChains.h"

namespace kt::bigint {

using Words = std::span<const Word>;

// ---- Words, in a record's block ----

// sum = longer + shorter, as many words as `longer` has; the carry out of them. `sum` may be either
// operand. Requires: `longer` is not the shorter one.
Word add(Word *sum, Words longer, Words shorter);

// difference = larger - smaller, as many words as `larger` has. `difference` may be either operand.
// Requires: larger >= smaller, and it has as many words or more.
void subtract(Word *difference, Words larger, Words smaller);

// -1, 0 or 1 as a is smaller than b, equal or larger. Requires: as many words in both.
int compare(Words a, Words b);

// words = words * factor; the word that goes out at the top.
Word multiply(std::span<Word> words, Word factor);

// Shifts by 1 to 15 bits in place. The left one gives what goes out at the top.
Word shiftLeft(std::span<Word> words, unsigned bits);
void shiftRight(std::span<Word> words, unsigned bits);

// ---- Limbs, on the stack ----

// The words or limbs without zeros at the top: none for 0.
template <class Digits>
Digits significant(Digits digits) {
  std::size_t count = digits.size();
  while (count > 0 && digits[count - 1] == 0) {
    --count;
  }
  return digits.first(count);
}

// product = a * b, a.size() + b.size() limbs. `product` overlaps neither. Requires: neither is
// empty.
void multiply(Limb *product, Limbs a, Limbs b);

// product = a * a, 2 * a.size() limbs. `product` does not overlap it. Requires: it is not empty.
void square(Limb *product, Limbs a);

// Divides by one limb, with the method of Moeller and Granlund ("Improved division by invariant
// integers", 2011): two products take the place of the processor's division.
class LimbDivisor {
 public:
  // Requires: `divisor` is not 0.
  constexpr explicit LimbDivisor(Limb divisor)
      : bits_(static_cast<unsigned>(std::countl_zero(divisor))),
        divisor_(divisor << bits_),
        reciprocal_(reciprocalOf(divisor_)) {}

  // Divides in place: `dividend` becomes the quotient. The remainder.
  [[nodiscard]] Limb divide(std::span<Limb> dividend) const;

  // floor((B * B - 1) / divisor) - B. Requires: the divisor's top bit is set.
  static constexpr Limb reciprocalOf(Limb divisor) {
    return low(join(~divisor, ~Limb{0}) / divisor);
  }

 private:
  unsigned bits_;    // by which the divisor is shifted up
  Limb divisor_;     // its top bit is set
  Limb reciprocal_;  // of divisor_
};

// Divides by any number of limbs, with the same authors' method for each limb of the quotient.
class Divisor {
 public:
  // One to be assigned to: nothing of it is set, for there are many at a time of which few are
  // used.
  Divisor() = default;

  // Requires: the top limb of `divisor` is not 0; it has at most maxLimbs.
  explicit Divisor(Limbs divisor);

  [[nodiscard]] std::size_t size() const { return count_; }

  // Divides in place: `quotient` gets dividend.size() - size() + 1 limbs, `dividend` becomes the
  // remainder. Requires: it has size() limbs or more, and at most 2 * maxLimbs.
  void divide(Limb *quotient, std::span<Limb> dividend) const;

 private:
  [[nodiscard]] Limbs limbs() const { return {limbs_.data(), count_}; }
  Limb divideThreeByTwo(DoubleLimb &upper, Limb lower) const;
  Limb divideStep(DoubleLimb &upper, Limb *window) const;
  void divideByLimb(Limb *quotient, Limbs dividend, Limb &remainder) const;

  std::array<Limb, maxLimbs> limbs_;  // shifted up, so that the top bit is set
  std::size_t count_;                 // limbs of the divisor
  unsigned bits_;                     // by which it is shifted
  Limb reciprocal_;                   // of the top two limbs, or of the only one
};

// ---- Inline: for short operands the call alone would cost a tenth of the sum ----

inline Word add(Word *sum, Words longer, Words shorter) {
  const std::size_t limbCount = shorter.size() / wordsPerLimb;
  auto carry = static_cast<std::uint32_t>(addChain(sum, longer.data(), shorter.data(), limbCount));
  std::size_t i = limbCount * wordsPerLimb;
  for (; i < shorter.size(); ++i, carry >>= wordBits) {
    carry += std::uint32_t{longer[i]} + shorter[i];  // at most 2 * 65535 + 1
    sum[i] = static_cast<Word>(carry);
  }
  for (; i < longer.size() && carry != 0; ++i, carry >>= wordBits) {
    carry += longer[i];
    sum[i] = static_cast<Word>(carry);
  }
  if (i < longer.size() && sum != longer.data()) {
    std::memcpy(sum + i, longer.data() + i, (longer.size() - i) * sizeof(Word));
  }
  return static_cast<Word>(carry);
}

inline void subtract(Word *difference, Words larger, Words smaller) {
  const std::size_t limbCount = smaller.size() / wordsPerLimb;
  auto borrow = static_cast<std::uint32_t>(
      subtractChain(difference, larger.data(), smaller.data(), limbCount));
  std::size_t i = limbCount * wordsPerLimb;
  for (; i < larger.size() && (i < smaller.size() || borrow != 0); ++i) {
    const std::uint32_t subtrahend = (i < smaller.size() ? smaller[i] : 0U) + borrow;
    borrow = larger[i] < subtrahend;
    difference[i] = static_cast<Word>(larger[i] - subtrahend);
  }
  assert(borrow == 0);
  if (i < larger.size() && difference != larger.data()) {
    std::memcpy(difference + i, larger.data() + i, (larger.size() - i) * sizeof(Word));
  }
}

}  // namespace kt::bigint

#endif
