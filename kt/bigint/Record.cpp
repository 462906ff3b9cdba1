// SPDX-License-Identifier: MIT

#include "kt/bigint/Record.h"

namespace kt::bigint {

Magnitude &Magnitude::operator=(const Magnitude &other) {
  if (this == &other) return *this;
  count_ = other.count_;
  std::memcpy(limbs_.data(), other.limbs_.data(), count_ * sizeof(Limb));
  return *this;
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
  if (const auto bits = kept % wordsPerLimb * wordBits; bits != 0) {
    limbs_[count_ - 1] &= (Limb{1} << bits) - 1;
  }
  settle();
}

}  // namespace kt::bigint
