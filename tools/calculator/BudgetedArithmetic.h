// SPDX-License-Identifier: MIT

// Integer arithmetic on a budget. Each operation computes its cost from the sizes of its operands
// before it starts, and is refused if the budget does not cover it. No clock is read, so the same
// numbers are refused on every machine. One object serves one expression, on one thread.
//
// The unit of cost is a step: about the time of a product of two 64-bit words, <= 1 ns on a fast
// machine. A result of more than 4,080 bits throws std::overflow_error, as kt::Integer does; any
// other operation without a result throws ArithmeticError.
#ifndef KT_TOOLS_CALCULATOR_BUDGETEDARITHMETIC_H
#define KT_TOOLS_CALCULATOR_BUDGETEDARITHMETIC_H

#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "kt/bigint/Integer.h"

namespace kt::tools {

// Why an operation has no result, in words for people: "division by zero".
class ArithmeticError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The budget does not cover an operation.
class BudgetError : public ArithmeticError {
 public:
  BudgetError() : ArithmeticError("the expression takes more work than is allowed") {}
};

class BudgetedArithmetic {
 public:
  // Starts with a budget of `steps`.
  explicit BudgetedArithmetic(std::uint64_t steps) : stepsLeft_(steps) {}

  // Returns the number that `digits` denote in `base`.
  // Requires: 2 <= base <= 16, and `digits` is one or more digits of that base.
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
  // Takes `steps` from the budget. Throws BudgetError if fewer are left.
  void spend(std::uint64_t steps);

  std::uint64_t stepsLeft_;
};

}  // namespace kt::tools

#endif
