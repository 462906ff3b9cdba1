// SPDX-License-Identifier: MIT

// `_KtInt` records as text in any base: digits written, digits read, characters skipped.
#include "kt/bigint/_KtEncoding.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

const std::string binary = _KTINT_BIN_VECTOR;
const std::string decimalDigits = _KTINT_DEC_VECTOR;
const std::string hexadecimal = _KTINT_HEX_VECTOR;

TEST(KtEncoding, VectorsHoldDigitsOfTheirBases) {
  EXPECT_EQ(binary, "01");
  EXPECT_EQ(decimalDigits, "0123456789");
  EXPECT_EQ(hexadecimal, "0123456789abcdef");
}

TEST(KtEncoding, EncodeOmitsLeadingZeros) {
  EXPECT_EQ(encoded(number(5).get(), binary), "101");
  EXPECT_EQ(encoded(number(-255).get(), hexadecimal), "-ff");
  EXPECT_EQ(encoded(number(1000000).get(), decimalDigits), "1000000");
  EXPECT_EQ(encoded(number(-2147483647 - 1).get(), decimalDigits), "-2147483648");
}

TEST(KtEncoding, EncodeWritesZeroAsFirstDigit) {
  EXPECT_EQ(encoded(number(0).get(), decimalDigits), "0");
  EXPECT_EQ(encoded(number(0).get(), "xyz"), "x");
  EXPECT_EQ(encoded(record({0, 0, 0}).get(), decimalDigits), "0");
}

TEST(KtEncoding, EncodeKeepsInnerAndTrailingZeros) {
  EXPECT_EQ(encoded(record({0, 0, 1}).get(), hexadecimal), "100000000");
  EXPECT_EQ(encoded(record({0, 0, 0, 0, 0, 0, 0, 0, 1}).get(), decimalDigits),
            "340282366920938463463374607431768211456");
}

TEST(KtEncoding, EncodeWritesNegativeZeroAsLoneSign) {
  EXPECT_EQ(encoded(negativeZero(1).get(), decimalDigits), "-");
  EXPECT_EQ(encoded(negativeZero(3).get(), hexadecimal), "-");
}

TEST(KtEncoding, EncodeLeavesRecordUnchanged) {
  const Record unnormalised = record({7, 0, 0}, true);
  EXPECT_EQ(encoded(unnormalised.get(), decimalDigits), "-7");
  EXPECT_EQ(valueOf(unnormalised), (Value{{7, 0, 0}, true}));
  EXPECT_EQ(unnormalised->capacity, 5);
}

Value decoded(const std::string &text, const std::string &alphabet) {
  const Record result = record({9, 9, 9}, true);  // nothing of it may remain
  _KtIntDecode(text.c_str(), result.get(), alphabet.c_str());
  return valueOf(result);
}

TEST(KtEncoding, DecodeReadsDigitsAndSign) {
  EXPECT_EQ(decoded("-ff", hexadecimal), normal(-255));
  EXPECT_EQ(decoded("101", binary), normal(5));
  EXPECT_EQ(decoded("4294967296", decimalDigits), (Value{{0, 0, 1}, false}));
}

TEST(KtEncoding, DecodeDistinguishesLetterCase) {
  EXPECT_EQ(decoded("FF", hexadecimal), normal(0));
  EXPECT_EQ(decoded("fF1", hexadecimal), normal(0xf1));
}

TEST(KtEncoding, DecodeSkipsCharactersOutsideAlphabet) {
  EXPECT_EQ(decoded("1 000 000", decimalDigits), normal(1000000));
  EXPECT_EQ(decoded("+12", decimalDigits), normal(12));
  EXPECT_EQ(decoded("0x1f", hexadecimal), normal(0x1f));
  EXPECT_EQ(decoded("12\xC3\xA4\xFF"
                    "3",
                    decimalDigits),
            normal(123));
}

TEST(KtEncoding, DecodeOfTextWithoutDigitsMakesZero) {
  EXPECT_EQ(decoded("", decimalDigits), normal(0));
  EXPECT_EQ(decoded("zzz", decimalDigits), normal(0));
}

TEST(KtEncoding, DecodeOfLoneSignMakesNormalisedZero) {
  EXPECT_EQ(decoded("-", decimalDigits), normal(0));
  EXPECT_EQ(decoded("-0", decimalDigits), normal(0));
}

TEST(KtEncoding, DecodeTakesOnlyFirstMinusAsSign) {
  EXPECT_EQ(decoded("--5", decimalDigits), normal(-5));
  EXPECT_EQ(decoded("5-", decimalDigits), normal(5));
  EXPECT_EQ(decoded(" -5", decimalDigits), normal(5));
}

TEST(KtEncoding, DecodeIgnoresLeadingZeros) {
  EXPECT_EQ(decoded("007", decimalDigits), normal(7));
  EXPECT_EQ(decoded(std::string(5000, '0') + "7", decimalDigits), normal(7));
}

TEST(KtEncoding, DecodeReplacesLargePreviousValue) {
  const Record result = record(allOnes(200), true);
  _KtIntDecode("3", result.get(), decimalDigits.c_str());
  EXPECT_EQ(valueOf(result), normal(3));
}

TEST(KtEncoding, DecodeUsesFirstOfRepeatedDigits) {
  EXPECT_EQ(decoded("a", "0a2a"), normal(1));
  EXPECT_EQ(decoded("2a", "0a2a"), normal(9));
}

TEST(KtEncoding, DecodeWithOneDigitMakesZero) {
  EXPECT_EQ(decoded("0000", "0"), normal(0));
}

TEST(KtEncoding, DecodeWithEmptyAlphabetMakesZero) {
  EXPECT_EQ(decoded("123", ""), normal(0));
}

TEST(KtEncoding, DecodeTakesMinusDigitAsSignOnlyAtStart) {
  const std::string alphabet = "-+";  // - is 0, + is 1
  EXPECT_EQ(decoded("+-+", alphabet), normal(5));
  EXPECT_EQ(decoded("-+-", alphabet), normal(-2));
}

TEST(KtEncoding, DecodeAndEncodeTakeNonAsciiBytesAsDigits) {
  EXPECT_EQ(decoded("\xFF\x80\xFF", "\x80\xFF"), normal(5));
  EXPECT_EQ(encoded(number(5).get(), "\x80\xFF"), "\xFF\x80\xFF");
}

TEST(KtEncoding, DecodeReadsBackAlphabetOf255Digits) {
  std::string alphabet;
  for (int character = 255; character > 0; --character) {
    alphabet += static_cast<char>(character);
  }
  const Record value = record({1, 2, 3, 4, 5});
  EXPECT_EQ(decoded(encoded(value.get(), alphabet), alphabet), valueOf(value));
}

TEST(KtEncoding, LengthOfLongAlphabetIsItsBase) {
  std::string alphabet(60000, 'x');  // a repeated character has the value of its first position
  alphabet[0] = '0';
  alphabet[59999] = 'z';
  EXPECT_EQ(decoded("z0", alphabet), normal(59999LL * 60000));
  EXPECT_EQ(encoded(record({59999}).get(), alphabet), "z");
  EXPECT_EQ(encoded(number(60000).get(), alphabet), "x0");
}

}  // namespace
}  // namespace kt::test
