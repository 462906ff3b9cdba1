// SPDX-License-Identifier: MIT

#include "tools/kt/Json.h"

#include <gtest/gtest.h>

namespace kt::tools {
namespace {

TEST(Json, StringsStayStrings) {
  EXPECT_EQ(jsonOf(PropertyList("1")).dump(), "\"1\"");
}

TEST(Json, NumbersAreStringsAsFromTheNetwork) {
  EXPECT_EQ(jsonOf(PropertyList(4798)).dump(), "\"4798\"");
}

TEST(Json, DataIsAnObjectWithItsDigits) {
  EXPECT_EQ(jsonOf(PropertyList::parse("<0FBD77>")).dump(), "{\"data\":\"0fbd77\"}");
  EXPECT_EQ(jsonOf(PropertyList(Data{})).dump(), "{\"data\":\"\"}");
}

TEST(Json, ContainersNestInKeyOrder) {
  EXPECT_EQ(jsonOf(PropertyList::parse("{ b = (x, (), {}); a = y; }")).dump(),
            "{\"a\":\"y\",\"b\":[\"x\",[],{}]}");
}

TEST(Json, AnArrayOfPairsIsNoObject) {
  EXPECT_EQ(jsonOf(PropertyList::parse("((a, b), (c, d))")).dump(),
            "[[\"a\",\"b\"],[\"c\",\"d\"]]");
}

TEST(Json, AsDeepAsTheReaderReads) {
  const std::string text = std::string(512, '(') + std::string(512, ')');
  const std::string json = std::string(512, '[') + std::string(512, ']');
  EXPECT_EQ(jsonOf(PropertyList::parse(text)).dump(), json);
}

TEST(Json, PrintingEscapesWhatIsNotAscii) {
  testing::internal::CaptureStdout();
  printJson(jsonOf(PropertyList("\x1b\u009b\x7f\xff\u00fc")));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\"\\u001b\\u009b\\u007f\\ufffd\\u00fc\"\n");
}

}  // namespace
}  // namespace kt::tools
