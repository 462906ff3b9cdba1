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
  count_ = (value.size() + wordsPerLimb - 1) / wordsPerLimb;
  if (count_ == 0) return;
  limbs_[count_ - 1] = 0;
  std::memcpy(limbs_.data(), value.data(), value.size_bytes());
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
  if (isZero()) return setZero(i);
  const std::size_t count = wordCount(limbs());
  reserve(i, count);
  std::memcpy(i.digits, limbs_.data(), count * sizeof(Word));
  i.length = static_cast<std::uint8_t>(count);
  i.negative = 0;
}

}  // namespace kt::bigint
