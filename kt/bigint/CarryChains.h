// SPDX-License-Identifier: MIT

// Carry chains: the three loops over limbs in which nearly all time is spent. addChain,
// subtractChain and addProduct are the fastest versions that the host has. Each has a portable
// version and one in assembler for x86-64. Compilers do not keep a carry in the processor's flag
// from one iteration to the next.
#ifndef KT_BIGINT_CARRYCHAINS_H
#define KT_BIGINT_CARRYCHAINS_H

#include "kt/bigint/Limb.h"

// No assembler under AddressSanitizer, which cannot check it, nor on x32, whose pointers have 32
// bits.
#if defined(__x86_64__) && defined(__LP64__) && !defined(__SANITIZE_ADDRESS__)
#define KT_BIGINT_X86_64
#endif
#ifdef __has_feature
#if __has_feature(address_sanitizer)
#undef KT_BIGINT_X86_64
#endif
#endif

#ifdef KT_BIGINT_X86_64
#include <cpuid.h>
#endif

namespace kt::bigint {

// ---- Portable ----

// Computes sum = a + b over `count` limbs stored as words and returns the carry. `sum` may be `a`
// or `b`.
inline Limb addPortably(Word *sum, const Word *a, const Word *b, std::size_t count) {
  Limb carry = 0;
  for (std::size_t i = 0; i < count * wordsPerLimb; i += wordsPerLimb) {
    storeLimb(sum + i, addWithCarry(loadLimb(a + i), loadLimb(b + i), carry));
  }
  return carry;
}

// Computes difference = a - b over `count` limbs stored as words and returns the borrow.
// `difference` may be `a` or `b`.
inline Limb subtractPortably(Word *difference, const Word *a, const Word *b, std::size_t count) {
  Limb borrow = 0;
  for (std::size_t i = 0; i < count * wordsPerLimb; i += wordsPerLimb) {
    storeLimb(difference + i, subtractWithBorrow(loadLimb(a + i), loadLimb(b + i), borrow));
  }
  return borrow;
}

// Computes limbs = limbs + a * factor over a.size() limbs and returns the limb carried out.
inline Limb addProductPortably(Limb *limbs, Limbs a, Limb factor) {
  Limb carry = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    // <= (B - 1) * (B - 1) + 2 * (B - 1) = B * B - 1, where B = 2^limbBits: no overflow.
    const DoubleLimb sum = DoubleLimb{a[i]} * factor + limbs[i] + carry;
    limbs[i] = low(sum);
    carry = high(sum);
  }
  return carry;
}

#ifdef KT_BIGINT_X86_64

// ---- x86-64 ----

// Does the same as addPortably, four limbs per iteration; lea and dec do not change the carry flag.
// For 30 limbs it takes a third of the portable time.
// NOLINTNEXTLINE(readability-non-const-parameter): the assembler writes to it
inline Limb addChain(Word *sum, const Word *a, const Word *b, std::size_t count) {
  std::size_t quads = count / 4, singles = count % 4, i = 0;
  Limb limb = 0;
  asm volatile(
      "testq %[quads], %[quads]\n\t"  // clears the carry
      "jz 2f\n"
      "1:\n\t"
      "movq (%[a],%[i],8), %[limb]\n\t"
      "adcq (%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], (%[sum],%[i],8)\n\t"
      "movq 8(%[a],%[i],8), %[limb]\n\t"
      "adcq 8(%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], 8(%[sum],%[i],8)\n\t"
      "movq 16(%[a],%[i],8), %[limb]\n\t"
      "adcq 16(%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], 16(%[sum],%[i],8)\n\t"
      "movq 24(%[a],%[i],8), %[limb]\n\t"
      "adcq 24(%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], 24(%[sum],%[i],8)\n\t"
      "leaq 4(%[i]), %[i]\n\t"
      "decq %[quads]\n\t"
      "jnz 1b\n"
      "2:\n\t"
      "incq %[singles]\n"
      "3:\n\t"
      "decq %[singles]\n\t"
      "jz 4f\n\t"
      "movq (%[a],%[i],8), %[limb]\n\t"
      "adcq (%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], (%[sum],%[i],8)\n\t"
      "leaq 1(%[i]), %[i]\n\t"
      "jmp 3b\n"
      "4:\n\t"
      "sbbq %[limb], %[limb]"
      : [quads] "+&r"(quads), [singles] "+&r"(singles), [i] "+&r"(i), [limb] "=&r"(limb)
      : [sum] "r"(sum), [a] "r"(a), [b] "r"(b)
      : "cc", "memory");
  return -limb;
}

