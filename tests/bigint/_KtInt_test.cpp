// SPDX-License-Identifier: MIT

// The record `_KtInt`: allocation, values, normal form, capacity, copies and swaps.
#include "kt/bigint/_KtInt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

TEST(KtInt, AllocOfZeroMakesOneWordWithCapacityFive) {
  const Record zero = number(0);
  EXPECT_EQ(valueOf(zero), (Value{{0}, false}));
  EXPECT_EQ(zero->capacity, 5);
}

TEST(KtInt, AllocClearsUnusedWords) {
  const Record i = number(-7);
  EXPECT_EQ(Words(i->digits, i->digits + 5), (Words{7, 0, 0, 0, 0}));
}

TEST(KtInt, AllocOfMinusOneMakesOneWordWithSign) {
  const Record minusOne = number(-1);
  EXPECT_EQ(valueOf(minusOne), (Value{{1}, true}));
  EXPECT_EQ(minusOne->capacity, 5);
}

TEST(KtInt, AllocSetsSignToZeroOrOne) {
  EXPECT_EQ(number(-70000)->negative, 1);
  EXPECT_EQ(number(70000)->negative, 0);
}

TEST(KtInt, SetValueOf65536MakesTwoWords) {
  const Record i = number(1);
  _KtIntSetValue(i.get(), 65536);
  EXPECT_EQ(valueOf(i), (Value{{0, 1}, false}));
}

TEST(KtInt, SetValueUpTo65535MakesOneWord) {
  const Record i = number(65536);
  _KtIntSetValue(i.get(), -65535);
  EXPECT_EQ(valueOf(i), (Value{{65535}, true}));
}

TEST(KtInt, SetValueLoadsSmallestNumber) {
  const Record i = number(0);
  _KtIntSetValue(i.get(), smallest);
  EXPECT_EQ(valueOf(i), (Value{{0x0000, 0x8000}, true}));
  EXPECT_EQ(_KtIntValue(i.get()), smallest);
}

TEST(KtInt, SetValueOfZeroClearsSign) {
  const Record i = number(-5);
  _KtIntSetValue(i.get(), 0);
  EXPECT_EQ(valueOf(i), normal(0));
}

TEST(KtInt, SetValueAllocatesTwoWordsAtCapacityZero) {
  const Record i = number(7);
  _KtIntSetMinLength(i.get(), 256);
  ASSERT_EQ(i->capacity, 0);
  _KtIntSetValue(i.get(), 1);
  EXPECT_EQ(valueOf(i), normal(1));
  EXPECT_EQ(i->capacity, 2);
}

TEST(KtInt, SetValueKeepsLargerBlock) {
  const Record i = record(Words(30, 1));
  const std::uint16_t *block = i->digits;
  _KtIntSetValue(i.get(), 9);
  EXPECT_EQ(i->digits, block);
  EXPECT_EQ(i->capacity, 30);
}

TEST(KtInt, ValueReturnsWhatSetValueLoaded) {
  const Record i = number(0);
  for (const std::int32_t value : {0, 1, -1, 65535, -65535, 65536, -65536, smallest, largest}) {
    _KtIntSetValue(i.get(), value);
    EXPECT_EQ(_KtIntValue(i.get()), value);
  }
}

TEST(KtInt, ValueOfThreeWordsReturnsLow32BitsWithSign) {
  EXPECT_EQ(_KtIntValue(record({5, 1, 9}).get()), 65541);
  EXPECT_EQ(_KtIntValue(record({5, 1, 9}, true).get()), -65541);
  EXPECT_EQ(_KtIntValue(record({0, 0, 9}, true).get()), 0);
}

TEST(KtInt, ValueWrapsBeyond31Bits) {
  EXPECT_EQ(_KtIntValue(record({0x0000, 0x8000}).get()), smallest);
  EXPECT_EQ(_KtIntValue(record({0xFFFF, 0xFFFF}).get()), -1);
  EXPECT_EQ(_KtIntValue(record({0xFFFF, 0xFFFF}, true).get()), 1);
}

TEST(KtInt, ValueOfOneWordIgnoresWordsAfterLength) {
  const Record i = record({3, 4});
  i->length = 1;
  EXPECT_EQ(_KtIntValue(i.get()), 3);
}

TEST(KtInt, ShortenDropsLeadingZeroWords) {
  const Record i = record({5, 0, 0, 0}, true);
  _KtIntShorten(i.get());
  EXPECT_EQ(valueOf(i), normal(-5));
}

TEST(KtInt, ShortenKeepsLowZeroWords) {
  const Record i = record({0, 0, 7, 0});
  _KtIntShorten(i.get());
  EXPECT_EQ(valueOf(i), (Value{{0, 0, 7}, false}));
}

TEST(KtInt, ShortenNormalisesNegativeZero) {
  const Record i = negativeZero(3);
  _KtIntShorten(i.get());
  EXPECT_EQ(valueOf(i), normal(0));
}

TEST(KtInt, ShortenLeavesEmptyRecordAndItsSign) {
  const Record i = number(-5);
  i->length = 0;
  _KtIntShorten(i.get());
  EXPECT_EQ(i->length, 0);
  EXPECT_EQ(i->negative, 1);
}

TEST(KtInt, ShortenKeepsCapacityAndBlock) {
  const Record i = record(Words(40, 0));
  const std::uint16_t *block = i->digits;
  _KtIntShorten(i.get());
  EXPECT_EQ(i->capacity, 40);
  EXPECT_EQ(i->digits, block);
}

