// SPDX-License-Identifier: MIT

#include "tools/text/Escape.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

TEST(Escaped, KeepsPrintableAscii) {
  EXPECT_EQ(escaped("a \"b\" \\c\\ ~!"), "a \"b\" \\c\\ ~!");
}

TEST(Escaped, EscapesControlCharacters) {
  EXPECT_EQ(escaped("\x1b[2J\r\n\t\x7f"), "\\033[2J\\r\\n\\t\\177");
}

TEST(Escaped, EscapesNul) {
  EXPECT_EQ(escaped(std::string_view("a\0b", 3)), "a\\000b");
}

TEST(Escaped, EscapesCharactersBeyondAscii) {
  EXPECT_EQ(escaped("\u00fc\u009b\u202e"), "\\U00fc\\U009b\\U202e");
}

TEST(Escaped, ReplacesIllFormedBytes) {
  EXPECT_EQ(escaped("a\xff"
                    "b"),
            "a\\Ufffdb");
}

TEST(Escaped, KeepsEmptyText) {
  EXPECT_EQ(escaped(""), "");
}

TEST(Escaped, ReturnsPrintableAsciiForEveryByte) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text = escaped(std::string(3, static_cast<char>(byte)));
    for (const char character : text) {
      EXPECT_TRUE(character >= ' ' && character <= '~') << byte << ": " << text;
    }
  }
}

TEST(InQuotes, QuotesSimpleText) {
  EXPECT_EQ(inQuotes("KtUDP"), "\"KtUDP\"");
  EXPECT_EQ(inQuotes(""), "\"\"");
}

TEST(InQuotes, EscapesQuotesAndBackslashes) {
  EXPECT_EQ(inQuotes("a\"b\\"), "\"a\\\"b\\\\\"");
}

TEST(InQuotes, EscapesControlCharacters) {
  EXPECT_EQ(inQuotes("\x1b"), "\"\\033\"");
}

}  // namespace
}  // namespace kt::test
