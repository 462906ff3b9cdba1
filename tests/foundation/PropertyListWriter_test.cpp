// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace {

using kt::Array;
using kt::Data;
using kt::Dictionary;
using kt::PropertyList;
using kt::test::inQuotes;
using kt::test::RandomValues;
using kt::test::repeated;
using namespace std::string_literals;

std::string written(const PropertyList &value) {
  return value.description();
}

// ---- Strings ----

TEST(PropertyListWriter, StringsOfLettersDigitsUnderscoreAndDotAreBare) {
  const std::string all = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.";
  EXPECT_EQ(written(all), all);
  for (const char character : all) {
    EXPECT_EQ(written(std::string(1, character)), std::string(1, character));
  }
}

TEST(PropertyListWriter, TheEmptyStringIsQuoted) {
  EXPECT_EQ(written(""), "\"\"");
}

TEST(PropertyListWriter, OtherPrintableCharactersStandInQuotes) {
  for (const char character : " !#$%&'()*+,-/:;<=>?@[]^`{|}~"s) {
    EXPECT_EQ(written("a"s + character), "\"a"s + character + '"');
  }
}

TEST(PropertyListWriter, QuotationMarkAndBackslashAreEscaped) {
  EXPECT_EQ(written("a\"b"), "\"a\\\"b\"");
  EXPECT_EQ(written("a\\b"), "\"a\\\\b\"");
}

TEST(PropertyListWriter, ControlCharactersAreCEscapesOrOctal) {
  const std::string_view escapes[] = {"\\000", "\\001", "\\002", "\\003", "\\004", "\\005", "\\006",
                                      "\\a",   "\\b",   "\\t",   "\\n",   "\\v",   "\\f",   "\\r",
                                      "\\016", "\\017", "\\020", "\\021", "\\022", "\\023", "\\024",
                                      "\\025", "\\026", "\\027", "\\030", "\\031", "\\032", "\\033",
                                      "\\034", "\\035", "\\036", "\\037"};
  for (std::size_t code = 0; code < std::size(escapes); ++code) {
    EXPECT_EQ(written(std::string(1, static_cast<char>(code))), inQuotes(escapes[code]));
  }
  EXPECT_EQ(written("\177"), "\"\\177\"");
}

TEST(PropertyListWriter, ADigitBehindAnOctalEscapeStaysADigit) {
  EXPECT_EQ(written("\0"s + "1"), "\"\\0001\"");
}

TEST(PropertyListWriter, EveryCharacterBeyondAsciiIsItsUtf16Units) {
  for (std::uint32_t code = 0x80; code <= 0x10FFFF; code += code < 0x11000 ? 1 : 977) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    std::string character;
    RandomValues::appendEncoded(character, code);
    char expected[32];
    if (code < 0x10000) {
      std::snprintf(expected, sizeof expected, "\"\\U%04x\"", code);
    } else {
      std::snprintf(expected, sizeof expected, "\"\\U%04x\\U%04x\"",
                    0xD800 + ((code - 0x10000) >> 10), 0xDC00 + (code & 0x3FF));
    }
    ASSERT_EQ(written(character), expected);
  }
}

// ---- Numbers ----

