// SPDX-License-Identifier: MIT

#include "tools/ktd/Dispatcher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "tests/support/ScratchFolder.h"
#include "tests/tools/FakeClient.h"
#include "tools/common/CommandLine.h"

namespace kt::test {
namespace {

using namespace tools;

class Dispatcher : public testing::Test {
 protected:
  Dictionary answerTo(const Dictionary &request) { return client_.askOnce(request); }

  static std::string errorOf(const Dictionary &answer) {
    const PropertyList *error = answer.find("Error");
    return error != nullptr && answer.size() == 1 ? *error->asString() : answer.description();
  }

  KtUDPDaemon daemon_;
  ErrorLog errors_;
  tools::Dispatcher dispatcher_{daemon_, {}, 2, errors_};
  FakeClient client_{dispatcher_};
};

const char *const unknownKind =
    "This server has no such kind of request. It knows: Echo, Evaluate, Files, Kinds, Status.";

TEST_F(Dispatcher, EchoReturnsOtherKeys) {
  const PropertyList list = Array{"1", Data{std::byte{7}}};
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Echo"}, {"a", "b"}, {"list", list}}),
            (Dictionary{{"a", "b"}, {"list", list}}));
}

TEST_F(Dispatcher, EchoOfNothingIsEmpty) {
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Echo"}}), Dictionary());
}

TEST_F(Dispatcher, EvaluateReturnsValueOfExpression) {
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "2^64 - 1"}}),
            (Dictionary{{"Value", "18446744073709551615"}}));
}

TEST_F(Dispatcher, EvaluateUsesRequestedBase) {
  for (const PropertyList &base : {PropertyList("16"), PropertyList(16)}) {
    EXPECT_EQ(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "2^64 - 1"}, {"Base", base}}),
              (Dictionary{{"Value", "ffffffffffffffff"}}));
  }
}

TEST_F(Dispatcher, EvaluateReportsErrorAndColumn) {
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "12 + 1/0"}}),
            (Dictionary{{"Error", "division by zero"}, {"Column", 7}}));
}

TEST_F(Dispatcher, EvaluateRequiresExpression) {
  const char *const missing = "The request has no Expression.";
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Evaluate"}})), missing);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", Array{"1"}}})), missing);
}

TEST_F(Dispatcher, EvaluateRejectsInvalidBase) {
  for (const PropertyList &base :
       {PropertyList("1"), PropertyList("37"), PropertyList(""), PropertyList("-2"),
        PropertyList("ten"), PropertyList(Array{"10"}), PropertyList(Dictionary())}) {
    EXPECT_EQ(
        errorOf(answerTo({{"KtUDPKeyword", "Evaluate"}, {"Expression", "1"}, {"Base", base}})),
        "The Base is not a number from 2 to 36.");
  }
}

TEST_F(Dispatcher, EvaluateRejectsTooCostlyExpression) {
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Evaluate"},
                              {"Expression", "powmod(3, 2^4079 - 1, 2^4079 - 1)"}})),
            "{ Column = 1; Error = \"the expression takes more work than is allowed\"; }");
}

TEST_F(Dispatcher, StatusDescribesServer) {
  daemon_.setSignature("Hut");
  const Dictionary answer = answerTo({{"KtUDPKeyword", "Status"}});
  EXPECT_EQ(answer.size(), 10U) << answer.description();
  EXPECT_EQ(*answer.find("Version"), PropertyList(version));
  EXPECT_EQ(*answer.find("Signature"), PropertyList("Hut"));
  EXPECT_EQ(*answer.find("Port"), PropertyList(0));
  EXPECT_GE(answer.find("Uptime")->intValue(), 0);
  EXPECT_EQ(*answer.find("Served"), PropertyList(0));
  EXPECT_TRUE(answer.contains("Refused"));
  EXPECT_EQ(*answer.find("Working"), PropertyList(0));
  EXPECT_EQ(*answer.find("Queued"), PropertyList(0));
  EXPECT_EQ(*answer.find("Busy"), PropertyList(0));
  EXPECT_EQ(*answer.find("Kinds"), PropertyList(Dictionary()));
}

TEST_F(Dispatcher, UnknownKindIsAnsweredWithListOfKinds) {
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Fetch"}})), unknownKind);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", ""}})), unknownKind);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "echo"}})), unknownKind);
}

TEST_F(Dispatcher, KeywordThatIsNotStringIsUnknownKind) {
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", Array{"Echo"}}})), unknownKind);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", Dictionary()}})), unknownKind);
}

TEST_F(Dispatcher, ServerIdentificationPacketIsUnknownKind) {
  EXPECT_EQ(errorOf(answerTo(serverIdPacket("hut", 4798))), unknownKind);
}

