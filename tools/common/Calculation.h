// SPDX-License-Identifier: MIT

// Integer arithmetic on a budget. Every operation says what it will cost before it begins, counted
// from the sizes of its operands, and is refused when more has been spent than is allowed; no clock
// is asked, so that the same numbers are refused everywhere. One object for one expression, on one
// thread.
//
// The unit is a step, which takes about as long as a product of two 64-bit words, a nanosecond or
// less on a fast host. Results of more than 4,080 bits are std::overflow_error as kt::Integer
// throws it; what else has no result is CalculationError.
#ifndef KT_TOOLS_COMMON_CALCULATION_H
#define KT_TOOLS_COMMON_CALCULATION_H

#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "kt/bigint/Integer.h"

namespace kt::tools {

// Why an operation has no result, in words for people: "division by zero".
class CalculationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Calculation {
 public:
  // Allows `steps` in all.
  explicit Calculation(std::uint64_t steps) : stepsLeft_(steps) {}

  // The number of these digits; there is one or more of them, and each is one of `base`, 2 to 16.
  Integer number(std::string_view digits, int base);

  Integer sum(Integer a, const Integer &b);
  Integer difference(Integer a, const Integer &b);
  Integer product(Integer a, const Integer &b);
  Integer quotient(Integer a, const Integer &b);
  Integer remainder(Integer a, const Integer &b);
  Integer shiftedLeft(Integer a, const Integer &count);
  Integer shiftedRight(Integer a, const Integer &count);
  Integer power(const Integer &base, const Integer &exponent);
  Integer opposite(const Integer &a);
  Integer factorial(const Integer &a);
  Integer greatestCommonDivisor(Integer a, Integer b);
  Integer squareRoot(const Integer &a);
  Integer modularPower(const Integer &base, const Integer &exponent, const Integer &modulus);

 private:
  void spend(std::uint64_t steps);

  std::uint64_t stepsLeft_;
};

}  // namespace kt::tools

#endif
