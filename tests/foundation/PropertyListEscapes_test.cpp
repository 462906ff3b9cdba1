// SPDX-License-Identifier: MIT

// How the parser reads escapes in quoted strings.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {
namespace {

using namespace std::string_literals;

constexpr const char *replacement = "\uFFFD";

bool isRejected(std::string_view text) {
  return errorOf(text).has_value();
}

TEST(PropertyListEscapes, CharacterWithoutMeaningStandsForItself) {
  const std::string meanings = "a\ab\bf\fn\nr\rt\tv\v";
  for (int code = 0; code < 128; ++code) {
    const char character = static_cast<char>(code);
    if ((character >= '0' && character <= '7') || character == 'U' || character == 'u') continue;
    const std::size_t index = meanings.find(character);
    const bool isLetter = index != std::string::npos && index % 2 == 0;
    const std::string expected{'<', isLetter ? meanings[index + 1] : character, '>'};
    EXPECT_EQ(stringOf(inQuotes("<\\"s + character + ">")), expected) << "code " << code;
  }
}

TEST(PropertyListEscapes, LineFeedStandsForItself) {
  EXPECT_EQ(stringOf("\"a\\\nb\""), "a\nb");
  EXPECT_EQ(stringOf("\"a\\\r\nb\""), "a\r\nb");
}

TEST(PropertyListEscapes, NonAsciiCharacterStandsForItself) {
  EXPECT_EQ(stringOf("\"\\\u00E9\\\U0001F600\""), "\u00E9\U0001F600");
  EXPECT_EQ(stringOf("\"\\\xE2\x82x\""), replacement + "x"s);
}

TEST(PropertyListEscapes, HexadecimalEscapesAreNotSupported) {
  EXPECT_EQ(stringOf("\"\\x41\""), "x41");
}

// ---- Octal escapes ----

// The NEXTSTEP characters from 0200 to 0375, as published by Unicode, 16 per line.
constexpr std::string_view nextstepText =
    "\u00A0ÀÁÂÃÄÅÇÈÉÊËÌÍÎÏ"
    "ÐÑÒÓÔÕÖÙÚÛÜÝÞµ×÷"
    "©¡¢£⁄¥ƒ§¤’“«‹›ﬁﬂ"
    "®–†‡·¦¶•‚„”»…‰¬¿"
    "¹ˋ´ˆ˜¯˘˙¨²˚¸³˝˛ˇ"
    "—±¼½¾àáâãäåçèéêë"
    "ìÆíªîïðñŁØŒºòóôõ"
    "öæùúûıüýłøœßþÿ";

std::vector<std::string> nextstepCharacters() {
  std::vector<std::string> characters;
  for (const char byte : nextstepText) {
    if ((byte & 0xC0) != 0x80) characters.emplace_back();
    characters.back() += byte;
  }
  characters.insert(characters.end(), 2, replacement);  // 0376 and 0377 are unassigned
  return characters;
}

std::string octal(int code, int digits) {
  std::string text;
  for (int shift = 3 * (digits - 1); shift >= 0; shift -= 3) {
    text += static_cast<char>('0' + ((code >> shift) & 7));
  }
  return text;
}

TEST(PropertyListEscapes, OctalEscapesBelow0200AreAscii) {
  for (int code = 0; code < 0200; ++code) {
    const std::string expected(1, static_cast<char>(code));
    EXPECT_EQ(stringOf(inQuotes('\\' + octal(code, 3))), expected);
    if (code < 0100) {
      EXPECT_EQ(stringOf(inQuotes('\\' + octal(code, 2))), expected);
    }
    if (code < 010) {
      EXPECT_EQ(stringOf(inQuotes('\\' + octal(code, 1))), expected);
    }
  }
}

TEST(PropertyListEscapes, OctalEscapesFrom0200AreNextstepCharacters) {
  const std::vector<std::string> characters = nextstepCharacters();
  ASSERT_EQ(characters.size(), 128u);
  for (int code = 0200; code <= 0377; ++code) {
    EXPECT_EQ(stringOf(inQuotes('\\' + octal(code, 3))),
              characters[static_cast<std::size_t>(code - 0200)])
        << octal(code, 3);
  }
}

TEST(PropertyListEscapes, OctalEscapesTakeAtMostThreeDigits) {
  EXPECT_EQ(stringOf("\"\\1018\""), "A8");
  EXPECT_EQ(stringOf("\"\\1011\""), "A1");
  EXPECT_EQ(stringOf("\"\\08\""), "\0"s + "8");
  EXPECT_EQ(stringOf("\"\\18\""), "\1"s + "8");
  EXPECT_EQ(stringOf("\"\\8\""), "8");
}

TEST(PropertyListEscapes, OctalEscapesAbove0377AreRejected) {
  for (int code = 0400; code <= 0777; ++code) {
    EXPECT_TRUE(isRejected(inQuotes('\\' + octal(code, 3)))) << octal(code, 3);
  }
}

// ---- Unicode escapes ----

TEST(PropertyListEscapes, UnicodeEscapesTakeOneToFourDigits) {
  EXPECT_EQ(stringOf("\"\\U9\""), "\t");
  EXPECT_EQ(stringOf("\"\\U41\""), "A");
  EXPECT_EQ(stringOf("\"\\U0e9\""), "\u00E9");
  EXPECT_EQ(stringOf("\"\\U20aC\""), "\u20AC");
  EXPECT_EQ(stringOf("\"\\U00410\""), "A0");
  EXPECT_EQ(stringOf("\"\\U41g\""), "Ag");
  EXPECT_EQ(stringOf("\"\\u00E9\\u41 \""), "\u00E9A ");
  EXPECT_EQ(stringOf("\"\\U0000\""), "\0"s);
}

TEST(PropertyListEscapes, UnicodeEscapesWithoutDigitAreRejected) {
  for (const char *text :
       {"\"\\U\"", "\"\\u\"", "\"\\Ug\"", "\"\\U 41\"", "\"\\U", "\"\\U\\U41\""}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

// Returns the escape of one UTF-16 code unit.
std::string unit(unsigned code) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "\\U%04x", code);
  return text.data();
}

TEST(PropertyListEscapes, UnicodeEscapesCoverBasicPlane) {
  for (unsigned code = 0x80; code < 0x10000; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    std::string expected;
    RandomValues::appendEncoded(expected, code);
    ASSERT_EQ(stringOf(inQuotes(unit(code))), expected) << unit(code);
  }
}

TEST(PropertyListEscapes, SurrogatePairsFormOneCharacter) {
  for (const unsigned high : {0xD800u, 0xD801u, 0xD83Du, 0xDBFEu, 0xDBFFu}) {
    for (unsigned low = 0xDC00; low <= 0xDFFF; ++low) {
      std::string expected;
      RandomValues::appendEncoded(expected, 0x10000 + (high - 0xD800) * 0x400 + (low - 0xDC00));
      ASSERT_EQ(stringOf(inQuotes(unit(high) + unit(low))), expected) << unit(high) << unit(low);
    }
  }
  EXPECT_EQ(stringOf("\"\\ud83d\\UDE00\""), "\U0001F600");
}

TEST(PropertyListEscapes, LoneSurrogateBecomesReplacementCharacter) {
  for (unsigned code = 0xD800; code <= 0xDFFF; ++code) {
    ASSERT_EQ(stringOf(inQuotes(unit(code))), replacement) << unit(code);
  }
}

TEST(PropertyListEscapes, TextAfterLoneSurrogateIsKept) {
  const std::string mark = replacement;
  EXPECT_EQ(stringOf("\"\\Ud83dx\""), mark + "x");
  EXPECT_EQ(stringOf("\"\\Ud83d\\n\""), mark + "\n");
  EXPECT_EQ(stringOf("\"\\Ud83d\\U41\""), mark + "A");
  EXPECT_EQ(stringOf("\"\\Ud83d\\Ud83d\\Ude00\""), mark + "\U0001F600");
  EXPECT_EQ(stringOf("\"\\Ude00\\Ud83d\""), mark + mark);
  EXPECT_EQ(stringOf("\"\\Ud83d\u00E9\""), mark + "\u00E9");
  EXPECT_EQ(stringOf("\"\\Ud83d\\\\Ude00\""), mark + "\\Ude00");
  EXPECT_TRUE(isRejected("\"\\Ud83d\\U\""));
}

}  // namespace
}  // namespace kt::test
