// SPDX-License-Identifier: MIT

#include "kt/bigint/Magnitude.h"

#include <algorithm>
#include <cstring>

#include "kt/bigint/CarryChains.h"
#include "kt/bigint/Division.h"

namespace kt::bigint {

Magnitude &Magnitude::operator=(const Magnitude &other) {
  if (this != &other) assign(other.limbs());
  return *this;
}

void Magnitude::assign(Limbs value) {
  count_ = value.size();
  std::memcpy(limbs_.data(), value.data(), value.size_bytes());
  settle();
}

void Magnitude::setMultiple(const Magnitude &a, Limb factor, Limb addend) {
  std::fill_n(limbs_.data(), a.count_, Limb{0});
  limbs_[0] = addend;
  limbs_[a.count_] = a.isZero() ? addend : addProduct(limbs_.data(), a.limbs(), factor);
  count_ = a.count_ + 1;
  settle();
}

void Magnitude::keepLowWords(std::size_t count) {
  count_ = (count + wordsPerLimb - 1) / wordsPerLimb;
  if (const auto bits = count % wordsPerLimb * wordBits; bits != 0) {
    limbs_[count_ - 1] &= (Limb{1} << bits) - 1;
  }
  settle();
}

void divide(Magnitude &dividend, const Magnitude &divisor, Magnitude &quotient) {
  const std::size_t size = dividend.limbs().size();
  quotient = Magnitude();
  if (size < divisor.limbs().size()) return;
  std::array<Limb, maxLimbs> limbs;
  const Divisor prepared(divisor.limbs());
  prepared.divide(limbs.data(), dividend.mutableLimbs());
  dividend.settle();
  quotient.assign(Limbs(limbs).first(size - prepared.size() + 1));
}

}  // namespace kt::bigint
