// SPDX-License-Identifier: MIT

// The exceptions of kt::Integer. `operation` is the function that fails, as its users write it.
#ifndef KT_BIGINT_ERRORS_H
#define KT_BIGINT_ERRORS_H

#include <stdexcept>
#include <string>

#include "kt/bigint/Integer.h"

namespace kt::bigint {

inline std::overflow_error tooLarge(const char *operation) {
  return std::overflow_error("kt::Integer: more than " + std::to_string(Integer::maximumBits) +
                             " bits in " + operation);
}

inline std::overflow_error conversionOverflow() {
  return std::overflow_error("kt::Integer: the value does not fit in the conversion's type");
}

inline std::domain_error divisionByZero(const char *operation) {
  return std::domain_error(std::string("kt::Integer: division by zero in ") + operation);
}

// Throws if an operand that must not be negative is negative.
inline void requireNotNegative(bool negative, const char *operand, const char *operation) {
  if (!negative) return;
  throw std::domain_error(std::string("kt::Integer: negative ") + operand + " in " + operation);
}

// Returns the exception for an invalid text, base or alphabet.
inline std::invalid_argument invalid(const char *what, const char *operation) {
  return std::invalid_argument(std::string("kt::Integer: ") + what + " in " + operation);
}

}  // namespace kt::bigint

#endif
