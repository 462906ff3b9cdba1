// SPDX-License-Identifier: MIT

// Evaluates arithmetic expressions on whole numbers. Operators and operands, from the loosest
// binding to the tightest:
//
//     a << b, a >> b    as in kt::Integer: a >> b rounds down
//     a + b, a - b
//     a * b, a / b, a % b    as in C++: quotients truncate, a remainder has the dividend's sign
//     -a
//     a ^ b             power, right-associative: 2^3^2 is 2^9; -2^2 is -4, and 2^-1 is an error
//     a!                factorial; 3!! is (3!)!
//     12, 0xff, 0b101, (a), gcd(a, b), sqrt(a), powmod(a, b, m)
//
// Operators on one line are left-associative, except ^. Blanks between tokens are ignored.
// Functions without state; any thread may call them.
#ifndef KT_TOOLS_CALCULATOR_EVALUATOR_H
#define KT_TOOLS_CALCULATOR_EVALUATOR_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kt/bigint/Integer.h"

namespace kt::tools {

// Says what is wrong with an expression: "division by zero". Any part of the expression that the
// text repeats is escaped.
class EvaluationError : public std::runtime_error {
 public:
  EvaluationError(const std::string &text, std::size_t column)
      : std::runtime_error(text), column_(column) {}

  // Where it is wrong, in characters from 1. In text that is not UTF-8 each ill-formed part counts
  // as one character.
  [[nodiscard]] std::size_t column() const noexcept { return column_; }

 private:
  std::size_t column_;
};

// Says that the expression costs more than its budget.
class CostError : public EvaluationError {
 public:
  using EvaluationError::EvaluationError;
};

// Budgets for an expression, in steps (BudgetedArithmetic.h): unlimited, or what a server grants
// to a stranger. The latter is about 5 ms on a fast 64-bit machine, enough for a power modulo a
// number of 2,048 bits. On a 32-bit machine a step takes up to six times as long.
inline constexpr std::uint64_t unlimitedSteps = std::numeric_limits<std::uint64_t>::max();
inline constexpr std::uint64_t servedSteps = sizeof(void *) == 8 ? 5'000'000 : 1'000'000;

// Returns the value of `expression`. Throws EvaluationError if it is malformed, has no result,
// yields a number of more than 4,080 bits at any point, or has more than 64 brackets and unfinished
// operations at once; CostError if it costs more than `steps`. Uses at most about 60 kB.
[[nodiscard]] Integer evaluate(std::string_view expression, std::uint64_t steps = unlimitedSteps);

// Returns how many bytes of `expression` precede the character at `column`; all of them if the
// expression ends before it.
[[nodiscard]] std::size_t offsetOfColumn(std::string_view expression, std::size_t column);

}  // namespace kt::tools

#endif