// Does the same as subtractPortably, in the way in which addChain adds.
// NOLINTNEXTLINE(readability-non-const-parameter): the assembler writes to it
inline Limb subtractChain(Word *difference, const Word *a, const Word *b, std::size_t count) {
  std::size_t quads = count / 4, singles = count % 4, i = 0;
  Limb limb = 0;
  asm volatile(
      "testq %[quads], %[quads]\n\t"  // clears the borrow
      "jz 2f\n"
      "1:\n\t"
      "movq (%[a],%[i],8), %[limb]\n\t"
      "sbbq (%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], (%[difference],%[i],8)\n\t"
      "movq 8(%[a],%[i],8), %[limb]\n\t"
      "sbbq 8(%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], 8(%[difference],%[i],8)\n\t"
      "movq 16(%[a],%[i],8), %[limb]\n\t"
      "sbbq 16(%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], 16(%[difference],%[i],8)\n\t"
      "movq 24(%[a],%[i],8), %[limb]\n\t"
      "sbbq 24(%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], 24(%[difference],%[i],8)\n\t"
      "leaq 4(%[i]), %[i]\n\t"
      "decq %[quads]\n\t"
      "jnz 1b\n"
      "2:\n\t"
      "incq %[singles]\n"
      "3:\n\t"
      "decq %[singles]\n\t"
      "jz 4f\n\t"
      "movq (%[a],%[i],8), %[limb]\n\t"
      "sbbq (%[b],%[i],8), %[limb]\n\t"
      "movq %[limb], (%[difference],%[i],8)\n\t"
      "leaq 1(%[i]), %[i]\n\t"
      "jmp 3b\n"
      "4:\n\t"
      "sbbq %[limb], %[limb]"
      : [quads] "+&r"(quads), [singles] "+&r"(singles), [i] "+&r"(i), [limb] "=&r"(limb)
      : [difference] "r"(difference), [a] "r"(a), [b] "r"(b)
      : "cc", "memory");
  return -limb;
}

// Returns whether the processor has mulx, adcx and adox (the extensions BMI2 and ADX).
inline bool processorHasTwoCarryChains() {
  constexpr unsigned extensions = 7;  // the cpuid leaf that lists them
  unsigned a = 0, b = 0, c = 0, d = 0;
  return __get_cpuid_count(extensions, 0, &a, &b, &c, &d) != 0 && (b & bit_BMI2) != 0 &&
         (b & bit_ADX) != 0;
}

// False during static initialisation; such callers take the portable loop, which is also correct.
inline const bool hasTwoCarryChains = processorHasTwoCarryChains();

// Does the same as addProductPortably with two carry chains side by side: adcx adds the upper
// halves of the products to the next limbs, adox adds the products to `limbs`. A product of 30 x 30
// limbs takes 0.42 of the portable time.
// NOLINTNEXTLINE(readability-non-const-parameter): the assembler writes to it
inline Limb addProductInTwoChains(Limb *limbs, Limbs a, Limb factor) {
  const Limb *source = a.data();
  std::size_t quads = a.size() / 4;
  const std::size_t singles = a.size() % 4;
  Limb carry = 0, first = 0, second = 0, upper = 0;
  asm volatile(
      "xorl %k[upper], %k[upper]\n\t"  // clears both carries
      "jrcxz 2f\n"
      "1:\n\t"
      "mulxq (%[a]), %[first], %[upper]\n\t"
      "adcxq %[carry], %[first]\n\t"
      "adoxq (%[limbs]), %[first]\n\t"
      "movq %[first], (%[limbs])\n\t"
      "mulxq 8(%[a]), %[second], %[carry]\n\t"
      "adcxq %[upper], %[second]\n\t"
      "adoxq 8(%[limbs]), %[second]\n\t"
      "movq %[second], 8(%[limbs])\n\t"
      "mulxq 16(%[a]), %[first], %[upper]\n\t"
      "adcxq %[carry], %[first]\n\t"
      "adoxq 16(%[limbs]), %[first]\n\t"
      "movq %[first], 16(%[limbs])\n\t"
      "mulxq 24(%[a]), %[second], %[carry]\n\t"
      "adcxq %[upper], %[second]\n\t"
      "adoxq 24(%[limbs]), %[second]\n\t"
      "movq %[second], 24(%[limbs])\n\t"
      "leaq 32(%[a]), %[a]\n\t"
      "leaq 32(%[limbs]), %[limbs]\n\t"
      "leaq -1(%%rcx), %%rcx\n\t"
      "jrcxz 2f\n\t"
      "jmp 1b\n"
      "2:\n\t"
      "movq %[singles], %%rcx\n"
      "3:\n\t"
      "jrcxz 4f\n\t"
      "mulxq (%[a]), %[first], %[upper]\n\t"
      "adcxq %[carry], %[first]\n\t"
      "adoxq (%[limbs]), %[first]\n\t"
      "movq %[first], (%[limbs])\n\t"
      "movq %[upper], %[carry]\n\t"
      "leaq 8(%[a]), %[a]\n\t"
      "leaq 8(%[limbs]), %[limbs]\n\t"
      "leaq -1(%%rcx), %%rcx\n\t"
      "jmp 3b\n"
      "4:\n\t"
      "movl $0, %k[first]\n\t"
      "adcxq %[first], %[carry]\n\t"
      "adoxq %[first], %[carry]"
      : [a] "+&r"(source), [limbs] "+&r"(limbs), "+&c"(quads), [carry] "+&r"(carry),
        [first] "=&r"(first), [second] "=&r"(second), [upper] "=&r"(upper)
      : "d"(factor), [singles] "r"(singles)
      : "cc", "memory");
  return carry;
}

inline Limb addProduct(Limb *limbs, Limbs a, Limb factor) {
  return hasTwoCarryChains ? addProductInTwoChains(limbs, a, factor)
                           : addProductPortably(limbs, a, factor);
}

#else

inline Limb addChain(Word *sum, const Word *a, const Word *b, std::size_t count) {
  return addPortably(sum, a, b, count);
}

inline Limb subtractChain(Word *difference, const Word *a, const Word *b, std::size_t count) {
  return subtractPortably(difference, a, b, count);
}

inline Limb addProduct(Limb *limbs, Limbs a, Limb factor) {
  return addProductPortably(limbs, a, factor);
}

#endif

}  // namespace kt::bigint

#endif
