// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {
namespace {

using namespace std::string_literals;

std::string written(const PropertyList &value) {
  return value.description();
}

// ---- Strings ----

TEST(PropertyListWriter, WritesLettersDigitsUnderscoreAndDotBare) {
  const std::string all = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.";
  EXPECT_EQ(written(all), all);
  for (const char character : all) {
    EXPECT_EQ(written(std::string(1, character)), std::string(1, character));
  }
}

TEST(PropertyListWriter, QuotesEmptyString) {
  EXPECT_EQ(written(""), "\"\"");
}

TEST(PropertyListWriter, QuotesOtherPrintableCharacters) {
  for (const char character : " !#$%&'()*+,-/:;<=>?@[]^`{|}~"s) {
    EXPECT_EQ(written("a"s + character), "\"a"s + character + '"');
  }
}

TEST(PropertyListWriter, EscapesQuotationMarkAndBackslash) {
  EXPECT_EQ(written("a\"b"), "\"a\\\"b\"");
  EXPECT_EQ(written("a\\b"), "\"a\\\\b\"");
}

TEST(PropertyListWriter, EscapesControlCharacters) {
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

TEST(PropertyListWriter, KeepsDigitAfterOctalEscape) {
  EXPECT_EQ(written("\0"s + "1"), "\"\\0001\"");
}

TEST(PropertyListWriter, WritesNonAsciiCharactersAsUtf16Units) {
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

TEST(PropertyListWriter, WritesNumbersInDecimal) {
  EXPECT_EQ(written(0), "0");
  EXPECT_EQ(written(7), "7");
  EXPECT_EQ(written(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
  EXPECT_EQ(written(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(PropertyListWriter, QuotesNegativeNumbers) {
  EXPECT_EQ(written(-1), "\"-1\"");
  EXPECT_EQ(written(-1), written("-1"));
  EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), "\"-9223372036854775808\"");
}

TEST(PropertyListWriter, WritesBoolAsOneOrZero) {
  EXPECT_EQ(written(true), "1");
  EXPECT_EQ(written(false), "0");
}

// ---- Data ----

TEST(PropertyListWriter, WritesDataInLowercaseHexadecimal) {
  EXPECT_EQ(written(Data{std::byte{0x0f}, std::byte{0xbd}, std::byte{0x77}}), "<0fbd77>");
  EXPECT_EQ(written(Data()), "<>");
}

TEST(PropertyListWriter, WritesEveryByteOfData) {
  for (int code = 0; code < 256; ++code) {
    char expected[8];
    std::snprintf(expected, sizeof expected, "<%02x>", code);
    EXPECT_EQ(written(Data{static_cast<std::byte>(code)}), expected);
  }
}

// ---- Containers ----

TEST(PropertyListWriter, WritesArrays) {
  EXPECT_EQ(written(Array()), "()");
  EXPECT_EQ(written(Array{"a"}), "( a )");
  EXPECT_EQ(written(Array{"a", "b c", 3}), "( a, \"b c\", 3 )");
}

TEST(PropertyListWriter, WritesDictionaries) {
  EXPECT_EQ(Dictionary().description(), "{}");
  EXPECT_EQ((Dictionary{{"key", "value"}}).description(), "{ key = value; }");
  EXPECT_EQ((Dictionary{{"a b", 1}, {"", ""}}).description(), "{ \"\" = \"\"; \"a b\" = 1; }");
}

TEST(PropertyListWriter, WritesKeysInByteOrder) {
  EXPECT_EQ((Dictionary{{"b", 1}, {"\u00E9", 2}, {"B", 3}, {"ab", 4}, {"a", 5}}).description(),
            "{ B = 3; a = 5; ab = 4; b = 1; \"\\U00e9\" = 2; }");
}

TEST(PropertyListWriter, WritesNestedContainers) {
  const Dictionary value{{"a", Array{Array(), Dictionary(), Array{"b", Dictionary{{"c", Data()}}}}},
                         {"d", Dictionary{{"e", Dictionary{{"f", 1}}}, {"g", 2}}}};
  EXPECT_EQ(value.description(),
            "{ a = ( (), {}, ( b, { c = <>; } ) ); d = { e = { f = 1; }; g = 2; }; }");
}

TEST(PropertyListWriter, WritesDictionaryAloneAsInsideValue) {
  const Dictionary dictionary{{"a", Array{1, 2}}};
  EXPECT_EQ(dictionary.description(), written(dictionary));
  EXPECT_EQ(written(Dictionary()), "{}");
}

// ---- Whole texts ----

TEST(PropertyListWriter, WritesOnlyPrintableAscii) {
  std::string all;
  for (int code = 0; code < 256; ++code) {
    all += static_cast<char>(code);
  }
  const std::string text = Dictionary{{all, Array{all, all.substr(0, 200)}}}.description();
  EXPECT_TRUE(std::all_of(text.begin(), text.end(),
                          [](char character) { return character >= ' ' && character <= '~'; }));
}

TEST(PropertyListWriter, WritesTextThatReadsBackEqual) {
  constexpr std::uint32_t seed = 20260102;
  SCOPED_TRACE(seed);
  RandomValues random(seed);
  for (int round = 0; round < 20'000; ++round) {
    const PropertyList value = random.value(4);
    const std::string text = value.description();
    const PropertyList again = PropertyList::parse(text);
    ASSERT_EQ(again, value) << "round " << round;
    ASSERT_EQ(again.description(), text) << "round " << round;
  }
}

TEST(PropertyListWriter, WritesNumbersThatReadBackAsStrings) {
  const Dictionary value{{"a", 1}, {"b", -1}, {"c", Array{true}}};
  EXPECT_EQ(PropertyList::parse(value.description()),
            PropertyList(Dictionary{{"a", "1"}, {"b", "-1"}, {"c", Array{"1"}}}));
}

TEST(PropertyListWriter, WritesStringOfTenMillionBytes) {
  for (const char *part : {"a", " ", "\n", "\xC3\xA9"}) {
    const PropertyList value(repeated(part, 5'000'000));
    ASSERT_EQ(PropertyList::parse(value.description()), value);
  }
}

}  // namespace
}  // namespace kt::test
