// SPDX-License-Identifier: MIT

// Shifts by words and by bits, in both directions.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "kt/bigint/_KtArithmetic.h"
#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

using Shift = void (*)(_KtInt *, std::int32_t);

Value shifted(Shift shift, const Record &a, std::int32_t n) {
  shift(a.get(), n);
  return valueOf(a);
}

TEST(KtArithmeticShifts, BlockShiftLeftInsertsZeroWords) {
  EXPECT_EQ(shifted(_KtIntBlockShiftLeft, number(-70000), 2), (Value{{0, 0, 4464, 1}, true}));
}

TEST(KtArithmeticShifts, BlockShiftLeftOfZeroMakesNormalisedZero) {
  EXPECT_EQ(shifted(_KtIntBlockShiftLeft, number(0), 3), normal(0));
  EXPECT_EQ(shifted(_KtIntBlockShiftLeft, negativeZero(2), 3), normal(0));
}

TEST(KtArithmeticShifts, BlockShiftLeftGrowsToExactRequest) {
  const Record a = record({1, 1, 0, 0});
  _KtIntBlockShiftLeft(a.get(), 3);
  EXPECT_EQ(valueOf(a), (Value{{0, 0, 0, 1, 1}, false}));
  EXPECT_EQ(a->capacity, 7);
}

TEST(KtArithmeticShifts, BlockShiftsByZeroChangeNothing) {
  EXPECT_EQ(shifted(_KtIntBlockShiftLeft, negativeZero(2), 0), (Value{{0, 0}, true}));
  EXPECT_EQ(shifted(_KtIntBlockShiftRight, negativeZero(2), 0), (Value{{0, 0}, true}));
}

TEST(KtArithmeticShifts, BlockShiftRightDropsWordsAndKeepsSign) {
  EXPECT_EQ(shifted(_KtIntBlockShiftRight, record({1, 2, 3, 4}, true), 2), (Value{{3, 4}, true}));
}

TEST(KtArithmeticShifts, BlockShiftRightNormalisesFirst) {
  EXPECT_EQ(shifted(_KtIntBlockShiftRight, record({1, 2, 0, 0}), 1), (Value{{2}, false}));
}

