// SPDX-License-Identifier: MIT

// A limb: as many of a record's words as the host computes with at once, and the operations on one
// or two limbs that everything else is made of. Knows nothing of records. Records are
// little-endian, as the hosts are, so that words become limbs by copying their bytes.
#ifndef KT_BIGINT_LIMB_H
#define KT_BIGINT_LIMB_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kt::bigint {

// What the sanitizers are to watch must not be assembler; x32 has short pointers.
#if defined(__x86_64__) && defined(__LP64__) && !defined(__SANITIZE_ADDRESS__)
#define KT_BIGINT_X86_64
#endif
#ifdef __has_feature
#if __has_feature(address_sanitizer)
#undef KT_BIGINT_X86_64
#endif
#endif

using Word = std::uint16_t;
#ifdef __SIZEOF_INT128__
using Limb = std::uint64_t;
__extension__ using DoubleLimb = unsigned __int128;
#else
using Limb = std::uint32_t;
using DoubleLimb = std::uint64_t;
#endif

static_assert(std::endian::native == std::endian::little);
inline constexpr unsigned wordBits = 16;
inline constexpr unsigned limbBits = 8 * sizeof(Limb);
inline constexpr std::size_t wordsPerLimb = sizeof(Limb) / sizeof(Word);

// The longest value, which is what a record's 8-bit length can count.
inline constexpr std::size_t maxWords = 255;
inline constexpr std::size_t maxLimbs = (maxWords + wordsPerLimb - 1) / wordsPerLimb;

inline Limb loadLimb(const Word *words) {
  Limb limb;
  std::memcpy(&limb, words, sizeof limb);
  return limb;
}

inline void storeLimb(Word *words, Limb limb) {
  std::memcpy(words, &limb, sizeof limb);
}

// The limb itself, as a value of which the compiler knows nothing: so it takes limbs one by one.
inline Limb opaque(Limb limb) {
  asm("" : "+r"(limb));
  return limb;
}

constexpr Limb low(DoubleLimb value) {
  return static_cast<Limb>(value);
}
constexpr Limb high(DoubleLimb value) {
  return static_cast<Limb>(value >> limbBits);
}
constexpr DoubleLimb join(Limb high, Limb low) {
  return DoubleLimb{high} << limbBits | low;
}

// a + b + carry and a - b - borrow; carry and borrow are 0 or 1 and set for the next limb.
inline Limb addWithCarry(Limb a, Limb b, Limb &carry) {
  Limb sum = 0;
  const bool first = __builtin_add_overflow(a, b, &sum);
  const bool second = __builtin_add_overflow(sum, carry, &sum);
  carry = first || second;
  return sum;
}

inline Limb subtractWithBorrow(Limb a, Limb b, Limb &borrow) {
  Limb difference = 0;
  const bool first = __builtin_sub_overflow(a, b, &difference);
  const bool second = __builtin_sub_overflow(difference, borrow, &difference);
  borrow = first || second;
  return difference;
}

}  // namespace kt::bigint

#endif
