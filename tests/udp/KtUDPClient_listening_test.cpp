// SPDX-License-Identifier: MIT

// How a client sends, listens for one period, and sends a request again.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/udp/support/AimedClient.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace kt::test {
namespace {

using std::chrono::milliseconds;

Dictionary messageWith(std::int32_t handshake) {
  return requestEnvelope("KtUDP", handshake, Dictionary{{"KtUDPKeyword", "Status"}});
}

std::string answerIn(const std::optional<Dictionary> &reply) {
  if (!reply) return "nothing";
  const Dictionary *packet = dataPacketOf(*reply);
  if (packet == nullptr || !packet->contains("Answer")) return reply->description();
  return *packet->find("Answer")->asString();
}

// ---- One listening period ----

TEST(KtUDPClient, WaitKeepsStoredTimeout) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setRcvTimeout(30);
  client.setBaseReplyTimeout(60);
  EXPECT_FALSE(client.validateReplyForMessage(messageWith(1)));
  EXPECT_EQ(client.timeValue().tv_usec, 30'000);
}

TEST(KtUDPClient, ReturnsEnvelopeOfRightReply) {
  ScriptedPeer peer(0, afterDiscovery({right()}));
  AimedClient client(peer);
  const auto reply = client.replyForMessage(messageWith(33));
  ASSERT_TRUE(reply);
  EXPECT_EQ(*reply, (Dictionary{{"_Signature", "KtUDP"},
                                {"_Handshake", "34"},
                                {"_DataPacket", Dictionary{{"Answer", "right"}}}}));
}

TEST(KtUDPClient, DropsWrongRepliesAndContinuesListening) {
  ScriptedPeer peer(0, afterDiscovery({inTurn({wrongHandshake(), wrongSignature(), bytes("{}"),
                                               bytes("( a, b )"), bytes("word"), bytes("{ broken"),
                                               bytes(std::string(1, '\0')), right()})}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(5000);
  LogCapture log;
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "right");
  EXPECT_EQ(log.count("Tossing invalid reply"), 7U);
  EXPECT_EQ(afterDiscovery(peer.received()).size(), 1U);
}

TEST(KtUDPClient, LogsListeningPeriodExactly) {
  ScriptedPeer peer(0, afterDiscovery({inTurn({wrongSignature(), bytes(""), right()})}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(5000);
  LogCapture log;
  ASSERT_TRUE(client.replyForMessage(messageWith(33)));
  const std::string sent = messageWith(33).description();
  const Dictionary wrong{{"Answer", "wrong signature"}};
  EXPECT_EQ(
      log.lines(),
      (Lines{"sending " + sent + " len " + std::to_string(sent.size() + 1) + " to 100007f port -1",
             "Received reply " + replyEnvelope("KtUDp", 33, wrong).description(),
             "Tossing invalid reply", "Request timed out",
             "Received reply " + replyEnvelope("KtUDP", 33, {{"Answer", "right"}}).description()}));
}

TEST(KtUDPClient, AcceptsReplyFromAnySender) {
  const RawSocket elsewhere;
  ScriptedPeer peer(0, afterDiscovery({fromElsewhere(elsewhere, {{"Answer", "from elsewhere"}})}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "from elsewhere");
  EXPECT_EQ(text(client.sinrep()), text(loopback(elsewhere.port())));
  EXPECT_EQ(text(client.sin()), text(loopback(peer.port())));
}

TEST(KtUDPClient, LogsPercentSignsOfReplyUnchanged) {
  ScriptedPeer peer(0, afterDiscovery({right({{"Answer", "%d %@ %s %n"}})}));
  AimedClient client(peer);
  LogCapture log;
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "%d %@ %s %n");
  EXPECT_NE(log.lines().back().find("Answer = \"%d %@ %s %n\";"), std::string::npos);
}

TEST(KtUDPClient, IgnoresBytesAfterNulOfReply) {
  const std::string reply =
      bytesOf(replyEnvelope("KtUDP", 33, {{"Answer", "right"}})) + "} garbage";
  ScriptedPeer peer(0, afterDiscovery({bytes(reply)}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "right");
}

// The read set is made once per call. A wait that ends without data empties it, and only the next
// call reads a later reply. The AimedClient's discovery has logged two such waits before.
TEST(KtUDPClient, ReadsReplyAfterEmptyWaitInNextPeriod) {
  LogCapture log;
  const auto late = afterLogLine(log, "Bad select", 3, right());
  ScriptedPeer peer(0, afterDiscovery({late}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(300);
  client.setRcvTimeout(20);
  client.sendMessage(messageWith(33));
  EXPECT_FALSE(client.validateReplyForMessage(messageWith(33)));
  EXPECT_GT(log.count("Bad select"), 3U);
  EXPECT_EQ(answerIn(client.validateReplyForMessage(messageWith(33))), "right");
}

TEST(KtUDPClient, EndsPeriodAtDatagramDroppedAfterDeadline) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const RawSocket server;
  server.send(bytesOf(replyEnvelope("KtUDP", 31, {})), client.ownPort());
  server.send(bytesOf(replyEnvelope("KtUDP", 33, {})), client.ownPort());
  client.setBaseReplyTimeout(0);
  client.setRcvTimeout(5000);
  EXPECT_FALSE(client.validateReplyForMessage(messageWith(33)));
  EXPECT_TRUE(client.validateReplyForMessage(messageWith(33)));
}

TEST(KtUDPClient, ContinuesPeriodAfterDatagramDroppedBeforeDeadline) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const RawSocket server;
  server.send(bytesOf(replyEnvelope("KtUDP", 31, {})), client.ownPort());
  server.send(bytesOf(replyEnvelope("KtUDP", 33, {})), client.ownPort());
  client.setBaseReplyTimeout(5000);
  client.setRcvTimeout(5000);
  EXPECT_TRUE(client.validateReplyForMessage(messageWith(33)));
}

TEST(KtUDPClient, ReturnsAcceptedReplyEvenAfterDeadline) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  RawSocket().send(bytesOf(replyEnvelope("KtUDP", 33, {})), client.ownPort());
  client.setBaseReplyTimeout(-1000);
  client.setRcvTimeout(5000);
  EXPECT_TRUE(client.validateReplyForMessage(messageWith(33)));
}

TEST(KtUDPClient, ListensForBaseTimeoutWhateverItsWaits) {
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

TEST(KtUDPClient, SendsUnansweredRequestFourTimesUnchanged) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(10);
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  const auto received = afterDiscovery(peer.received());
  ASSERT_EQ(received.size(), 4U);
  for (const Datagram &datagram : received) {
    EXPECT_EQ(datagram.bytes, bytesOf(messageWith(33)));
    EXPECT_EQ(text(datagram.source), text(received.front().source));
  }
}

TEST(KtUDPClient, GivesUpAfterSumOfDoubledWaits) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  const auto duration = std::chrono::steady_clock::now() - start;
  EXPECT_GE(duration, milliseconds(1500));
  EXPECT_LT(duration, milliseconds(10'000));
  EXPECT_EQ(client.waitMs(), 800);
  EXPECT_EQ(afterDiscovery(peer.received()).size(), 4U);
}

TEST(KtUDPClient, DoublesWaitsFromBaseTimeout) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(5);
  for (const std::int32_t retries : {0, 1, 2, 3, 4}) {
    client.setNumberOfRetries(retries);
    EXPECT_FALSE(client.replyForMessage(messageWith(33)));
    EXPECT_EQ(client.waitMs(), 5L << retries);
  }
}

TEST(KtUDPClient, LogsSendingAndBadSelectOfEachAttempt) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(10);
  LogCapture log;
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  const std::string text = messageWith(33).description();
  const std::string sending =
      "sending " + text + " len " + std::to_string(text.size() + 1) + " to 100007f port -1";
  EXPECT_EQ(log.lines(), (Lines{sending, "Bad select", sending, "Bad select", sending, "Bad select",
                                sending, "Bad select"}));
}

TEST(KtUDPClient, SendsOnceWithoutRetries) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(10);
  client.setNumberOfRetries(0);
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  EXPECT_EQ(afterDiscovery(peer.received()).size(), 1U);
}

TEST(KtUDPClient, StopsSendingAfterReply) {
  ScriptedPeer peer(0, afterDiscovery({silent(), silent(), right()}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "right");
  EXPECT_EQ(afterDiscovery(peer.received()).size(), 3U);
}

TEST(KtUDPClient, ReturnsFirstRightReplyAfterSilenceAndWrongReplies) {
  ScriptedPeer peer(
      0, afterDiscovery({silent(), wrongHandshake(), wrongSignature(),
                         inTurn({right({{"Answer", "first"}}), right({{"Answer", "second"}})})}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "first");
  EXPECT_EQ(afterDiscovery(peer.received()).size(), 4U);
}

// The answer to the first send is sent after that attempt; the later sends get none.
TEST(KtUDPClient, AcceptsLateReplyInLaterAttempt) {
  LogCapture log;
  const auto late = afterLogLine(log, "Bad select", 3, right({{"Answer", "late"}}));
  ScriptedPeer peer(0, afterDiscovery({late}));
  AimedClient client(peer);
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(33))), "late");
  EXPECT_GE(afterDiscovery(peer.received()).size(), 2U);
}

TEST(KtUDPClient, DropsSurplusRepliesInNextRequest) {
  const auto twice = [](const std::string &answer) {
    return inTurn(
        {right({{"Answer", answer}}), right({{"Answer", answer}}), right({{"Answer", answer}})});
  };
  ScriptedPeer peer(0, afterDiscovery({twice("one"), twice("two"), twice("three")}));
  AimedClient client(peer);
  client.setBaseReplyTimeout(5000);
  LogCapture log;
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(1))), "one");
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(3))), "two");
  EXPECT_EQ(answerIn(client.replyForMessage(messageWith(5))), "three");
  EXPECT_EQ(log.count("Tossing invalid reply"), 4U);
  EXPECT_EQ(afterDiscovery(peer.received()).size(), 3U);
}

