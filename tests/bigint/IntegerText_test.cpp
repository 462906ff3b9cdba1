// SPDX-License-Identifier: MIT

// kt::Integer as text: reading, literals, writing and streams.
#include <gtest/gtest.h>

#include <cstddef>
#include <iomanip>
#include <ios>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "kt/bigint/Integer.h"
#include "tests/bigint/Thrown.h"

namespace kt::test {
namespace {

// ---- Reading ----

TEST(IntegerText, ReadsSignsAndLeadingZeros) {
  EXPECT_EQ(Integer("0"), 0);
  EXPECT_EQ(Integer("-0"), 0);
  EXPECT_EQ(Integer("+007"), 7);
  EXPECT_EQ(Integer("-65536"), -65536);
  EXPECT_EQ(Integer(std::string(100'000, '0') + "5"), 5);
}

TEST(IntegerText, ReadsLettersInEitherCase) {
  EXPECT_EQ(Integer("-fF", 16), -255);
  EXPECT_EQ(Integer("zZ", 36), 35 * 36 + 35);
  EXPECT_EQ(Integer("101", 2), 5);
}

TEST(IntegerText, ReadsBackWhatItWritesInEveryBase) {
  const Integer number = (Integer(1) << 4079) + 12345;
  for (int base = 2; base <= 36; ++base) {
    EXPECT_EQ(Integer(number.toString(base), base), number) << base;
    EXPECT_EQ(Integer((-number).toString(base), base), -number) << base;
  }
}

TEST(IntegerText, TakesAnyBytesExceptSignsAsDigits) {
  EXPECT_EQ(Integer("-baa", "ab"), -4);
  EXPECT_EQ(Integer("Aa", "aA"), 2);
  std::string all;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '+' && byte != '-') all += static_cast<char>(byte);
  }
  const Integer number = kt::pow(7, 1400);
  EXPECT_EQ(Integer(number.toString(all), all), number);
}

TEST(IntegerText, RejectsMalformedNumber) {
  for (const char *text :
       {"", "-", "+", "+-1", "--1", " 1", "1 ", "1_000", "0x10", "1.0", "a", "-f"}) {
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { (void)Integer(text); }),
              "kt::Integer: not a number of that base in Integer(text)")
        << text;
  }
  EXPECT_THROW((void)Integer(std::string_view("1\0", 2)), std::invalid_argument);
  EXPECT_THROW((void)Integer("FF", "0123456789abcdef"), std::invalid_argument);
  EXPECT_THROW((void)Integer("2", 2), std::invalid_argument);
}

TEST(IntegerText, RejectsUnsupportedBase) {
  for (const int base : {-1, 0, 1, 37}) {
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { (void)Integer("1", base); }),
              "kt::Integer: a base outside 2 to 36 in Integer(text, base)");
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { (void)Integer(1).toString(base); }),
              "kt::Integer: a base outside 2 to 36 in toString(base)");
  }
}

TEST(IntegerText, RejectsInvalidAlphabet) {
  for (const std::string_view alphabet :
       {std::string_view(), std::string_view("0"), std::string_view("011"), std::string_view("0-"),
        std::string_view("+1"), std::string_view("0\0", 2)}) {
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { (void)Integer("0", alphabet); }),
              "kt::Integer: no alphabet of digits in Integer(text, alphabet)");
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { (void)Integer(1).toString(alphabet); }),
              "kt::Integer: no alphabet of digits in toString(alphabet)");
  }
}

TEST(IntegerText, ReadsLargestNumberAndRejectsNextInEveryBase) {
  const Integer half = Integer(1) << 4079;
  const Integer largest = half - 1 + half;
  for (int base = 2; base <= 36; ++base) {
    const std::string text = largest.toString(base);
    EXPECT_EQ(Integer(text, base), largest) << base;
    // The next number: increment the last digit that is not the highest; every digit after it is 0.
    std::string next = text;
    const char highest = Integer(base - 1).toString(base).front();
    const std::size_t place = next.find_last_not_of(highest);
    if (place == std::string::npos) {
      next = '1' + std::string(text.size(), '0');
    } else {
      next.replace(place + 1, std::string::npos, next.size() - place - 1, '0');
      next[place] = (Integer(std::string(1, next[place]), base) + 1).toString(base).front();
    }
    EXPECT_EQ(thrownBy<std::overflow_error>([&] { (void)Integer(next, base); }),
              "kt::Integer: more than 4080 bits in Integer(text)")
        << base;
  }
}

