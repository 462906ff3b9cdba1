// SPDX-License-Identifier: MIT

// How a client sends, how it listens for one period, and how a request is sent again.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/udp/support/AimedClient.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace {

using kt::Dictionary;
using std::chrono::milliseconds;
using test::AimedClient;
using test::behindDiscovery;
using test::LogCapture;
using test::ScriptedPeer;

Dictionary messageWith(std::int32_t handshake) {
  return kt::requestEnvelope("KtUDP", handshake, Dictionary{{"KtUDPKeyword", "Status"}});
}

std::string answerIn(const std::optional<Dictionary> &reply) {
  if (!reply) return "nothing";
  const Dictionary *packet = kt::dataPacketOf(*reply);
  if (packet == nullptr || !packet->contains("Answer")) return reply->description();
  return *packet->find("Answer")->asString();
}

// ---- One listening period ----

TEST(KtUDPClient, AWaitDoesNotUseUpTheStoredValue) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setRcvTimeout(30);
  client.setBaseReplyTimeout(60);
  EXPECT_FALSE(client.validateReplyForMessage(messageWith(1)));
  EXPECT_EQ(client.timeValue().tv_usec, 30'000);
}

TEST(KtUDPClient, ARightReplyIsReturnedAsItsEnvelope) {
  ScriptedPeer peer(0, behindDiscovery({test::right()}));
  AimedClient client(peer);
  const auto reply = client.replyForMessage(messageWith(33));
  ASSERT_TRUE(reply);
  EXPECT_EQ(*reply, (Dictionary{{"_Signature", "KtUDP"},
                                {"_Handshake", "34"},
                                {"_DataPacket", Dictionary{{"Answer", "right"}}}}));
}

