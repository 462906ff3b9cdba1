// SPDX-License-Identifier: MIT

#include "tools/kt/Request.h"

#include <gtest/gtest.h>

#include "kt/udp/KtMessage.h"
#include "tools/common/Failure.h"

namespace kt::test {
namespace {

using namespace tools;

// Returns why `entries` are refused, or "accepted".
std::string refusalOf(const std::vector<std::string> &entries) {
  try {
    (void)requestOf("Echo", entries);
    return "accepted";
  } catch (const Misuse &error) {
    return error.what();
  }
}

TEST(Request, HasKeywordOnlyWithoutEntries) {
  EXPECT_EQ(requestOf("Status", {}), (Dictionary{{"KtUDPKeyword", "Status"}}));
}

TEST(Request, KeepsValuesAsStrings) {
  EXPECT_EQ(
      requestOf("Echo", {"a=1", "b= c ", "d=\"e\"", "f="}),
      (Dictionary{{"KtUDPKeyword", "Echo"}, {"a", "1"}, {"b", " c "}, {"d", "\"e\""}, {"f", ""}}));
}

TEST(Request, EndsKeyAtFirstEqualsSign) {
  EXPECT_EQ(*requestOf("Echo", {"a=b=c"}).find("a"), PropertyList("b=c"));
}

TEST(Request, ParsesValuesThatBeginWithBracket) {
  const Dictionary request = requestOf("Echo", {"list=(1, 2)", "map={ a = b; }", "data=<0fbd77>"});
  EXPECT_EQ(*request.find("list"), PropertyList(Array{"1", "2"}));
  EXPECT_EQ(*request.find("map"), PropertyList(Dictionary{{"a", "b"}}));
  EXPECT_EQ(*request.find("data"),
            PropertyList(Data{std::byte{0x0f}, std::byte{0xbd}, std::byte{0x77}}));
}

TEST(Request, RejectsEntryWithoutEqualsSign) {
  EXPECT_EQ(refusalOf({"novalue"}), "\"novalue\" is not of the form KEY=VALUE");
}

TEST(Request, RejectsEntryWithoutKey) {
  EXPECT_EQ(refusalOf({"=x"}), "\"=x\" is not of the form KEY=VALUE");
}

TEST(Request, RejectsKeyGivenTwice) {
  EXPECT_EQ(refusalOf({"a=1", "a=2"}), "the key \"a\" is given twice");
}

TEST(Request, RejectsKeywordAsKey) {
  EXPECT_EQ(refusalOf({"KtUDPKeyword=x"}), "\"KtUDPKeyword\" is given by KEYWORD already");
}

TEST(Request, RejectsMalformedValueWithItsPosition) {
  const std::string refusal = refusalOf({"list=(1, 2"});
  EXPECT_TRUE(refusal.starts_with("the value of \"list\": line 1, column 6: expected ")) << refusal;
  EXPECT_TRUE(refusal.ends_with("\n(1, 2\n     ^")) << refusal;
}

TEST(Request, SizeIsThatOfEnvelopeWithLongestHandshake) {
  const Dictionary request = requestOf("Echo", {"a=b"});
  const std::string text = requestEnvelope("KtUDP", 10001, request).description();
  EXPECT_EQ(datagramSize("KtUDP", request), text.size() + 1);
}

}  // namespace
}  // namespace kt::test
