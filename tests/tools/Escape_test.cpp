// SPDX-License-Identifier: MIT

#include "tools/common/Visible.h"

#include <gtest/gtest.h>

namespace kt::tools {
namespace {

TEST(Visible, PrintableAsciiStaysAsItStands) {
  EXPECT_EQ(visible("a \"b\" \\c\\ ~!"), "a \"b\" \\c\\ ~!");
}

TEST(Visible, ControlCharactersAreEscaped) {
  EXPECT_EQ(visible("\x1b[2J\r\n\t\x7f"), "\\033[2J\\r\\n\\t\\177");
}

TEST(Visible, NulIsEscaped) {
  EXPECT_EQ(visible(std::string_view("a\0b", 3)), "a\\000b");
}

TEST(Visible, CharactersBeyondAsciiAreEscaped) {
  EXPECT_EQ(visible("\u00fc\u009b\u202e"), "\\U00fc\\U009b\\U202e");
}

TEST(Visible, IllFormedBytesAreReplaced) {
  EXPECT_EQ(visible("a\xff"
                    "b"),
            "a\\Ufffdb");
}

TEST(Visible, EmptyTextStaysEmpty) {
  EXPECT_EQ(visible(""), "");
}

TEST(Visible, EveryByteComesOutAsPrintableAscii) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text = visible(std::string(3, static_cast<char>(byte)));
    for (const char character : text) {
      EXPECT_TRUE(character >= ' ' && character <= '~') << byte << ": " << text;
    }
  }
}

TEST(InQuotes, SimpleTextGetsQuotesToo) {
  EXPECT_EQ(inQuotes("KtUDP"), "\"KtUDP\"");
  EXPECT_EQ(inQuotes(""), "\"\"");
}

TEST(InQuotes, QuotesAndBackslashesAreEscaped) {
  EXPECT_EQ(inQuotes("a\"b\\"), "\"a\\\"b\\\\\"");
}

TEST(InQuotes, ControlCharactersAreEscaped) {
  EXPECT_EQ(inQuotes("\x1b"), "\"\\033\"");
}

}  // namespace
}  // namespace kt::tools
