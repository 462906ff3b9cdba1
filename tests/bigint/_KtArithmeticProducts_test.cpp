// SPDX-License-Identifier: MIT

// Products, quotients, remainders and powers of `_KtInt` records: signs, aliases of the result, and
// which operands are normalised.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "kt/bigint/_KtArithmetic.h"
#include "kt/bigint/_KtComparison.h"
#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

// ---- MulS ----

Value timesWord(const Record &a, std::uint16_t s) {
  _KtIntMulS(a.get(), s);
  return valueOf(a);
}

TEST(KtArithmeticProducts, MulSByZeroMakesNormalisedZero) {
  EXPECT_EQ(timesWord(number(-70000), 0), normal(0));
}

TEST(KtArithmeticProducts, MulSByOneKeepsValue) {
  EXPECT_EQ(timesWord(number(-70000), 1), normal(-70000));
}

TEST(KtArithmeticProducts, MulSMultipliesLargestWords) {
  EXPECT_EQ(timesWord(number(65535), 65535), (Value{{1, 65534}, false}));
  EXPECT_EQ(timesWord(record(allOnes(3), true), 65535), (Value{{1, 0xFFFF, 0xFFFF, 65534}, true}));
}

TEST(KtArithmeticProducts, MulSAllocatesCarryWordAndNormalises) {
  const Record a = record({3, 0, 0, 0, 0}, true);
  EXPECT_EQ(timesWord(a, 2), normal(-6));
  EXPECT_EQ(a->capacity, 6);
}

TEST(KtArithmeticProducts, MulSNormalisesNegativeZero) {
  EXPECT_EQ(timesWord(negativeZero(2), 9), normal(0));
}

// ---- Mul ----

Value product(const Record &a, const Record &b) {
  const Record c = number(-99);
  _KtIntMul(a.get(), b.get(), c.get());
  return valueOf(c);
}

TEST(KtArithmeticProducts, MulMultipliesSigns) {
  EXPECT_EQ(product(number(-3), number(-2)), normal(6));
  EXPECT_EQ(product(number(-3), number(2)), normal(-6));
  EXPECT_EQ(product(number(3), number(-2)), normal(-6));
  EXPECT_EQ(product(number(3), number(2)), normal(6));
}

TEST(KtArithmeticProducts, MulByZeroMakesNormalisedZero) {
  EXPECT_EQ(product(number(-70000), number(0)), normal(0));
  EXPECT_EQ(product(number(0), number(-70000)), normal(0));
  EXPECT_EQ(product(negativeZero(3), number(7)), normal(0));
}

TEST(KtArithmeticProducts, MulSquaresLongValues) {
  // With B = 65536: (B^n - 1)^2 = B^2n - 2 B^n + 1.
  for (std::size_t length = 2; length <= 127; ++length) {
    Words square(2 * length, 0xFFFF);
    std::fill(square.begin(), square.begin() + static_cast<std::ptrdiff_t>(length), 0);
    square[0] = 1;
    square[length] = 0xFFFE;
    EXPECT_EQ(product(record(allOnes(length)), record(allOnes(length), true)),
              (Value{square, true}));
  }
}

TEST(KtArithmeticProducts, MulLeavesOperandsUnnormalised) {
  const Record a = record({3, 0, 0}, true);
  const Record b = record({2, 0});
  EXPECT_EQ(product(a, b), normal(-6));
  EXPECT_EQ(valueOf(a), (Value{{3, 0, 0}, true}));
  EXPECT_EQ(valueOf(b), (Value{{2, 0}, false}));
}

TEST(KtArithmeticProducts, MulIntoFirstOperandTakesSignOfSecond) {
  const Record a = number(-3);
  _KtIntMul(a.get(), number(2).get(), a.get());
  EXPECT_EQ(valueOf(a), normal(6));
  const Record c = number(3);
  _KtIntMul(c.get(), number(-2).get(), c.get());
  EXPECT_EQ(valueOf(c), normal(-6));
}

TEST(KtArithmeticProducts, MulIntoSecondOperandTakesSignOfFirst) {
  const Record b = number(-2);
  _KtIntMul(number(-3).get(), b.get(), b.get());
  EXPECT_EQ(valueOf(b), normal(-6));
}

TEST(KtArithmeticProducts, MulOfRecordByItselfInPlaceIsPositive) {
  const Record a = record({0, 2}, true);
  _KtIntMul(a.get(), a.get(), a.get());
  EXPECT_EQ(valueOf(a), (Value{{0, 0, 4}, false}));
}

