// SPDX-License-Identifier: MIT

// kt::Integer on random numbers: the laws of arithmetic, and GMP's results if GMP is installed.
#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <cstdint>
#include <functional>
#include <random>
#include <stdexcept>

#include "kt/bigint/Integer.h"

#ifdef KT_HAVE_GMP
#include <gmpxx.h>
#endif

namespace kt::test {
namespace {

// Random numbers of up to `mostBits` bits, often with long runs of equal bits, so that carries run
// far.
class RandomNumbers {
 public:
  explicit RandomNumbers(std::uint64_t seed) : random_(seed) {}

  Integer next(int mostBits) {
    const int bits = below(mostBits + 1);
    Integer number;
    while (number.bitLength() < bits) {
      const int count = std::min(1 + below(64), bits - number.bitLength());
      number = (number << count) + run(count);
      if (!number) number = 1;
    }
    return below(2) == 0 ? number : -number;
  }

  int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

 private:
  std::uint64_t run(int bits) {
    const std::uint64_t ones = ~std::uint64_t{0} >> (64 - bits);
    switch (below(3)) {
      case 0:
        return 0;
      case 1:
        return ones;
      default:
        return random_() & ones;
    }
  }

  std::mt19937_64 random_;
};

constexpr std::uint64_t seed = 20'261'121;

// Calls check(a, b, c) `rounds` times with random numbers of at most `mostBits` bits.
template <typename Check>
void forRandomNumbers(int rounds, int mostBits, Check check) {
  RandomNumbers numbers(seed);
  for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
    const Integer a = numbers.next(mostBits);
    const Integer b = numbers.next(mostBits);
    const Integer c = numbers.next(mostBits);
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", round " << round << "\na = " << a
                                    << "\nb = " << b << "\nc = " << c);
    check(a, b, c);
  }
}

TEST(IntegerLaws, SumsAndProductsFormRing) {
  forRandomNumbers(5'000, 1'300, [](const Integer &a, const Integer &b, const Integer &c) {
    EXPECT_EQ(a + b, b + a);
    EXPECT_EQ((a + b) + c, a + (b + c));
    EXPECT_EQ(a * b, b * a);
    EXPECT_EQ((a * b) * c, a * (b * c));
    EXPECT_EQ(a * (b + c), a * b + a * c);
    EXPECT_EQ(a + 0, a);
    EXPECT_EQ(a * 1, a);
    EXPECT_EQ(a + -a, 0);
    EXPECT_EQ(a - b, a + -b);
    EXPECT_EQ(a - b, -(b - a));
  });
}

TEST(IntegerLaws, DividendEqualsQuotientTimesDivisorPlusRemainder) {
  forRandomNumbers(5'000, 4'080, [](const Integer &a, const Integer &b, const Integer &) {
    if (!b) return;
    const Integer remainder = a % b;
    EXPECT_EQ(a / b * b + remainder, a);
    EXPECT_LT(abs(remainder), abs(b));
    EXPECT_TRUE(remainder.sign() == 0 || remainder.sign() == a.sign());
  });
}

TEST(IntegerLaws, OrderMatchesSignOfDifference) {
  forRandomNumbers(5'000, 300, [](const Integer &a, const Integer &b, const Integer &c) {
    EXPECT_EQ(a <=> b, (a - b).sign() <=> 0);
    EXPECT_EQ(a <=> b, a + c <=> b + c);
    EXPECT_EQ(a == b, std::hash<Integer>()(a) == std::hash<Integer>()(b));
  });
}

