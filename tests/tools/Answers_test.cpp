// SPDX-License-Identifier: MIT

#include "tools/ktd/Answers.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "kt/udp/KtMessage.h"
#include "tools/common/CommandLine.h"

namespace kt::test {
namespace {

using namespace tools;

class Answers : public testing::Test {
 protected:
  [[nodiscard]] Dictionary answerTo(const Dictionary &request) const {
    return answers_.replyForRequest(request);
  }

  static std::string errorOf(const Dictionary &answer) {
    const PropertyList *error = answer.find("Error");
    return error != nullptr && answer.size() == 1 ? *error->asString() : answer.description();
  }

  KtUDPDaemon daemon_;
  tools::Answers answers_{daemon_};
};

const char *const unknownKind =
    "This server has no such kind of request. It knows: Echo, Evaluate, Files, Status.";

TEST_F(Answers, EchoReturnsOtherKeys) {
  const PropertyList list = Array{"1", Data{std::byte{7}}};
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Echo"}, {"a", "b"}, {"list", list}}),
            (Dictionary{{"a", "b"}, {"list", list}}));
}

TEST_F(Answers, EchoOfNothingIsEmpty) {
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Echo"}}), Dictionary());
}

TEST_F(Answers, EvaluateReturnsValueOfExpression) {
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "2^64 - 1"}}),
            (Dictionary{{"Value", "18446744073709551615"}}));
}

TEST_F(Answers, EvaluateUsesRequestedBase) {
  for (const PropertyList &base : {PropertyList("16"), PropertyList(16)}) {
    EXPECT_EQ(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "2^64 - 1"}, {"Base", base}}),
              (Dictionary{{"Value", "ffffffffffffffff"}}));
  }
}

TEST_F(Answers, EvaluateReportsErrorAndColumn) {
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "12 + 1/0"}}),
            (Dictionary{{"Error", "division by zero"}, {"Column", 7}}));
}

TEST_F(Answers, EvaluateRequiresExpression) {
  const char *const missing = "The request has no Expression.";
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Evaluate"}})), missing);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", Array{"1"}}})), missing);
}

TEST_F(Answers, EvaluateRejectsInvalidBase) {
  for (const PropertyList &base :
       {PropertyList("1"), PropertyList("37"), PropertyList(""), PropertyList("-2"),
        PropertyList("ten"), PropertyList(Array{"10"}), PropertyList(Dictionary())}) {
    EXPECT_EQ(
        errorOf(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "1"}, {"Base", base}})),
        "The Base is not a number from 2 to 36.");
  }
}

TEST_F(Answers, EvaluateRejectsTooCostlyExpression) {
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Evaluate"},
                              {"Expression", "powmod(3, 2^4079 - 1, 2^4079 - 1)"}})),
            "{ Column = 1; Error = \"the expression takes more work than is allowed\"; }");
}

TEST_F(Answers, StatusDescribesServer) {
  daemon_.setSignature("Hut");
  const Dictionary answer = answerTo({{"KtUDPKeyword", "Status"}});
  EXPECT_EQ(answer.size(), 6U) << answer.description();
  EXPECT_EQ(*answer.find("Version"), PropertyList(version));
  EXPECT_EQ(*answer.find("Signature"), PropertyList("Hut"));
  EXPECT_EQ(*answer.find("Port"), PropertyList(0));
  EXPECT_GE(answer.find("Uptime")->intValue(), 0);
  EXPECT_EQ(*answer.find("Served"), PropertyList(0));
  EXPECT_TRUE(answer.contains("Refused"));
}

TEST_F(Answers, UnknownKindIsAnsweredWithListOfKinds) {
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Fetch"}})), unknownKind);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", ""}})), unknownKind);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "echo"}})), unknownKind);
}

TEST_F(Answers, KeywordThatIsNotStringIsUnknownKind) {
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", Array{"Echo"}}})), unknownKind);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", Dictionary()}})), unknownKind);
}

TEST_F(Answers, ServerIdentificationPacketIsUnknownKind) {
  EXPECT_EQ(errorOf(answerTo(serverIdPacket("hut", 4798))), unknownKind);
}

TEST_F(Answers, EveryAnswerLacksKeyword) {
  for (const Kind &kind : allKinds()) {
    const Dictionary answer = answerTo({{"KtUDPKeyword", kind.name}, {"other", "x"}});
    EXPECT_FALSE(answer.contains("KtUDPKeyword")) << kind.name;
  }
  EXPECT_FALSE(answerTo({{"KtUDPKeyword", "Fetch"}}).contains("KtUDPKeyword"));
}

// Returns a request whose echo, with the longest handshake, is a datagram of `byteCount` bytes.
Dictionary echoOfSize(std::size_t byteCount) {
  Dictionary request{{"KtUDPKeyword", "Echo"}, {"a", "x"}};
  const Dictionary smallest{{"a", "x"}};
  const std::string reply = replyEnvelope("KtUDP", 2147483647, smallest).description();
  request["a"] = std::string(byteCount - reply.size(), 'x');
  return request;
}

TEST_F(Answers, AnswerOfDatagramSizeIsReturned) {
  EXPECT_TRUE(answerTo(echoOfSize(65507)).contains("a"));
}

TEST_F(Answers, AnswerLargerThanDatagramBecomesError) {
  EXPECT_EQ(errorOf(answerTo(echoOfSize(65508))),
            "The answer is too large for a datagram, which carries 65,507 bytes.");
}

TEST_F(Answers, SizeCountsEscapedText) {
  std::string umlauts;
  for (int count = 0; count < 20'000; ++count) {
    umlauts += "\u00fc";
  }
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Echo"}, {"a", umlauts}})),
            "The answer is too large for a datagram, which carries 65,507 bytes.");
}

}  // namespace
}  // namespace kt::test