TEST(KtArithmeticShifts, BlockShiftRightByAllWordsMakesNormalisedZero) {
  for (const std::int32_t n : {2, 3, 255, 256, 1000, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(shifted(_KtIntBlockShiftRight, record({1, 2}, true), n), normal(0)) << n;
    EXPECT_EQ(shifted(_KtIntBlockShiftRight, record({1, 2, 0, 0}, true), n), normal(0)) << n;
  }
}

TEST(KtArithmeticShifts, NegativeWordCountShiftsOtherWay) {
  EXPECT_EQ(shifted(_KtIntBlockShiftRight, record({7, 8}, true), -2), (Value{{0, 0, 7, 8}, true}));
  EXPECT_EQ(shifted(_KtIntBlockShiftLeft, record({7, 8, 9}, true), -2), (Value{{9}, true}));
}

TEST(KtArithmeticShifts, ShiftLeftByZeroChangesNothing) {
  EXPECT_EQ(shifted(_KtIntShiftLeft, number(-70000), 0), normal(-70000));
  EXPECT_EQ(shifted(_KtIntShiftLeft, negativeZero(2), 0), (Value{{0, 0}, true}));
}

TEST(KtArithmeticShifts, ShiftLeftBy16InsertsOneZeroWord) {
  EXPECT_EQ(shifted(_KtIntShiftLeft, record({5, 6}), 16), (Value{{0, 5, 6}, false}));
}

TEST(KtArithmeticShifts, ShiftLeftBy17EqualsBy16ThenByOne) {
  const Record atOnce = record({0x8001, 0xC003}, true);
  const Record inSteps = record({0x8001, 0xC003}, true);
  _KtIntShiftLeft(atOnce.get(), 17);
  _KtIntShiftLeft(inSteps.get(), 16);
  _KtIntShiftLeft(inSteps.get(), 1);
  EXPECT_EQ(valueOf(atOnce), valueOf(inSteps));
  EXPECT_EQ(valueOf(atOnce), (Value{{0, 2, 0x8007, 1}, true}));
}

TEST(KtArithmeticShifts, ShiftLeftOf32768ByOneMakesTwoWords) {
  EXPECT_EQ(shifted(_KtIntShiftLeft, number(32768), 1), (Value{{0, 1}, false}));
}

TEST(KtArithmeticShifts, ShiftLeftAllocatesCarryWordEvenWithoutCarry) {
  const Record a = record(Words(5, 1));
  _KtIntShiftLeft(a.get(), 1);
  EXPECT_EQ(a->capacity, 6);
  EXPECT_EQ(a->length, 5);
}

TEST(KtArithmeticShifts, ShiftLeftByWholeWordsAllocatesNoCarryWord) {
  const Record a = record(Words(5, 1));
  _KtIntShiftLeft(a.get(), 32);
  EXPECT_EQ(a->capacity, 7);
}

TEST(KtArithmeticShifts, ShiftLeftNormalises) {
  EXPECT_EQ(shifted(_KtIntShiftLeft, record({1, 0, 0}), 1), normal(2));
  EXPECT_EQ(shifted(_KtIntShiftLeft, negativeZero(3), 1), normal(0));
}

TEST(KtArithmeticShifts, NegativeBitCountShiftsOtherWay) {
  EXPECT_EQ(shifted(_KtIntShiftLeft, number(-1000), -3), normal(-125));
  EXPECT_EQ(shifted(_KtIntShiftRight, number(-125), -3), normal(-1000));
}

TEST(KtArithmeticShifts, ShiftRightRoundsTowardsZero) {
  EXPECT_EQ(shifted(_KtIntShiftRight, number(-5), 1), normal(-2));
  EXPECT_EQ(shifted(_KtIntShiftRight, number(5), 1), normal(2));
}

TEST(KtArithmeticShifts, ShiftRightOfMinusOneMakesNormalisedZero) {
  EXPECT_EQ(shifted(_KtIntShiftRight, number(-1), 1), normal(0));
}

TEST(KtArithmeticShifts, ShiftRightMovesBitsBetweenWords) {
  EXPECT_EQ(shifted(_KtIntShiftRight, record({0xFFFF, 0x0001, 0x8001}), 1),
            (Value{{0xFFFF, 0x8000, 0x4000}, false}));
  EXPECT_EQ(shifted(_KtIntShiftRight, record({0, 1, 2}), 17), (Value{{0, 1}, false}));
}

TEST(KtArithmeticShifts, ShiftRightByZeroDoesNotNormalise) {
  EXPECT_EQ(shifted(_KtIntShiftRight, negativeZero(2), 0), (Value{{0, 0}, true}));
}

TEST(KtArithmeticShifts, ShiftRightByAllBitsMakesNormalisedZero) {
  for (const std::int32_t n : {32, 33, 4080, 4096, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(shifted(_KtIntShiftRight, record({1, 0x8000}, true), n), normal(0)) << n;
  }
}

TEST(KtArithmeticShifts, RightShiftsKeepCapacity) {
  const Record a = record(Words(9, 1));
  _KtIntShiftRight(a.get(), 33);
  _KtIntBlockShiftRight(a.get(), 100);
  EXPECT_EQ(a->capacity, 9);
}

TEST(KtArithmeticShifts, SmallestCountShiftsEverythingOutInEitherDirection) {
  for (const Shift shift :
       {_KtIntShiftLeft, _KtIntShiftRight, _KtIntBlockShiftLeft, _KtIntBlockShiftRight}) {
    EXPECT_EQ(shifted(shift, record({1, 2, 3}, true), smallest), normal(0));
    EXPECT_EQ(shifted(shift, record(allOnes(255), true), smallest), normal(0));
  }
}

TEST(KtArithmeticShifts, ShiftLeftThenRightRestoresValue) {
  for (std::int32_t n = 0; n <= 4080 - 33; ++n) {
    const Record a = record({0x8001, 0xFFFF, 1}, true);
    _KtIntShiftLeft(a.get(), n);
    _KtIntShiftRight(a.get(), n);
    EXPECT_EQ(valueOf(a), (Value{{0x8001, 0xFFFF, 1}, true})) << n;
  }
}

}  // namespace
}  // namespace kt::test
