// SPDX-License-Identifier: MIT

// Magnitude: a non-negative value as limbs on the stack. The functions over records and
// kt::Integer both compute products, quotients and text with it; they add the signs and store the
// result. A value can have twice the limbs that can be stored, so that it holds any product.
#ifndef KT_BIGINT_MAGNITUDE_H
#define KT_BIGINT_MAGNITUDE_H

#include <array>
#include <bit>
#include <cstddef>
#include <span>

#include "kt/bigint/Limb.h"
#include "kt/bigint/Limbs.h"

namespace kt::bigint {

// Never has leading zero limbs, except between push() or a change of mutableLimbs() and settle().
class Magnitude {
 public:
  Magnitude() = default;  // zero
  explicit Magnitude(Limb value) : count_(value != 0) { limbs_[0] = value; }
  explicit Magnitude(Words words);  // which may have leading zeros
  Magnitude(const Magnitude &other) { assign(other.limbs()); }
  Magnitude &operator=(const Magnitude &other);
  ~Magnitude() = default;

  [[nodiscard]] bool isZero() const { return count_ == 0; }
  [[nodiscard]] Limbs limbs() const { return {limbs_.data(), count_}; }

  // The number of words without leading zeros: 0 for 0.
  [[nodiscard]] std::size_t wordCount() const;

  // Writes the lowest `count` words. Requires: count == wordCount().
  void storeWords(Word *target, std::size_t count) const;

  // Returns the limbs for changing. Requires: settle() is called afterwards.
  [[nodiscard]] std::span<Limb> mutableLimbs() { return {limbs_.data(), count_}; }

  // Drops leading zeros.
  void settle() { count_ = significant(limbs()).size(); }

  // Appends a most significant limb. Requires: it is not 0, or settle() follows.
  void push(Limb limb) { limbs_[count_++] = limb; }

  // Copies a value, which may have leading zeros. Requires: value.size() <= 2 * maxLimbs.
  void assign(Limbs value);

  // Computes a * b or a * a. Requires: the operands are other objects of at most maxLimbs limbs.
  void setProduct(const Magnitude &a, const Magnitude &b);
  void setSquare(const Magnitude &a);

  // Computes a * factor + addend. Requires: `a` is another object of at most maxLimbs limbs.
  void setMultiple(const Magnitude &a, Limb factor, Limb addend);

  // Returns whether the value has more than maxWords words.
  [[nodiscard]] bool isTooLong() const { return count_ >= maxLimbs && wordCount() > maxWords; }

  // Truncates a value of n > 255 words to its low n mod 256 words, as a record's length does.
  void truncate() {
    if (isTooLong()) keepLowWords(wordCount() % (maxWords + 1));
  }

 private:
  void keepLowWords(std::size_t count);

  std::array<Limb, 2 * maxLimbs> limbs_;  // those from count_ on are not set
  std::size_t count_ = 0;
};

// Divides: `dividend` becomes the remainder, `quotient` the quotient, rounded down. Requires:
// divisor != 0, and three different objects of at most maxLimbs limbs.
void divide(Magnitude &dividend, const Magnitude &divisor, Magnitude &quotient);

// ---- Inline ----

// Returns `limb` unchanged but opaque to the optimiser, so that a copying loop is not vectorised. A
// vectorised copy would stall on limbs that were stored one at a time just before, and its set-up
// costs a fifth of a product of 4 x 4 words.
inline Limb opaque(Limb limb) {
  asm("" : "+r"(limb));
  return limb;
}

inline Magnitude::Magnitude(Words words) {
  const std::size_t whole = words.size() / wordsPerLimb;
  for (std::size_t i = 0; i < whole; ++i) {
    limbs_[i] = opaque(loadLimb(&words[i * wordsPerLimb]));
  }
  count_ = whole;
  Limb last = 0;
  for (std::size_t i = words.size(); i-- > whole * wordsPerLimb;) {
    last = last << wordBits | words[i];
  }
  if (whole * wordsPerLimb < words.size()) push(last);
  settle();
}

inline std::size_t Magnitude::wordCount() const {
  if (isZero()) return 0;
  const auto bits = static_cast<std::size_t>(std::bit_width(limbs().back()));
  return (count_ - 1) * wordsPerLimb + (bits + wordBits - 1) / wordBits;
}

inline void Magnitude::storeWords(Word *target, std::size_t count) const {
  const std::size_t whole = count / wordsPerLimb;
  for (std::size_t i = 0; i < whole; ++i) {
    storeLimb(target + i * wordsPerLimb, opaque(limbs_[i]));
  }
  if (whole * wordsPerLimb == count) return;
  Limb last = limbs_[whole];
  for (std::size_t i = whole * wordsPerLimb; i < count; ++i, last >>= wordBits) {
    target[i] = static_cast<Word>(last);
  }
}

inline void Magnitude::setProduct(const Magnitude &a, const Magnitude &b) {
  count_ = 0;
  if (a.isZero() || b.isZero()) return;
  multiply(limbs_.data(), a.limbs(), b.limbs());
  count_ = a.count_ + b.count_;
  if (limbs_[count_ - 1] == 0) --count_;
}

inline void Magnitude::setSquare(const Magnitude &a) {
  count_ = 0;
  if (a.isZero()) return;
  square(limbs_.data(), a.limbs());
  count_ = 2 * a.count_;
  if (limbs_[count_ - 1] == 0) --count_;
}

}  // namespace kt::bigint

#endif
