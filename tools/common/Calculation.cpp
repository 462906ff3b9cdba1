#include "tools/common/Calculation.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kt::tools {

namespace {

// What an operation costs besides its arithmetic: reading it, and making and freeing its numbers.
constexpr std::uint64_t stepsPerOperation = 150;

// The largest n whose factorial has 4,080 bits or fewer.
constexpr int largestFactorial = 534;

std::uint64_t bits(const Integer &a) {
  return static_cast<std::uint64_t>(a.bitLength());
}

std::uint64_t limbs(const Integer &a) {
  return bits(a) / 64 + 1;
}

void require(bool condition, const char *otherwise) {
  if (!condition) throw CalculationError(otherwise);
}

std::uint64_t divisionSteps(const Integer &dividend, const Integer &divisor) {
  require(divisor.sign() != 0, "division by zero");
  const std::uint64_t least = std::min(limbs(dividend), limbs(divisor));
  return 2 * limbs(dividend) + 2 * (limbs(dividend) - least + 1) * least;
}

// A count beyond every size stands for all of them.
std::int64_t shiftCount(const Integer &count) {
  require(count.sign() >= 0, "the shift count is negative");
  constexpr std::int64_t beyond = Integer::maximumBits + 1;
  return static_cast<std::int64_t>(std::min<Integer>(count, beyond));
}

}  // namespace

void Calculation::spend(std::uint64_t steps) {
  const std::uint64_t all = stepsPerOperation + steps;
  require(all <= stepsLeft_, "the expression takes more work than is allowed");
  stepsLeft_ -= all;
}

Integer Calculation::number(std::string_view digits, int base) {
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
  constexpr std::size_t mostDigits = Integer::maximumBits;  // in binary, and fewer elsewhere
  if (digits.size() > mostDigits) throw std::overflow_error("too many digits");
  spend(2 * digits.size() + digits.size() * digits.size() / 400);
  return Integer(digits, base);
}

Integer Calculation::sum(Integer a, const Integer &b) {
  spend(limbs(a) + limbs(b));
  return std::move(a += b);
}

Integer Calculation::difference(Integer a, const Integer &b) {
  spend(limbs(a) + limbs(b));
  return std::move(a -= b);
}

Integer Calculation::product(Integer a, const Integer &b) {
  spend(limbs(a) * limbs(b));
  return std::move(a *= b);
}

Integer Calculation::quotient(Integer a, const Integer &b) {
  spend(divisionSteps(a, b));
  return std::move(a /= b);
}

Integer Calculation::remainder(Integer a, const Integer &b) {
  spend(divisionSteps(a, b));
  return std::move(a %= b);
}

Integer Calculation::shiftedLeft(Integer a, const Integer &count) {
  const std::int64_t bitCount = shiftCount(count);
  spend(limbs(a) + static_cast<std::uint64_t>(bitCount) / 64);
  return std::move(a <<= bitCount);
}

Integer Calculation::shiftedRight(Integer a, const Integer &count) {
  const std::int64_t bitCount = shiftCount(count);
  spend(limbs(a));
  return std::move(a >>= bitCount);
}

Integer Calculation::power(const Integer &base, const Integer &exponent) {
  require(exponent.sign() >= 0, "the exponent is negative");
  // At most as many squarings as there are bits in 4,080, the last ones of half the largest size.
  constexpr std::uint64_t mostSteps = 6000;
  spend(mostSteps);
  return pow(base, exponent);
}

Integer Calculation::opposite(Integer a) {
  spend(limbs(a));
  return -std::move(a);
}

Integer Calculation::factorial(const Integer &a) {
  require(a.sign() >= 0, "the factorial of a negative number");
  if (a > largestFactorial) throw std::overflow_error("factorial");
  const int last = static_cast<int>(a);
  spend(static_cast<std::uint64_t>(last) * stepsPerOperation);
  Integer result = 1;
  for (int factor = 2; factor <= last; ++factor)
    result *= factor;
  return result;
}

Integer Calculation::greatestCommonDivisor(Integer a, Integer b) {
  // Euclid's algorithm takes at most 3 steps for 2 bits of the smaller number, and each of them a
  // division with a short quotient.
  const std::uint64_t least = std::min(bits(a), bits(b));
  spend(divisionSteps(a, b ? b : 1) + (least * 3 / 2) * (stepsPerOperation / 2 + 4 * (least / 64)));
  return gcd(std::move(a), std::move(b));
}

Integer Calculation::squareRoot(const Integer &a) {
  require(a.sign() >= 0, "the square root of a negative number");
  // A dozen steps of Newton's method, each of them a division by a number of half the size.
  spend(16 * (4 * stepsPerOperation + limbs(a) * limbs(a) / 2));
  return sqrt(a);
}

Integer Calculation::modularPower(const Integer &base, const Integer &exponent,
                                  const Integer &modulus) {
  require(exponent.sign() >= 0, "the exponent is negative");
  // For every bit of the exponent two products and two divisions, all of the modulus's size.
  const std::uint64_t size = limbs(modulus);
  spend(divisionSteps(base, modulus) + bits(exponent) * (4 * size * size + stepsPerOperation));
  return powmod(base, exponent, modulus);
}

}  // namespace kt::tools