TEST(PropertyListWriter, NumbersAreTheirDecimalDigits) {
  EXPECT_EQ(written(0), "0");
  EXPECT_EQ(written(7), "7");
  EXPECT_EQ(written(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
  EXPECT_EQ(written(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(PropertyListWriter, NegativeNumbersAreQuotedAsTheStringsTheyComeBackAs) {
  EXPECT_EQ(written(-1), "\"-1\"");
  EXPECT_EQ(written(-1), written("-1"));
  EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), "\"-9223372036854775808\"");
}

TEST(PropertyListWriter, ABoolIsOneOrZero) {
  EXPECT_EQ(written(true), "1");
  EXPECT_EQ(written(false), "0");
}

// ---- Data ----

TEST(PropertyListWriter, DataIsLowercaseHexadecimal) {
  EXPECT_EQ(written(Data{std::byte{0x0f}, std::byte{0xbd}, std::byte{0x77}}), "<0fbd77>");
  EXPECT_EQ(written(Data()), "<>");
}

TEST(PropertyListWriter, EveryByteOfData) {
  for (int code = 0; code < 256; ++code) {
    char expected[8];
    std::snprintf(expected, sizeof expected, "<%02x>", code);
    EXPECT_EQ(written(Data{static_cast<std::byte>(code)}), expected);
  }
}

// ---- Containers ----

TEST(PropertyListWriter, ArraysStandInParenthesesWithCommas) {
  EXPECT_EQ(written(Array()), "()");
  EXPECT_EQ(written(Array{"a"}), "( a )");
  EXPECT_EQ(written(Array{"a", "b c", 3}), "( a, \"b c\", 3 )");
}

TEST(PropertyListWriter, DictionariesStandInBracesWithSemicolons) {
  EXPECT_EQ(Dictionary().description(), "{}");
  EXPECT_EQ((Dictionary{{"key", "value"}}).description(), "{ key = value; }");
  EXPECT_EQ((Dictionary{{"a b", 1}, {"", ""}}).description(), "{ \"\" = \"\"; \"a b\" = 1; }");
}

TEST(PropertyListWriter, KeysAreWrittenInTheOrderOfTheirBytes) {
  EXPECT_EQ((Dictionary{{"b", 1}, {"\u00E9", 2}, {"B", 3}, {"ab", 4}, {"a", 5}}).description(),
            "{ B = 3; a = 5; ab = 4; b = 1; \"\\U00e9\" = 2; }");
}

TEST(PropertyListWriter, ContainersNest) {
  const Dictionary value{{"a", Array{Array(), Dictionary(), Array{"b", Dictionary{{"c", Data()}}}}},
                         {"d", Dictionary{{"e", Dictionary{{"f", 1}}}, {"g", 2}}}};
  EXPECT_EQ(value.description(),
            "{ a = ( (), {}, ( b, { c = <>; } ) ); d = { e = { f = 1; }; g = 2; }; }");
}

TEST(PropertyListWriter, ADictionaryIsWrittenAlikeAloneAndAsAValue) {
  const Dictionary dictionary{{"a", Array{1, 2}}};
  EXPECT_EQ(dictionary.description(), written(dictionary));
  EXPECT_EQ(written(Dictionary()), "{}");
}

// ---- Whole texts ----

TEST(PropertyListWriter, TheTextIsPureAsciiWithoutControlCharacters) {
  std::string all;
  for (int code = 0; code < 256; ++code) {
    all += static_cast<char>(code);
  }
  const std::string text = Dictionary{{all, Array{all, all.substr(0, 200)}}}.description();
  EXPECT_TRUE(std::all_of(text.begin(), text.end(),
                          [](char character) { return character >= ' ' && character <= '~'; }));
}

TEST(PropertyListWriter, WhatIsWrittenReadsBackEqual) {
  constexpr std::uint32_t seed = 20260102;
  SCOPED_TRACE(seed);
  RandomValues random(seed);
  for (int round = 0; round < 20000; ++round) {
    const PropertyList value = random.value(4);
    const std::string text = value.description();
    const PropertyList again = PropertyList::parse(text);
    ASSERT_EQ(again, value) << "round " << round;
    ASSERT_EQ(again.description(), text) << "round " << round;
  }
}

TEST(PropertyListWriter, NumbersReadBackAsStringsOfTheSameText) {
  const Dictionary value{{"a", 1}, {"b", -1}, {"c", Array{true}}};
  EXPECT_EQ(PropertyList::parse(value.description()),
            PropertyList(Dictionary{{"a", "1"}, {"b", "-1"}, {"c", Array{"1"}}}));
}

TEST(PropertyListWriter, AStringOfTenMillionBytes) {
  for (const char *part : {"a", " ", "\n", "\xC3\xA9"}) {
    const PropertyList value(repeated(part, 5000000));
    ASSERT_EQ(PropertyList::parse(value.description()), value);
  }
}

}  // namespace