TEST(KtArithmeticProducts, MulTakesOneRecordAsBothOperands) {
  const Record a = number(-70000);
  EXPECT_EQ(product(a, a), normal(4900000000));
  EXPECT_EQ(valueOf(a), normal(-70000));
}

// ---- Mod ----

Value remainderOf(const Record &a, const Record &b) {
  const Record c = number(-99);
  _KtIntMod(a.get(), b.get(), c.get());
  return valueOf(c);
}

TEST(KtArithmeticProducts, ModIsNeverNegative) {
  EXPECT_EQ(remainderOf(number(-7), number(3)), normal(1));
  EXPECT_EQ(remainderOf(number(7), number(-3)), normal(1));
  EXPECT_EQ(remainderOf(number(-7), number(-3)), normal(1));
  EXPECT_EQ(remainderOf(number(6), number(3)), normal(0));
  EXPECT_EQ(remainderOf(number(-6), number(3)), normal(0));
}

TEST(KtArithmeticProducts, ModByLargerDivisorReturnsMagnitudeOfDividend) {
  EXPECT_EQ(remainderOf(number(-5), number(70000)), normal(5));
  EXPECT_EQ(remainderOf(number(0), number(-70000)), normal(0));
  EXPECT_EQ(remainderOf(record({5, 0, 0}, true), number(7)), normal(5));
}

TEST(KtArithmeticProducts, ModNormalisesDivisorButNotDividend) {
  const Record a = record({7, 0, 0}, true);
  const Record b = record({3, 0}, true);
  EXPECT_EQ(remainderOf(a, b), normal(1));
  EXPECT_EQ(valueOf(a), (Value{{7, 0, 0}, true}));
  EXPECT_EQ(valueOf(b), normal(-3));
}

TEST(KtArithmeticProducts, ModTakesEitherOperandAsResult) {
  const Record a = number(-700001);
  _KtIntMod(a.get(), number(7).get(), a.get());
  EXPECT_EQ(valueOf(a), normal(1));
  const Record b = number(-7);
  _KtIntMod(number(700001).get(), b.get(), b.get());
  EXPECT_EQ(valueOf(b), normal(1));
  const Record c = number(-7);
  _KtIntMod(c.get(), c.get(), c.get());
  EXPECT_EQ(valueOf(c), normal(0));
}

// ---- Div ----

using Quotient = std::pair<Value, Value>;  // quotient and remainder

Quotient quotientOf(const Record &dividend, const Record &divisor) {
  const Record quotient = number(-98);
  const Record remainder = number(-99);
  _KtIntDiv(dividend.get(), divisor.get(), quotient.get(), remainder.get());
  return {valueOf(quotient), valueOf(remainder)};
}

Quotient quotientOf(std::int32_t dividend, std::int32_t divisor) {
  return quotientOf(number(dividend), number(divisor));
}

TEST(KtArithmeticProducts, DivFloorsQuotientButKeepsRemainderOfMagnitudes) {
  EXPECT_EQ(quotientOf(7, 2), Quotient(normal(3), normal(1)));
  EXPECT_EQ(quotientOf(-7, 2), Quotient(normal(-4), normal(1)));
  EXPECT_EQ(quotientOf(7, -2), Quotient(normal(-4), normal(1)));
  EXPECT_EQ(quotientOf(-7, -2), Quotient(normal(3), normal(1)));
  EXPECT_EQ(quotientOf(-7, 3), Quotient(normal(-3), normal(1)));
  EXPECT_EQ(quotientOf(6, -3), Quotient(normal(-2), normal(0)));
  EXPECT_EQ(quotientOf(2, 5), Quotient(normal(0), normal(2)));
  EXPECT_EQ(quotientOf(-2, 5), Quotient(normal(-1), normal(2)));
}

TEST(KtArithmeticProducts, DivOfZeroByNegativeValueMakesNegativeZero) {
  const Record quotient = number(0);
  const Record remainder = number(0);
  _KtIntDiv(number(0).get(), number(-5).get(), quotient.get(), remainder.get());
  EXPECT_EQ(valueOf(quotient), (Value{{0}, true}));
  EXPECT_EQ(valueOf(remainder), normal(0));
  EXPECT_EQ(_KtIntNegative(quotient.get()), 1);
  EXPECT_EQ(_KtIntZero(quotient.get()), 1);
  EXPECT_EQ(_KtIntNegative(quotient.get()), 0);
}

