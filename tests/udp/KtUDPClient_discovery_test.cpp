// SPDX-License-Identifier: MIT

// How a client discovers its server.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/udp/support/Kinds.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace kt::test {
namespace {

using std::chrono::milliseconds;

constexpr const char *plainHosts = "127.0.0.1 localhost\n10.9.8.7 amber\nfd00::7 sapphire\n";

// The datagrams that a port receives from one discovery if nobody answers: one for each pass.
constexpr std::size_t passes = 2;

bool isHello(const Datagram &datagram) {
  const Dictionary message = datagram.message();
  const Dictionary *packet = dataPacketOf(message);
  return packet != nullptr && *packet == discoveryPacket();
}

std::int32_t handshakeIn(const Datagram &datagram) {
  return handshakeOf(datagram.message());
}

// ---- No server ----

TEST(KtUDPClientDiscovery, AsksSixPortsInEachOfTwoPasses) {
  const HostsFile hosts(plainHosts);
  std::vector<std::unique_ptr<ScriptedPeer>> peers;
  for (const std::int32_t port : defaultPorts) {
    peers.push_back(
        std::make_unique<ScriptedPeer>(static_cast<std::uint16_t>(port), std::vector<Act>{}));
  }
  KtUDPClient client;
  EXPECT_FALSE(client.connectToServer());
  std::string bytes;
  for (const auto &peer : peers) {
    const auto received = peer->received();
    ASSERT_EQ(received.size(), passes);
    if (bytes.empty()) bytes = received[0].bytes;
    EXPECT_TRUE(isHello(received[0]));
    EXPECT_EQ(received[0].bytes, bytes);  // one envelope serves all ports and both passes
    EXPECT_EQ(received[1].bytes, bytes);
  }
}

TEST(KtUDPClientDiscovery, EnvelopeHasSignatureOddHandshakeAndPacket) {
  ScriptedPeer peer(4798, {});
  KtUDPClient client;
  client.setSignature("Mine");
  client.setPorts({4798});
  EXPECT_FALSE(client.connectToServer());
  const Dictionary envelope = peer.received().front().message();
  EXPECT_EQ(envelope.size(), 3U);
  EXPECT_EQ(*envelope.find("_Signature")->asString(), "Mine");
  EXPECT_EQ(envelope.find("_Handshake")->intValue() % 2, 1);
  EXPECT_EQ(*envelope.find("_DataPacket")->asDictionary(), discoveryPacket());
}

TEST(KtUDPClientDiscovery, FailureTakesTwoPeriodsAndKeepsDestination) {
  const HostsFile hosts(plainHosts);
  KtUDPClient client;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(client.connectToServer());
  const auto duration = std::chrono::steady_clock::now() - start;
  EXPECT_GE(duration, milliseconds(200));
  EXPECT_LT(duration, milliseconds(5000));
  EXPECT_EQ(client.port(), -1);
  EXPECT_EQ(client.inet(), address("255.255.255.255"));
  EXPECT_EQ(text(client.sin()), "255.255.255.255:4926");
  EXPECT_EQ(client.timeValue().tv_usec, 50'000);
}

TEST(KtUDPClientDiscovery, LogsFailureExactly) {
  const HostsFile hosts(plainHosts);
  KtUDPClient client;
  ScriptedPeer peer(4711, {});
  client.setPorts({4798, 4711});
  LogCapture log;
  EXPECT_FALSE(client.connectToServer());
  const auto received = peer.received();
  ASSERT_EQ(received.size(), passes);
  const std::size_t size = received[0].bytes.size();
  const std::string sending =
      "sending " + received[0].bytes.substr(0, size - 1) + " len " + std::to_string(size);
  EXPECT_EQ(log.linesWithoutRepeats(),
            (Lines{sending + " to ffffffff port 4798", sending + " to ffffffff port 4711",
                   "Done sending requests; now listening for reply", "Bad select",
                   sending + " to ffffffff port 4798", sending + " to ffffffff port 4711",
                   "Done sending requests; now listening for reply", "Bad select",
                   "No server could be found"}));
  EXPECT_LE(log.count("Bad select"), 4U);
}

TEST(KtUDPClientDiscovery, RequestWithoutServerSendsNothing) {
  ScriptedPeer peer(4798, {});
  KtUDPClient client;
  client.setPorts({4798});
  LogCapture log;
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_FALSE(client.connectToServer());
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(peer.received().size(), passes);
}

// Removes its ports during its discovery.
class ForgetfulClient : public KtUDPClient {
 public:
  void broadcastIP() override {
    KtUDPClient::broadcastIP();
    setPorts({});
  }
};

TEST(KtUDPClientDiscovery, UsesPortListOfItsStart) {
  const HostsFile hosts(plainHosts);
  ScriptedPeer peer(4822, std::vector<Act>{});
  ForgetfulClient client;
  client.setPorts({4822});
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(peer.received().size(), passes);
}

TEST(KtUDPClientDiscovery, EmptyPortListSendsNothingAndListensTwice) {
  KtUDPClient client;
  client.setPorts({});
  LogCapture log;
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(log.linesWithoutRepeats(),
            (Lines{"Done sending requests; now listening for reply", "Bad select",
                   "Done sending requests; now listening for reply", "Bad select",
                   "No server could be found"}));
}

TEST(KtUDPClientDiscovery, IgnoresNumberOfRetries) {
  for (const std::int32_t retries : {0, 7}) {
    ScriptedPeer peer(4798, {});
    KtUDPClient client;
    client.setPorts({4798});
    client.setNumberOfRetries(retries);
    EXPECT_FALSE(client.connectToServer());
    EXPECT_EQ(peer.received().size(), passes);
  }
}

TEST(KtUDPClientDiscovery, SendsToLow16BitsOfPortButLogsWholeNumber) {
  ScriptedPeer high(65535, {});
  ScriptedPeer low(4464, {});
  KtUDPClient client;
  client.setPorts({-1, 70000});
  LogCapture log;
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(high.received().size(), passes);
  EXPECT_EQ(low.received().size(), passes);
  EXPECT_TRUE(log.lines()[0].ends_with(" port -1"));
  EXPECT_TRUE(log.lines()[1].ends_with(" port 70000"));
}

TEST(KtUDPClientDiscovery, DropsItsOwnRequest) {
  ScriptedPeer peer(4798, {[](const Cue &cue) { cue.answer(cue.datagram.bytes); }});
  KtUDPClient client;
  client.setPorts({4798});
  LogCapture log;
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(log.count("Tossing invalid reply"), 1U);
}

// ---- A server ----

TEST(KtUDPClientDiscovery, FindsAndConfirmsServer) {
  const HostsFile hosts(plainHosts);
  ScriptedPeer peer(4711, {identify("amber", 4711), identify("amber", 4711)});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer());
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 2U);
  EXPECT_TRUE(isHello(received[0]));
  EXPECT_TRUE(isHello(received[1]));
}

