// SPDX-License-Identifier: MIT

// Arithmetic on magnitudes: on words in the block that stores them, and products of limbs. Nothing
// here allocates or knows of signs. A result may be an operand only if its comment says so, and
// then both must begin at the same word.
#ifndef KT_BIGINT_LIMBS_H
#define KT_BIGINT_LIMBS_H

#include <cassert>

#include "kt/bigint/CarryChains.h"
#include "kt/bigint/Limb.h"

namespace kt::bigint {

// Returns `digits` (Words or Limbs) without leading zeros; empty for 0.
template <class Digits>
Digits significant(Digits digits) {
  std::size_t count = digits.size();
  while (count > 0 && digits[count - 1] == 0) {
    --count;
  }
  return digits.first(count);
}

// ---- Words ----

// Returns -1, 0 or 1 if a < b, a == b or a > b. Requires: neither has leading zeros, unless both
// have the same length.
int compare(Words a, Words b);

// Computes sum = longer + shorter in longer.size() words and returns the carry. `sum` may be either
// operand. Requires: longer.size() >= shorter.size().
// Inline: for short operands the call alone would cost a tenth of the sum.
inline Word add(Word *sum, Words longer, Words shorter) {
  const std::size_t limbCount = shorter.size() / wordsPerLimb;
  auto carry = static_cast<std::uint32_t>(addChain(sum, longer.data(), shorter.data(), limbCount));
  std::size_t i = limbCount * wordsPerLimb;
  for (; i < shorter.size(); ++i, carry >>= wordBits) {
    carry += std::uint32_t{longer[i]} + shorter[i];  // <= 2 * 65,535 + 1
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

// Computes difference = larger - smaller in larger.size() words. `difference` may be either
// operand. Requires: larger >= smaller and larger.size() >= smaller.size(). Inline, as add.
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

// Computes words = words + addend and returns the carry. Writes no word after the first one that
// has no carry.
inline Word add(std::span<Word> words, Word addend) {
  std::uint32_t carry = addend;
  for (std::size_t i = 0; i < words.size() && carry != 0; ++i, carry >>= wordBits) {
    carry += words[i];
    words[i] = static_cast<Word>(carry);
  }
  return static_cast<Word>(carry);
}

// Computes words = words - subtrahend, modulo 65,536^words.size(). Writes no word after the first
// one that has no borrow.
inline void subtract(std::span<Word> words, Word subtrahend) {
  std::uint32_t borrow = subtrahend;
  for (std::size_t i = 0; i < words.size() && borrow != 0; ++i) {
    const std::uint32_t word = words[i];
    words[i] = static_cast<Word>(word - borrow);
    borrow = word < borrow;
  }
}

// Computes words = words * factor and returns the word carried out.
Word multiply(std::span<Word> words, Word factor);

// Shifts in place; shiftLeft returns the bits carried out. Requires: 1 <= bits <= 15.
Word shiftLeft(std::span<Word> words, unsigned bits);
void shiftRight(std::span<Word> words, unsigned bits);

// ---- Limbs ----

// Computes product = a * b in a.size() + b.size() limbs. Requires: neither operand is empty, and
// `product` overlaps neither.
void multiply(Limb *product, Limbs a, Limbs b);

// Computes product = a * a in 2 * a.size() limbs. Requires: `a` is not empty, and `product` does
// not overlap it.
void square(Limb *product, Limbs a);

}  // namespace kt::bigint

#endif
