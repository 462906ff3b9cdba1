// SPDX-License-Identifier: MIT

#include "tools/ktd/HandlerJson.h"

#include <gtest/gtest.h>

#include <limits>

namespace kt::test {
namespace {

using namespace tools;

// Returns the property list that `text` is.
PropertyList list(const char *text) {
  return PropertyList::parse(text);
}

// Returns the value of the member "x" in the answer that `json` means.
PropertyList valueOf(const std::string &json) {
  const Dictionary answer = handlerAnswer("{\"x\":" + json + '}');
  const PropertyList *value = answer.find("x");
  return value != nullptr ? *value : PropertyList(answer);
}

// Returns `depth` arrays, one inside the other, around `inside`.
std::string nested(std::size_t depth, const std::string &inside = "") {
  return std::string(depth, '[') + inside + std::string(depth, ']');
}

// ---- What the program reads ----

TEST(HandlerInput, IsObjectAndLineFeed) {
  EXPECT_EQ(handlerInput({{"KtUDPKeyword", "Greet"}, {"a", Array{"b", Dictionary()}}}),
            "{\"KtUDPKeyword\":\"Greet\",\"a\":[\"b\",{}]}\n");
  EXPECT_EQ(handlerInput({}), "{}\n");
}

TEST(HandlerInput, HasDataWithDollarAndNumbersAsStrings) {
  EXPECT_EQ(handlerInput({{"d", list("<0FBD77>")}, {"n", 12}}),
            "{\"d\":{\"$data\":\"0fbd77\"},\"n\":\"12\"}\n");
}

TEST(HandlerInput, IsOneLineOfAscii) {
  EXPECT_EQ(handlerInput({{"a", "\u00fc\n\"\x01"}}), "{\"a\":\"\\u00fc\\n\\\"\\u0001\"}\n");
}

// ---- Objects ----

TEST(HandlerAnswer, IsJsonObject) {
  EXPECT_EQ(handlerAnswer(R"({"b": ["x", [], {}], "a": {"c": "\u00fc"}})"),
            *list("{ a = { c = \"\\U00FC\"; }; b = ( x, (), {} ); }").asDictionary());
  EXPECT_EQ(handlerAnswer("{}"), Dictionary());
}

TEST(HandlerAnswer, MayHaveWhiteSpaceAroundObject) {
  EXPECT_EQ(handlerAnswer("\n {\"a\" : \"b\"}\r\n\n"), (Dictionary{{"a", "b"}}));
}

TEST(HandlerAnswer, KeepsIntegers) {
  EXPECT_EQ(valueOf("-7"), PropertyList(-7));
  EXPECT_EQ(valueOf("-9223372036854775808"),
            PropertyList(std::numeric_limits<std::int64_t>::min()));
  EXPECT_EQ(valueOf("18446744073709551615"),
            PropertyList(std::numeric_limits<std::uint64_t>::max()));
}

TEST(HandlerAnswer, HasTextOfFractionsAndOfLongIntegers) {
  EXPECT_EQ(valueOf("1.50"), PropertyList("1.50"));
  EXPECT_EQ(valueOf("-2e3"), PropertyList("-2e3"));
  EXPECT_EQ(valueOf("18446744073709551616"), PropertyList("18446744073709551616"));
  EXPECT_EQ(valueOf("-9223372036854775809"), PropertyList("-9223372036854775809"));
}

TEST(HandlerAnswer, HasTextForNullAndBooleans) {
  EXPECT_EQ(valueOf("null"), PropertyList(""));
  EXPECT_EQ(valueOf("true"), PropertyList("1"));
  EXPECT_EQ(valueOf("false"), PropertyList("0"));
  EXPECT_EQ(valueOf("[null, true]"), PropertyList(Array{"", "1"}));
}

TEST(HandlerAnswer, KeepsLastOfRepeatedKeys) {
  EXPECT_EQ(handlerAnswer(R"({"a": "x", "a": "y"})"), (Dictionary{{"a", "y"}}));
}

// ---- Data ----

TEST(HandlerAnswer, HasData) {
  EXPECT_EQ(valueOf(R"({"$data": "0fBD77"})"), list("<0fbd77>"));
  EXPECT_EQ(valueOf(R"({"$data": ""})"), PropertyList(Data{}));
  EXPECT_EQ(valueOf(R"([{"$data": "00"}])"), list("( <00> )"));
}

TEST(HandlerAnswer, TakesOtherObjectsThanDataAsDictionaries) {
  EXPECT_EQ(valueOf(R"({"$data": "0"})"), list("{ \"$data\" = 0; }"));
  EXPECT_EQ(valueOf(R"({"$data": "0g"})"), list("{ \"$data\" = 0g; }"));
  EXPECT_EQ(valueOf(R"({"$data": "0 00"})"), list("{ \"$data\" = \"0 00\"; }"));
  EXPECT_EQ(valueOf(R"({"$data": ["00"]})"), list("{ \"$data\" = ( 00 ); }"));
  EXPECT_EQ(valueOf(R"({"$data": "00", "a": ""})"), list("{ \"$data\" = 00; a = \"\"; }"));
  EXPECT_EQ(valueOf(R"({"data": "00"})"), list("{ data = 00; }"));
  EXPECT_EQ(valueOf(R"({"$data": 10})"), PropertyList(Dictionary{{"$data", 10}}));
}

TEST(HandlerAnswer, IsDictionaryEvenIfItLooksLikeData) {
  EXPECT_EQ(handlerAnswer(R"({"$data": "00"})"), (Dictionary{{"$data", "00"}}));
}

TEST(HandlerAnswer, ReturnsEveryKindThatItReceived) {
  const Dictionary packet =
      *list("{ a = ( x, <00ff>, { b = <>; } ); c = \"\\n\\U00FC\"; d = {}; }").asDictionary();
  EXPECT_EQ(handlerAnswer(handlerInput(packet)), packet);
}

// ---- Depth ----

TEST(HandlerAnswer, NestsAsDeepAsMessageAllows) {
  const PropertyList deepest = valueOf(nested(510, R"({"$data":"00"})"));
  const PropertyList envelope = Dictionary{{"packet", Dictionary{{"x", deepest}}}};
  EXPECT_EQ(PropertyList::parse(envelope.description()), envelope);
  EXPECT_NE(deepest.asArray(), nullptr);
}

TEST(HandlerAnswer, IsErrorIfItNestsDeeper) {
  const Dictionary tooDeep{{"Error", "The program's answer nests deeper than 511."}};
  EXPECT_EQ(handlerAnswer("{\"x\":" + nested(511) + '}'), tooDeep);
  EXPECT_EQ(handlerAnswer("{\"x\":" + nested(510, "{}") + '}'), tooDeep);
  EXPECT_EQ(handlerAnswer("{\"x\":" + nested(500'000) + '}'), tooDeep);
}

TEST(HandlerAnswer, IsReadUpToExcessiveDepthOnly) {
  EXPECT_TRUE(handlerAnswer("{\"x\":" + std::string(512, '[')).contains("Error"));
  EXPECT_TRUE(handlerAnswer("{\"x\":" + std::string(511, '[')).contains("Output"));
}

TEST(HandlerAnswer, IsTextOfDeepArray) {
  const std::string deep = nested(100'000);
  EXPECT_EQ(handlerAnswer(deep), (Dictionary{{"Output", deep}}));
}

// ---- Other text ----

TEST(HandlerAnswer, IsTextWithoutLastLineFeed) {
  EXPECT_EQ(handlerAnswer("up 3 days\n"), (Dictionary{{"Output", "up 3 days"}}));
  EXPECT_EQ(handlerAnswer("a\nb\n\n"), (Dictionary{{"Output", "a\nb\n"}}));
  EXPECT_EQ(handlerAnswer("a"), (Dictionary{{"Output", "a"}}));
  EXPECT_EQ(handlerAnswer(""), (Dictionary{{"Output", ""}}));
  EXPECT_EQ(handlerAnswer("\n"), (Dictionary{{"Output", ""}}));
}

TEST(HandlerAnswer, IsTextOfJsonThatIsNotAnObject) {
  for (const char *json : {"[1]", "\"a\"", "7", "null", "true", "0.5", "{} {}", "{}\n{}"}) {
    EXPECT_EQ(handlerAnswer(json), (Dictionary{{"Output", json}}));
  }
}

TEST(HandlerAnswer, IsTextOfMalformedJson) {
  for (const char *json : {"{", "{\"a\":}", "{\"a\":1,}", "{a:1}", "{\"a\":\"\\ud800\"}",
                           "{\"a\":01}", "{\"a\":1e999}", "[}", "{]", "}", ",", "{\"a\""}) {
    EXPECT_EQ(handlerAnswer(json), (Dictionary{{"Output", json}}));
  }
}

TEST(HandlerAnswer, IsDataWithEveryByteIfNotUtf8) {
  EXPECT_EQ(handlerAnswer("\xff\n"),
            (Dictionary{{"Output", Data{std::byte{0xff}, std::byte{'\n'}}}}));
  EXPECT_NE(handlerAnswer("{\"a\":\"\xff\"}").data("Output"), nullptr);
}

}  // namespace
}  // namespace kt::test
