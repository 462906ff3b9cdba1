// SPDX-License-Identifier: MIT

// Order, signs and parity of `_KtInt` records, and which operands a comparison normalises.
#include "kt/bigint/_KtComparison.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

int compared(std::int32_t a, std::int32_t b) {
  return _KtIntCmp(number(a).get(), number(b).get());
}

TEST(KtComparison, CmpComparesSignsThenLengthsThenWords) {
  EXPECT_EQ(compared(-5, 3), -1);
  EXPECT_EQ(compared(3, -5), 1);
  EXPECT_EQ(compared(-5, -3), -1);
  EXPECT_EQ(compared(-3, -5), 1);
  EXPECT_EQ(compared(65536, 65535), 1);
  EXPECT_EQ(compared(-65536, -65535), -1);
  EXPECT_EQ(compared(3, 5), -1);
  EXPECT_EQ(compared(0, 0), 0);
  EXPECT_EQ(compared(-7, -7), 0);
}

TEST(KtComparison, CmpOrdersZeroBetweenNegativeAndPositive) {
  EXPECT_EQ(compared(0, -1), 1);
  EXPECT_EQ(compared(-1, 0), -1);
  EXPECT_EQ(compared(0, 1), -1);
  EXPECT_EQ(compared(1, 0), 1);
}

TEST(KtComparison, CmpNormalisesNegativeZeroAndReturnsZero) {
  const Record zero = number(0);
  const Record unnormalised = negativeZero(3);
  EXPECT_EQ(_KtIntCmp(zero.get(), unnormalised.get()), 0);
  EXPECT_EQ(valueOf(unnormalised), normal(0));
}

TEST(KtComparison, CmpNormalisesBothOperands) {
  const Record a = record({5, 0, 0}, true);
  const Record b = record({5, 0}, true);
  EXPECT_EQ(_KtIntCmp(a.get(), b.get()), 0);
  EXPECT_EQ(valueOf(a), normal(-5));
  EXPECT_EQ(valueOf(b), normal(-5));
}

