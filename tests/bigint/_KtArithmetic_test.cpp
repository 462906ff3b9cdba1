// SPDX-License-Identifier: MIT

// Sums, differences and signs of `_KtInt` records: every combination of signs and sizes, which
// operands are normalised, and every aliasing of the three records.
#include "kt/bigint/_KtArithmetic.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

using Operation = void (*)(_KtInt *, _KtInt *, _KtInt *);

Value result(Operation operation, const Record &a, const Record &b) {
  const Record c = number(-99);  // its sign must not survive
  operation(a.get(), b.get(), c.get());
  return valueOf(c);
}

Value result(Operation operation, std::int32_t a, std::int32_t b) {
  return result(operation, number(a), number(b));
}

// Magnitudes of one word and of two. All pairs make |a| greater than, equal to and less than |b|.
const std::vector<std::int32_t> magnitudes{0, 1, 3, 5, 65535, 65536, 65537, 0x7FFFFFFF};

TEST(KtArithmetic, AddIsExactForEverySignAndSize) {
  for (const std::int32_t a : magnitudes) {
    for (const std::int32_t b : magnitudes) {
      EXPECT_EQ(result(_KtIntAdd, a, b), normal(std::int64_t{a} + b)) << a << " + " << b;
      EXPECT_EQ(result(_KtIntAdd, -a, b), normal(std::int64_t{b} - a)) << -a << " + " << b;
      EXPECT_EQ(result(_KtIntAdd, a, -b), normal(std::int64_t{a} - b)) << a << " + " << -b;
      EXPECT_EQ(result(_KtIntAdd, -a, -b), normal(-std::int64_t{a} - b)) << -a << " + " << -b;
    }
  }
}

TEST(KtArithmetic, SubIsExactForEverySignAndSize) {
  for (const std::int32_t a : magnitudes) {
    for (const std::int32_t b : magnitudes) {
      EXPECT_EQ(result(_KtIntSub, a, b), normal(std::int64_t{a} - b)) << a << " - " << b;
      EXPECT_EQ(result(_KtIntSub, -a, b), normal(-std::int64_t{a} - b)) << -a << " - " << b;
      EXPECT_EQ(result(_KtIntSub, a, -b), normal(std::int64_t{a} + b)) << a << " - " << -b;
      EXPECT_EQ(result(_KtIntSub, -a, -b), normal(std::int64_t{b} - a)) << -a << " - " << -b;
    }
  }
}

TEST(KtArithmetic, CancellationMakesNormalisedZero) {
  EXPECT_EQ(result(_KtIntAdd, 5, -5), normal(0));
  EXPECT_EQ(result(_KtIntAdd, -5, 5), normal(0));
  EXPECT_EQ(result(_KtIntSub, 5, 5), normal(0));
  EXPECT_EQ(result(_KtIntSub, -5, -5), normal(0));
  EXPECT_EQ(result(_KtIntSub, record({1, 2, 3}), record({1, 2, 3})), normal(0));
}

TEST(KtArithmetic, CarryRunsThroughAllWords) {
  for (std::size_t length = 1; length < 255; ++length) {
    Words power(length, 0);
    power.push_back(1);
    EXPECT_EQ(result(_KtIntAdd, record(allOnes(length)), number(1)), (Value{power, false}));
    EXPECT_EQ(result(_KtIntAdd, number(1), record(allOnes(length))), (Value{power, false}));
  }
}

TEST(KtArithmetic, BorrowRunsThroughAllWords) {
  for (std::size_t length = 1; length < 255; ++length) {
    Words power(length, 0);
    power.push_back(1);
    EXPECT_EQ(result(_KtIntSub, record(power), number(1)), (Value{allOnes(length), false}));
    EXPECT_EQ(result(_KtIntSub, number(1), record(power)), (Value{allOnes(length), true}));
  }
}

TEST(KtArithmetic, BorrowPassesWordOfAllOnes) {
  // 0x1'0000'0000 - 0xFFFF'0001: the middle word subtracts 0xFFFF and a borrow.
  EXPECT_EQ(result(_KtIntSub, record({0, 0, 1}), record({1, 0xFFFF})), normal(0xFFFF));
}

