// SPDX-License-Identifier: MIT

#include "kt/bigint/Integer.h"

#include <gtest/gtest.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tests/bigint/Thrown.h"

namespace kt::test {
namespace {

static_assert(std::regular<Integer> && std::totally_ordered<Integer>);
static_assert(std::is_nothrow_move_constructible_v<Integer>);
static_assert(std::is_nothrow_move_assignable_v<Integer>);
static_assert(std::is_nothrow_default_constructible_v<Integer>);
static_assert(!std::is_convertible_v<Integer, int> && !std::is_convertible_v<double, Integer>);
static_assert(!std::is_convertible_v<const char *, Integer>);

// Returns 2^4,080 - 1.
const Integer &largest() {
  static const Integer half = Integer(1) << 4079;
  static const Integer all = half - 1 + half;
  return all;
}

// ---- Built-in integers ----

template <typename Number>
class IntegerConversion : public testing::Test {};

using BuiltInTypes =
    testing::Types<signed char, unsigned char, char, short, unsigned short, int, unsigned, long,
                   unsigned long, long long, unsigned long long, wchar_t, char32_t>;
TYPED_TEST_SUITE(IntegerConversion, BuiltInTypes, );

TYPED_TEST(IntegerConversion, PreservesBothEndsOfRange) {
  using Limits = std::numeric_limits<TypeParam>;
  for (const TypeParam number : {Limits::min(), Limits::max(), TypeParam{0}, TypeParam{1}}) {
    const Integer integer = number;
    EXPECT_EQ(integer.toString(), std::to_string(+number));
    EXPECT_EQ(static_cast<TypeParam>(integer), number);
  }
}

TYPED_TEST(IntegerConversion, ThrowsBeyondEndsOfRange) {
  using Limits = std::numeric_limits<TypeParam>;
  const Integer above = Integer(Limits::max()) + 1;
  const Integer below = Integer(Limits::min()) - 1;
  EXPECT_THROW((void)static_cast<TypeParam>(above), std::overflow_error);
  EXPECT_THROW((void)static_cast<TypeParam>(below), std::overflow_error);
  EXPECT_THROW((void)static_cast<TypeParam>(largest()), std::overflow_error);
}

TEST(Integer, ConvertsFromAndToBool) {
  EXPECT_EQ(Integer(true), 1);
  EXPECT_EQ(Integer(false), 0);
  EXPECT_FALSE(Integer());
  EXPECT_TRUE(Integer(-2));
}

TEST(Integer, ConversionErrorSaysValueDoesNotFit) {
  EXPECT_EQ(thrownBy<std::overflow_error>([] { (void)static_cast<std::int8_t>(Integer(128)); }),
            "kt::Integer: the value does not fit in the conversion's type");
}

// ---- Copies and moves ----

TEST(Integer, CopyIsIndependent) {
  Integer a = 5;
  Integer b = a;
  b += 1;
  EXPECT_EQ(a, 5);
  EXPECT_EQ(b, 6);
  a = b;
  a += 1;
  EXPECT_EQ(a, 7);
  EXPECT_EQ(b, 6);
}

TEST(Integer, MovedFromValueIsZeroAndUsable) {
  Integer a = largest();
  Integer b = std::move(a);
  EXPECT_EQ(b, largest());
  EXPECT_EQ(a, 0);  // NOLINT(bugprone-use-after-move): the state after a move is under test
  a += 3;
  EXPECT_EQ(a, 3);
  b = std::move(a);
  EXPECT_EQ(b, 3);
  EXPECT_EQ(a, 0);  // NOLINT(bugprone-use-after-move)
}

TEST(Integer, SelfAssignmentKeepsValue) {
  Integer a = largest();
  Integer &same = a;
  a = same;
  EXPECT_EQ(a, largest());
  a = std::move(same);
  EXPECT_EQ(a, largest());
}

TEST(Integer, AssignmentOfZeroReplacesValue) {
  Integer a = 5;
  a = Integer();
  EXPECT_EQ(a, 0);
  EXPECT_EQ(a.sign(), 0);
}

// Under the thread sanitizer this also shows that reading a value writes nothing.
TEST(Integer, SupportsConcurrentReads) {
  const Integer a = kt::pow(3, 500);
  const Integer b = -kt::pow(7, 200);
  const auto read = [&] {
    EXPECT_EQ((a + b) - (b - a), a * 2);
    EXPECT_EQ(a / b * b + a % b, a);
    EXPECT_TRUE(b < a && a != b && (a >> 3) > (b >> 3) && -a < b);
    EXPECT_EQ(gcd(a, b), 1);
    EXPECT_LT(powmod(b, 9, a), a);
    EXPECT_LT(sqrt(a), a);
    EXPECT_EQ(Integer(a.toString()), a);
  };
  std::vector<std::thread> threads;
  for (int count = 0; count < 3; ++count) {
    threads.emplace_back(read);
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
}

// ---- Order, sign, size, hash ----

TEST(Integer, OrdersByValue) {
  const Integer big = largest();
  const std::vector<Integer> ascending{-big, -65536, -65535, -1, 0, 1, 65535, 65536, big - 1, big};
  for (std::size_t a = 0; a < ascending.size(); ++a) {
    for (std::size_t b = 0; b < ascending.size(); ++b) {
      EXPECT_EQ(ascending[a] <=> ascending[b], a <=> b) << ascending[a] << ' ' << ascending[b];
      EXPECT_EQ(ascending[a] == ascending[b], a == b);
    }
  }
}

TEST(Integer, ComparesWithBuiltInNumbersOnEitherSide) {
  EXPECT_TRUE(Integer(5) < 6 && 4 < Integer(5) && 5 == Integer(5) && Integer(5) != -5);
}

TEST(Integer, SignIsMinusOneZeroOrOne) {
  EXPECT_EQ((-largest()).sign(), -1);
  EXPECT_EQ(Integer(0).sign(), 0);
  EXPECT_EQ(Integer(7).sign(), 1);
  EXPECT_EQ(abs(-largest()), largest());
  EXPECT_EQ(abs(Integer()), 0);
}

TEST(Integer, BitLengthCountsBitsOfMagnitude) {
  EXPECT_EQ(Integer(0).bitLength(), 0);
  EXPECT_EQ(Integer(-255).bitLength(), 8);
  EXPECT_EQ(largest().bitLength(), Integer::maximumBits);
  for (int bit = 0; bit < Integer::maximumBits; ++bit) {
    EXPECT_EQ((Integer(1) << bit).bitLength(), bit + 1);
    EXPECT_EQ(((Integer(1) << bit) - 1).bitLength(), bit);
  }
}

TEST(Integer, HashesEqualNumbersEqually) {
  const std::hash<Integer> hash;
  EXPECT_EQ(hash(largest()), hash(largest() - 1 + 1));
  EXPECT_EQ(hash(Integer(5) - 5), hash(Integer()));
  EXPECT_NE(hash(5), hash(-5));
  const std::unordered_set<Integer> set{1, -1, largest(), 1, 0};
  EXPECT_EQ(set.size(), 4U);
}

// ---- Rounding, limits and errors ----

TEST(Integer, DivisionTruncatesAndRemainderTakesSignOfDividend) {
  for (const int a : {-9, -8, -7, -1, 0, 1, 7, 8, 9, 70'000}) {
    for (const int b : {-70'000, -4, -3, -1, 1, 2, 3, 9}) {
      EXPECT_EQ(Integer(a) / b, a / b) << a << " / " << b;
      EXPECT_EQ(Integer(a) % b, a % b) << a << " % " << b;
    }
  }
}

TEST(Integer, RightShiftRoundsDownLikeBuiltInShift) {
  for (const int a : {-70'000, -65'536, -5, -4, -1, 0, 1, 5, 65'535}) {
    for (const int count : {0, 1, 2, 15, 16, 17, 30}) {
      EXPECT_EQ(Integer(a) >> count, a >> count) << a << " >> " << count;
    }
  }
  constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(-largest() >> huge, -1);
  EXPECT_EQ(largest() >> huge, 0);
  EXPECT_EQ(-largest() >> 4080, -1);
}

TEST(Integer, CompoundAssignmentTakesItselfAsOperand) {
  Integer a = 12;
  EXPECT_EQ(a += a, 24);
  EXPECT_EQ(a *= a, 576);
  EXPECT_EQ(a /= a, 1);
  EXPECT_EQ(a %= a, 0);
  a = -7;
  EXPECT_EQ(a -= a, 0);
}

TEST(Integer, IncrementAndDecrementCrossZero) {
  Integer a = -1;
  EXPECT_EQ(a++, -1);
  EXPECT_EQ(++a, 1);
  EXPECT_EQ(a--, 1);
  EXPECT_EQ(--a, -1);
  EXPECT_EQ(-a, 1);
  EXPECT_EQ(+a, -1);
  EXPECT_EQ(-Integer(), 0);
}

TEST(Integer, LargestNumberIsReachedWithoutOverflow) {
  const Integer half = Integer(1) << 4079;
  EXPECT_EQ(largest() - half, half - 1);
  EXPECT_EQ(-largest() + largest(), 0);
  EXPECT_EQ((half - 1) * 2 + 1, largest());
  EXPECT_EQ(half + (half - 1), largest());
  EXPECT_EQ(largest() * -1, -largest());
}

// Returns the message of the overflow, and expects the number to be unchanged.
template <typename Change>
std::string overflowOf(Integer number, Change change) {
  const Integer before = number;
  const std::string text = thrownBy<std::overflow_error>([&] { change(number); });
  EXPECT_EQ(number, before) << "after " << text;
  return text;
}

TEST(Integer, OverflowThrowsAndKeepsValue) {
  const Integer &big = largest();
  EXPECT_EQ(overflowOf(big, [](Integer &a) { ++a; }),
            "kt::Integer: more than 4080 bits in operator+");
  EXPECT_EQ(overflowOf(-big, [](Integer &a) { --a; }),
            "kt::Integer: more than 4080 bits in operator-");
  EXPECT_EQ(overflowOf(big, [&](Integer &a) { a += a; }),
            "kt::Integer: more than 4080 bits in operator+");
  EXPECT_EQ(overflowOf(big, [](Integer &a) { a *= 2; }),
            "kt::Integer: more than 4080 bits in operator*");
  EXPECT_EQ(overflowOf(big, [](Integer &a) { a *= a; }),
            "kt::Integer: more than 4080 bits in operator*");
  EXPECT_EQ(overflowOf(1, [](Integer &a) { a <<= 4080; }),
            "kt::Integer: more than 4080 bits in operator<<");
}

TEST(Integer, ProductOneBitTooLongThrows) {
  for (const int bits : {1, 15, 16, 17, 2039, 2040}) {
    const Integer factor = (Integer(1) << bits) - 1;
    const Integer fits = (Integer(1) << (4080 - bits)) - 1;
    EXPECT_EQ((factor * fits).bitLength(), bits == 1 ? 4079 : 4080);
    EXPECT_THROW((void)((factor + 1) * (fits + 1)), std::overflow_error) << bits;
  }
}

// Returns the message of the domain error, and expects the number to be unchanged.
template <typename Change>
std::string domainErrorOf(Change change) {
  Integer number = 5;
  const std::string text = thrownBy<std::domain_error>([&] { change(number); });
  EXPECT_EQ(number, 5) << "after " << text;
  return text;
}

TEST(Integer, UndefinedResultThrowsAndKeepsValue) {
  EXPECT_EQ(domainErrorOf([](Integer &a) { a /= 0; }),
            "kt::Integer: division by zero in operator/");
  EXPECT_EQ(domainErrorOf([](Integer &a) { a %= 0; }),
            "kt::Integer: division by zero in operator%");
  EXPECT_EQ(domainErrorOf([](Integer &a) { a <<= -1; }),
            "kt::Integer: negative count in operator<<");
  EXPECT_EQ(domainErrorOf([](Integer &a) { a >>= -1; }),
            "kt::Integer: negative count in operator>>");
  EXPECT_THROW((void)(Integer() / 0), std::domain_error);
}

// ---- Powers, common divisors and roots ----

TEST(Integer, PowMatchesRepeatedProducts) {
  for (const int base : {-3, -2, 2, 3, 10, 65'535, 65'536}) {
    Integer power = 1;
    for (int exponent = 0; exponent < 200; ++exponent, power *= base) {
      EXPECT_EQ(pow(base, exponent), power) << base << '^' << exponent;
    }
  }
}

TEST(Integer, PowOfMinusOneZeroAndOneTakesAnyExponent) {
  EXPECT_EQ(kt::pow(0, 0), 1);
  EXPECT_EQ(kt::pow(0, largest()), 0);
  EXPECT_EQ(kt::pow(1, largest()), 1);
  EXPECT_EQ(kt::pow(-1, largest()), -1);
  EXPECT_EQ(kt::pow(-1, largest() - 1), 1);
}

TEST(Integer, PowReachesLargestPowerAndThrowsBeyond) {
  EXPECT_EQ(kt::pow(2, 4079), Integer(1) << 4079);
  EXPECT_EQ(kt::pow(3, 2574).bitLength(), 4080);
  EXPECT_EQ(thrownBy<std::overflow_error>([] { (void)kt::pow(2, 4080); }),
            "kt::Integer: more than 4080 bits in pow");
  EXPECT_EQ(thrownBy<std::overflow_error>([] { (void)kt::pow(3, 2575); }),
            "kt::Integer: more than 4080 bits in pow");
  EXPECT_THROW((void)kt::pow(2, largest()), std::overflow_error);
  EXPECT_EQ(thrownBy<std::domain_error>([] { (void)kt::pow(2, -1); }),
            "kt::Integer: negative exponent in pow");
}

TEST(Integer, GcdIsNeverNegative) {
  EXPECT_EQ(kt::gcd(12, -18), 6);
  EXPECT_EQ(kt::gcd(-12, 0), 12);
  EXPECT_EQ(kt::gcd(0, -12), 12);
  EXPECT_EQ(kt::gcd(0, 0), 0);
  EXPECT_EQ(gcd(largest(), kt::pow(2, 2040) - 1), kt::pow(2, 2040) - 1);
}

TEST(Integer, SqrtRoundsDown) {
  for (int root = 0; root < 300; ++root) {
    EXPECT_EQ(kt::sqrt(root * root), root);
    EXPECT_EQ(kt::sqrt(root * root + 2 * root), root);
  }
  const Integer halfLength = kt::pow(2, 2040) - 1;
  EXPECT_EQ(sqrt(largest()), halfLength);
  EXPECT_EQ(sqrt(halfLength * halfLength), halfLength);
  EXPECT_EQ(sqrt(halfLength * halfLength - 1), halfLength - 1);
  EXPECT_EQ(thrownBy<std::domain_error>([] { (void)kt::sqrt(-1); }),
            "kt::Integer: negative number in sqrt");
}

}  // namespace
}  // namespace kt::test
