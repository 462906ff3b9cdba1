// SPDX-License-Identifier: MIT

// The highest bit of `_KtInt` records: its index, powers of two, and clearing it.
#include "kt/bigint/_KtLog.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

TEST(KtLog, Log2ReturnsIndexOfHighestBit) {
  EXPECT_EQ(_KtIntLog2(number(1).get()), 0);
  EXPECT_EQ(_KtIntLog2(number(0).get()), 0);
  EXPECT_EQ(_KtIntLog2(number(255).get()), 7);
  EXPECT_EQ(_KtIntLog2(number(256).get()), 8);
  EXPECT_EQ(_KtIntLog2(number(65535).get()), 15);
  EXPECT_EQ(_KtIntLog2(number(65536).get()), 16);
}

TEST(KtLog, Log2IgnoresSign) {
  EXPECT_EQ(_KtIntLog2(number(-8).get()), 3);
}

TEST(KtLog, Log2IsExactForEveryWord) {
  for (std::uint32_t word = 1, bit = 0; word <= 65535; ++word) {
    if (word >= 2U << bit) ++bit;
    const Record a = record({0, static_cast<std::uint16_t>(word)});
    ASSERT_EQ(_KtIntLog2(a.get()), static_cast<std::int32_t>(16 + bit)) << word;
  }
}

TEST(KtLog, Log2Normalises) {
  const Record a = record({4, 0, 0}, true);
  EXPECT_EQ(_KtIntLog2(a.get()), 2);
  EXPECT_EQ(valueOf(a), normal(-4));
  const Record zero = negativeZero(3);
  EXPECT_EQ(_KtIntLog2(zero.get()), 0);
  EXPECT_EQ(valueOf(zero), normal(0));
}

Value power(const Record &a, std::uint32_t n) {
  _KtIntExp2(a.get(), n);
  return valueOf(a);
}

TEST(KtLog, Exp2LoadsPowerOfTwo) {
  EXPECT_EQ(power(number(99), 0), normal(1));
  EXPECT_EQ(power(number(99), 15), normal(32768));
  EXPECT_EQ(power(number(99), 16), (Value{{0, 1}, false}));
}

TEST(KtLog, Exp2KeepsSign) {
  EXPECT_EQ(power(number(-7), 0), normal(-1));
  EXPECT_EQ(power(number(-7), 20), normal(-1048576));
}

TEST(KtLog, Exp2GrowsToExactRequestAndNeverShrinks) {
  const Record a = number(0);
  _KtIntExp2(a.get(), 100);
  EXPECT_EQ(a->capacity, 7);
  _KtIntExp2(a.get(), 16);
  EXPECT_EQ(a->capacity, 7);
}

TEST(KtLog, Log2OfExp2ReturnsExponent) {
  const Record a = number(0);
  for (std::uint32_t n = 0; n < 4080; ++n) {
    _KtIntExp2(a.get(), n);
    EXPECT_EQ(a->length, n / 16 + 1);
    EXPECT_EQ(_KtIntLog2(a.get()), static_cast<std::int32_t>(n));
  }
}

Value cleared(const Record &a) {
  _KtIntClearHighBit(a.get());
  return valueOf(a);
}

TEST(KtLog, ClearHighBitClearsOnlyHighestBit) {
  EXPECT_EQ(cleared(record({32768, 1})), normal(32768));
  EXPECT_EQ(cleared(number(-6)), normal(-2));
  EXPECT_EQ(cleared(record({3, 0, 0xC000})), (Value{{3, 0, 0x4000}, false}));
}

TEST(KtLog, ClearHighBitOfSingleBitMakesNormalisedZero) {
  EXPECT_EQ(cleared(number(1)), normal(0));
  EXPECT_EQ(cleared(number(-1)), normal(0));
  EXPECT_EQ(cleared(record({0, 0, 0x0100}, true)), normal(0));
}

TEST(KtLog, ClearHighBitOfZeroMakesNormalisedZero) {
  EXPECT_EQ(cleared(number(0)), normal(0));
  EXPECT_EQ(cleared(negativeZero(3)), normal(0));
}

TEST(KtLog, ClearHighBitNormalisesFirst) {
  EXPECT_EQ(cleared(record({5, 0, 0}, true)), normal(-1));
}

}  // namespace
}  // namespace kt::test
