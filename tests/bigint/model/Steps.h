// SPDX-License-Identifier: MIT

// What the model's files share and its users have no need of.
#ifndef KT_TESTS_BIGINT_MODEL_STEPS_H
#define KT_TESTS_BIGINT_MODEL_STEPS_H

#include "tests/bigint/model/Model.h"

namespace model {

constexpr std::int64_t maxLength = 255;  // the most words that a record's length can name

inline void require(bool condition, const char *unit, int line, const char *text) {
  if (!condition) throw FailedAssertion(unit, line, text);
}

// Makes sure that `n` words can be written; whether they are allocated is for `capacity` to say.
void haveWords(Int *i, std::int64_t n);

// As setMinLength, for a result of at most 255 words and one to spare: a 256th is never allocated.
void setMinLengthToSpare(Int *i, std::int64_t n);

// Takes the n words written as the value. Of more than 255, zeros on top are dropped; if there are
// still more, the low 8 bits of their number count, and where these are 0 the value is a normal
// zero: then, and only then, the result is false.
bool setLength(Int *i, std::int64_t n);

void setToZero(Int *i);

// The index of the word's highest set bit; 0 for 0.
std::int32_t highestBit(Word word);

}  // namespace model

#endif
