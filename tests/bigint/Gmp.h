// GMP's integers, in the few operations by which results of the library are checked; and whether
// there is a GMP for this word size.
#ifndef TESTS_BIGINT_GMP_H
#define TESTS_BIGINT_GMP_H

#ifdef KT_HAVE_GMP

#include <gmp.h>

#include <cstdint>
#include <span>

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
    const auto limbs = std::span(mpz_limbs_read(number_), mpz_size(number_));
    for (std::size_t k = 0; k < i.length; ++k) {
      const std::size_t limb = k / (GMP_NUMB_BITS / 16);
      const mp_limb_t bitsOfLimb = limb < limbs.size() ? limbs[limb] : 0;
      if (i.digits[k] != ((bitsOfLimb >> (k % (GMP_NUMB_BITS / 16) * 16)) & 0xFFFF)) return false;
    }
    return true;
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
