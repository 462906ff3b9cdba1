// SPDX-License-Identifier: MIT

#include "tools/calculator/BudgetedArithmetic.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace kt::tools {

namespace {

// The figures in this file are measured for the worst operands of each size and rounded up: in a
// release build on an x86-64 machine of about 2020, a step takes <= 1 ns.

// The steps that an operation costs besides its arithmetic: parsing it, allocating and freeing its
// numbers. An expensive operation allocates several.
constexpr std::uint64_t plainOperation = 60;
constexpr std::uint64_t dearOperation = 200;

// The largest n whose factorial has <= 4,080 bits.
constexpr int largestFactorial = 534;

std::uint64_t bits(const Integer &a) {
  return static_cast<std::uint64_t>(a.bitLength());
}

std::uint64_t limbs(const Integer &a) {
  return (bits(a) + 63) / 64;
}

void require(bool condition, const char *otherwise) {
  if (!condition) throw ArithmeticError(otherwise);
}

std::uint64_t divisionSteps(const Integer &dividend, const Integer &divisor) {
  require(divisor.sign() != 0, "division by zero");
  const std::uint64_t least = std::min(limbs(dividend), limbs(divisor));
  const std::uint64_t quotient = limbs(dividend) - least + 1;
  return dearOperation + 4 * limbs(dividend) + 2 * quotient * least;
}

// Returns `count` as a machine integer. Counts above 4,080 bits all have the same effect.
std::int64_t shiftCount(const Integer &count) {
  require(count.sign() >= 0, "the shift count is negative");
  constexpr std::int64_t beyond = Integer::maximumBits + 1;
  return static_cast<std::int64_t>(std::min<Integer>(count, beyond));
}

}  // namespace

void BudgetedArithmetic::spend(std::uint64_t steps) {
  if (steps > stepsLeft_) throw BudgetError();
  stepsLeft_ -= steps;
}

Integer BudgetedArithmetic::number(std::string_view digits, int base) {
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
  constexpr std::size_t mostDigits = Integer::maximumBits;  // in binary; fewer in other bases
  if (digits.size() > mostDigits) throw std::overflow_error("too many digits");
  spend(plainOperation + 10 * digits.size());
  return Integer(digits, base);
}

Integer BudgetedArithmetic::sum(Integer a, const Integer &b) {
  spend(plainOperation + limbs(a) + limbs(b));
  return std::move(a += b);
}

Integer BudgetedArithmetic::difference(Integer a, const Integer &b) {
  spend(plainOperation + limbs(a) + limbs(b));
  return std::move(a -= b);
}

Integer BudgetedArithmetic::product(Integer a, const Integer &b) {
  spend(plainOperation + 3 * (limbs(a) + limbs(b)) + limbs(a) * limbs(b));
  return std::move(a *= b);
}

Integer BudgetedArithmetic::quotient(Integer a, const Integer &b) {
  spend(divisionSteps(a, b));
  return std::move(a /= b);
}

Integer BudgetedArithmetic::remainder(Integer a, const Integer &b) {
  spend(divisionSteps(a, b));
  return std::move(a %= b);
}

Integer BudgetedArithmetic::shiftedLeft(Integer a, const Integer &count) {
  const std::int64_t bitCount = shiftCount(count);
  spend(plainOperation + 2 * limbs(a) + static_cast<std::uint64_t>(bitCount) / 64);
  return std::move(a <<= bitCount);
}

Integer BudgetedArithmetic::shiftedRight(Integer a, const Integer &count) {
  const std::int64_t bitCount = shiftCount(count);
  spend(plainOperation + 4 * limbs(a));
  return std::move(a >>= bitCount);
}

Integer BudgetedArithmetic::power(const Integer &base, const Integer &exponent) {
  require(exponent.sign() >= 0, "the exponent is negative");
  // At most 12 squarings, the number of bits in 4,080; the last ones are of half the largest size.
  constexpr std::uint64_t mostSteps = 3000;
  spend(mostSteps);
  return pow(base, exponent);
}

Integer BudgetedArithmetic::opposite(const Integer &a) {
  spend(plainOperation + limbs(a));
  return -a;
}

Integer BudgetedArithmetic::factorial(const Integer &a) {
  require(a.sign() >= 0, "the factorial of a negative number");
  if (a > largestFactorial) throw std::overflow_error("factorial");
  const int last = static_cast<int>(a);
  constexpr std::uint64_t stepsPerFactor = 150;
  spend(plainOperation + static_cast<std::uint64_t>(last) * stepsPerFactor);
  Integer result = 1;
  for (int factor = 2; factor <= last; ++factor) {
    result *= factor;
  }
  return result;
}

Integer BudgetedArithmetic::greatestCommonDivisor(Integer a, Integer b) {
  // Euclid's algorithm takes at most 3 divisions per 2 bits of the smaller number; two Fibonacci
  // numbers need that many. All quotients except the first are short.
  const std::uint64_t divisions = std::min(bits(a), bits(b)) * 3 / 2;
  const std::uint64_t stepsPerDivision = 140 + 2 * std::min(limbs(a), limbs(b));
  spend(dearOperation + (b ? divisionSteps(a, b) : 0) + divisions * stepsPerDivision);
  return gcd(std::move(a), std::move(b));
}

Integer BudgetedArithmetic::squareRoot(const Integer &a) {
  require(a.sign() >= 0, "the square root of a negative number");
  // Newton's method doubles the number of correct bits per iteration, and each iteration divides by
  // a number of half the size.
  const std::uint64_t divisions = static_cast<std::uint64_t>(std::bit_width(bits(a))) + 3;
  spend(dearOperation + divisions * (2 * dearOperation + 4 * limbs(a) + limbs(a) * limbs(a) / 2));
  return sqrt(a);
}

Integer BudgetedArithmetic::modularPower(const Integer &base, const Integer &exponent,
                                         const Integer &modulus) {
  require(exponent.sign() >= 0, "the exponent is negative");
  // Two products and two divisions of the modulus's size per bit of the exponent.
  const std::uint64_t size = limbs(modulus);
  const std::uint64_t stepsPerBit = 90 + 8 * size + 2 * size * size;
  spend(dearOperation + divisionSteps(base, modulus) + bits(exponent) * stepsPerBit);
  return powmod(base, exponent, modulus);
}

}  // namespace kt::tools
