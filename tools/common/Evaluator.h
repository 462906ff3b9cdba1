// SPDX-License-Identifier: MIT

// Arithmetic on whole numbers, written as people write it, for the programs. What an expression may
// hold, from what binds most loosely to what binds tightest:
//
//     a << b, a >> b    as kt::Integer has them: a >> b rounds down
//     a + b, a - b
//     a * b, a / b, a % b    as in C++: quotients are cut off, a remainder has the dividend's sign
//     -a
//     a ^ b             power, from the right: 2^3^2 is 2^9; -2^2 is -4, and 2^-1 is an error
//     a!                factorial; 3!! is (3!)!
//     12, 0xff, 0b101, (a), gcd(a, b), sqrt(a), powmod(a, b, m)
//
// All of one line bind from the left but for powers. Blanks may stand between the parts. Functions
// without state; any thread may call them.
#ifndef KT_TOOLS_COMMON_EVALUATOR_H
#define KT_TOOLS_COMMON_EVALUATOR_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kt/bigint/Integer.h"

namespace kt::tools {

// What is wrong with an expression, in words for people: "division by zero". What it repeats of the
// expression is printable.
class EvaluationError : public std::runtime_error {
 public:
  EvaluationError(const std::string &text, std::size_t column)
      : std::runtime_error(text), column_(column) {}

  // Where it is wrong: characters, counted from 1. Text that is no UTF-8 counts one for each
  // ill-formed part.
  [[nodiscard]] std::size_t column() const noexcept { return column_; }

 private:
  std::size_t column_;
};

// What an expression may cost, in steps (Calculation.h): as much as it likes, or what a server
// gives to a stranger. That is about 5 milliseconds on a fast host of 64 bits and enough for a
// power modulo a number of 2,048 bits; a step takes one of 32 bits up to six times as long.
inline constexpr std::uint64_t unlimitedSteps = std::numeric_limits<std::uint64_t>::max();
inline constexpr std::uint64_t servedSteps = sizeof(void *) == 8 ? 5'000'000 : 1'000'000;

// The value of `expression`. Throws EvaluationError for what is no expression, has no result, has a
// number of more than 4,080 bits on the way, costs more than `steps`, or holds more than 64
// brackets and unfinished operations at once. Takes about 60 kilobytes at most.
[[nodiscard]] Integer evaluate(std::string_view expression, std::uint64_t steps = unlimitedSteps);

// Bytes of `expression` in front of the character at `column`, all of them where it ends before.
[[nodiscard]] std::size_t offsetOfColumn(std::string_view expression, std::size_t column);

}  // namespace kt::tools

#endif
