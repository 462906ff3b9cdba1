// SPDX-License-Identifier: MIT

#include "tools/text/Excerpt.h"

#include <gtest/gtest.h>

#include "kt/foundation/PropertyList.h"

namespace kt::test {
namespace {

using namespace tools;

TEST(Excerpt, PutsCaretUnderOffset) {
  EXPECT_EQ(excerpt("key = ;", 6), "key = ;\n      ^");
}

TEST(Excerpt, ShowsOnlyLineOfOffset) {
  EXPECT_EQ(excerpt("first\nsecond\nthird", 8), "second\n  ^");
}

TEST(Excerpt, RecognisesEveryKindOfLineEnd) {
  EXPECT_EQ(excerpt("first\r\nsecond\r\nthird", 7), "second\n^");
  EXPECT_EQ(excerpt("first\rsecond\rthird", 6), "second\n^");
}

TEST(Excerpt, PutsCaretAfterEndOfText) {
  EXPECT_EQ(excerpt("( a", 3), "( a\n   ^");
  EXPECT_EQ(excerpt("( a\n", 4), "\n^");
  EXPECT_EQ(excerpt("", 0), "\n^");
}

TEST(Excerpt, ShowsTabAsOneColumn) {
  EXPECT_EQ(excerpt("\ta\t;", 3), " a ;\n   ^");
}

TEST(Excerpt, EscapesControlCharactersAndMovesCaret) {
  EXPECT_EQ(excerpt("\x1b[2J;", 4), "\\033[2J;\n       ^");
}

TEST(Excerpt, EscapesCharactersBeyondAsciiAndMovesCaret) {
  EXPECT_EQ(excerpt("\"\u00fc\" x", 5), "\"\\U00fc\" x\n         ^");
}

TEST(Excerpt, OmitsByteOrderMark) {
  EXPECT_EQ(excerpt("\xEF\xBB\xBF;", 3), ";\n^");
}

TEST(Excerpt, TruncatesLongLinesOnBothSides) {
  const std::string text = std::string(500, 'a') + '!' + std::string(500, 'b');
  EXPECT_EQ(excerpt(text, 500), "..." + std::string(45, 'a') + '!' + std::string(26, 'b') +
                                    "...\n" + std::string(48, ' ') + '^');
}

TEST(Excerpt, KeepsLineOfExactWidth) {
  const std::string text = std::string(48, 'a') + std::string(30, 'b');
  EXPECT_EQ(excerpt(text, 48), text + '\n' + std::string(48, ' ') + '^');
}

TEST(Excerpt, TruncatesBetweenCharacters) {
  std::string text;
  for (int count = 0; count < 300; ++count) {
    text += "\U0001F600";
  }
  const std::string shown = excerpt(text, 600);
  EXPECT_EQ(shown.find("fffd"), std::string::npos) << shown;
}

TEST(Excerpt, PointsAtPropertyListError) {
  const std::string text = "{\n  a = ( 1, 2 ;\n}\n";
  try {
    (void)PropertyList::parse(text);
    FAIL();
  } catch (const PropertyListError &error) {
    EXPECT_EQ(excerpt(text, error.offset()), "  a = ( 1, 2 ;\n             ^");
  }
}

}  // namespace
}  // namespace kt::test