TEST(KtUDPClient, EndsEveryWaitAtOnceWithNegativeTimeout) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(-5);
  LogCapture log;
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  EXPECT_EQ(log.count("Bad select"), 4U);
  EXPECT_EQ(client.timeValue().tv_usec, -40'000);
  EXPECT_EQ(afterDiscovery(peer.received()).size(), 4U);
}

TEST(KtUDPClient, SaturatesDoubledWaits) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  client.setBaseReplyTimeout(-1'073'741'825);
  EXPECT_FALSE(client.replyForMessage(messageWith(33)));
  EXPECT_EQ(client.timeValue().tv_sec, -2'147'483);
  EXPECT_EQ(client.timeValue().tv_usec, -648'000);
}

// ---- Sizes ----

TEST(KtUDPClient, SendsLargestDatagramAndNoLargerOne) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  Dictionary message{{"Padding", ""}};
  const std::size_t others =
      Dictionary{{"Padding", "x"}}.description().size();  // "x" is as long as the NUL
  message["Padding"] = std::string(largestDatagram - others + 1, 'x');
  client.sendMessage(message);
  message["Padding"] = std::string(largestDatagram - others, 'x');
  client.sendMessage(message);
  client.sendMessage({{"last", "one"}});
  const auto received = afterDiscovery(peer.received());
  ASSERT_EQ(received.size(), 2U);
  EXPECT_EQ(received[0].bytes.size(), largestDatagram);
  EXPECT_EQ(received[1].message(), (Dictionary{{"last", "one"}}));
}