TEST(IntegerLaws, ShiftsMatchPowersOfTwo) {
  RandomNumbers counts(seed);
  forRandomNumbers(2'000, 2'000, [&](const Integer &a, const Integer &, const Integer &) {
    const int count = counts.below(2'080);
    const Integer power = kt::pow(2, count);
    EXPECT_EQ(a << count, a * power);
    EXPECT_EQ(a << count >> count, a);
    const Integer shifted = a >> count;
    EXPECT_LE(shifted * power, a);
    EXPECT_GT((shifted + 1) * power, a);
  });
}

TEST(IntegerLaws, TextReadsBackInRandomBases) {
  RandomNumbers bases(seed);
  forRandomNumbers(2'000, 4'080, [&](const Integer &a, const Integer &, const Integer &) {
    const int base = 2 + bases.below(35);
    EXPECT_EQ(Integer(a.toString(base), base), a) << base;
    EXPECT_EQ(Integer(a.toString("\x80\xff z"), "\x80\xff z"), a);
  });
}

TEST(IntegerLaws, RootsAndCommonDivisorsMeetTheirDefinitions) {
  forRandomNumbers(200, 1'300, [](const Integer &a, const Integer &b, const Integer &c) {
    const Integer root = sqrt(abs(a));
    EXPECT_LE(root * root, abs(a));
    EXPECT_GT((root + 1) * (root + 1), abs(a));
    EXPECT_EQ(gcd(a * c, b * c), gcd(a, b) * abs(c));
  });
}

#ifdef KT_HAVE_GMP

mpz_class gmp(const Integer &number) {
  return mpz_class(number.toString(16), 16);
}

// Expects compute() to return GMP's result, or to throw if that result exceeds 4,080 bits.
template <typename Compute>
void expectResult(const mpz_class &expected, Compute compute) {
  try {
    EXPECT_EQ(compute().toString(16), expected.get_str(16));
  } catch (const std::overflow_error &error) {
    EXPECT_GT(mpz_sizeinbase(expected.get_mpz_t(), 2), 4080U) << error.what();
  }
}

TEST(IntegerLaws, OperatorsMatchGmp) {
  forRandomNumbers(10'000, 4'080, [](const Integer &a, const Integer &b, const Integer &) {
    const mpz_class x = gmp(a);
    const mpz_class y = gmp(b);
    expectResult(x + y, [&] { return a + b; });
    expectResult(x - y, [&] { return a - b; });
    expectResult(x * y, [&] { return a * b; });
    if (!b) return;
    expectResult(x / y, [&] { return a / b; });
    expectResult(x % y, [&] { return a % b; });
  });
}

TEST(IntegerLaws, ProductsNearLimitMatchGmpOrThrow) {
  RandomNumbers numbers(seed);
  for (int round = 0; round < 5'000; ++round) {
    const Integer a = numbers.next(4'080);
    Integer b = numbers.next(4'080);
    b >>= std::max(0, a.bitLength() + b.bitLength() - 4'078 - numbers.below(5));
    expectResult(gmp(a) * gmp(b), [&] { return a * b; });
  }
}

TEST(IntegerLaws, FunctionsMatchGmp) {
  RandomNumbers numbers(seed);
  for (int round = 0; round < 300; ++round) {
    const Integer a = numbers.next(4'080);
    const Integer b = abs(numbers.next(300));
    const Integer m = numbers.next(4'080);
    mpz_class expected;
    mpz_gcd(expected.get_mpz_t(), gmp(a).get_mpz_t(), gmp(m).get_mpz_t());
    expectResult(expected, [&] { return gcd(a, m); });
    expectResult(sqrt(mpz_class(abs(gmp(a)))), [&] { return sqrt(abs(a)); });
    if (!m) continue;
    mpz_powm(expected.get_mpz_t(), gmp(a).get_mpz_t(), gmp(b).get_mpz_t(), gmp(m).get_mpz_t());
    expectResult(expected, [&] { return powmod(a, b, m); });
  }
}

TEST(IntegerLaws, PowersMatchGmpOrThrow) {
  RandomNumbers numbers(seed);
  for (int round = 0; round < 2'000; ++round) {
    const Integer base = numbers.next(1 + numbers.below(200));
    const int exponent = numbers.below(4'200 / std::max(1, base.bitLength()) + 2);
    mpz_class expected;
    mpz_pow_ui(expected.get_mpz_t(), gmp(base).get_mpz_t(), static_cast<unsigned>(exponent));
    expectResult(expected, [&] { return pow(base, exponent); });
  }
}

#endif

}  // namespace
}  // namespace kt::test
