// SPDX-License-Identifier: MIT

// Magnitudes as text in any base, without signs. A base is given by its alphabet: the byte at
// index k is the digit of value k, and the base is the alphabet's length.
#ifndef KT_BIGINT_DIGITS_H
#define KT_BIGINT_DIGITS_H

#include <bit>
#include <cstddef>
#include <limits>
#include <string_view>

#include "kt/bigint/Limb.h"
#include "kt/bigint/Magnitude.h"

namespace kt::bigint {

// The alphabets that have code of their own; readDigits and writeDigits recognise them by content.
// Each is followed by a NUL.
inline constexpr std::string_view binaryAlphabet = "01";
inline constexpr std::string_view decimalAlphabet = "0123456789";
inline constexpr std::string_view hexadecimalAlphabet = "0123456789abcdef";

// Writes the digits of `value` without leading zeros and returns the end of the text. Destroys the
// value. Requires: value != 0 and alphabet.size() >= 2.
char *writeDigits(Magnitude &value, char *output, std::string_view alphabet);

// Whether a lower-case letter of the alphabet also matches its capital.
enum class LetterCase { exact, either };

// What readDigits found.
struct Reading {
  bool onlyDigits = true;  // false if it skipped a character
  bool fits = true;        // false if it truncated the value
};

// Reads digits into `value`, most significant first. Skips characters outside the alphabet; if the
// alphabet has a character twice, the first one counts. A digit that makes the value too long
// truncates it (Magnitude::truncate). The base and the values of digits are taken modulo 65,536.
// Requires: value == 0.
Reading readDigits(std::string_view text, std::string_view alphabet, LetterCase letterCase,
                   Magnitude &value);

// ---- What reading and writing have in common ----

// As many digits as fit a limb: their number, and the base to that power.
struct Chunk {
  Limb power = 1;
  unsigned digits = 0;
};

// Returns the largest chunk of a base. For the bases 0 and 1, which occur only in reading, the
// result has no effect.
constexpr Chunk largestChunk(Limb base) {
  const Limb limit = base < 2 ? 1 : std::numeric_limits<Limb>::max() / base;
  Chunk chunk;
  while (chunk.power <= limit && chunk.digits < limbBits) {
    chunk.power *= base;
    ++chunk.digits;
  }
  return chunk;
}

// Returns how many bits a digit has, or 0 if that is not a whole number.
constexpr unsigned bitsPerDigit(std::size_t base) {
  return base >= 2 && std::has_single_bit(base) ? static_cast<unsigned>(std::countr_zero(base)) : 0;
}

}  // namespace kt::bigint

#endif
