// SPDX-License-Identifier: MIT

#include "kt/bigint/Division.h"

#include <algorithm>
#include <bit>

#include "kt/bigint/CarryChains.h"

namespace kt::bigint {

namespace {

// Computes target = source << bits in source.size() limbs and returns the bits carried out.
// Requires: bits < limbBits.
Limb shiftUp(Limb *target, Limbs source, unsigned bits) {
  Limb below = 0;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const Limb limb = source[i];
    target[i] = high(join(limb, below) << bits);
    below = limb;
  }
  return high(DoubleLimb{below} << bits);
}

// Divides two limbs by one and returns the quotient; `upper` becomes the remainder. Requires:
// upper < divisor, and the divisor's most significant bit is set.
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

// Returns floor((B^3 - 1) / (upper, lower)) - B, the reciprocal for three limbs by two, where
// B = 2^limbBits.
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

// Divides three limbs by the two most significant limbs of the divisor and returns the quotient,
// which is exact for these and very rarely 1 too large for the whole divisor. `upper` becomes the
// remainder. Requires: upper < the divisor's two most significant limbs.
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

// Returns one limb of the quotient. `upper` holds the two most significant limbs of the rest, and
// `window` the complement of the others. Because ~x + y == ~(x - y), adding a multiple of the
// divisor to the complement subtracts it, so addProduct does the work; its carry is the borrow.
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