TEST(KtUDPClient, WrongRepliesAreTossedAndListeningGoesOn) {
  ScriptedPeer peer(0, behindDiscovery({test::inTurn(
                           {test::wrongHandshake(), test::wrongSignature(), test::bytes("{}"),
                            test::bytes("( a, b )"), test::bytes("word"), test::bytes("{ broken"),
                            test::bytes(std::string(1, '\0')), test::right()})}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(5000);
  LogCapture log;
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "right");
  EXPECT_EQ(log.count("Tossing invalid reply"), 7U);
  EXPECT_EQ(behindDiscovery(peer.received()).size(), 1U);
}

TEST(KtUDPClient, APeriodsLogLinesAreToTheLetterAndInOrder) {
  ScriptedPeer peer(
      0, behindDiscovery({test::inTurn({test::wrongSignature(), test::bytes(""), test::right()})}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(5000);
  LogCapture log;
  ASSERT_TRUE(client.replyForMessage(messageWith(33)));
  const std::string sent = messageWith(33).description();
  const Dictionary wrong{{"Answer", "wrong signature"}};
  EXPECT_EQ(log.lines(),
            (test::Lines{"sending " + sent + " len " + std::to_string(sent.size() + 1) +
                             " to 100007f port -1",
                         "Received reply " + kt::replyEnvelope("KtUDp", 33, wrong).description(),
                         "Tossing invalid reply", "Request timed out",
                         "Received reply " +
                             kt::replyEnvelope("KtUDP", 33, {{"Answer", "right"}}).description()}));
}

TEST(KtUDPClient, WhoSentAReplyIsNotLookedAt) {
  const test::RawSocket elsewhere;
  ScriptedPeer peer(
      0, behindDiscovery({test::fromElsewhere(elsewhere, {{"Answer", "from elsewhere"}})}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "from elsewhere");
  EXPECT_EQ(test::text(client.sinrep()), test::text(test::loopback(elsewhere.port())));
  EXPECT_EQ(test::text(client.sin()), test::text(test::loopback(peer.port())));
}

TEST(KtUDPClient, PercentSignsOfARepliesTextAreLoggedAsTheyStand) {
  ScriptedPeer peer(0, behindDiscovery({test::right({{"Answer", "%d %@ %s %n"}})}));
  AimedClient client(peer);
  LogCapture log;
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "%d %@ %s %n");
  EXPECT_NE(log.lines().back().find("Answer = \"%d %@ %s %n\";"), std::string::npos);
}

TEST(KtUDPClient, ARepliesBytesBehindItsNulAreNotLookedAt) {
  const std::string reply =
      test::bytesOf(kt::replyEnvelope("KtUDP", 33, {{"Answer", "right"}})) + "} garbage";
  ScriptedPeer peer(0, behindDiscovery({test::bytes(reply)}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "right");
}

// The read set is made once per call: the wait that ends without data empties it, and a reply that
// comes then is seen by the next call only. The discovery has had two such waits before.
TEST(KtUDPClient, AReplyBehindAnEmptyWaitIsSeenByTheNextPeriodOnly) {
  LogCapture log;
  const auto late = test::afterLogLine(log, "Bad select", 3, test::right());
  ScriptedPeer peer(0, behindDiscovery({late}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(300);
  client.setRcvTimeout(20);
  client.sendMessage(messageWith(33));
  EXPECT_FALSE(client.validateReplyForMessage(messageWith(33)));
  EXPECT_GT(log.count("Bad select"), 3U);
  EXPECT_EQ(answerIn(client.validateReplyForMessage(messageWith(33))), "right");
}

TEST(KtUDPClient, ADatagramDroppedBehindTheDeadlineEndsThePeriod) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const test::RawSocket server;
  server.send(test::bytesOf(kt::replyEnvelope("KtUDP", 31, {})), client.ownPort());
  server.send(test::bytesOf(kt::replyEnvelope("KtUDP", 33, {})), client.ownPort());
  client.setBaseReplyTimeout(0);
  client.setRcvTimeout(5000);
  EXPECT_FALSE(client.validateReplyForMessage(messageWith(33)));
  EXPECT_TRUE(client.validateReplyForMessage(messageWith(33)));
}

TEST(KtUDPClient, ADatagramDroppedBeforeTheDeadlineDoesNotEndThePeriod) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const test::RawSocket server;
  server.send(test::bytesOf(kt::replyEnvelope("KtUDP", 31, {})), client.ownPort());
  server.send(test::bytesOf(kt::replyEnvelope("KtUDP", 33, {})), client.ownPort());
  client.setBaseReplyTimeout(5000);
  client.setRcvTimeout(5000);
  EXPECT_TRUE(client.validateReplyForMessage(messageWith(33)));
}

TEST(KtUDPClient, AnAcceptedReplyIsReturnedWithoutADeadlineTest) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  test::RawSocket().send(test::bytesOf(kt::replyEnvelope("KtUDP", 33, {})), client.ownPort());
  client.setBaseReplyTimeout(-1000);
  client.setRcvTimeout(5000);
  EXPECT_TRUE(client.validateReplyForMessage(messageWith(33)));
}

TEST(KtUDPClient, APeriodIsAsLongAsTheBaseTimeoutWhateverItsWaits) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(200);
  client.setRcvTimeout(30);
  LogCapture log;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(client.validateReplyForMessage(messageWith(33)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(200));
  EXPECT_LE(log.count("Bad select"), 7U);
}

// ---- The retry schedule ----

TEST(KtUDPClient, AnUnansweredRequestIsSentFourTimesUnchanged) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(10);
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  const auto received = behindDiscovery(peer.received());
  ASSERT_EQ(received.size(), 4U);
  for (const test::Datagram &datagram : received) {
    EXPECT_EQ(datagram.bytes, test::bytesOf(messageWith(33)));
    EXPECT_EQ(test::text(datagram.source), test::text(received.front().source));
  }
}

TEST(KtUDPClient, WithDefaultsASilentServerCostsTheSumOfTheDoubledWaits) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  const auto duration = std::chrono::steady_clock::now() - start;
  EXPECT_GE(duration, milliseconds(1500));
  EXPECT_LT(duration, milliseconds(10'000));
  EXPECT_EQ(client.waitMs(), 800);
  EXPECT_EQ(behindDiscovery(peer.received()).size(), 4U);
}

TEST(KtUDPClient, WaitsDoubleFromTheBaseTimeout) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(5);
  for (const std::int32_t retries : {0, 1, 2, 3, 4}) {
    client.setNumberOfRetries(retries);
    EXPECT_FALSE(client.replyForMessage(messageWith(33)));
    EXPECT_EQ(client.waitMs(), 5L << retries);
  }
}

TEST(KtUDPClient, EachAttemptLogsItsSendingAndItsBadSelect) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(10);
  LogCapture log;
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  const std::string text = messageWith(33).description();
  const std::string sending =
      "sending " + text + " len " + std::to_string(text.size() + 1) + " to 100007f port -1";
  EXPECT_EQ(log.lines(), (test::Lines{sending, "Bad select", sending, "Bad select", sending,
                                      "Bad select", sending, "Bad select"}));
}

TEST(KtUDPClient, NoRetriesMeanOneSend) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(10);
  client.setNumberOfRetries(0);
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  EXPECT_EQ(behindDiscovery(peer.received()).size(), 1U);
}

