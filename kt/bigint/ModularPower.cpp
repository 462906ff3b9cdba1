// SPDX-License-Identifier: MIT

// kt::powmod, on limbs: the products on the way have twice the limbs of a value.
#include <algorithm>
#include <array>
#include <cstddef>

#include "kt/bigint/Division.h"
#include "kt/bigint/Errors.h"
#include "kt/bigint/Integer.h"
#include "kt/bigint/Limbs.h"
#include "kt/bigint/Magnitude.h"

namespace kt {

namespace {

using bigint::Limb;
using bigint::Limbs;
using bigint::Magnitude;

// Computes modulo m. A residue has as many limbs as m, leading zeros included.
class Residues {
 public:
  using Residue = std::array<Limb, bigint::maxLimbs>;

  explicit Residues(const Magnitude &modulus) : modulus_(modulus.limbs()) {}

  // Requires: value < m.
  [[nodiscard]] static Residue residueOf(const Magnitude &value) {
    Residue residue{};
    std::ranges::copy(value.limbs(), residue.begin());
    return residue;
  }

  [[nodiscard]] Magnitude valueOf(const Residue &residue) const {
    Magnitude value;
    value.assign(limbsOf(residue));
    return value;
  }

  // Compute a = a * b and a = a * a, modulo m.
  void multiply(Residue &a, const Residue &b) {
    bigint::multiply(product_.data(), limbsOf(a), limbsOf(b));
    reduceTo(a);
  }
  void square(Residue &a) {
    bigint::square(product_.data(), limbsOf(a));
    reduceTo(a);
  }

 private:
  [[nodiscard]] std::size_t count() const { return modulus_.size(); }
  [[nodiscard]] Limbs limbsOf(const Residue &residue) const { return {residue.data(), count()}; }

  void reduceTo(Residue &residue) {
    modulus_.divide(quotient_.data(), {product_.data(), 2 * count()});
    std::copy_n(product_.begin(), count(), residue.begin());
  }

  const bigint::Divisor modulus_;
  std::array<Limb, 2 * bigint::maxLimbs> product_;
  std::array<Limb, bigint::maxLimbs + 1> quotient_;  // unused, but division stores it
};

bool bitOf(Limbs value, int bit) {
  constexpr int bits = bigint::limbBits;
  return (value[static_cast<std::size_t>(bit / bits)] >> (bit % bits) & 1) != 0;
}

}  // namespace

Integer powmod(const Integer &base, const Integer &exponent, const Integer &modulus) {
  bigint::requireNotNegative(exponent.negative_, "exponent", "powmod");
  if (!modulus) throw bigint::divisionByZero("powmod");
  if (!exponent) return 1 % modulus;
  Integer residue = base % modulus;
  if (residue.negative_) residue += abs(modulus);
  if (!residue) return residue;
  Residues residues(modulus.magnitude());
  const Residues::Residue factor = Residues::residueOf(residue.magnitude());
  const Magnitude exponentBits = exponent.magnitude();
  Residues::Residue power = factor;
  for (int bit = exponent.bitLength() - 1; bit-- > 0;) {
    residues.square(power);
    if (bitOf(exponentBits.limbs(), bit)) residues.multiply(power, factor);
  }
  return {residues.valueOf(power), false};
}

}  // namespace kt
