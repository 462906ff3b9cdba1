// SPDX-License-Identifier: MIT

// kt::powmod on known results. IntegerLaws_test.cpp compares it with GMP.
#include <gtest/gtest.h>

#include <stdexcept>

#include "kt/bigint/Integer.h"
#include "tests/bigint/Thrown.h"

namespace kt::test {
namespace {

TEST(ModularPower, MatchesPowerAndRemainderOfSmallNumbers) {
  for (int base = -9; base <= 9; ++base) {
    for (int exponent = 0; exponent <= 9; ++exponent) {
      for (const int modulus : {1, 2, 3, 7, 10, 65'536, 1'000'003}) {
        const Integer remainder = kt::pow(base, exponent) % modulus;
        const Integer expected = remainder.sign() < 0 ? remainder + modulus : remainder;
        EXPECT_EQ(kt::powmod(base, exponent, modulus), expected)
            << base << '^' << exponent << " mod " << modulus;
        EXPECT_EQ(kt::powmod(base, exponent, -modulus), expected);
      }
    }
  }
}

TEST(ModularPower, IsZeroModuloOne) {
  EXPECT_EQ(kt::powmod(5, 0, 1), 0);
  EXPECT_EQ(kt::powmod(5, 3, -1), 0);
}

TEST(ModularPower, TakesZeroToZeroAsOne) {
  EXPECT_EQ(kt::powmod(0, 0, 7), 1);
  EXPECT_EQ(kt::powmod(14, 0, 7), 1);
  EXPECT_EQ(kt::powmod(14, 5, 7), 0);
}

TEST(ModularPower, SatisfiesFermatsLittleTheorem) {
  for (const int exponent : {13, 61, 127, 521, 1279, 2203, 3217}) {
    const Integer prime = kt::pow(2, exponent) - 1;
    EXPECT_EQ(kt::powmod(3, prime - 1, prime), 1) << exponent;
    EXPECT_EQ(kt::powmod(-3, prime, prime), prime - 3) << exponent;
  }
}

TEST(ModularPower, AcceptsModuliOfEverySize) {
  for (int bits = 2; bits <= 4080; bits += 14) {
    const Integer modulus = (Integer(1) << (bits - 1)) + 1;  // so that 2^(bits - 1) = -1 modulo it
    EXPECT_EQ(kt::powmod(2, 2 * (bits - 1), modulus), 1) << bits;
    EXPECT_EQ(kt::powmod(-2, bits - 1, modulus), bits % 2 == 1 ? modulus - 1 : 1) << bits;
  }
}

TEST(ModularPower, RejectsZeroModulusAndNegativeExponent) {
  EXPECT_EQ(thrownBy<std::domain_error>([] { (void)kt::powmod(2, 3, 0); }),
            "kt::Integer: division by zero in powmod");
  EXPECT_EQ(thrownBy<std::domain_error>([] { (void)kt::powmod(2, -3, 5); }),
            "kt::Integer: negative exponent in powmod");
}

}  // namespace
}  // namespace kt::test