TEST(IntegerText, RejectsTextFarTooLong) {
  for (const std::size_t digits : {1'230U, 1'300U, 1'361U, 1'362U, 100'000U}) {
    EXPECT_THROW((void)Integer(std::string(digits, '9')), std::overflow_error) << digits;
  }
}

TEST(IntegerText, ReadsLiteralsLikeBuiltInOnes) {
  EXPECT_EQ(123456789012345678901234567890_kt, Integer("123456789012345678901234567890"));
  EXPECT_EQ(-1'000'000'000'000'000'000'000_kt, Integer("-1000000000000000000000"));
  EXPECT_EQ(0xfFFfFFfFFfFFfFFfFF_kt, (Integer(1) << 72) - 1);
  EXPECT_EQ(0XA_kt, 10);
  EXPECT_EQ(0b101_kt, 5);
  EXPECT_EQ(0B1'1_kt, 3);
  EXPECT_EQ(0377_kt, 255);
  EXPECT_EQ(0_kt, 0);
}

TEST(IntegerText, RejectsLiteralsWithFractionOrExponent) {
  EXPECT_THROW((void)1.5_kt, std::invalid_argument);
  EXPECT_THROW((void)1e5_kt, std::invalid_argument);
  EXPECT_THROW((void)0x1p5_kt, std::invalid_argument);
}

// ---- Writing ----

TEST(IntegerText, WritesZeroAsOneDigit) {
  EXPECT_EQ(Integer().toString(), "0");
  EXPECT_EQ(Integer().toString("ab"), "a");
  EXPECT_EQ((Integer(5) - 5).toString(2), "0");
}

// Expects a stream with these manipulators to print kt::Integer and a built-in number alike.
template <typename... Manipulators>
void expectSame(long long number, const Manipulators &...manipulators) {
  std::ostringstream expected;
  std::ostringstream actual;
  ((expected << manipulators), ...);
  ((actual << manipulators), ...);
  expected << number << '|' << number;  // the width applies to the first one only
  actual << Integer(number) << '|' << Integer(number);
  EXPECT_EQ(actual.str(), expected.str());
}

TEST(IntegerText, PrintsWidthAndFillLikeBuiltInNumbers) {
  for (const long long number : {0LL, 1LL, -1LL, 123'456LL, -9'223'372'036'854'775'807LL}) {
    for (const int width : {0, 1, 8, 30}) {
      for (auto *const side : {std::left, std::right, std::internal}) {
        expectSame(number, std::setw(width), side);
        expectSame(number, std::setw(width), side, std::setfill('*'), std::showpos);
      }
      expectSame(number, std::setw(width));
    }
  }
}

TEST(IntegerText, PrintsHexAndOctLikeBuiltInNumbers) {
  for (const long long number : {0LL, 1LL, 255LL, 0xabcdefLL}) {
    for (auto *const base : {std::hex, std::oct, std::dec}) {
      for (auto *const side : {std::left, std::right, std::internal}) {
        expectSame(number, base, std::setw(12), side, std::setfill('.'));
        expectSame(number, base, std::setw(12), side, std::showbase);
        expectSame(number, base, std::setw(12), side, std::showbase, std::uppercase);
      }
    }
  }
}

std::string printed(const Integer &number,
                    const std::vector<std::ios_base &(*)(std::ios_base &)> &how) {
  std::ostringstream stream;
  for (auto *const manipulator : how) {
    stream << manipulator;
  }
  stream << std::setw(9) << std::setfill('_') << number;
  return stream.str();
}

TEST(IntegerText, PrintsSignOfNegativeHexAndOct) {
  using namespace std;
  EXPECT_EQ(printed(-255, {hex, showbase, uppercase, internal}), "-0X____FF");
  EXPECT_EQ(printed(-255, {hex}), "______-ff");
  EXPECT_EQ(printed(-8, {oct, showbase, left}), "-010_____");
  EXPECT_EQ(printed(255, {hex, showpos, showbase, internal}), "+0x____ff");
  EXPECT_EQ(printed(0, {hex, showpos, showbase, internal}), "+_______0");
}

}  // namespace
}  // namespace kt::test
