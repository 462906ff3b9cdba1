#include "kt/bigint/Limbs.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace kt::bigint {

// ---- Words --------------------------------------------------------------------------------------

Word add(Word *sum, Words longer, Words shorter) {
  Limb carry = 0;
  std::size_t i = 0;
  for (; i + wordsPerLimb <= shorter.size(); i += wordsPerLimb)
    storeLimb(sum + i, addWithCarry(loadLimb(&longer[i]), loadLimb(&shorter[i]), carry));
  std::uint32_t rest = static_cast<std::uint32_t>(carry);
  for (; i < shorter.size(); ++i, rest >>= wordBits) {
    rest += std::uint32_t{longer[i]} + shorter[i];  // at most 2 * 65535 + 1
    sum[i] = static_cast<Word>(rest);
  }
  for (; i < longer.size() && rest != 0; ++i, rest >>= wordBits) {
    rest += longer[i];
    sum[i] = static_cast<Word>(rest);
  }
  if (sum != longer.data())
    std::memcpy(sum + i, longer.data() + i, (longer.size() - i) * sizeof(Word));
  return static_cast<Word>(rest);
}

void subtract(Word *difference, Words larger, Words smaller) {
  Limb borrow = 0;
  std::size_t i = 0;
  for (; i + wordsPerLimb <= smaller.size(); i += wordsPerLimb) {
    storeLimb(difference + i,
              subtractWithBorrow(loadLimb(&larger[i]), loadLimb(&smaller[i]), borrow));
  }
  std::uint32_t rest = static_cast<std::uint32_t>(borrow);
  for (; i < larger.size() && (i < smaller.size() || rest != 0); ++i) {
    const std::uint32_t subtrahend = (i < smaller.size() ? smaller[i] : 0U) + rest;
    rest = larger[i] < subtrahend;
    difference[i] = static_cast<Word>(larger[i] - subtrahend);
  }
  assert(rest == 0);
  if (difference != larger.data())
    std::memcpy(difference + i, larger.data() + i, (larger.size() - i) * sizeof(Word));
}

int compare(Words a, Words b) {
  std::size_t i = a.size();
  while (i > 0 && a[i - 1] == b[i - 1])
    --i;
  if (i == 0) return 0;
  return a[i - 1] < b[i - 1] ? -1 : 1;
}

Word multiply(std::span<Word> words, Word factor) {
  std::uint32_t carry = 0;
  for (Word &word : words) {
    carry += std::uint32_t{word} * factor;  // at most 65535 * 65535 + 65535
    word = static_cast<Word>(carry);
    carry >>= wordBits;
  }
  return static_cast<Word>(carry);
}

Word shiftLeft(std::span<Word> words, unsigned bits) {
  std::uint32_t carry = 0;
  for (Word &word : words) {
    carry |= std::uint32_t{word} << bits;
    word = static_cast<Word>(carry);
    carry >>= wordBits;
  }
  return static_cast<Word>(carry);
}

void shiftRight(std::span<Word> words, unsigned bits) {
  std::uint32_t above = 0;
  for (std::size_t i = words.size(); i-- > 0;) {
    above = above << wordBits | words[i];
    words[i] = static_cast<Word>(above >> bits);
  }
}

// ---- Limbs --------------------------------------------------------------------------------------

namespace {

// limbs = limbs + a * factor; the limb that goes out at the top.
Limb addProduct(Limb *limbs, Limbs a, Limb factor) {
  Limb carry = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const DoubleLimb sum = DoubleLimb{a[i]} * factor + limbs[i] + carry;
    limbs[i] = low(sum);
    carry = high(sum);
  }
  return carry;
}

// limbs = limbs - a * factor; the limb that is missing at the top.
Limb subtractProduct(Limb *limbs, Limbs a, Limb factor) {
  Limb carry = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const DoubleLimb product = DoubleLimb{a[i]} * factor + carry;
    carry = high(product) + (limbs[i] < low(product));
    limbs[i] -= low(product);
  }
  return carry;
}

}  // namespace

void multiply(Limb *product, Limbs a, Limbs b) {
  std::fill_n(product, a.size(), Limb{0});
  for (std::size_t i = 0; i < b.size(); ++i)
    product[i + a.size()] = addProduct(product + i, a, b[i]);
}

void square(Limb *product, Limbs a) {
  multiply(product, a, a);
}

Limb multiplyAdd(std::span<Limb> limbs, Limb factor, Limb addend) {
  for (Limb &limb : limbs) {
    const DoubleLimb sum = DoubleLimb{limb} * factor + addend;
    limb = low(sum);
    addend = high(sum);
  }
  return addend;
}

Limb divide(Limb *quotient, Limbs dividend, Limb divisor) {
  Limb remainder = 0;
  for (std::size_t i = dividend.size(); i-- > 0;) {
    const DoubleLimb current = join(remainder, dividend[i]);
    quotient[i] = low(current / divisor);
    remainder = low(current % divisor);
  }
  return remainder;
}

namespace {

Limb shiftLimbsLeft(std::span<Limb> limbs, unsigned bits) {
  Limb carry = 0;
  for (Limb &limb : limbs) {
    const DoubleLimb shifted = DoubleLimb{limb} << bits | carry;
    limb = low(shifted);
    carry = high(shifted);
  }
  return carry;
}

void shiftLimbsRight(std::span<Limb> limbs, unsigned bits) {
  for (std::size_t i = 0; i < limbs.size(); ++i)
    limbs[i] = low(join(i + 1 < limbs.size() ? limbs[i + 1] : 0, limbs[i]) >> bits);
}

// One limb of quotient, from the top two limbs and one: at most 2 too large for a divisor whose top
// bit is set.
Limb estimate(Limb top, Limb below, Limb divisorTop) {
  if (top >= divisorTop) return ~Limb{0};
  return low(join(top, below) / divisorTop);
}

}  // namespace

void divide(Limb *quotient, std::span<Limb> dividend, Limbs divisor) {
  const std::size_t n = divisor.size();
  const unsigned bits = static_cast<unsigned>(std::countl_zero(divisor.back()));
  std::array<Limb, maxLimbs> normalized;
  std::copy(divisor.begin(), divisor.end(), normalized.begin());
  const std::span<Limb> d = std::span(normalized).first(n);
  shiftLimbsLeft(d, bits);
  std::array<Limb, 2 * maxLimbs + 1> rest;
  std::copy(dividend.begin(), dividend.end(), rest.begin());
  rest[dividend.size()] = shiftLimbsLeft(std::span(rest).first(dividend.size()), bits);
  for (std::size_t j = dividend.size() - n + 1; j-- > 0;) {
    Limb *const window = &rest[j];
    Limb q = estimate(window[n], window[n - 1], d[n - 1]);
    window[n] -= subtractProduct(window, d, q);
    while (window[n] != 0) {  // the estimate was too large
      Limb carry = 0;
      for (std::size_t i = 0; i < n; ++i)
        window[i] = addWithCarry(window[i], d[i], carry);
      window[n] += carry;
      --q;
    }
    quotient[j] = q;
  }
  shiftLimbsRight(std::span(rest).first(n + 1), bits);
  std::fill(dividend.begin(), dividend.end(), Limb{0});
  std::copy_n(rest.begin(), n, dividend.begin());
}

}  // namespace kt::bigint
