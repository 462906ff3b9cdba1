// SPDX-License-Identifier: MIT

#include "kt/bigint/Limbs.h"

#include <algorithm>
#include <array>

namespace kt::bigint {

// ---- Words ----

int compare(Words a, Words b) {
  std::size_t i = a.size();
  for (; i >= wordsPerLimb; i -= wordsPerLimb) {
    const Limb ofA = loadLimb(&a[i - wordsPerLimb]);
    const Limb ofB = loadLimb(&b[i - wordsPerLimb]);
    if (ofA != ofB) return ofA < ofB ? -1 : 1;
  }
  while (i > 0 && a[i - 1] == b[i - 1]) {
    --i;
  }
  if (i == 0) return 0;
  return a[i - 1] < b[i - 1] ? -1 : 1;
}

Word multiply(std::span<Word> words, Word factor) {
  Limb carry = 0;
  std::size_t i = 0;
  for (; i + wordsPerLimb <= words.size(); i += wordsPerLimb) {
    const DoubleLimb product = DoubleLimb{loadLimb(&words[i])} * factor + carry;
    storeLimb(&words[i], low(product));
    carry = high(product);
  }
  for (; i < words.size(); ++i, carry >>= wordBits) {
    carry += std::uint32_t{words[i]} * factor;  // at most 65535 * 65535 + 65535
    words[i] = static_cast<Word>(carry);
  }
  return static_cast<Word>(carry);
}

Word shiftLeft(std::span<Word> words, unsigned bits) {
  Limb carry = 0;
  std::size_t i = 0;
  for (; i + wordsPerLimb <= words.size(); i += wordsPerLimb) {
    const Limb limb = loadLimb(&words[i]);
    storeLimb(&words[i], limb << bits | carry);
    carry = limb >> (limbBits - bits);
  }
  for (; i < words.size(); ++i, carry >>= wordBits) {
    carry |= std::uint32_t{words[i]} << bits;
    words[i] = static_cast<Word>(carry);
  }
  return static_cast<Word>(carry);
}

void shiftRight(std::span<Word> words, unsigned bits) {
  Limb above = 0;
  std::size_t i = words.size();
  for (; i >= wordsPerLimb; i -= wordsPerLimb) {
    const Limb limb = loadLimb(&words[i - wordsPerLimb]);
    storeLimb(&words[i - wordsPerLimb], above << (limbBits - bits) | limb >> bits);
    above = limb;
  }
  for (; i > 0; --i) {
    above = above << wordBits | words[i - 1];
    words[i - 1] = static_cast<Word>(above >> bits);
  }
}

// ---- Products ----

namespace {

// product = a * factor, one limb more than a has.
void multiplyByLimb(Limb *product, Limbs a, Limb factor) {
  Limb carry = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const DoubleLimb sum = DoubleLimb{a[i]} * factor + carry;
    product[i] = low(sum);
    carry = high(sum);
  }
  product[a.size()] = carry;
}

}  // namespace

void multiply(Limb *product, Limbs a, Limbs b) {
  if (a.size() == 1 && b.size() == 1) {  // a third of the time for 4 words
    const DoubleLimb both = DoubleLimb{a[0]} * b[0];
    product[0] = low(both);
    product[1] = high(both);
    return;
  }
  std::size_t i = 0;
  if (a.size() < 8) {  // a twentieth of the time of 16 limbs is gained by adding the first row too
    multiplyByLimb(product, a, b[i++]);
  } else {
    std::fill_n(product, a.size(), Limb{0});
  }
  for (; i < b.size(); ++i) {
    product[i + a.size()] = addProduct(product + i, a, b[i]);
  }
}

// Each product of two different limbs once, then all of them doubled and the squares added: two
// thirds of the time of a product of 30 by 30 limbs, and no gain below 8.
void square(Limb *product, Limbs a) {
  const std::size_t n = a.size();
  if (n < 8) return multiply(product, a, a);
  product[0] = 0;
  multiplyByLimb(product + 1, a.subspan(1), a[0]);
  for (std::size_t i = 1; i + 1 < n; ++i) {
    product[i + n] = addProduct(product + 2 * i + 1, a.subspan(i + 1), a[i]);
  }
  product[2 * n - 1] = 0;
  Limb carry = 0, bit = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const Limb lower = product[2 * i], upper = product[2 * i + 1];
    const DoubleLimb own = DoubleLimb{a[i]} * a[i];
    product[2 * i] = addWithCarry(lower << 1 | bit, low(own), carry);
    product[2 * i + 1] = addWithCarry(upper << 1 | lower >> (limbBits - 1), high(own), carry);
    bit = upper >> (limbBits - 1);
  }
}

// ---- Quotients ----

namespace {

// target = source shifted up by `bits`, fewer than a limb has; what goes out at the top.
Limb shiftUp(Limb *target, Limbs source, unsigned bits) {
  Limb below = 0;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const Limb limb = source[i];
    target[i] = high(join(limb, below) << bits);
    below = limb;
  }
  return high(DoubleLimb{below} << bits);
}

// The quotient of two limbs, the upper one smaller than the divisor, by one whose top bit is set.
// The remainder takes the place of the upper one.
Limb divideTwoByOne(Limb &upper, Limb lower, Limb divisor, Limb reciprocal) {
  const DoubleLimb candidate = DoubleLimb{reciprocal} * upper + join(upper, lower);
  Limb quotient = high(candidate) + 1;
  Limb remainder = lower - quotient * divisor;
  if (remainder > low(candidate)) {
    --quotient;
    remainder += divisor;
  }
  if (remainder >= divisor) [[unlikely]] {
    ++quotient;
    remainder -= divisor;
  }
  upper = remainder;
  return quotient;
}

