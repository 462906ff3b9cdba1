// SPDX-License-Identifier: MIT

#include "tools/kt/Json.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

TEST(Json, WritesStringAsString) {
  EXPECT_EQ(jsonOf(PropertyList("1")), "\"1\"");
}

TEST(Json, WritesNumberAsStringOfDigits) {
  EXPECT_EQ(jsonOf(PropertyList(4798)), "\"4798\"");
}

TEST(Json, WritesDataAsObjectWithDigits) {
  EXPECT_EQ(jsonOf(PropertyList::parse("<0FBD77>")), "{\"data\":\"0fbd77\"}");
  EXPECT_EQ(jsonOf(PropertyList(Data{})), "{\"data\":\"\"}");
}

TEST(Json, WritesNestedContainersInKeyOrder) {
  EXPECT_EQ(jsonOf(PropertyList::parse("{ b = (x, (), {}); a = y; }")),
            "{\"a\":\"y\",\"b\":[\"x\",[],{}]}");
}

TEST(Json, WritesArrayOfPairsAsArray) {
  EXPECT_EQ(jsonOf(PropertyList::parse("((a, b), (c, d))")), "[[\"a\",\"b\"],[\"c\",\"d\"]]");
}

TEST(Json, WritesDeepestParsableValue) {
  const std::string text = std::string(512, '(') + std::string(512, ')');
  const std::string json = std::string(512, '[') + std::string(512, ']');
  EXPECT_EQ(jsonOf(PropertyList::parse(text)), json);
}

TEST(Json, EscapesCharactersBeyondAscii) {
  EXPECT_EQ(jsonOf(PropertyList("\x1b\u009b\x7f\xff\u00fc")),
            "\"\\u001b\\u009b\\u007f\\ufffd\\u00fc\"");
}

TEST(Json, ObjectKeepsOrderOfMembers) {
  EXPECT_EQ(JsonObject()
                .addText("b", "x\"\x1b")
                .addNumber("a", std::int64_t{-7})
                .addNumber("d", 0.25)
                .addNull("c")
                .addValue("e", Array{"1"})
                .text(),
            "{\"b\":\"x\\\"\\u001b\",\"a\":-7,\"d\":0.25,\"c\":null,\"e\":[\"1\"]}");
  EXPECT_EQ(JsonObject().text(), "{}");
}

}  // namespace
}  // namespace kt::test
