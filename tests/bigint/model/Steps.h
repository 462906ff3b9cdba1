// SPDX-License-Identifier: MIT

// Helpers shared by the model's source files; its users do not need them.
#ifndef KT_TESTS_BIGINT_MODEL_STEPS_H
#define KT_TESTS_BIGINT_MODEL_STEPS_H

#include <cstdint>

#include "tests/bigint/model/Model.h"

namespace kt::test::model {

constexpr std::int64_t maxLength = 255;  // words; the largest value of a record's 8-bit length

// Throws FailedAssertion if the condition is false.
inline void require(bool condition, const char *unit, int line, const char *text) {
  if (!condition) throw FailedAssertion(unit, line, text);
}

// Ensures that `n` words can be written. Does not change `capacity`.
void haveWords(Int *i, std::int64_t n);

// As setMinLength, but never allocates a 256th word: for a result that may not need its last word.
void setMinLengthToSpare(Int *i, std::int64_t n);

// Makes the n words written the value. Leading zero words beyond 255 words are dropped first. If
// n > 255 words remain, the length becomes n mod 256. If n mod 256 is 0, the value becomes a
// normalised zero, and only then the result is false.
bool setLength(Int *i, std::int64_t n);

// Makes the value a normalised zero.
void setToZero(Int *i);

// Returns the index of the word's highest set bit, or 0 for 0.
std::int32_t highestBit(Word word);

}  // namespace kt::test::model

#endif