TEST(KtArithmetic, SumOfNegativeZerosIsNegativeZero) {
  EXPECT_EQ(result(_KtIntAdd, negativeZero(2), negativeZero(3)), (Value{{0}, true}));
  EXPECT_EQ(result(_KtIntSub, negativeZero(2), number(0)), (Value{{0}, true}));
}

TEST(KtArithmetic, NegativeZeroLosesSignAgainstOppositeSign) {
  EXPECT_EQ(result(_KtIntAdd, negativeZero(2), number(0)), normal(0));
  EXPECT_EQ(result(_KtIntAdd, number(7), negativeZero(9)), normal(7));
  EXPECT_EQ(result(_KtIntSub, negativeZero(2), negativeZero(3)), normal(0));
}

TEST(KtArithmetic, NonzeroSignFieldMeansNegative) {
  const Record a = number(-3);
  a->negative = 0x80;
  EXPECT_EQ(result(_KtIntAdd, a, number(5)), normal(2));
  EXPECT_EQ(result(_KtIntAdd, a, number(-5)), normal(-8));
}

TEST(KtArithmetic, SignFieldOfResultIsZeroOrOne) {
  const Record c = number(0);
  _KtIntAdd(number(-3).get(), number(-4).get(), c.get());
  EXPECT_EQ(c->negative, 1);
}

TEST(KtArithmetic, AddNormalisesOperandsOfDifferentSigns) {
  const Record a = record({5, 0, 0});
  const Record b = record({7, 0}, true);
  EXPECT_EQ(result(_KtIntAdd, a, b), normal(-2));
  EXPECT_EQ(valueOf(a), normal(5));
  EXPECT_EQ(valueOf(b), normal(-7));
}

TEST(KtArithmetic, AddLeavesOperandsOfEqualSigns) {
  const Record a = record({5, 0, 0}, true);
  const Record b = record({7, 0}, true);
  EXPECT_EQ(result(_KtIntAdd, a, b), normal(-12));
  EXPECT_EQ(valueOf(a), (Value{{5, 0, 0}, true}));
  EXPECT_EQ(valueOf(b), (Value{{7, 0}, true}));
}

TEST(KtArithmetic, SubNormalisesOperandsOfEqualSigns) {
  const Record a = record({5, 0, 0}, true);
  const Record b = negativeZero(2);
  EXPECT_EQ(result(_KtIntSub, a, b), normal(-5));
  EXPECT_EQ(valueOf(a), normal(-5));
  EXPECT_EQ(valueOf(b), normal(0));
}

TEST(KtArithmetic, SubLeavesOperandsOfDifferentSigns) {
  const Record a = record({5, 0, 0});
  const Record b = negativeZero(2);
  EXPECT_EQ(result(_KtIntSub, a, b), normal(5));
  EXPECT_EQ(valueOf(a), (Value{{5, 0, 0}, false}));
  EXPECT_EQ(valueOf(b), (Value{{0, 0}, true}));
}

TEST(KtArithmetic, SumAllocatesOneWordBeyondLongerOperand) {
  const Record c = number(0);
  _KtIntAdd(record(Words(9, 1)).get(), record(Words(3, 1)).get(), c.get());
  EXPECT_EQ(c->capacity, 10);
  EXPECT_EQ(c->length, 9);
}

TEST(KtArithmetic, DifferenceAllocatesLengthOfLargerOperand) {
  const Record c = number(0);
  _KtIntSub(record(Words(3, 1)).get(), record(Words(9, 1)).get(), c.get());
  EXPECT_EQ(c->capacity, 9);
}

TEST(KtArithmetic, SubOfEmptyRecordFromItselfStaysEmpty) {
  const Record a = number(0);
  const Record c = number(3);
  a->length = 0;
  _KtIntSub(a.get(), a.get(), c.get());
  EXPECT_EQ(c->length, 0);
  EXPECT_EQ(c->negative, 0);
}