TEST(KtComparison, CmpOfLongValuesReachesLowestWord) {
  const Record a = record({1, 2, 3, 4, 5, 6, 7, 8, 9});
  const Record same = record({1, 2, 3, 4, 5, 6, 7, 8, 9});
  const Record less = record({0, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(_KtIntCmp(a.get(), same.get()), 0);
  EXPECT_EQ(_KtIntCmp(a.get(), less.get()), 1);
  EXPECT_EQ(_KtIntCmp(less.get(), a.get()), -1);
}

TEST(KtComparison, CmpDecidesByHighestDifferingWord) {
  for (std::size_t length = 2; length <= 255; ++length) {
    for (const std::size_t k : {std::size_t{0}, length / 2, length - 2}) {
      Words words(length, 0x8000);
      const Record a = record(words);
      words[k] = 0x8001;
      for (std::size_t below = 0; below < k; ++below) {
        words[below] = 0;
      }
      const Record b = record(words);
      EXPECT_EQ(_KtIntCmp(a.get(), b.get()), -1) << length << " words, differing at " << k;
      EXPECT_EQ(_KtIntCmp(b.get(), a.get()), 1) << length << " words, differing at " << k;
    }
  }
}

TEST(KtComparison, CmpComparesWordsAsUnsigned) {
  EXPECT_EQ(_KtIntCmp(record({0x8000}).get(), record({0x7FFF}).get()), 1);
  EXPECT_EQ(_KtIntCmp(record({0, 0, 0, 0x8000}).get(), record({0, 0, 0, 0x7FFF}).get()), 1);
}

TEST(KtComparison, CmpOfRecordWithItselfReturnsZero) {
  const Record a = record({1, 0}, true);
  EXPECT_EQ(_KtIntCmp(a.get(), a.get()), 0);
}

// Returns the results of GE, LE, GT, LT and EQ as five digits.
std::string relations(std::int32_t a, std::int32_t b) {
  std::string text;
  for (const auto relation : {_KtIntGE, _KtIntLE, _KtIntGT, _KtIntLT, _KtIntEQ}) {
    text += std::to_string(relation(number(a).get(), number(b).get()));
  }
  return text;
}

TEST(KtComparison, EqualValuesSatisfyGeLeAndEq) {
  EXPECT_EQ(relations(70000, 70000), "11001");
  EXPECT_EQ(relations(0, 0), "11001");
}

TEST(KtComparison, GreaterValueSatisfiesGeAndGt) {
  EXPECT_EQ(relations(-3, -5), "10100");
}

TEST(KtComparison, LesserValueSatisfiesLeAndLt) {
  EXPECT_EQ(relations(-5, 3), "01010");
}

TEST(KtComparison, EachRelationNormalisesBothOperands) {
  for (const auto relation : {_KtIntGE, _KtIntLE, _KtIntGT, _KtIntLT, _KtIntEQ}) {
    const Record a = negativeZero(2);
    const Record b = record({9, 0, 0}, true);
    (void)relation(a.get(), b.get());
    EXPECT_EQ(valueOf(a), normal(0));
    EXPECT_EQ(valueOf(b), normal(-9));
  }
}

TEST(KtComparison, ZeroNormalisesNegativeZeroAndReturnsTrue) {
  const Record unnormalised = negativeZero(4);
  EXPECT_EQ(_KtIntZero(unnormalised.get()), 1);
  EXPECT_EQ(valueOf(unnormalised), normal(0));
}

TEST(KtComparison, ZeroNormalisesOtherValuesAndReturnsFalse) {
  const Record upper = record({0, 1, 0}, true);
  EXPECT_EQ(_KtIntZero(upper.get()), 0);
  EXPECT_EQ(valueOf(upper), (Value{{0, 1}, true}));
  EXPECT_EQ(_KtIntZero(number(1).get()), 0);
}

TEST(KtComparison, NegativeReturnsSignWithoutNormalising) {
  EXPECT_EQ(_KtIntNegative(number(0).get()), 0);
  EXPECT_EQ(_KtIntNegative(number(-1).get()), 1);
  EXPECT_EQ(_KtIntNegative(number(1).get()), 0);
  const Record unnormalised = negativeZero(2);
  EXPECT_EQ(_KtIntNegative(unnormalised.get()), 1);
  EXPECT_EQ(unnormalised->length, 2);
}

TEST(KtComparison, SignPredicatesReturnZeroOrOneForAnySignField) {
  const Record a = number(-3);
  a->negative = 255;
  EXPECT_EQ(_KtIntNegative(a.get()), 1);
  EXPECT_EQ(_KtIntSameSign(a.get(), a.get()), 1);
}

TEST(KtComparison, PositiveExcludesNegativeAndZero) {
  EXPECT_EQ(_KtIntPositive(number(0).get()), 0);
  EXPECT_EQ(_KtIntPositive(number(1).get()), 1);
  EXPECT_EQ(_KtIntPositive(number(-1).get()), 0);
}

TEST(KtComparison, PositiveNormalisesOnlyIfSignIsClear) {
  const Record clear = record({1, 0});
  const Record set = negativeZero(2);
  EXPECT_EQ(_KtIntPositive(clear.get()), 1);
  EXPECT_EQ(_KtIntPositive(set.get()), 0);
  EXPECT_EQ(clear->length, 1);
  EXPECT_EQ(valueOf(set), (Value{{0, 0}, true}));
}

int sameSign(std::int32_t a, std::int32_t b) {
  return _KtIntSameSign(number(a).get(), number(b).get());
}

TEST(KtComparison, SameSignTreatsZeroAsSeparateClass) {
  EXPECT_EQ(sameSign(0, 0), 1);
  EXPECT_EQ(sameSign(0, 7), 0);
  EXPECT_EQ(sameSign(7, 0), 0);
  EXPECT_EQ(sameSign(7, 9), 1);
  EXPECT_EQ(sameSign(-1, -2), 1);
  EXPECT_EQ(sameSign(-1, 0), 0);
  EXPECT_EQ(sameSign(0, -1), 0);
  EXPECT_EQ(sameSign(-1, 1), 0);
}

TEST(KtComparison, SameSignReadsSetSignWithoutNormalising) {
  const Record a = negativeZero(2);
  const Record b = record({1, 0});
  EXPECT_EQ(_KtIntSameSign(a.get(), b.get()), 0);
  EXPECT_EQ(_KtIntSameSign(b.get(), a.get()), 0);
  EXPECT_EQ(_KtIntSameSign(a.get(), number(-1).get()), 1);
  EXPECT_EQ(valueOf(a), (Value{{0, 0}, true}));
  EXPECT_EQ(b->length, 2);
}

TEST(KtComparison, SameSignNormalisesBothIfNoSignIsSet) {
  const Record a = record({0, 0});
  const Record b = record({1, 0});
  EXPECT_EQ(_KtIntSameSign(a.get(), b.get()), 0);
  EXPECT_EQ(a->length, 1);
  EXPECT_EQ(b->length, 1);
}

TEST(KtComparison, EvenAndOddReadOnlyLowestWord) {
  EXPECT_EQ(_KtIntEven(number(0).get()), 1);
  EXPECT_EQ(_KtIntOdd(number(0).get()), 0);
  EXPECT_EQ(_KtIntOdd(number(-3).get()), 1);
  EXPECT_EQ(_KtIntEven(number(-3).get()), 0);
  EXPECT_EQ(_KtIntEven(record({2, 1, 3}).get()), 1);
  EXPECT_EQ(_KtIntOdd(record({2, 1, 3}).get()), 0);
}

TEST(KtComparison, EvenAndOddDoNotNormalise) {
  const Record unnormalised = negativeZero(2);
  EXPECT_EQ(_KtIntEven(unnormalised.get()), 1);
  EXPECT_EQ(_KtIntOdd(unnormalised.get()), 0);
  EXPECT_EQ(valueOf(unnormalised), (Value{{0, 0}, true}));
}

TEST(KtComparison, EmptyRecordIsEven) {
  const Record empty = number(1);
  empty->length = 0;
  EXPECT_EQ(_KtIntEven(empty.get()), 1);
  EXPECT_EQ(_KtIntOdd(empty.get()), 0);
}

}  // namespace
}  // namespace kt::test
