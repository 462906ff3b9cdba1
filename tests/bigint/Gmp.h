// SPDX-License-Identifier: MIT

// GMP's integers, in the few operations by which results of the library are checked; and whether
// there is a GMP for this word size.
#ifndef KT_TESTS_BIGINT_GMP_H
#define KT_TESTS_BIGINT_GMP_H

#ifdef KT_HAVE_GMP

#include <gmp.h>

#include <cstdint>
#include <cstring>

#include "kt/bigint.h"

namespace kt::test {

class Gmp {
 public:
  Gmp() { mpz_init(number_); }
  explicit Gmp(std::int32_t number) { mpz_init_set_si(number_, number); }
  explicit Gmp(const _KtInt &i) : Gmp() { load(i); }
  Gmp(const Gmp &) = delete;
  Gmp &operator=(const Gmp &) = delete;
  ~Gmp() { mpz_clear(number_); }

  void load(const _KtInt &i) {
    mpz_import(number_, i.length, -1, sizeof(std::uint16_t), 0, 0, i.digits);
    if (i.negative) mpz_neg(number_, number_);
  }

  // Whether `i` is this number, in normal form.
  [[nodiscard]] bool isNormal(const _KtInt &i) const {
    const std::size_t bits = mpz_sgn(number_) == 0 ? 1 : mpz_sizeinbase(number_, 2);
    if (i.length != (bits + 15) / 16 || (i.negative != 0) != (mpz_sgn(number_) < 0)) return false;
    if (mpz_sgn(number_) == 0) return i.digits[0] == 0;
    // Limbs and words are little-endian both.
    return std::memcmp(mpz_limbs_read(number_), i.digits, 2 * std::size_t{i.length}) == 0;
  }

  // Whether a record has room for it.
  [[nodiscard]] bool fits() const { return mpz_sizeinbase(number_, 2) <= 4080; }

  mpz_ptr get() { return number_; }
  [[nodiscard]] mpz_srcptr get() const { return number_; }

 private:
  mpz_t number_;
};

}  // namespace kt::test

#endif

#endif
