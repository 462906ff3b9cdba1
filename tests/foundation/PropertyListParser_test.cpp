// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {
namespace {

using namespace std::string_literals;

PropertyList read(std::string_view text) {
  return PropertyList::parse(text);
}

bool isRejected(std::string_view text) {
  return errorOf(text).has_value();
}

std::string messageOf(std::string_view text) {
  const auto error = errorOf(text);
  return error ? error->what() : "[no error]";
}

Data bytes(std::initializer_list<int> values) {
  Data data;
  for (const int value : values) {
    data.push_back(static_cast<std::byte>(value));
  }
  return data;
}

bool isBareCharacter(char character) {
  return std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.$/:-")
             .find(character) != std::string_view::npos;
}

// ---- Bare strings ----

TEST(PropertyListParser, AcceptsOnlyBareCharactersInBareStrings) {
  for (int code = 0; code < 256; ++code) {
    const char character = static_cast<char>(code);
    const std::string text{'a', character, 'b'};
    if (isBareCharacter(character)) {
      EXPECT_EQ(stringOf(text), text);
    } else {
      EXPECT_TRUE(isRejected(text)) << "code " << code;
    }
  }
}

TEST(PropertyListParser, ReadsEachBareCharacterAsString) {
  for (int code = 0; code < 128; ++code) {
    const char character = static_cast<char>(code);
    if (!isBareCharacter(character)) continue;
    EXPECT_EQ(stringOf({&character, 1}), std::string(1, character));
  }
}

TEST(PropertyListParser, ReadsNumbersAsStrings) {
  EXPECT_EQ(read("12"), PropertyList("12"));
  EXPECT_EQ(read("-5"), PropertyList("-5"));
  EXPECT_EQ(read("1.5"), PropertyList("1.5"));
}

TEST(PropertyListParser, KeepsSlashesInsideBareStrings) {
  EXPECT_EQ(stringOf("http://x"), "http://x");
  EXPECT_EQ(stringOf("a//b"), "a//b");
  EXPECT_EQ(read("(a//b\n, c)"), PropertyList(Array{"a//b", "c"}));
  EXPECT_TRUE(isRejected("a/*b*/"));  // the string is "a/"
}

TEST(PropertyListParser, AcceptsNonAsciiTextOnlyInQuotes) {
  EXPECT_EQ(stringOf("\"\u00E9\""), "\u00E9");
  EXPECT_TRUE(isRejected("\u00E9"));
  EXPECT_TRUE(isRejected("a\u00E9"));
  EXPECT_TRUE(isRejected("{ \u00E9 = a; }"));
}

// ---- Comments, white space, byte-order mark ----

TEST(PropertyListParser, SkipsWhiteSpaceBetweenTokens) {
  const std::string blanks = " \t\n\v\f\r";
  EXPECT_EQ(read(blanks + "{" + blanks + "a" + blanks + "=" + blanks + "(" + blanks + "b" + blanks +
                 "," + blanks + "c" + blanks + ")" + blanks + ";" + blanks + "}" + blanks),
            PropertyList(Dictionary{{"a", Array{"b", "c"}}}));
}

TEST(PropertyListParser, NeedsNoWhiteSpace) {
  EXPECT_EQ(read("{a=(b,c);d=<00>;\"e\"=\"f\"}"),
            PropertyList(Dictionary{{"a", Array{"b", "c"}}, {"d", bytes({0})}, {"e", "f"}}));
}

TEST(PropertyListParser, SkipsCommentsBetweenTokens) {
  for (const std::string comment :
       {"/* x */", "//x\n", "//x\r", "/**/", "/* // */", "/* \" { */"}) {
    std::string text;
    for (const char *token : {"{", "a", "=", "(", "b", ",", "<00>", ",", ")", ";", "}"}) {
      text += comment + token + " ";  // the space ends bare strings, in which / is text
    }
    EXPECT_EQ(read(text + comment), PropertyList(Dictionary{{"a", Array{"b", bytes({0})}}}))
        << text;
  }
}

TEST(PropertyListParser, AcceptsLineCommentAtEndOfText) {
  EXPECT_EQ(stringOf("a //"), "a");
  EXPECT_EQ(stringOf("a // b"), "a");
}

TEST(PropertyListParser, DoesNotNestBlockComments) {
  EXPECT_EQ(stringOf("/* /* */ a"), "a");
  EXPECT_TRUE(isRejected("/* /* */ */ a"));
}

TEST(PropertyListParser, RejectsUnterminatedBlockComment) {
  for (const char *text : {"/*", "/*/", "a /* b", "a /* b *", "(a /*"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

TEST(PropertyListParser, KeepsCommentMarksInsideQuotes) {
  EXPECT_EQ(stringOf("\"/* a */ // b\""), "/* a */ // b");
}

TEST(PropertyListParser, AcceptsByteOrderMarkOnlyAtStart) {
  EXPECT_EQ(stringOf("\uFEFFa"), "a");
  EXPECT_EQ(stringOf("\uFEFF // x\n a"), "a");
  EXPECT_EQ(stringOf("\"\uFEFF\""), "\uFEFF");
  for (const char *text : {"\uFEFF", " \uFEFFa", "\uFEFF\uFEFFa", "a\uFEFF", "\xEF\xBB"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

// ---- Quoted strings ----

TEST(PropertyListParser, ReadsQuotedStringUpToSameQuote) {
  EXPECT_EQ(stringOf("\"a b\""), "a b");
  EXPECT_EQ(stringOf("'a b'"), "a b");
  EXPECT_EQ(stringOf("\"it's\""), "it's");
  EXPECT_EQ(stringOf("'say \"a\"'"), "say \"a\"");
  EXPECT_EQ(stringOf("\"\""), "");
  EXPECT_EQ(stringOf("''"), "");
}

TEST(PropertyListParser, KeepsAsciiCharactersInsideQuotes) {
  for (int code = 0; code < 128; ++code) {
    const char character = static_cast<char>(code);
    if (character == '\\') continue;
    const std::string content{'a', character, 'b'};
    if (character != '"') {
      EXPECT_EQ(stringOf('"' + content + '"'), content) << code;
    }
    if (character != '\'') {
      EXPECT_EQ(stringOf('\'' + content + '\''), content) << code;
    }
  }
}

TEST(PropertyListParser, RejectsUnterminatedQuotedString) {
  for (const char *text : {"\"", "'", "\"a", "'a\"", "\"a\\\"", "\"a\\", "(\"a)", "{ a = \"b; }"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

// ---- Data ----

TEST(PropertyListParser, ReadsDataAsPairsOfHexadecimalDigits) {
  EXPECT_EQ(read("<0fbd77>"), PropertyList(bytes({0x0f, 0xbd, 0x77})));
  EXPECT_EQ(read("<0FBD77>"), read("<0fbd77>"));
  EXPECT_EQ(read("<>"), PropertyList(Data()));
}

TEST(PropertyListParser, ReadsEveryByteOfData) {
  for (int code = 0; code < 256; ++code) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), code % 2 ? "<%02x>" : "<%02X>", code);
    EXPECT_EQ(read(text.data()), PropertyList(bytes({code})));
  }
}

TEST(PropertyListParser, SkipsWhiteSpaceBetweenDigitsOfData) {
  EXPECT_EQ(read("< 0f bd\n77 >"), read("<0fbd77>"));
  EXPECT_EQ(read("<0 f\tb\r\nd7\v7\f>"), read("<0fbd77>"));
  EXPECT_EQ(read("< >"), PropertyList(Data()));
}

TEST(PropertyListParser, RejectsOddNumberOfHexadecimalDigits) {
  for (const char *text : {"<0>", "<0 >", "<0fb>", "<0f b d7>"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

TEST(PropertyListParser, RejectsOtherCharactersInData) {
  for (const char *text : {"<0g>", "<0fx>", "<0f,bd>", "<0f//\n>", "<0f/**/bd>", "<\"0f\">", "<0f",
                           "<", "<0", "<0f\xC2\xA0>", "<<0f>>"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
  EXPECT_TRUE(isRejected("<0f\0bd>"s));
}

// ---- Arrays ----

TEST(PropertyListParser, ReadsArrays) {
  EXPECT_EQ(read("()"), PropertyList(Array()));
  EXPECT_EQ(read("(a)"), PropertyList(Array{"a"}));
  EXPECT_EQ(read("( a, \"b c\", <00>, (d), {e = f;} )"),
            PropertyList(Array{"a", "b c", bytes({0}), Array{"d"}, Dictionary{{"e", "f"}}}));
}

TEST(PropertyListParser, AcceptsCommaAfterLastElement) {
  EXPECT_EQ(read("(a,)"), PropertyList(Array{"a"}));
  EXPECT_EQ(read("( (a, ) , )"), PropertyList(Array{PropertyList(Array{"a"})}));
}

TEST(PropertyListParser, RejectsIncompleteArray) {
  for (const char *text : {"(", "(a", "(a,", "(,)", "(,a)", "(a,,)", "(a,,b)", "(a b)", "(a;b)",
                           "(a}", "(a = b)", ")", "(a))", "(()"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

// ---- Dictionaries ----

TEST(PropertyListParser, ReadsDictionaries) {
  EXPECT_EQ(read("{}"), PropertyList(Dictionary()));
  EXPECT_EQ(read("{ a = b; \"c d\" = (e); 'f' = {}; 1 = <>; }"),
            PropertyList(
                Dictionary{{"a", "b"}, {"c d", Array{"e"}}, {"f", Dictionary()}, {"1", Data()}}));
}

TEST(PropertyListParser, AcceptsMissingSemicolonAfterLastEntry) {
  EXPECT_EQ(read("{ a = b }"), PropertyList(Dictionary{{"a", "b"}}));
  EXPECT_EQ(read("{ a = b; c = { d = e } }"),
            PropertyList(Dictionary{{"a", "b"}, {"c", Dictionary{{"d", "e"}}}}));
}

TEST(PropertyListParser, RejectsKeyWithoutValue) {
  for (const char *text : {"{ a }", "{ a; }", "{ a = }", "{ a = ; }", "{ = b; }", "{ a b; }",
                           "{ a = b; c }", "{ a = b; c; }"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

TEST(PropertyListParser, RejectsKeyThatIsNotString) {
  for (const char *text : {"{ (a) = b; }", "{ <00> = b; }", "{ {} = b; }"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

TEST(PropertyListParser, RejectsOtherPunctuationInDictionary) {
  for (const char *text :
       {"{", "{ a", "{ a =", "{ a = b", "{ a = b;", "{ ; }", "{ a = b;; }", "{ a = b c = d; }",
        "{ a = b, c = d }", "{ a : b; }", "{ a = b; )", "}"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

TEST(PropertyListParser, KeepsLastEntryOfSameKey) {
  EXPECT_EQ(read("{ a = 1; a = 2; }"), PropertyList(Dictionary{{"a", "2"}}));
  EXPECT_EQ(read("{ b = 1; a = 1; b = 2; c = 1; a = 2; 'b' = 3 }"),
            PropertyList(Dictionary{{"a", "2"}, {"b", "3"}, {"c", "1"}}));
}

TEST(PropertyListParser, IgnoresOrderOfEntries) {
  EXPECT_EQ(read("{ c = 3; a = 1; b = 2; }"), read("{ a = 1; b = 2; c = 3; }"));
}

// ---- Whole texts ----

TEST(PropertyListParser, RejectsEmptyText) {
  for (const char *text : {"", " ", "\n\t", "// x", "/* x */"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
}

TEST(PropertyListParser, RejectsTextAfterValue) {
  for (const char *text :
       {"a b", "a;", "a = b;", "{} {}", "() a", "<00> <00>", "\"a\" \"b\"", "a,"}) {
    EXPECT_TRUE(isRejected(text)) << text;
  }
  EXPECT_TRUE(isRejected("a\0"s));
  EXPECT_TRUE(isRejected("\0a"s));
}

TEST(PropertyListParser, RejectsMoreThan512NestedContainers) {
  for (const std::string_view shape : {"()", "{}"}) {
    const std::string opening = shape == "()" ? "(" : "{a=";
    const std::string inner = shape == "()" ? "(" : "{";
    const std::string closing = shape.substr(1) == ")" ? ")" : "}";
    const std::string fits = repeated(opening, 511) + inner + repeated(closing, 512);
    EXPECT_NO_THROW((void)read(fits));
    const auto error = errorOf(repeated(opening, 512) + inner + repeated(closing, 513));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset(), 512 * opening.size());
  }
}

TEST(PropertyListParser, DoesNotLimitNumberOfContainers) {
  EXPECT_EQ(read("(" + repeated("(),", 100'000) + ")").asArray()->size(), 100'000u);
}

constexpr std::string_view richText =
    "{ a = b; // note\n\"c\\n\\U00e9\\351\" = ( 'd', <0f bd 77>, { e = (); }, ); /* x */ f = "
    "\"\u00E9\"; "
    "http://x = {} }";

TEST(PropertyListParser, RejectsTruncatedTextAtItsEnd) {
  ASSERT_FALSE(isRejected(richText));
  for (std::size_t size = 0; size < richText.size(); ++size) {
    const auto error = errorOf(richText.substr(0, size));
    ASSERT_TRUE(error) << size;
    EXPECT_EQ(error->offset(), size) << error->what();
  }
}

TEST(PropertyListParser, SurvivesAnyChangedByte) {
  for (std::size_t position = 0; position < richText.size(); ++position) {
    for (int code = 0; code < 256; ++code) {
      std::string text(richText);
      text[position] = static_cast<char>(code);
      if (const auto error = errorOf(text)) {
        EXPECT_LE(error->offset(), text.size());
      }
    }
  }
}

// ---- Errors ----

TEST(PropertyListParser, ReportsWhatWasExpectedAndFound) {
  EXPECT_EQ(messageOf(""), "line 1, column 1: expected a value, found the end of the text");
  EXPECT_EQ(messageOf("(a b)"), "line 1, column 4: expected ',' or ')', found 'b'");
  EXPECT_EQ(messageOf("{ a = b c = d; }"), "line 1, column 9: expected ';' or '}', found 'c'");
  EXPECT_EQ(messageOf("{ a }"), "line 1, column 5: expected '=', found '}'");
  EXPECT_EQ(messageOf("{ (a) = b; }"), "line 1, column 3: expected a key or '}', found '('");
  EXPECT_EQ(messageOf("\"a"),
            "line 1, column 3: expected a closing '\"', found the end of the text");
  EXPECT_EQ(messageOf("/* x"), "line 1, column 5: expected '*/', found the end of the text");
  EXPECT_EQ(messageOf("<0f0>"), "line 1, column 5: expected a second hexadecimal digit, found '>'");
  EXPECT_EQ(messageOf("<0f,>"), "line 1, column 4: expected a hexadecimal digit or '>', found ','");
  EXPECT_EQ(messageOf("\"\\Ux\""), "line 1, column 4: expected a hexadecimal digit, found 'x'");
  EXPECT_EQ(messageOf("\"\\400\""),
            "line 1, column 3: expected an octal code up to 377, found '400'");
  EXPECT_EQ(messageOf("a b"), "line 1, column 3: expected nothing more, found 'b'");
  EXPECT_EQ(messageOf(repeated("(", 513)),
            "line 1, column 513: expected at most 512 containers in each other, found '('");
}

TEST(PropertyListParser, ReportsControlCharactersByCode) {
  EXPECT_EQ(messageOf("(a \n\033)"), "line 2, column 1: expected ',' or ')', found U+001B");
  EXPECT_EQ(messageOf("\u009B"), "line 1, column 1: expected a value, found U+009B");
  EXPECT_EQ(messageOf("\U0001F600"), "line 1, column 1: expected a value, found U+1F600");
  EXPECT_EQ(messageOf("\0"s), "line 1, column 1: expected a value, found U+0000");
  EXPECT_EQ(messageOf("\xFF"),
            "line 1, column 1: expected a value, found a byte that is not UTF-8");
}

// Expects an error at byte `offset`, which is at `line` and `column`.
void expectPlace(std::string_view text, std::size_t offset, std::size_t line, std::size_t column) {
  const auto error = errorOf(text);
  ASSERT_TRUE(error) << text;
  EXPECT_EQ(error->offset(), offset) << text;
  EXPECT_EQ(error->line(), line) << text;
  EXPECT_EQ(error->column(), column) << text;
}

TEST(PropertyListParser, CountsLinesAndColumnsFromOne) {
  expectPlace("", 0, 1, 1);
  expectPlace("(a,\n b c)", 7, 2, 4);
  expectPlace("(\n\n", 3, 3, 1);
}

TEST(PropertyListParser, CountsLinesWithAnyLineEnd) {
  expectPlace("\n\n)", 2, 3, 1);
  expectPlace("\r\r)", 2, 3, 1);
  expectPlace("\r\n\r\n)", 4, 3, 1);
  expectPlace("\n\r)", 2, 3, 1);
}

TEST(PropertyListParser, CountsColumnsInCharacters) {
  expectPlace("(\"\u00E9\u20AC\U0001F600\" )\t)", 15, 1, 10);
  expectPlace("(\"\xFF\xE2\x82\" b", 7, 1, 7);
}

TEST(PropertyListParser, CountsNoColumnForByteOrderMark) {
  expectPlace("\uFEFF)", 3, 1, 1);
}

TEST(PropertyListParser, MakesErrorForAnyPlaceOfText) {
  const PropertyListError error("ab\ncd", 4, "expected something else");
  EXPECT_EQ(error.offset(), 4u);
  EXPECT_EQ(error.line(), 2u);
  EXPECT_EQ(error.column(), 2u);
  EXPECT_STREQ(error.what(), "line 2, column 2: expected something else");
}

// ---- Size ----

// These tests would take hours if the time grew with the square of the length.

TEST(PropertyListParser, ReadsMillionKeysInRandomOrder) {
  constexpr std::uint32_t seed = 20260101;
  SCOPED_TRACE(seed);
  std::vector<int> keys(1'000'000);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    keys[i] = static_cast<int>(i);
  }
  std::shuffle(keys.begin(), keys.end(), std::mt19937(seed));
  std::string text = "{";
  for (const int key : keys) {
    text += std::to_string(key) + "=a;";
  }
  const PropertyList value = read(text + '}');
  EXPECT_EQ(value.asDictionary()->size(), keys.size());
  EXPECT_TRUE(value.asDictionary()->contains("999999"));
}

TEST(PropertyListParser, ReadsMillionEqualKeys) {
  const PropertyList value = read("{" + repeated("k=a;", 1'000'000) + "k=b;}");
  EXPECT_EQ(value, PropertyList(Dictionary{{"k", "b"}}));
}

TEST(PropertyListParser, RejectsMillionOpeningBrackets) {
  EXPECT_EQ(errorOf(repeated("(", 1'000'000))->offset(), 512u);
  EXPECT_EQ(errorOf(repeated("{a=", 1'000'000))->offset(), 3 * 512u);
}

TEST(PropertyListParser, ReadsTokensOfTenMillionBytes) {
  const std::size_t size = 10'000'000;  // bytes
  EXPECT_EQ(errorOf("/*" + repeated("/ * ", size / 4))->offset(), size + 2);
  EXPECT_EQ(errorOf('"' + std::string(size, 'a'))->offset(), size + 1);
  EXPECT_EQ(errorOf('"' + repeated("\\Ud83d", size / 6))->offset(), size / 6 * 6 + 1);
  EXPECT_EQ(errorOf('"' + repeated("'\xE2\x82", size / 3))->offset(), size / 3 * 3 + 1);
  EXPECT_EQ(errorOf('<' + std::string(size, ' '))->offset(), size + 1);
  EXPECT_EQ(errorOf(std::string(size, ' '))->offset(), size);
  EXPECT_EQ(errorOf(std::string(size, '\n'))->line(), size + 1);
  EXPECT_EQ(stringOf(std::string(size, 'a')).size(), size);
}

TEST(PropertyListParser, ReadsMillionValuesAndComments) {
  EXPECT_EQ(read("(" + repeated("a,/**/", 1'000'000) + ")").asArray()->size(), 1'000'000u);
  EXPECT_EQ(read("(" + repeated("{},//\n", 1'000'000) + ")").asArray()->size(), 1'000'000u);
}

}  // namespace
}  // namespace kt::test