TEST(KtUDPClientDiscovery, LogsSuccessExactly) {
  const HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798, {identify("amber", 5555), identify("amber", 5555)});
  KtUDPClient client;
  client.setPorts({4798});
  LogCapture log;
  ASSERT_TRUE(client.connectToServer());
  const auto received = peer.received();
  const auto sending = [](const Datagram &datagram) {
    const std::size_t size = datagram.bytes.size();
    return "sending " + datagram.bytes.substr(0, size - 1) + " len " + std::to_string(size);
  };
  const auto reply = [](const Datagram &datagram) {
    const Dictionary packet = serverIdPacket("amber", 5555);
    return "Received reply " + replyEnvelope("KtUDP", handshakeIn(datagram), packet).description();
  };
  // After discovery the log shows the recorded address and port, not the destination.
  EXPECT_EQ(log.lines(),
            (Lines{sending(received.at(0)) + " to ffffffff port 4798",
                   "Done sending requests; now listening for reply", reply(received.at(0)),
                   "Server IP found to be 708090a on host amber", "Server listening on port 5555",
                   sending(received.at(1)) + " to 708090a port 5555", reply(received.at(1))}));
}

TEST(KtUDPClientDiscovery, SendsRequestsToSourceOfReply) {
  const HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798, {identify("amber", 5555), right(), right()});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_EQ(client.inet(), address("10.9.8.7"));
  EXPECT_EQ(client.port(), 5555);
  EXPECT_EQ(text(client.sin()), text(client.sinrep()));
  EXPECT_EQ(ntohs(client.sin().sin_port), 4798);
  EXPECT_NE(client.sin().sin_addr.s_addr, client.inet());
  const auto answer = client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}});
  EXPECT_EQ(answer, (Dictionary{{"Answer", "right"}}));
  EXPECT_EQ(peer.received().size(), 3U);
}

