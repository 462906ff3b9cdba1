// SPDX-License-Identifier: MIT

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
  const std::size_t capacity = std::min(wordCount, maxWords);
  if (i.capacity < capacity) _KtIntSetMinLength(&i, static_cast<int>(capacity));
}

// Brings the record to normal form.
inline void normalize(_KtInt &i) {
  while (i.length > 1 && i.digits[i.length - 1] == 0) {
    --i.length;
  }
  if (i.length == 1 && i.digits[0] == 0) i.negative = 0;
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

// How many words a value has, without zeros at the top. Requires: its top limb is not 0.
inline std::size_t wordCount(Limbs value) {
  const auto topBits = static_cast<std::size_t>(std::bit_width(value.back()));
  return (value.size() - 1) * wordsPerLimb + (topBits + wordBits - 1) / wordBits;
}

// A magnitude on the stack, without zeros at the top: that of a record, or a product of two.
class Magnitude {
 public:
  Magnitude() = default;  // zero
  explicit Magnitude(const _KtInt &i) { load(words(i)); }
  explicit Magnitude(Limb value) : count_(value != 0) { limbs_[0] = value; }
  Magnitude(const Magnitude &other) { *this = other; }
  Magnitude &operator=(const Magnitude &other);

  [[nodiscard]] bool isZero() const { return count_ == 0; }
  [[nodiscard]] Limbs limbs() const { return {limbs_.data(), count_}; }

  // The limbs to be changed, after which settle() counts those that are left.
  [[nodiscard]] std::span<Limb> mutableLimbs() { return {limbs_.data(), count_}; }
  void settle() { count_ = significant(limbs()).size(); }

  // Puts a limb on top. Requires: it is not 0, or settle() follows; at most maxLimbs so far.
  void push(Limb top) { limbs_[count_++] = top; }

  // Takes the product of two others, or the square of another, cut.
  void setProduct(const Magnitude &a, const Magnitude &b);
  void setSquare(const Magnitude &a);

  // Takes a * factor + addend, which may be too long for a record.
  void setMultiple(const Magnitude &a, Limb factor, Limb addend);

  [[nodiscard]] bool isTooLong() const;

  // Cuts a value that is too long for a record as a record's length cuts it: of its words it keeps
  // as many as the low 8 bits of their number say.
  void cut() {
    if (count_ >= maxLimbs) cutWords();
  }
  void cut(Limbs value);

  // Writes the value to a record, in normal form and not negative. Requires: it fits, as it does
  // once it is cut.
  void store(_KtInt &i) const;

 private:
  void load(Words value);
  void cutWords();
  void storeWords(Word *target, std::size_t count) const;

  std::array<Limb, 2 * maxLimbs> limbs_;  // those behind count_ are not set
  std::size_t count_ = 0;
};

// Values come and go limb by limb. A wider copy would have to wait for limbs that were written one
// by one a moment ago, and for few limbs its preparations alone cost a fifth of a product of 4
// by 4.
inline void Magnitude::load(Words value) {
  const std::size_t whole = value.size() / wordsPerLimb;
  for (std::size_t i = 0; i < whole; ++i) {
    limbs_[i] = opaque(loadLimb(&value[i * wordsPerLimb]));
  }
  count_ = whole;
  Limb top = 0;
  for (std::size_t i = value.size(); i-- > whole * wordsPerLimb;) {
    top = top << wordBits | value[i];
  }
  if (whole * wordsPerLimb < value.size()) push(top);
  settle();
}

inline void Magnitude::storeWords(Word *target, std::size_t count) const {
  const std::size_t whole = count / wordsPerLimb;
  for (std::size_t i = 0; i < whole; ++i) {
    storeLimb(target + i * wordsPerLimb, opaque(limbs_[i]));
  }
  if (whole * wordsPerLimb == count) return;
  Limb top = limbs_[whole];
  for (std::size_t i = whole * wordsPerLimb; i < count; ++i, top >>= wordBits) {
    target[i] = static_cast<Word>(top);
  }
}

inline void Magnitude::store(_KtInt &i) const {
  const std::size_t count = isZero() ? 1 : wordCount(limbs());
  reserve(i, count);  // of a zero too: a request may have cut the capacity to 0
  if (isZero()) return setZero(i);
  storeWords(i.digits, count);
  i.length = static_cast<std::uint8_t>(count);
  i.negative = 0;
}

inline void Magnitude::setProduct(const Magnitude &a, const Magnitude &b) {
  count_ = 0;
  if (a.isZero() || b.isZero()) return;
  multiply(limbs_.data(), a.limbs(), b.limbs());
  count_ = a.count_ + b.count_;
  if (limbs_[count_ - 1] == 0) --count_;
  cut();
}

inline void Magnitude::setSquare(const Magnitude &a) {
  count_ = 0;
  if (a.isZero()) return;
  square(limbs_.data(), a.limbs());
  count_ = 2 * a.count_;
  if (limbs_[count_ - 1] == 0) --count_;
  cut();
}

}  // namespace kt::bigint

#endif