TEST(KtArithmeticProducts, DivReadsSignOfNegativeZero) {
  EXPECT_EQ(quotientOf(negativeZero(2), number(5)), Quotient(Value{{0}, true}, normal(0)));
  EXPECT_EQ(quotientOf(negativeZero(2), number(-5)), Quotient(normal(0), normal(0)));
}

TEST(KtArithmeticProducts, DivByItselfReturnsOne) {
  EXPECT_EQ(quotientOf(-70000, -70000), Quotient(normal(1), normal(0)));
  EXPECT_EQ(quotientOf(record({1, 2, 3, 4}), record({1, 2, 3, 4})), Quotient(normal(1), normal(0)));
  const Record a = record({1, 2, 3});
  EXPECT_EQ(quotientOf(a, a), Quotient(normal(1), normal(0)));
}

TEST(KtArithmeticProducts, DivOfDivisorShiftedByOneWordReturns65536) {
  EXPECT_EQ(quotientOf(record({0, 7, 8, 9}), record({7, 8, 9})),
            Quotient(normal(65536), normal(0)));
}

TEST(KtArithmeticProducts, DivNormalisesDivisorButNotDividend) {
  const Record dividend = record({7, 0, 0}, true);
  const Record divisor = record({2, 0});
  EXPECT_EQ(quotientOf(dividend, divisor), Quotient(normal(-4), normal(1)));
  EXPECT_EQ(valueOf(dividend), (Value{{7, 0, 0}, true}));
  EXPECT_EQ(valueOf(divisor), normal(2));
}

TEST(KtArithmeticProducts, DivCorrectsEstimatedDigitThatIsTooLarge) {
  // Dividends with the divisor's most significant words, divisors whose low words are all ones.
  EXPECT_EQ(quotientOf(record({0, 0, 0, 0x8000}), record({0xFFFF, 0xFFFF, 0x8000})),
            Quotient(normal(65534), Value{{0xFFFE, 0, 2}, false}));
  EXPECT_EQ(quotientOf(record({3, 0, 0x8000}), record({1, 0, 0x2000})),
            Quotient(normal(3), Value{{0, 0, 0x2000}, false}));
}

// Divides with the quotient in the dividend, the remainder in the divisor, or both. The signs are
// read after the results are stored; such a call sees the sign of the result. Kept: it is the
// contract.
Quotient quotientInPlace(std::int32_t dividend, std::int32_t divisor, bool quotientIsDividend,
                         bool remainderIsDivisor) {
  const Record a = number(dividend);
  const Record b = number(divisor);
  const Record c = number(0);
  _KtInt *quotient = quotientIsDividend ? a.get() : c.get();
  _KtInt *remainder = remainderIsDivisor ? b.get() : c.get();
  _KtIntDiv(a.get(), b.get(), quotient, remainder);
  return {valueOf(quotientIsDividend ? a : c), valueOf(remainderIsDivisor ? b : c)};
}

TEST(KtArithmeticProducts, DivIntoDividendForgetsItsSign) {
  EXPECT_EQ(quotientInPlace(-7, 2, true, false), Quotient(normal(3), normal(1)));
  EXPECT_EQ(quotientInPlace(7, -2, true, false), Quotient(normal(-4), normal(1)));
  EXPECT_EQ(quotientInPlace(-7, -2, true, false), Quotient(normal(-4), normal(1)));
}

TEST(KtArithmeticProducts, DivWithRemainderInDivisorForgetsItsSign) {
  EXPECT_EQ(quotientInPlace(-7, 2, false, true), Quotient(normal(-4), normal(1)));
  EXPECT_EQ(quotientInPlace(7, -2, false, true), Quotient(normal(3), normal(1)));
  EXPECT_EQ(quotientInPlace(-7, -2, false, true), Quotient(normal(-4), normal(1)));
}

TEST(KtArithmeticProducts, DivIntoBothOperandsForgetsBothSigns) {
  EXPECT_EQ(quotientInPlace(-7, 2, true, true), Quotient(normal(3), normal(1)));
  EXPECT_EQ(quotientInPlace(7, -2, true, true), Quotient(normal(3), normal(1)));
}

