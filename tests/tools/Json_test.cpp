// SPDX-License-Identifier: MIT

#include "tools/common/Json.h"

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

TEST(Json, WritesDataWithChosenKey) {
  EXPECT_EQ(jsonOf(PropertyList::parse("({ x = <0f>; })"), "$data"), R"([{"x":{"$data":"0f"}}])");
  EXPECT_EQ(jsonOf(Dictionary{{"x", Data{}}}, "$data"), R"({"x":{"$data":""}})");
}

TEST(Json, WritesNestedContainersInKeyOrder) {
  EXPECT_EQ(jsonOf(PropertyList::parse("{ b = (x, (), {}); a = y; }")),
            "{\"a\":\"y\",\"b\":[\"x\",[],{}]}");
}

TEST(Json, WritesManyMembersInLinearTime) {
  constexpr std::size_t count = 300'000;  // minutes in quadratic time
  Dictionary dictionary;
  for (std::size_t number = 0; number < count; ++number) {
    dictionary[std::to_string(1'000'000 + number)] = "";
  }
  const std::size_t memberSize = std::string_view(R"("1000000":"",)").size();
  EXPECT_EQ(jsonOf(dictionary).size(), count * memberSize + 1);
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

TEST(Json, EscapesAllOtherCharacters) {
  EXPECT_EQ(jsonOf(PropertyList("a\"b\\c/\b\f\n\r\t\x01~")), R"("a\"b\\c/\b\f\n\r\t\u0001~")");
  EXPECT_EQ(jsonOf(PropertyList(std::string_view("\0", 1))), R"("\u0000")");
  EXPECT_EQ(jsonOf(PropertyList("\uffff\U00010000\U0001f600\U0010ffff")),
            R"("\uffff\ud800\udc00\ud83d\ude00\udbff\udfff")");
}

TEST(Json, ReplacesEachIllFormedPart) {
  EXPECT_EQ(jsonOf(PropertyList("a\xe2\x82z")), R"("a\ufffdz")");
  EXPECT_EQ(jsonOf(PropertyList("\xed\xa0\x80")), R"("\ufffd\ufffd\ufffd")");
}

TEST(Json, WritesKeysAsStrings) {
  EXPECT_EQ(jsonOf(Dictionary{{"\x1b\"", "x"}}), R"({"\u001b\"":"x"})");
}

TEST(Json, WritesShortestDigitsOfNumbers) {
  const auto written = [](double number) { return JsonObject().addNumber("n", number).text(); };
  EXPECT_EQ(written(0), R"({"n":0.0})");
  EXPECT_EQ(written(12), R"({"n":12.0})");
  EXPECT_EQ(written(-0.1), R"({"n":-0.1})");
  EXPECT_EQ(written(0.0001), R"({"n":0.0001})");
  EXPECT_EQ(written(0.00001), R"({"n":1e-05})");
  EXPECT_EQ(written(0.09359150000000001), R"({"n":0.09359150000000001})");
  EXPECT_EQ(written(123456789012345), R"({"n":123456789012345.0})");
  EXPECT_EQ(written(1e15), R"({"n":1e+15})");
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
