// SPDX-License-Identifier: MIT

// kt::powmod. It works on limbs, because a product on the way is twice as long as a record can be.
#include <algorithm>
#include <array>
#include <stdexcept>

#include "kt/bigint/Integer.h"
#include "kt/bigint/Record.h"

namespace kt {

namespace {

using bigint::Limb;
using bigint::Limbs;

// Numbers modulo m. A residue has as many limbs as m, zeros at the top included.
class Residues {
 public:
  using Residue = std::array<Limb, bigint::maxLimbs>;

  explicit Residues(const _KtInt &modulus) : modulus_(bigint::Magnitude(modulus).limbs()) {}

  // Requires: 0 <= value < m.
  [[nodiscard]] static Residue residueOf(const _KtInt &value) {
    Residue residue{};
    const bigint::Magnitude magnitude(value);
    std::ranges::copy(magnitude.limbs(), residue.begin());
    return residue;
  }

  void store(const Residue &residue, _KtInt &record) const {
    bigint::Magnitude magnitude;
    magnitude.cut(limbsOf(residue));
    magnitude.store(record);
  }

  // a = a * b and a = a * a, modulo m.
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
  std::array<Limb, bigint::maxLimbs + 1> quotient_;  // not needed, but division gives it
};

bool bitOf(const _KtInt &record, int bit) {
  constexpr int bits = bigint::wordBits;
  return (record.digits[bit / bits] >> (bit % bits) & 1) != 0;
}

}  // namespace

Integer powmod(const Integer &base, const Integer &exponent, const Integer &modulus) {
  if (exponent.sign() < 0) throw std::domain_error("kt::Integer: negative exponent in powmod");
  if (!modulus) throw std::domain_error("kt::Integer: division by zero in powmod");
  Integer residue = base % modulus;
  if (residue.sign() < 0) residue += abs(modulus);
  if (!exponent) return 1 % modulus;
  if (!residue) return residue;
  Residues residues(*modulus.record_);
  const Residues::Residue factor = Residues::residueOf(*residue.record_);
  Residues::Residue power = factor;
  for (int bit = exponent.bitLength() - 1; bit-- > 0;) {
    residues.square(power);
    if (bitOf(*exponent.record_, bit)) residues.multiply(power, factor);
  }
  residues.store(power, *residue.record_);
  residue.dropIfZero();
  return residue;
}

}  // namespace kt