TEST(KtUDPClientDiscovery, ReplyFromAnotherSocketMakesItTheServer) {
  ScriptedPeer server(0, {right(), right({{"Answer", "from the server"}})});
  const Act delegated = [&](const Cue &cue) {
    const Dictionary envelope =
        replyEnvelope("KtUDP", handshakeIn(cue.datagram), serverIdPacket("localhost", 4798));
    server.say(bytesOf(envelope), cue.datagram.source);
  };
  ScriptedPeer front(4798, {delegated});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_EQ(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}),
            (Dictionary{{"Answer", "from the server"}}));
  EXPECT_EQ(front.received().size(), 1U);
  EXPECT_EQ(server.received().size(), 2U);
}

TEST(KtUDPClientDiscovery, FirstOfTwoServersWins) {
  const HostsFile hosts(plainHosts);
  const auto twice = inTurn({identify("localhost", 1), identify("amber", 2)});
  ScriptedPeer peer(4798, {twice, right()});
  KtUDPClient client;
  LogCapture log;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_EQ(client.port(), 1);
  EXPECT_EQ(client.inet(), address("127.0.0.1"));
  EXPECT_EQ(log.count("Tossing invalid reply"), 1U);  // by the confirmation's handshake
}

TEST(KtUDPClientDiscovery, FindsServerThatAnswersSecondPass) {
  ScriptedPeer peer(4798, {silent(), identify(), right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer());
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(received[0].bytes, received[1].bytes);
  EXPECT_NE(received[1].bytes, received[2].bytes);
}

// A wait that ends without data empties the read set of its pass. After 50 ms the pass hears
// nothing more, and the next pass reads the answer first.
TEST(KtUDPClientDiscovery, SecondPassReadsLateAnswer) {
  LogCapture log;
  const auto late = afterLogLine(log, "Bad select", 1, identify());
  ScriptedPeer peer(4798, {late, silent(), right()});
  KtUDPClient client;
  client.setPorts({4798});
  client.setBaseReplyTimeout(400);
  EXPECT_TRUE(client.connectToServer());
  const auto received = peer.received();
  EXPECT_EQ(received.size(), 3U);
  EXPECT_EQ(log.count("Done sending requests; now listening for reply"), 2U);
}

TEST(KtUDPClientDiscovery, WrongAnswersDoNotEndPass) {
  ScriptedPeer peer(
      4798, {inTurn({wrongHandshake(), wrongSignature(), bytes("junk"), bytes(""), identify()}),
             right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(peer.received().size(), 2U);
}

// ---- Rejected identification packets ----

// Discovers a server that answers with that data packet, and expects this result. Returns how many
// datagrams the server received, the confirming request included.
std::size_t datagramsFor(const PropertyList &packet, bool expected) {
  const Act act = [&](const Cue &cue) {
    Dictionary envelope = replyEnvelope("KtUDP", handshakeIn(cue.datagram), {});
    envelope["_DataPacket"] = packet;
    cue.answer(envelope);
  };
  ScriptedPeer peer(4798, {act, act, right()});
  KtUDPClient client;
  client.setPorts({4798});
  EXPECT_EQ(client.connectToServer(), expected) << packet.description();
  EXPECT_EQ(client.port() >= 0, expected) << packet.description();
  return peer.received().size();
}

TEST(KtUDPClientDiscovery, AnswerWithoutIdentificationEndsPass) {
  const Dictionary good = serverIdPacket("localhost", 4798);
  EXPECT_EQ(datagramsFor(good, true), 2U);
  for (const Kind kind : allKinds) {
    EXPECT_EQ(datagramsFor(with(good, "KtUDPKeyword", kind), false), passes);
    if (kind == Kind::string) continue;
    // Text turns a number into a string, and "12" is a valid host name: an address.
    const bool isName = kind == Kind::number;
    EXPECT_EQ(datagramsFor(with(good, "_ServerName", kind), isName), 2U);
  }
}

TEST(KtUDPClientDiscovery, AnswerWithoutDictionaryAsPacketEndsPass) {
  for (const PropertyList &packet : {PropertyList("word"), PropertyList(12), PropertyList(Data{}),
                                     PropertyList(Array{"a"}), PropertyList(Dictionary())}) {
    EXPECT_EQ(datagramsFor(packet, false), passes);
  }
}

TEST(KtUDPClientDiscovery, TakesValueOfServerPortOfAnyKind) {
  const Dictionary good = serverIdPacket("localhost", 4798);
  for (const Kind kind : allKinds) {
    EXPECT_EQ(datagramsFor(with(good, "_ServerPort", kind), true), 2U);
  }
}

TEST(KtUDPClientDiscovery, AcceptsUnknownNameWithBroadcastAddress) {
  const HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798, {identify("nobody", 4798), right()});
  KtUDPClient client;
  LogCapture log;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.inet(), address("255.255.255.255"));
  EXPECT_NE(client.sin().sin_addr.s_addr, address("255.255.255.255"));
  EXPECT_EQ(log.count("Could not resolve host nobody -- fallback broadcast"), 1U);
}

TEST(KtUDPClientDiscovery, RejectsServerWithoutIPv4Address) {
  const HostsFile hosts(plainHosts);
  const auto refused = identify("sapphire", 4798);
  ScriptedPeer peer(4798, {refused, refused});
  KtUDPClient client;
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(client.port(), -1);
  EXPECT_EQ(peer.received().size(), passes);
}

TEST(KtUDPClient, IsServerIdReplyRecordsAcceptedAddressAndPort) {
  const HostsFile hosts(plainHosts);
  KtUDPClient client;
  EXPECT_FALSE(client.isServerIdReply(nullptr));
  const Dictionary other = serverIdPacket("sapphire", 1);
  EXPECT_FALSE(client.isServerIdReply(&other));
  EXPECT_EQ(client.port(), -1);
  EXPECT_EQ(client.inet(), KtUDPClient().inet());
  const Dictionary good = serverIdPacket("amber", 4822);
  EXPECT_TRUE(client.isServerIdReply(&good));
  EXPECT_EQ(client.port(), 4822);
  EXPECT_EQ(client.inet(), address("10.9.8.7"));
}

// ---- Confirmation ----

TEST(KtUDPClientDiscovery, MissingConfirmationResetsRecordedAddressOnly) {
  const HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798,
                    {identify("amber", 5555), silent(), silent(), silent(), silent(), right()});
  KtUDPClient client;
  client.setBaseReplyTimeout(20);
  LogCapture log;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.inet(), address("255.255.255.255"));
  EXPECT_EQ(client.port(), 5555);
  EXPECT_EQ(ntohs(client.sin().sin_port), 4798);
  EXPECT_NE(client.sin().sin_addr.s_addr, address("255.255.255.255"));
  EXPECT_EQ(log.lines().back(), "Invalid reply resolution, broadcast fallback");
  EXPECT_EQ(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}),
            (Dictionary{{"Answer", "right"}}));
}

