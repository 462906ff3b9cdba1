#include "kt/bigint/Record.h"

namespace kt::bigint {

namespace {

// How many words a value has, without zeros at the top. Requires: its top limb is not 0.
std::size_t wordCount(Limbs value) {
  const auto topBits = static_cast<std::size_t>(std::bit_width(value.back()));
  return (value.size() - 1) * wordsPerLimb + (topBits + wordBits - 1) / wordBits;
}

}  // namespace

Magnitude &Magnitude::operator=(const Magnitude &other) {
  if (this == &other) return *this;
  count_ = other.count_;
  std::memcpy(limbs_.data(), other.limbs_.data(), count_ * sizeof(Limb));
  return *this;
}

void Magnitude::load(Words value) {
  const std::size_t whole = value.size() / wordsPerLimb;
  for (std::size_t i = 0; i < whole; ++i)
    limbs_[i] = loadLimb(&value[i * wordsPerLimb]);
  count_ = whole;
  Limb top = 0;
  for (std::size_t i = value.size(); i-- > whole * wordsPerLimb;)
    top = top << wordBits | value[i];
  push(top);
  settle();
}

void Magnitude::setProduct(const Magnitude &a, const Magnitude &b) {
  count_ = 0;
  if (a.isZero() || b.isZero()) return;
  multiply(limbs_.data(), a.limbs(), b.limbs());
  count_ = a.count_ + b.count_;
  settle();
  cut();
}

void Magnitude::setSquare(const Magnitude &a) {
  count_ = 0;
  if (a.isZero()) return;
  square(limbs_.data(), a.limbs());
  count_ = 2 * a.count_;
  settle();
  cut();
}

void Magnitude::setMultiple(const Magnitude &a, Limb factor, Limb addend) {
  std::fill_n(limbs_.data(), a.count_, Limb{0});
  limbs_[0] = addend;
  limbs_[a.count_] = a.isZero() ? addend : addProduct(limbs_.data(), a.limbs(), factor);
  count_ = a.count_ + 1;
  settle();
}

bool Magnitude::isTooLong() const {
  return count_ >= maxLimbs && wordCount(limbs()) > maxWords;
}

void Magnitude::cut(Limbs value) {
  count_ = value.size();
  std::memcpy(limbs_.data(), value.data(), value.size_bytes());
  settle();
  cut();
}

void Magnitude::cutWords() {
  const std::size_t count = wordCount(limbs());
  if (count <= maxWords) return;
  const std::size_t kept = count % (maxWords + 1);
  count_ = (kept + wordsPerLimb - 1) / wordsPerLimb;
  if (const auto bits = kept % wordsPerLimb * wordBits; bits != 0)
    limbs_[count_ - 1] &= (Limb{1} << bits) - 1;
  settle();
}

void Magnitude::store(_KtInt &i) const {
  const std::size_t count = std::max<std::size_t>(wordCount(limbs()), 1);
  reserve(i, count);
  if (isZero()) return setZero(i);
  storeWords(i.digits, count);
  i.length = static_cast<std::uint8_t>(count);
  i.negative = 0;
}

// Limb by limb: a wider copy would have to wait for limbs that were written one by one a moment
// ago, which costs as much as a product of 4 by 4 limbs.
void Magnitude::storeWords(Word *target, std::size_t count) const {
  std::size_t i = 0;
  for (; (i + 1) * wordsPerLimb <= count; ++i)
    storeLimb(target + i * wordsPerLimb, opaque(limbs_[i]));
  Limb top = limbs_[i];
  for (i *= wordsPerLimb; i < count; ++i, top >>= wordBits)
    target[i] = static_cast<Word>(top);
}

}  // namespace kt::bigint
