// What the functions of this folder share about records: growing one without losing a spare word to
// the 8-bit capacity, and the way of a magnitude to the stack and back.
#ifndef KT_BIGINT_RECORD_H
#define KT_BIGINT_RECORD_H

#include <algorithm>
#include <array>

#include "kt/bigint/Limbs.h"
#include "kt/bigint/_KtInt.h"

namespace kt::bigint {

inline Words words(const _KtInt &i) {
  return {i.digits, i.length};
}
inline std::span<Word> mutableWords(_KtInt &i) {
  return {i.digits, i.length};
}

// Sees to a capacity of `wordCount`, of which the last word is a spare one: a value of 255 words
// does without it.
inline void reserve(_KtInt &i, std::size_t wordCount) {
  if (i.capacity < std::min(wordCount, maxWords))
    _KtIntSetMinLength(&i, static_cast<int>(std::min(wordCount, maxWords)));
}

// Zero in normal form. The block stays.
inline void setZero(_KtInt &i) {
  i.digits[0] = 0;
  i.length = 1;
  i.negative = 0;
}

// Puts `carry` behind the record's words, where it is not 0. A 256th word makes the value zero.
inline void append(_KtInt &i, Word carry) {
  if (carry == 0) return;
  if (i.length == maxWords) return setZero(i);
  i.digits[i.length++] = carry;
}

// The magnitude of a product: twice the length of a record.
using ProductLimbs = std::array<Limb, 2 * maxLimbs>;

// The magnitude of a record, on the stack, without zeros at the top.
class Magnitude {
 public:
  Magnitude() = default;
  explicit Magnitude(const _KtInt &i) { load(significant(words(i))); }
  explicit Magnitude(Limb value) : limbs_{value}, count_(value != 0) {}

  [[nodiscard]] bool isZero() const { return count_ == 0; }
  [[nodiscard]] Limbs limbs() const { return {limbs_.data(), count_}; }
  [[nodiscard]] std::span<Limb> limbs() { return {limbs_.data(), count_}; }

  // Takes a value of any length, cut as a record's length cuts it: it keeps as many words as the
  // low 8 bits of their number say.
  void cut(Limbs value);

  // Writes the value to a record, in normal form and not negative.
  void store(_KtInt &i) const;

 private:
  void load(Words value);

  std::array<Limb, maxLimbs> limbs_;  // those behind count_ are not set
  std::size_t count_ = 0;
};

}  // namespace kt::bigint

#endif