TEST(KtUDPClientDiscovery, FallsBackToBroadcasthost) {
  const HostsFile hosts("127.0.0.1 localhost broadcasthost\n10.9.8.7 amber\n");
  ScriptedPeer peer(4798, {identify("amber", 5555)});
  KtUDPClient client;
  client.setBaseReplyTimeout(20);
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.inet(), address("127.0.0.1"));
}

TEST(KtUDPClientDiscovery, IgnoresConfirmationWithoutDictionary) {
  const Act words = [](const Cue &cue) {
    Dictionary envelope = replyEnvelope("KtUDP", handshakeIn(cue.datagram), {});
    envelope["_DataPacket"] = "words";
    cue.answer(envelope);
  };
  ScriptedPeer peer(4798, {identify(), words});
  KtUDPClient client;
  LogCapture log;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(log.lines().back(), "Invalid reply resolution, broadcast fallback");
  EXPECT_EQ(peer.received().size(), 2U);
}

TEST(KtUDPClientDiscovery, NegativeServerPortConnectsAndSendsNothing) {
  ScriptedPeer peer(4798, {identify("localhost", -7)});
  KtUDPClient client;
  LogCapture log;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.port(), -7);
  EXPECT_EQ(log.count("Invalid reply resolution, broadcast fallback"), 1U);
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(peer.received().size(), 1U);
}

TEST(KtUDPClientDiscovery, LaterDiscoveryStartsAfreshAndMayDisconnect) {
  KtUDPClient client;
  client.setPorts({4798});
  {
    ScriptedPeer peer(4798, {identify(), right()});
    ASSERT_TRUE(client.connectToServer());
  }
  EXPECT_EQ(client.port(), 4798);
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(client.port(), -1);
  ScriptedPeer peer(4711, {identify("localhost", 4711), right()});
  client.setPorts({4711});
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.port(), 4711);
}

}  // namespace
}  // namespace kt::test
