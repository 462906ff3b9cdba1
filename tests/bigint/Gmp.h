// SPDX-License-Identifier: MIT

// Gmp: an mpz_t that frees itself, to check results of the library against GMP. Declared only if
// KT_HAVE_GMP is defined: GMP may be missing for this word size.
#ifndef KT_TESTS_BIGINT_GMP_H
#define KT_TESTS_BIGINT_GMP_H

#ifdef KT_HAVE_GMP

#include <gmp.h>

#include <cstddef>
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
    if (i.negative != 0) mpz_neg(number_, number_);
  }

  // Returns whether `i` holds this number in normal form.
  [[nodiscard]] bool isNormal(const _KtInt &i) const {
    const std::size_t bits = mpz_sgn(number_) == 0 ? 1 : mpz_sizeinbase(number_, 2);
    if (i.length != (bits + 15) / 16 || (i.negative != 0) != (mpz_sgn(number_) < 0)) return false;
    if (mpz_sgn(number_) == 0) return i.digits[0] == 0;
    // On a little-endian machine limbs and words both store the least significant byte first.
    return std::memcmp(mpz_limbs_read(number_), i.digits, 2 * std::size_t{i.length}) == 0;
  }

  // Returns whether the number fits a record: 4,080 bits.
  [[nodiscard]] bool fits() const { return mpz_sizeinbase(number_, 2) <= 4080; }

  mpz_ptr get() { return number_; }
  [[nodiscard]] mpz_srcptr get() const { return number_; }

 private:
  mpz_t number_;
};

}  // namespace kt::test

#endif

#endif
