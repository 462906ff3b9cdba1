// SPDX-License-Identifier: MIT

// Words and limbs. A word has 16 bits and is the unit in which magnitudes are stored. A limb is the
// widest integer that the host multiplies in one step, and the unit of computation.
// Both are stored least significant first. All hosts are little-endian, so words become limbs when
// their bytes are copied.
#ifndef KT_BIGINT_LIMB_H
#define KT_BIGINT_LIMB_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace kt::bigint {

using Word = std::uint16_t;
#ifdef __SIZEOF_INT128__
using Limb = std::uint64_t;
__extension__ using DoubleLimb = unsigned __int128;
#else
using Limb = std::uint32_t;
using DoubleLimb = std::uint64_t;
#endif

// Magnitudes that belong to someone else.
using Words = std::span<const Word>;
using Limbs = std::span<const Limb>;

static_assert(std::endian::native == std::endian::little);
inline constexpr unsigned wordBits = 16;
inline constexpr unsigned limbBits = 8 * sizeof(Limb);
inline constexpr std::size_t wordsPerLimb = sizeof(Limb) / sizeof(Word);

// The longest value: a record counts its words in 8 bits.
inline constexpr std::size_t maxWords = 255;
inline constexpr std::size_t maxLimbs = (maxWords + wordsPerLimb - 1) / wordsPerLimb;

// ---- Words as limbs ----

// Returns the limb that the next wordsPerLimb words make. They may be unaligned.
inline Limb loadLimb(const Word *words) {
  Limb limb;
  std::memcpy(&limb, words, sizeof limb);
  return limb;
}

// Stores a limb as wordsPerLimb words, which may be unaligned.
inline void storeLimb(Word *words, Limb limb) {
  std::memcpy(words, &limb, sizeof limb);
}

// ---- Halves of a double limb ----

constexpr Limb low(DoubleLimb value) {
  return static_cast<Limb>(value);
}
constexpr Limb high(DoubleLimb value) {
  return static_cast<Limb>(value >> limbBits);
}
constexpr DoubleLimb join(Limb high, Limb low) {
  return DoubleLimb{high} << limbBits | low;
}

// ---- Carries ----

// Returns the low limb of a + b + carry. `carry` is 0 or 1 and becomes the sum's carry.
inline Limb addWithCarry(Limb a, Limb b, Limb &carry) {
  Limb sum = 0;
  const bool first = __builtin_add_overflow(a, b, &sum);
  const bool second = __builtin_add_overflow(sum, carry, &sum);
  carry = first || second;
  return sum;
}

// Returns the low limb of a - b - borrow. `borrow` is 0 or 1 and becomes the difference's borrow.
inline Limb subtractWithBorrow(Limb a, Limb b, Limb &borrow) {
  Limb difference = 0;
  const bool first = __builtin_sub_overflow(a, b, &difference);
  const bool second = __builtin_sub_overflow(difference, borrow, &difference);
  borrow = first || second;
  return difference;
}

}  // namespace kt::bigint

#endif