TEST(KtUDPClient, AReplyEndsTheSchedule) {
  ScriptedPeer peer(0, behindDiscovery({test::silent(), test::silent(), test::right()}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "right");
  EXPECT_EQ(behindDiscovery(peer.received()).size(), 3U);
}

TEST(KtUDPClient, SilentThenWrongThenTwiceThenNothingMoreIsAsked) {
  ScriptedPeer peer(0,
                    behindDiscovery({test::silent(), test::wrongHandshake(), test::wrongSignature(),
                                     test::inTurn({test::right({{"Answer", "first"}}),
                                                   test::right({{"Answer", "second"}})})}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "first");
  EXPECT_EQ(behindDiscovery(peer.received()).size(), 4U);
}

// The answer to the first send leaves when that attempt is over; the later sends get none.
TEST(KtUDPClient, ALateReplyIsAcceptedInALaterAttempt) {
  LogCapture log;
  const auto late = test::afterLogLine(log, "Bad select", 3, test::right({{"Answer", "late"}}));
  ScriptedPeer peer(0, behindDiscovery({late}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "late");
  EXPECT_GE(behindDiscovery(peer.received()).size(), 2U);
}

TEST(KtUDPClient, SurplusRepliesFailTheNextRequestsTestAndAreDropped) {
  const auto twice = [](const std::string &answer) {
    return test::inTurn({test::right({{"Answer", answer}}), test::right({{"Answer", answer}}),
                         test::right({{"Answer", answer}})});
  };
  ScriptedPeer peer(0, behindDiscovery({twice("one"), twice("two"), twice("three")}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(5000);
  LogCapture log;
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(1))), "one");
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(3))), "two");
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(5))), "three");
  EXPECT_EQ(log.count("Tossing invalid reply"), 4U);
  EXPECT_EQ(behindDiscovery(peer.received()).size(), 3U);
}

TEST(KtUDPClient, ANegativeTimeoutEndsEveryWaitAtOnce) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(-5);
  LogCapture log;
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  EXPECT_EQ(log.count("Bad select"), 4U);
  EXPECT_EQ(client.timeValue().tv_usec, -40'000);
  EXPECT_EQ(behindDiscovery(peer.received()).size(), 4U);
}

TEST(KtUDPClient, DoublingSaturates) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(-1'073'741'825);
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  EXPECT_EQ(client.timeValue().tv_sec, -2'147'483);
  EXPECT_EQ(client.timeValue().tv_usec, -648'000);
}

// ---- Sizes ----

TEST(KtUDPClient, AMessageOfTheLargestDatagramIsSentAndOneByteMoreIsNot) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  Dictionary message{{"Padding", ""}};
  const std::size_t others = Dictionary{{"Padding", "x"}}.description().size();  // x and the NUL
  message["Padding"] = std::string(kt::largestDatagram - others + 1, 'x');
  client.sendMessage(message);
  message["Padding"] = std::string(kt::largestDatagram - others, 'x');
  client.sendMessage(message);
  client.sendMessage({{"last", "one"}});
  const auto received = behindDiscovery(peer.received());
  ASSERT_EQ(received.size(), 2U);
  EXPECT_EQ(received[0].bytes.size(), kt::largestDatagram);
  EXPECT_EQ(received[1].message(), (Dictionary{{"last", "one"}}));
}

// `size` bytes that answer messageWith(33), as long as that is possible, with or without a NUL.
std::string replyOfSize(std::size_t size, bool terminated) {
  const Dictionary shortest = kt::replyEnvelope("KtUDP", 33, {{"Answer", "x"}});
  const std::size_t least = shortest.description().size() - 1 + (terminated ? 1 : 0);
  if (size <= least) return std::string(size, 'x');
  const Dictionary reply =
      kt::replyEnvelope("KtUDP", 33, {{"Answer", std::string(size - least, 'x')}});
  return terminated ? test::bytesOf(reply) : reply.description();
}

TEST(KtUDPClient, RepliesOfEverySizeAreReadWithAndWithoutNul) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const test::RawSocket server;
  client.setBaseReplyTimeout(0);
  client.setRcvTimeout(5000);
  std::vector<std::size_t> sizes{65505, 65506, 65507};
  for (std::size_t size = 0; size <= 300; ++size) {
    sizes.push_back(size);
  }
  for (const std::size_t size : sizes) {
    for (const bool terminated : {false, true}) {
      const std::string bytes = replyOfSize(size, terminated);
      ASSERT_EQ(bytes.size(), size);
      server.send(bytes, client.ownPort());
      const auto reply = client.validateReplyForMessage(messageWith(33));
      ASSERT_EQ(reply, bytes.starts_with("{") ? kt::parseMessage(bytes) : std::nullopt) << size;
    }
  }
}

// No IPv4 datagram is as long as that; a local socket in the descriptor's place carries it.
TEST(KtUDPClient, ADatagramOfTheWholeReceiveLimitIsReadAndALongerOneIsCutToIt) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  ASSERT_EQ(::dup2(ends[0], client.sockIn()), client.sockIn());
  client.setRcvTimeout(5000);
  const std::string whole = replyOfSize(kt::receiveLimit, false);
  for (const std::string &bytes : {whole, whole + " behind the limit"}) {
    ASSERT_EQ(::send(ends[1], bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    EXPECT_EQ(client.validateReplyForMessage(messageWith(33)), kt::parseMessage(whole));
  }
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