TEST(KtArithmeticProducts, DivWithRemainderInDividendForgetsItsSign) {
  const Record a = number(-7);
  const Record quotient = number(0);
  _KtIntDiv(a.get(), number(2).get(), quotient.get(), a.get());
  EXPECT_EQ(valueOf(quotient), normal(3));
  EXPECT_EQ(valueOf(a), normal(1));
}

TEST(KtArithmeticProducts, DivWithQuotientInDivisorForgetsItsSign) {
  const Record b = number(-2);
  const Record remainder = number(0);
  _KtIntDiv(number(7).get(), b.get(), b.get(), remainder.get());
  EXPECT_EQ(valueOf(b), normal(3));
  EXPECT_EQ(valueOf(remainder), normal(1));
}

TEST(KtArithmeticProducts, DivOfRecordByItselfInPlaceReturnsOne) {
  const Record a = number(-70000);
  const Record remainder = number(9);
  _KtIntDiv(a.get(), a.get(), a.get(), remainder.get());
  EXPECT_EQ(valueOf(a), normal(1));
  EXPECT_EQ(valueOf(remainder), normal(0));
}

TEST(KtArithmeticProducts, DivMatchesBuiltInDivisionForEverySign) {
  for (const std::int32_t dividend : {1, 6, 65535, 65536, 70001, 0x7FFFFFFF}) {
    for (const std::int32_t divisor : {1, 2, 7, 65535, 65536, 65537, 0x7FFFFFFE}) {
      const std::int32_t quotient = dividend / divisor;
      const std::int32_t remainder = dividend % divisor;
      EXPECT_EQ(quotientOf(dividend, divisor), Quotient(normal(quotient), normal(remainder)));
      EXPECT_EQ(quotientOf(-dividend, -divisor), Quotient(normal(quotient), normal(remainder)));
      const Quotient down(normal(remainder ? -quotient - 1 : -quotient), normal(remainder));
      EXPECT_EQ(quotientOf(-dividend, divisor), down);
      EXPECT_EQ(quotientOf(dividend, -divisor), down);
    }
  }
}

// ---- PowS ----

Value power(const Record &a, std::uint16_t e) {
  _KtIntPowS(a.get(), e);
  return valueOf(a);
}

TEST(KtArithmeticProducts, PowSByZeroReturnsOneForEveryValue) {
  EXPECT_EQ(power(number(0), 0), normal(1));
  EXPECT_EQ(power(number(-9), 0), normal(1));
  EXPECT_EQ(power(record(allOnes(255), true), 0), normal(1));
  EXPECT_EQ(power(negativeZero(4), 0), normal(1));
}

TEST(KtArithmeticProducts, PowSTakesSignFromParityOfExponent) {
  EXPECT_EQ(power(number(-2), 3), normal(-8));
  EXPECT_EQ(power(number(-2), 2), normal(4));
  EXPECT_EQ(power(number(-1), 65535), normal(-1));
  EXPECT_EQ(power(number(-1), 65534), normal(1));
}

TEST(KtArithmeticProducts, PowSOfZeroMakesNormalisedZero) {
  EXPECT_EQ(power(number(0), 5), normal(0));
  EXPECT_EQ(power(negativeZero(1), 5), normal(0));
  EXPECT_EQ(power(negativeZero(3), 4), normal(0));
}

TEST(KtArithmeticProducts, PowSOfTwoSetsOneBit) {
  EXPECT_EQ(power(number(2), 16), normal(65536));
  for (std::uint16_t e = 0; e < 4080; ++e) {
    Words words(e / 16 + 1U, 0);
    words.back() = static_cast<std::uint16_t>(1U << (e % 16));
    ASSERT_EQ(power(number(2), e), (Value{words, false})) << e;
  }
}

TEST(KtArithmeticProducts, PowSByOneNormalises) {
  EXPECT_EQ(power(record({7, 0, 0}, true), 1), normal(-7));
}

TEST(KtArithmeticProducts, PowSOfTenEncodesAsOneAndZeros) {
  EXPECT_EQ(decimal(record(power(number(10), 1200).words)), '1' + std::string(1200, '0'));
}

TEST(KtArithmeticProducts, ResultCapacityIsAtLeastItsLength) {
  const Record c = number(0);
  for (const std::int32_t value : {0, 7}) {
    _KtIntSetMinLength(c.get(), 256);
    ASSERT_EQ(c->capacity, 0);
    _KtIntMul(number(value).get(), number(1).get(), c.get());
    EXPECT_GE(c->capacity, c->length);
  }
}

}  // namespace
}  // namespace kt::test