// Returns `size` bytes that answer messageWith(33), with or without a NUL; if `size` is too small
// for that, just bytes.
std::string replyOfSize(std::size_t size, bool terminated) {
  const Dictionary shortest = replyEnvelope("KtUDP", 33, {{"Answer", "x"}});
  const std::size_t least = shortest.description().size() - 1 + (terminated ? 1 : 0);
  if (size <= least) return std::string(size, 'x');
  const Dictionary reply = replyEnvelope("KtUDP", 33, {{"Answer", std::string(size - least, 'x')}});
  return terminated ? bytesOf(reply) : reply.description();
}

TEST(KtUDPClient, ReadsRepliesOfEverySizeWithAndWithoutNul) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  const RawSocket server;
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
      ASSERT_EQ(reply, bytes.starts_with("{") ? parseMessage(bytes) : std::nullopt) << size;
    }
  }
}

// No IPv4 datagram is that long, so a local socket replaces the client's descriptor.
TEST(KtUDPClient, TruncatesDatagramToReceiveLimit) {
  ScriptedPeer peer(0, {});
  AimedClient client(peer);
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  ASSERT_EQ(::dup2(ends[0], client.sockIn()), client.sockIn());
  client.setRcvTimeout(5000);
  const std::string whole = replyOfSize(receiveLimit, false);
  for (const std::string &bytes : {whole, whole + " after the limit"}) {
    ASSERT_EQ(::send(ends[1], bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    EXPECT_EQ(client.validateReplyForMessage(messageWith(33)), parseMessage(whole));
  }
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
}  // namespace kt::test