// The reciprocal for three limbs by two: floor((B^3 - 1) / (upper, lower)) - B.
Limb reciprocalOfTwo(Limb upper, Limb lower) {
  Limb reciprocal = LimbDivisor::reciprocalOf(upper);
  Limb rest = upper * reciprocal + lower;
  if (rest < lower) {
    --reciprocal;
    if (rest >= upper) {
      --reciprocal;
      rest -= upper;
    }
    rest -= upper;
  }
  const DoubleLimb product = DoubleLimb{reciprocal} * lower;
  rest += high(product);
  if (rest < high(product)) {
    --reciprocal;
    if (join(rest, low(product)) >= join(upper, lower)) --reciprocal;
  }
  return reciprocal;
}

}  // namespace

Limb LimbDivisor::divide(std::span<Limb> dividend) const {
  if (dividend.empty()) return 0;
  Limb remainder = high(DoubleLimb{dividend.back()} << bits_);
  for (std::size_t i = dividend.size(); i-- > 0;) {
    const Limb below = i > 0 ? dividend[i - 1] : 0;
    const Limb lower = high(join(dividend[i], below) << bits_);
    dividend[i] = divideTwoByOne(remainder, lower, divisor_, reciprocal_);
  }
  return remainder >> bits_;
}

Divisor::Divisor(Limbs divisor)
    : count_(divisor.size()), bits_(static_cast<unsigned>(std::countl_zero(divisor.back()))) {
  shiftUp(limbs_.data(), divisor, bits_);
  reciprocal_ = count_ == 1 ? LimbDivisor::reciprocalOf(limbs_[0])
                            : reciprocalOfTwo(limbs_[count_ - 1], limbs_[count_ - 2]);
}

// Three limbs by the top two of the divisor: the quotient is one limb, exact for these and, very
// rarely, 1 too large for all of the divisor. The remainder takes the place of the upper two.
// Requires: the upper two are less than the top two of the divisor.
Limb Divisor::divideThreeByTwo(DoubleLimb &upper, Limb lower) const {
  const DoubleLimb divisor = join(limbs_[count_ - 1], limbs_[count_ - 2]);
  const DoubleLimb candidate = DoubleLimb{reciprocal_} * high(upper) + upper;
  Limb quotient = high(candidate) + 1;
  const Limb top = low(upper) - high(candidate) * high(divisor);
  DoubleLimb remainder = join(top, lower) - DoubleLimb{high(candidate)} * low(divisor) - divisor;
  if (high(remainder) >= low(candidate)) {
    --quotient;
    remainder += divisor;
  }
  if (remainder >= divisor) [[unlikely]] {
    ++quotient;
    remainder -= divisor;
  }
  upper = remainder;
  return quotient;
}

// One limb of the quotient. `upper` are the top two limbs of what is left; those below stand in
// `window` as their complement, to which multiples of the divisor are added, so that the loop of
// products serves here too: ~x + y is ~(x - y), and a carry out of it is a borrow.
Limb Divisor::divideStep(DoubleLimb &upper, Limb *window) const {
  const DoubleLimb top = join(limbs_[count_ - 1], limbs_[count_ - 2]);
  if (upper >= top) [[unlikely]] {
    const Limb quotient = ~Limb{0};
    window[count_ - 1] = ~low(upper);
    addProduct(window, limbs(), quotient);
    upper = ~join(window[count_ - 1], window[count_ - 2]);
    return quotient;
  }
  Limb quotient = divideThreeByTwo(upper, ~window[count_ - 2]);
  const Limbs below = limbs().first(count_ - 2);
  const Limb borrow = addProduct(window, below, quotient);
  const bool isTooLarge = upper < borrow;
  upper -= borrow;
  if (!isTooLarge) [[likely]] {
    return quotient;
  }
  Limb carry = 0;
  for (std::size_t i = 0; i < below.size(); ++i) {
    window[i] = subtractWithBorrow(window[i], below[i], carry);
  }
  upper += top + carry;
  return quotient - 1;
}

void Divisor::divideByLimb(Limb *quotient, Limbs dividend, Limb &remainder) const {
  for (std::size_t i = dividend.size(); i-- > 0;) {
    quotient[i] = divideTwoByOne(remainder, dividend[i], limbs_[0], reciprocal_);
  }
}

void Divisor::divide(Limb *quotient, std::span<Limb> dividend) const {
  std::array<Limb, 2 * maxLimbs> rest;
  const std::size_t size = dividend.size();
  Limb top = shiftUp(rest.data(), dividend, bits_);
  std::fill(dividend.begin(), dividend.end(), Limb{0});
  if (count_ == 1) {
    divideByLimb(quotient, Limbs(rest).first(size), top);
    dividend[0] = top >> bits_;
    return;
  }
  DoubleLimb upper = join(top, rest[size - 1]);
  for (std::size_t i = 0; i + 1 < size; ++i) {
    rest[i] = ~rest[i];
  }
  for (std::size_t i = size - count_ + 1; i-- > 0;) {
    quotient[i] = divideStep(upper, &rest[i]);
  }
  for (std::size_t i = 0; i + 2 < count_; ++i) {
    rest[i] = ~rest[i];
  }
  rest[count_ - 2] = low(upper);
  rest[count_ - 1] = high(upper);
  for (std::size_t i = 0; i < count_; ++i) {
    dividend[i] = low(join(i + 1 < count_ ? rest[i + 1] : 0, rest[i]) >> bits_);
  }
}

}  // namespace kt::bigint
