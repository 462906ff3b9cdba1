// SPDX-License-Identifier: MIT

// Helpers for _KtInt records: their words, their normal form, room for a result, and storing a
// Magnitude.
#ifndef KT_BIGINT_RECORD_H
#define KT_BIGINT_RECORD_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "kt/bigint/Limb.h"
#include "kt/bigint/Magnitude.h"
#include "kt/bigint/_KtInt.h"

namespace kt::bigint {

// Returns the words of the value; valid until the record's block changes.
inline Words wordsOf(const _KtInt &i) {
  return {i.digits, i.length};
}
inline std::span<Word> mutableWordsOf(_KtInt &i) {
  return {i.digits, i.length};
}

// Returns the magnitude of the value.
inline Magnitude magnitudeOf(const _KtInt &i) {
  return Magnitude(wordsOf(i));
}

// Ensures capacity for min(wordCount, maxWords) words. Callers count one spare word for a carry.
// A value of 255 words has no spare word: a capacity of 256 would not fit 8 bits.
inline void reserve(_KtInt &i, std::size_t wordCount) {
  const std::size_t capacity = std::min(wordCount, maxWords);
  if (i.capacity < capacity) _KtIntSetMinLength(&i, static_cast<int>(capacity));
}

// Brings the record to normal form: no leading zero words, no sign on a zero.
inline void normalise(_KtInt &i) {
  while (i.length > 1 && i.digits[i.length - 1] == 0) {
    --i.length;
  }
  if (i.length == 1 && i.digits[0] == 0) i.negative = 0;
}

// Makes the value a zero in normal form. Requires: room for one word.
inline void setZero(_KtInt &i) {
  i.digits[0] = 0;
  i.length = 1;
  i.negative = 0;
}

// Appends `carry` as the most significant word unless it is 0. A 256th word makes the value zero:
// 256 mod 256 words are kept. Requires: room for the word.
inline void append(_KtInt &i, Word carry) {
  if (carry == 0) return;
  if (i.length == maxWords) return setZero(i);
  i.digits[i.length++] = carry;
}

// Makes the record this value, in normal form and not negative. Requires: !value.isTooLong().
inline void store(const Magnitude &value, _KtInt &i) {
  const std::size_t count = value.wordCount();
  reserve(i, std::max<std::size_t>(count, 1));  // a request for 256 words makes the capacity 0
  if (count == 0) return setZero(i);
  value.storeWords(i.digits, count);
  i.length = static_cast<std::uint8_t>(count);
  i.negative = 0;
}

}  // namespace kt::bigint

#endif