TEST(KtInt, SetMinLengthWithinCapacityDoesNothing) {
  const Record i = number(-70000);
  const std::uint16_t *block = i->digits;
  for (const std::int32_t n : {3, 5, 0, -1, smallest}) {
    _KtIntSetMinLength(i.get(), n);
  }
  EXPECT_EQ(i->capacity, 5);
  EXPECT_EQ(i->digits, block);
  EXPECT_EQ(valueOf(i), normal(-70000));
}

TEST(KtInt, SetMinLengthGrowsToExactRequestAndKeepsValue) {
  const Record i = number(-70000);
  _KtIntSetMinLength(i.get(), 6);
  EXPECT_EQ(i->capacity, 6);
  _KtIntSetMinLength(i.get(), 255);
  EXPECT_EQ(i->capacity, 255);
  EXPECT_EQ(valueOf(i), normal(-70000));
  std::fill(i->digits, i->digits + 255, 1);  // a sanitizer would see words that are missing
}

TEST(KtInt, SetMinLengthOf300MakesCapacity44) {
  const Record i = number(-70000);
  _KtIntSetMinLength(i.get(), 300);
  EXPECT_EQ(i->capacity, 44);
  EXPECT_EQ(valueOf(i), normal(-70000));
  std::fill(i->digits, i->digits + 44, 1);
}

TEST(KtInt, SetMinLengthTruncatesRequestButKeepsLongerValue) {
  const Record i = record(allOnes(200), true);
  _KtIntSetMinLength(i.get(), 300);
  EXPECT_EQ(i->capacity, 44);
  EXPECT_EQ(valueOf(i), (Value{allOnes(200), true}));
  _KtIntSetMinLength(i.get(), 512);
  EXPECT_EQ(i->capacity, 0);
  EXPECT_EQ(valueOf(i), (Value{allOnes(200), true}));
}

TEST(KtInt, SetMinLengthOf256MakesCapacityZero) {
  for (const std::size_t length : {1U, 5U, 254U, 255U}) {
    const Record i = record(allOnes(length));
    _KtIntSetMinLength(i.get(), 256);
    EXPECT_EQ(i->capacity, 0);
    EXPECT_EQ(valueOf(i), (Value{allOnes(length), false}));
  }
}

TEST(KtInt, SetMinLengthOfLargestRequestMakesCapacity255) {
  const Record i = number(3);
  _KtIntSetMinLength(i.get(), largest);
  EXPECT_EQ(i->capacity, 255);
  EXPECT_EQ(valueOf(i), normal(3));
}

TEST(KtInt, CopyOntoItselfChangesNothing) {
  const Record i = record({1, 0, 0}, true);
  _KtIntCopy(i.get(), i.get());
  EXPECT_EQ(valueOf(i), (Value{{1, 0, 0}, true}));
  EXPECT_EQ(i->capacity, 5);
}

TEST(KtInt, CopyGrowsDestinationToLengthOfSource) {
  const Record source = record(Words(10, 3), true);
  const Record destination = number(1);
  _KtIntCopy(source.get(), destination.get());
  EXPECT_EQ(valueOf(destination), valueOf(source));
  EXPECT_EQ(destination->capacity, 10);
}

TEST(KtInt, CopyKeepsLargerBlockOfDestination) {
  const Record source = number(-3);
  const Record destination = record(Words(20, 1));
  const std::uint16_t *block = destination->digits;
  _KtIntCopy(source.get(), destination.get());
  EXPECT_EQ(valueOf(destination), normal(-3));
  EXPECT_EQ(destination->capacity, 20);
  EXPECT_EQ(destination->digits, block);
}

TEST(KtInt, CopyKeepsUnnormalisedForm) {
  const Record source = negativeZero(4);
  const Record destination = number(1);
  _KtIntCopy(source.get(), destination.get());
  EXPECT_EQ(valueOf(destination), (Value{{0, 0, 0, 0}, true}));
  EXPECT_EQ(valueOf(source), (Value{{0, 0, 0, 0}, true}));
}

TEST(KtInt, CopyKeepsNonzeroSignField) {
  const Record source = number(3);
  source->negative = 7;
  const Record destination = number(1);
  _KtIntCopy(source.get(), destination.get());
  EXPECT_EQ(destination->negative, 7);
}

TEST(KtInt, SwapExchangesAllFourFields) {
  const Record a = record(Words(10, 3), true);
  const Record b = number(1);
  const std::uint16_t *blockOfA = a->digits;
  const std::uint16_t *blockOfB = b->digits;
  _KtIntSwap(a.get(), b.get());
  EXPECT_EQ(valueOf(a), normal(1));
  EXPECT_EQ(valueOf(b), (Value{Words(10, 3), true}));
  EXPECT_EQ(std::pair(a->capacity, b->capacity), std::pair(std::uint8_t{5}, std::uint8_t{10}));
  EXPECT_EQ(a->digits, blockOfB);
  EXPECT_EQ(b->digits, blockOfA);
}

TEST(KtInt, SwapWithItselfChangesNothing) {
  const Record i = record({1, 0}, true);
  _KtIntSwap(i.get(), i.get());
  EXPECT_EQ(valueOf(i), (Value{{1, 0}, true}));
}

}  // namespace
}  // namespace kt::test
