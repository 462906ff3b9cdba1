// SPDX-License-Identifier: MIT

// 2^k - 1, 2^k and 2^k + 1 for every k < 4,080, combined with each other and compared with GMP. On
// these values carries and borrows run furthest and the estimated digits of quotients are worst.
// All 150 million pairs would take minutes for sums alone. So each value is combined with its
// neighbours and with one in `stride` of the others, starting at a different one for each value.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/bigint/Gmp.h"
#include "tests/bigint/Records.h"

#ifdef KT_HAVE_GMP

namespace kt::test {
namespace {

constexpr int maxBits = 4080;
// NOLINTNEXTLINE(misc-redundant-expression): 1 in an optimised build, more in others
constexpr std::size_t slowness = 1000000 / KT_BIGINT_STEPS;

// Returns all values as records; index 3 k + 0, 1, 2 is 2^k - 1, 2^k, 2^k + 1.
const std::vector<Record> &values() {
  static const std::vector<Record> all = [] {
    std::vector<Record> made;
    for (int k = 0; k < maxBits; ++k) {
      for (const std::int32_t offset : {-1, 0, 1}) {
        made.push_back(number(1));
        _KtIntShiftLeft(made.back().get(), k);
        const Record summand = number(offset);
        _KtIntAdd(made.back().get(), summand.get(), made.back().get());
      }
    }
    return made;
  }();
  return all;
}

// Returns all values as numbers of GMP, in the same order.
const std::vector<Gmp> &numbers() {
  static const std::vector<Gmp> all = [] {
    std::vector<Gmp> made(3 * std::size_t{maxBits});
    for (int index = 0; index < 3 * maxBits; ++index) {
      mpz_ptr number = made[static_cast<std::size_t>(index)].get();
      mpz_setbit(number, static_cast<mp_bitcnt_t>(index / 3));
      if (index % 3 == 0) mpz_sub_ui(number, number, 1);
      if (index % 3 == 2) mpz_add_ui(number, number, 1);
    }
    return made;
  }();
  return all;
}

// Calls visit(i, j) for all neighbours and for one in `stride` of the other pairs of indexes.
void forPairs(std::size_t stride, const std::function<void(std::size_t, std::size_t)> &visit) {
  constexpr std::size_t near = 9;
  for (std::size_t i = 0; i < values().size() && !testing::Test::HasFailure(); ++i) {
    for (std::size_t j = i * 7 % stride; j < values().size(); j += stride) {
      visit(i, j);
    }
    for (std::size_t j = i < near ? 0 : i - near; j < std::min(i + near, values().size()); ++j) {
      visit(i, j);
    }
  }
}

// Returns both values of a pair as text.
std::string pair(std::size_t i, std::size_t j) {
  const auto text = [](std::size_t index) {
    return "2^" + std::to_string(index / 3) + std::array{" - 1", "", " + 1"}[index % 3];
  };
  return text(i) + " and " + text(j);
}

TEST(PowersOfTwo, RecordsMatchGmp) {
  for (std::size_t i = 0; i < values().size(); ++i) {
    ASSERT_TRUE(numbers()[i].isNormal(*values()[i])) << pair(i, i);
  }
}

TEST(PowersOfTwo, SumsMatchGmp) {
  const Record c = number(0);
  Gmp expected;
  forPairs(6 * slowness, [&](std::size_t i, std::size_t j) {
    _KtIntAdd(values()[i].get(), values()[j].get(), c.get());
    mpz_add(expected.get(), numbers()[i].get(), numbers()[j].get());
    if (!expected.fits()) mpz_set_ui(expected.get(), 0);
    EXPECT_TRUE(expected.isNormal(*c)) << pair(i, j);
  });
}

TEST(PowersOfTwo, DifferencesMatchGmp) {
  const Record c = number(0);
  Gmp expected;
  forPairs(6 * slowness, [&](std::size_t i, std::size_t j) {
    _KtIntSub(values()[i].get(), values()[j].get(), c.get());
    mpz_sub(expected.get(), numbers()[i].get(), numbers()[j].get());
    EXPECT_TRUE(expected.isNormal(*c)) << pair(i, j);
  });
}

TEST(PowersOfTwo, ComparisonsAndSumsIntoOperandMatchGmp) {
  Record c = number(0);
  Gmp expected;
  forPairs(24 * slowness, [&](std::size_t i, std::size_t j) {
    const int order = mpz_cmp(numbers()[i].get(), numbers()[j].get());
    EXPECT_EQ(_KtIntCmp(values()[i].get(), values()[j].get()), (order > 0) - (order < 0));
    _KtIntNeg(values()[i].get(), c.get());
    _KtIntAdd(c.get(), values()[j].get(), c.get());
    mpz_sub(expected.get(), numbers()[j].get(), numbers()[i].get());
    EXPECT_TRUE(expected.isNormal(*c)) << pair(i, j);
  });
}

TEST(PowersOfTwo, ProductsMatchGmp) {
  const Record c = number(0);
  Gmp expected;
  forPairs(24 * slowness, [&](std::size_t i, std::size_t j) {
    if (i / 3 + j / 3 >= maxBits) return;
    _KtIntMul(values()[i].get(), values()[j].get(), c.get());
    mpz_mul(expected.get(), numbers()[i].get(), numbers()[j].get());
    if (expected.fits()) {
      EXPECT_TRUE(expected.isNormal(*c)) << pair(i, j);
    }
  });
}

TEST(PowersOfTwo, QuotientsAndRemaindersMatchGmp) {
  const Record quotient = number(0);
  const Record remainder = number(0);
  Gmp expected;
  Gmp expectedRemainder;
  forPairs(24 * slowness, [&](std::size_t i, std::size_t j) {
    if (j == 0) return;  // the divisor 2^0 - 1 is zero
    _KtIntDiv(values()[i].get(), values()[j].get(), quotient.get(), remainder.get());
    mpz_tdiv_qr(expected.get(), expectedRemainder.get(), numbers()[i].get(), numbers()[j].get());
    EXPECT_TRUE(expected.isNormal(*quotient)) << pair(i, j);
    EXPECT_TRUE(expectedRemainder.isNormal(*remainder)) << pair(i, j);
    _KtIntMod(values()[i].get(), values()[j].get(), remainder.get());
    EXPECT_TRUE(expectedRemainder.isNormal(*remainder)) << pair(i, j);
  });
}

// A dividend just below a multiple of the divisor makes the estimated digits of the quotient too
// large.
TEST(PowersOfTwo, ProductDividedByFactorReturnsOtherFactor) {
  constexpr std::size_t ordered = 9;  // values at greater indexes are in rising order
  const Record product = number(0);
  const Record quotient = number(0);
  const Record remainder = number(0);
  forPairs(48 * slowness, [&](std::size_t i, std::size_t j) {
    const auto [small, large] = std::minmax(i, j);
    if (small <= ordered || small / 3 + large / 3 + 2 >= maxBits) return;
    _KtIntMul(values()[small].get(), values()[large].get(), product.get());
    _KtIntAdd(product.get(), values()[large - 1].get(), product.get());
    _KtIntDiv(product.get(), values()[large].get(), quotient.get(), remainder.get());
    EXPECT_TRUE(numbers()[small].isNormal(*quotient)) << pair(i, j);
    EXPECT_TRUE(numbers()[large - 1].isNormal(*remainder)) << pair(i, j);
  });
}

}  // namespace
}  // namespace kt::test

#endif