TEST(KtArithmetic, AddToItselfDoubles) {
  const Record a = record({0x8000, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, true);
  _KtIntAdd(a.get(), a.get(), a.get());
  EXPECT_EQ(valueOf(a), (Value{{0, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 1}, true}));
}

TEST(KtArithmetic, SubFromItselfMakesNormalisedZero) {
  const Record a = record({1, 2, 3, 0}, true);
  _KtIntSub(a.get(), a.get(), a.get());
  EXPECT_EQ(valueOf(a), normal(0));
}

void expectEveryAliasing(Operation operation, std::int32_t a, std::int32_t b, const Value &value) {
  const Record first = number(a);
  operation(first.get(), number(b).get(), first.get());
  EXPECT_EQ(valueOf(first), value) << a << " and " << b << " into the first";
  const Record second = number(b);
  operation(number(a).get(), second.get(), second.get());
  EXPECT_EQ(valueOf(second), value) << a << " and " << b << " into the second";
}

TEST(KtArithmetic, AddAndSubTakeEitherOperandAsResult) {
  for (const std::int32_t a : {0, 3, -3, 65536, -65537, 0x7FFFFFFF}) {
    for (const std::int32_t b : {0, 1, -5, 65535, -0x7FFFFFFF}) {
      expectEveryAliasing(_KtIntAdd, a, b, normal(std::int64_t{a} + b));
      expectEveryAliasing(_KtIntSub, a, b, normal(std::int64_t{a} - b));
    }
  }
}

TEST(KtArithmetic, AddAndSubTakeOneRecordAsBothOperands) {
  const Record a = number(-40000);
  EXPECT_EQ(result(_KtIntAdd, a, a), normal(-80000));
  EXPECT_EQ(result(_KtIntSub, a, a), normal(0));
}

TEST(KtArithmetic, AddIntoOperandSurvivesReallocation) {
  const Record a = record(allOnes(5));  // at its capacity: the sum needs a new block
  _KtIntAdd(a.get(), number(1).get(), a.get());
  EXPECT_EQ(valueOf(a), (Value{{0, 0, 0, 0, 0, 1}, false}));
}

// ---- AddS and SubS ----

Value afterAddS(const Record &a, std::uint16_t s) {
  _KtIntAddS(a.get(), s);
  return valueOf(a);
}

Value afterSubS(const Record &a, std::uint16_t s) {
  _KtIntSubS(a.get(), s);
  return valueOf(a);
}

TEST(KtArithmetic, AddSOfOneTo65535MakesTwoWords) {
  EXPECT_EQ(afterAddS(number(65535), 1), (Value{{0, 1}, false}));
}

TEST(KtArithmetic, AddSFlipsSignOfNegativeValueAtZero) {
  EXPECT_EQ(afterAddS(number(-3), 3), normal(0));
  EXPECT_EQ(afterAddS(number(-3), 5), normal(2));
  EXPECT_EQ(afterAddS(number(-3), 2), normal(-1));
  EXPECT_EQ(afterAddS(number(-65536), 1), normal(-65535));
  EXPECT_EQ(afterAddS(negativeZero(3), 0), normal(0));
  EXPECT_EQ(afterAddS(negativeZero(3), 9), normal(9));
}

TEST(KtArithmetic, SubSFlipsSignOfPositiveValueAtZero) {
  EXPECT_EQ(afterSubS(number(3), 5), normal(-2));
  EXPECT_EQ(afterSubS(number(3), 3), normal(0));
  EXPECT_EQ(afterSubS(number(3), 2), normal(1));
  EXPECT_EQ(afterSubS(number(0), 0), normal(0));
  EXPECT_EQ(afterSubS(number(0), 65535), normal(-65535));
}

TEST(KtArithmetic, SubSOfOneFrom65536LeavesOneWord) {
  EXPECT_EQ(afterSubS(record({0, 1}), 1), normal(65535));
}

TEST(KtArithmetic, SubSFromNegativeValueAddsMagnitudes) {
  EXPECT_EQ(afterSubS(number(-65535), 1), normal(-65536));
  EXPECT_EQ(afterSubS(negativeZero(2), 4), normal(-4));
  EXPECT_EQ(afterSubS(negativeZero(2), 0), normal(0));
}

TEST(KtArithmetic, AddSAndSubSAreExactAtEveryEdge) {
  for (const std::int32_t a : magnitudes) {
    for (const std::uint16_t s : Words{0, 1, 2, 32768, 65534, 65535}) {
      EXPECT_EQ(afterAddS(number(a), s), normal(std::int64_t{a} + s)) << a << " + " << s;
      EXPECT_EQ(afterAddS(number(-a), s), normal(-std::int64_t{a} + s)) << -a << " + " << s;
      EXPECT_EQ(afterSubS(number(a), s), normal(std::int64_t{a} - s)) << a << " - " << s;
      EXPECT_EQ(afterSubS(number(-a), s), normal(-std::int64_t{a} - s)) << -a << " - " << s;
    }
  }
}

TEST(KtArithmetic, AddSAllocatesCarryWordEvenWithoutCarry) {
  const Record full = record(Words(5, 1));
  _KtIntAddS(full.get(), 1);
  EXPECT_EQ(full->capacity, 6);
  EXPECT_EQ(full->length, 5);
}

TEST(KtArithmetic, AddSToNegativeValueAllocatesNothing) {
  const Record full = record(Words(5, 1), true);
  _KtIntAddS(full.get(), 2);
  EXPECT_EQ(full->capacity, 5);
  EXPECT_EQ(valueOf(full), (Value{{0xFFFF, 0, 1, 1, 1}, true}));
}

TEST(KtArithmetic, AddSAndSubSNormaliseForBothSigns) {
  EXPECT_EQ(afterAddS(record({1, 0, 0}), 1), normal(2));
  EXPECT_EQ(afterAddS(record({5, 0, 0}, true), 1), normal(-4));
  EXPECT_EQ(afterSubS(record({1, 0, 0}, true), 1), normal(-2));
  EXPECT_EQ(afterSubS(record({5, 0, 0}), 1), normal(4));
}

TEST(KtArithmetic, AddSToEmptyRecordMakesOneWord) {
  const Record a = number(0);
  a->length = 0;
  EXPECT_EQ(afterAddS(a, 7), normal(7));
}

// ---- Neg, Abs and Sign ----

TEST(KtArithmetic, NegOfZeroMakesNormalisedZero) {
  const Record b = number(-1);
  _KtIntNeg(number(0).get(), b.get());
  EXPECT_EQ(valueOf(b), normal(0));
  _KtIntNeg(negativeZero(3).get(), b.get());
  EXPECT_EQ(valueOf(b), normal(0));
}

TEST(KtArithmetic, NegInPlaceFlipsSign) {
  const Record a = record({1, 2}, true);
  _KtIntNeg(a.get(), a.get());
  EXPECT_EQ(valueOf(a), (Value{{1, 2}, false}));
  _KtIntNeg(a.get(), a.get());
  EXPECT_EQ(valueOf(a), (Value{{1, 2}, true}));
}

TEST(KtArithmetic, NegNormalisesResultButNotSource) {
  const Record a = record({9, 0, 0});
  const Record b = number(0);
  _KtIntNeg(a.get(), b.get());
  EXPECT_EQ(valueOf(a), (Value{{9, 0, 0}, false}));
  EXPECT_EQ(valueOf(b), normal(-9));
}

TEST(KtArithmetic, NegClearsAnyNonzeroSign) {
  const Record a = number(-3);
  a->negative = 2;
  _KtIntNeg(a.get(), a.get());
  EXPECT_EQ(a->negative, 0);
}

TEST(KtArithmetic, AbsClearsSignWithoutNormalising) {
  const Record b = number(0);
  _KtIntAbs(record({9, 0, 0}, true).get(), b.get());
  EXPECT_EQ(valueOf(b), (Value{{9, 0, 0}, false}));
  const Record a = negativeZero(2);
  _KtIntAbs(a.get(), a.get());
  EXPECT_EQ(valueOf(a), (Value{{0, 0}, false}));
}

TEST(KtArithmetic, NegAndAbsGrowResultToLengthOfSource) {
  const Record b = number(0);
  const Record c = number(0);
  const Record source = record(Words(8, 1));
  _KtIntNeg(source.get(), b.get());
  _KtIntAbs(source.get(), c.get());
  EXPECT_EQ(b->capacity, 8);
  EXPECT_EQ(c->capacity, 8);
}

TEST(KtArithmetic, SignIsMinusOneZeroOrOne) {
  EXPECT_EQ(_KtIntSign(number(-7).get()), -1);
  EXPECT_EQ(_KtIntSign(number(0).get()), 0);
  EXPECT_EQ(_KtIntSign(record({0, 1}).get()), 1);
}

TEST(KtArithmetic, SignNormalisesNegativeZeroAndReturnsZero) {
  const Record unnormalised = negativeZero(3);
  EXPECT_EQ(_KtIntSign(unnormalised.get()), 0);
  EXPECT_EQ(valueOf(unnormalised), normal(0));
}

}  // namespace
}  // namespace kt::test