TEST_F(Dispatcher, EveryAnswerLacksKeyword) {
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

TEST_F(Dispatcher, AnswerOfDatagramSizeIsReturned) {
  EXPECT_TRUE(answerTo(echoOfSize(65507)).contains("a"));
}

TEST_F(Dispatcher, AnswerLargerThanDatagramBecomesError) {
  EXPECT_EQ(errorOf(answerTo(echoOfSize(65508))),
            "The answer is too large for a datagram, which carries 65,507 bytes: it takes 65,508.");
}

TEST_F(Dispatcher, SizeCountsEscapedText) {
  std::string umlauts;
  for (int count = 0; count < 20'000; ++count) {
    umlauts += "\u00fc";
  }
  EXPECT_EQ(
      errorOf(answerTo({{"KtUDPKeyword", "Echo"}, {"a", umlauts}})),
      "The answer is too large for a datagram, which carries 65,507 bytes: it takes 120,079.");
}

// ---- Kinds ----

TEST_F(Dispatcher, KindsHasSentenceForEachKind) {
  const Dictionary answer = answerTo({{"KtUDPKeyword", "Kinds"}});
  EXPECT_EQ(answer.size(), 1U) << answer.description();
  const Dictionary &kinds = *answer.dictionary("Kinds");
  EXPECT_EQ(kinds.size(), allKinds().size());
  for (const Kind &kind : allKinds()) {
    EXPECT_EQ(kinds.string(kind.name), kind.summary);
    EXPECT_TRUE(kind.summary.ends_with('.')) << kind.summary;
  }
}

TEST_F(Dispatcher, KindsNamesProgramOfHandlerWithoutItsFolder) {
  Service service;
  service.handlers["Uptime"] = {.program = "/usr/bin/uptime", .arguments = {"-p"}};
  dispatcher_.setService(service);
  EXPECT_EQ(answerTo({{"KtUDPKeyword", "Kinds"}}).dictionary("Kinds")->string("Uptime"),
            "Runs the program uptime.");
}

TEST_F(Dispatcher, UnknownKindIsAnsweredWithListOfHandlersToo) {
  Service service;
  service.handlers["Uptime"] = {.program = "/usr/bin/uptime", .arguments = {}};
  dispatcher_.setService(service);
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Fetch"}})),
            "This server has no such kind of request. It knows: Echo, Evaluate, Files, Kinds, "
            "Status, Uptime.");
}

// ---- Tokens ----

TEST_F(Dispatcher, FilesWithoutTokenIsAnsweredWithToken) {
  const Dictionary answer = answerTo({{"KtUDPKeyword", "Files"}});
  EXPECT_EQ(answer.string("Error"), "Repeat the request with this Token.");
  EXPECT_EQ(answer.data("Token")->size(), 16U);
  EXPECT_EQ(answer.size(), 2U);
}

TEST_F(Dispatcher, WrongTokenIsAnsweredWithRightOne) {
  const Data right = client_.token();
  Data wrong = right;
  wrong[0] ^= std::byte{1};
  const Dictionary answer = answerTo({{"KtUDPKeyword", "Files"}, {"Token", wrong}});
  EXPECT_EQ(*answer.data("Token"), right);
}

TEST_F(Dispatcher, TokenOfOtherSenderIsWrong) {
  FakeClient other(dispatcher_, 2);
  FakeClient otherPort(dispatcher_, 1, 5001);
  const Dictionary request{{"KtUDPKeyword", "Files"}, {"Token", client_.token()}};
  EXPECT_TRUE(other.askOnce(request).contains("Token"));
  EXPECT_TRUE(otherPort.askOnce(request).contains("Token"));
  EXPECT_EQ(errorOf(client_.askOnce(request)), "This server serves no files.");
}

TEST_F(Dispatcher, AnswerOfThreeTimesItsRequestNeedsNoToken) {
  EXPECT_TRUE(client_.askOnce(echoOfSize(1500), 500).contains("a"));
}

TEST_F(Dispatcher, LongerAnswerNeedsToken) {
  EXPECT_TRUE(client_.askOnce(echoOfSize(1500), 499).contains("Token"));
}

TEST_F(Dispatcher, AnswerOfTwelveHundredBytesNeedsNoToken) {
  EXPECT_TRUE(client_.askOnce(echoOfSize(1200), 10).contains("a"));
  EXPECT_TRUE(client_.askOnce(echoOfSize(1201), 10).contains("Token"));
}

TEST_F(Dispatcher, LongAnswerIsGivenForToken) {
  Dictionary request = echoOfSize(1500);
  request["Token"] = client_.token();
  EXPECT_TRUE(client_.askOnce(request, 10).contains("a"));
}

// ---- Status ----

TEST_F(Dispatcher, StatusHasFiguresOfKindsThatWereAsked) {
  answerTo({{"KtUDPKeyword", "Echo"}});
  answerTo({{"KtUDPKeyword", "Echo"}});
  const Dictionary kinds = *answerTo({{"KtUDPKeyword", "Status"}}).dictionary("Kinds");
  EXPECT_EQ(kinds.size(), 1U) << kinds.description();
  EXPECT_EQ(kinds.dictionary("Echo")->integer("Requests"), 2);
  EXPECT_GE(kinds.dictionary("Echo")->integer("MedianUs"), 0);
  EXPECT_GE(kinds.dictionary("Echo")->integer("P99Us"), 0);
}

TEST_F(Dispatcher, StatusHasNoFiguresOfUnknownKinds) {
  answerTo({{"KtUDPKeyword", "Fetch"}});
  answerTo({{"KtUDPKeyword", "Files"}});  // without its token
  EXPECT_EQ(*answerTo({{"KtUDPKeyword", "Status"}}).dictionary("Kinds"), Dictionary());
}

// ---- Stop ----

TEST_F(Dispatcher, RequestsAreAnsweredWithStoppingOnceItStops) {
  const Dictionary token{{"KtUDPKeyword", "Files"}, {"Token", client_.token()}};
  dispatcher_.stop();
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Echo"}})), "stopping");
  EXPECT_EQ(errorOf(answerTo(token)), "stopping");
  EXPECT_EQ(errorOf(answerTo({{"KtUDPKeyword", "Fetch"}})), "stopping");
  EXPECT_TRUE(dispatcher_.isIdle());
}

}  // namespace
}  // namespace kt::test
