// SPDX-License-Identifier: MIT

// How a client finds its server.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/udp/support/Kinds.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace {

using kt::Dictionary;
using std::chrono::milliseconds;
using test::address;
using test::LogCapture;
using test::ScriptedPeer;

constexpr const char *plainHosts = "127.0.0.1 localhost\n10.9.8.7 amber\nfd00::7 sapphire\n";

// What arrives at a port per discovery when nobody answers: one datagram for each pass.
constexpr std::size_t passes = 2;

bool isHello(const test::Datagram &datagram) {
  const Dictionary message = datagram.message();
  const Dictionary *packet = kt::dataPacketOf(message);
  return packet != nullptr && *packet == kt::discoveryPacket();
}

std::int32_t handshakeIn(const test::Datagram &datagram) {
  return kt::handshakeOf(datagram.message());
}

// ---- No server ----

TEST(KtUDPClientDiscovery, WithoutAServerEachOfSixPortsIsAskedInEachOfTwoPasses) {
  const test::HostsFile hosts(plainHosts);
  std::vector<std::unique_ptr<ScriptedPeer>> peers;
  for (const std::int32_t port : kt::defaultPorts) {
    peers.push_back(
        std::make_unique<ScriptedPeer>(static_cast<std::uint16_t>(port), std::vector<test::Act>{}));
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

TEST(KtUDPClientDiscovery, ItsEnvelopeHasSignatureOddHandshakeAndPacket) {
  ScriptedPeer peer(4798, {});
  KtUDPClient client;
  client.setSignature("Mine");
  client.setPorts({4798});
  EXPECT_FALSE(client.connectToServer());
  const Dictionary envelope = peer.received().front().message();
  EXPECT_EQ(envelope.size(), 3U);
  EXPECT_EQ(*envelope.find("_Signature")->asString(), "Mine");
  EXPECT_EQ(envelope.find("_Handshake")->intValue() % 2, 1);
  EXPECT_EQ(*envelope.find("_DataPacket")->asDictionary(), kt::discoveryPacket());
}

TEST(KtUDPClientDiscovery, FailureTakesTwoPeriodsOf50MillisecondWaitsAndLeavesTheDestination) {
  const test::HostsFile hosts(plainHosts);
  KtUDPClient client;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(client.connectToServer());
  const auto duration = std::chrono::steady_clock::now() - start;
  EXPECT_GE(duration, milliseconds(200));
  EXPECT_LT(duration, milliseconds(5000));
  EXPECT_EQ(client.port(), -1);
  EXPECT_EQ(client.inet(), address("255.255.255.255"));
  EXPECT_EQ(test::text(client.sin()), "255.255.255.255:4926");
  EXPECT_EQ(client.timeValue().tv_usec, 50'000);
}

TEST(KtUDPClientDiscovery, FailuresLogLinesAreToTheLetterAndInOrder) {
  const test::HostsFile hosts(plainHosts);
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
            (test::Lines{sending + " to ffffffff port 4798", sending + " to ffffffff port 4711",
                         "Done sending requests; now listening for reply", "Bad select",
                         sending + " to ffffffff port 4798", sending + " to ffffffff port 4711",
                         "Done sending requests; now listening for reply", "Bad select",
                         "No server could be found"}));
  EXPECT_LE(log.count("Bad select"), 4U);
}

TEST(KtUDPClientDiscovery, ARequestWithoutAServerIsNothingAtOnceAndSendsNothing) {
  ScriptedPeer peer(4798, {});
  KtUDPClient client;
  client.setPorts({4798});
  LogCapture log;
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(log.lines(), test::Lines{});
  EXPECT_FALSE(client.connectToServer());
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(peer.received().size(), passes);
}

// Takes its ports away while it discovers.
class ForgetfulClient : public KtUDPClient {
 public:
  void broadcastIP() override {
    KtUDPClient::broadcastIP();
    setPorts({});
  }
};

TEST(KtUDPClientDiscovery, ThePortListCountsAsItIsWhenDiscoveryStarts) {
  const test::HostsFile hosts(plainHosts);
  ScriptedPeer peer(4822, std::vector<test::Act>{});
  ForgetfulClient client;
  client.setPorts({4822});
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(peer.received().size(), passes);
}

TEST(KtUDPClientDiscovery, AnEmptyPortListSendsNothingAndListensTwice) {
  KtUDPClient client;
  client.setPorts({});
  LogCapture log;
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(log.linesWithoutRepeats(),
            (test::Lines{"Done sending requests; now listening for reply", "Bad select",
                         "Done sending requests; now listening for reply", "Bad select",
                         "No server could be found"}));
}

TEST(KtUDPClientDiscovery, RetriesDoNotCountForDiscovery) {
  for (const std::int32_t retries : {0, 7}) {
    ScriptedPeer peer(4798, {});
    KtUDPClient client;
    client.setPorts({4798});
    client.setNumberOfRetries(retries);
    EXPECT_FALSE(client.connectToServer());
    EXPECT_EQ(peer.received().size(), passes);
  }
}

TEST(KtUDPClientDiscovery, OfAPortTheLow16BitsAreSentToAndTheWholeIsLogged) {
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

TEST(KtUDPClientDiscovery, ItsOwnRequestThatComesBackIsNoReply) {
  ScriptedPeer peer(4798, {[](const test::Cue &cue) { cue.answer(cue.datagram.bytes); }});
  KtUDPClient client;
  client.setPorts({4798});
  LogCapture log;
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(log.count("Tossing invalid reply"), 1U);
}

// ---- A server ----

TEST(KtUDPClientDiscovery, AServerIsFoundAndConfirmed) {
  const test::HostsFile hosts(plainHosts);
  ScriptedPeer peer(4711, {test::identify("amber", 4711), test::identify("amber", 4711)});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer());
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 2U);
  EXPECT_TRUE(isHello(received[0]));
  EXPECT_TRUE(isHello(received[1]));
}

TEST(KtUDPClientDiscovery, SuccesssLogLinesAreToTheLetterAndInOrder) {
  const test::HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798, {test::identify("amber", 5555), test::identify("amber", 5555)});
  KtUDPClient client;
  client.setPorts({4798});
  LogCapture log;
  ASSERT_TRUE(client.connectToServer());
  const auto received = peer.received();
  const auto sending = [](const test::Datagram &datagram) {
    const std::size_t size = datagram.bytes.size();
    return "sending " + datagram.bytes.substr(0, size - 1) + " len " + std::to_string(size);
  };
  const auto reply = [](const test::Datagram &datagram) {
    const Dictionary packet = kt::serverIdPacket("amber", 5555);
    return "Received reply " +
           kt::replyEnvelope("KtUDP", handshakeIn(datagram), packet).description();
  };
  // Behind the discovery the recorded address and port are shown, not those that are sent to.
  EXPECT_EQ(
      log.lines(),
      (test::Lines{sending(received.at(0)) + " to ffffffff port 4798",
                   "Done sending requests; now listening for reply", reply(received.at(0)),
                   "Server IP found to be 708090a on host amber", "Server listening on port 5555",
                   sending(received.at(1)) + " to 708090a port 5555", reply(received.at(1))}));
}

TEST(KtUDPClientDiscovery, RequestsGoWhereTheReplyCameFromWhateverItSaid) {
  const test::HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798, {test::identify("amber", 5555), test::right(), test::right()});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_EQ(client.inet(), address("10.9.8.7"));
  EXPECT_EQ(client.port(), 5555);
  EXPECT_EQ(test::text(client.sin()), test::text(client.sinrep()));
  EXPECT_EQ(ntohs(client.sin().sin_port), 4798);
  EXPECT_NE(client.sin().sin_addr.s_addr, client.inet());
  const auto answer = client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}});
  EXPECT_EQ(answer, (Dictionary{{"Answer", "right"}}));
  EXPECT_EQ(peer.received().size(), 3U);
}

TEST(KtUDPClientDiscovery, AReplyFromAnotherSocketMakesThatOneTheServer) {
  ScriptedPeer server(0, {test::right(), test::right({{"Answer", "from the server"}})});
  const test::Act delegated = [&](const test::Cue &cue) {
    const Dictionary envelope = kt::replyEnvelope("KtUDP", handshakeIn(cue.datagram),
                                                  kt::serverIdPacket("localhost", 4798));
    server.say(test::bytesOf(envelope), cue.datagram.source);
  };
  ScriptedPeer front(4798, {delegated});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_EQ(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}),
            (Dictionary{{"Answer", "from the server"}}));
  EXPECT_EQ(front.received().size(), 1U);
  EXPECT_EQ(server.received().size(), 2U);
}

TEST(KtUDPClientDiscovery, TheFirstOfTwoServersWinsAndTheOtherIsDroppedLater) {
  const test::HostsFile hosts(plainHosts);
  const auto twice = test::inTurn({test::identify("localhost", 1), test::identify("amber", 2)});
  ScriptedPeer peer(4798, {twice, test::right()});
  KtUDPClient client;
  LogCapture log;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_EQ(client.port(), 1);
  EXPECT_EQ(client.inet(), address("127.0.0.1"));
  EXPECT_EQ(log.count("Tossing invalid reply"), 1U);  // by the confirmation's handshake
}

TEST(KtUDPClientDiscovery, AServerThatAnswersTheSecondPassIsFound) {
  ScriptedPeer peer(4798, {test::silent(), test::identify(), test::right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer());
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(received[0].bytes, received[1].bytes);
  EXPECT_NE(received[1].bytes, received[2].bytes);
}

// A wait that ends without data empties the read set of its pass: 50 ms into a pass nothing more is
// seen, however long the pass lasts, and the answer is the next pass's first.
TEST(KtUDPClientDiscovery, AnAnswerBehindAPasssFirstWaitIsReadInTheNextPass) {
  LogCapture log;
  const auto late = test::afterLogLine(log, "Bad select", 1, test::identify());
  ScriptedPeer peer(4798, {late, test::silent(), test::right()});
  KtUDPClient client;
  client.setPorts({4798});
  client.setBaseReplyTimeout(400);
  EXPECT_TRUE(client.connectToServer());
  const auto received = peer.received();
  EXPECT_EQ(received.size(), 3U);
  EXPECT_EQ(log.count("Done sending requests; now listening for reply"), 2U);
}

TEST(KtUDPClientDiscovery, WrongAnswersDoNotEndAPass) {
  ScriptedPeer peer(4798, {test::inTurn({test::wrongHandshake(), test::wrongSignature(),
                                         test::bytes("junk"), test::bytes(""), test::identify()}),
                           test::right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(peer.received().size(), 2U);
}

// ---- Identification packets that are refused ----

// What a client makes of a discovery answer with that data packet: the number of datagrams that a
// server sees until it is given up, or found with the confirmation.
std::size_t datagramsFor(const kt::PropertyList &packet, bool expected) {
  const test::Act act = [&](const test::Cue &cue) {
    Dictionary envelope = kt::replyEnvelope("KtUDP", handshakeIn(cue.datagram), {});
    envelope["_DataPacket"] = packet;
    cue.answer(envelope);
  };
  ScriptedPeer peer(4798, {act, act, test::right()});
  KtUDPClient client;
  client.setPorts({4798});
  EXPECT_EQ(client.connectToServer(), expected) << packet.description();
  EXPECT_EQ(client.port() >= 0, expected) << packet.description();
  return peer.received().size();
}

TEST(KtUDPClientDiscovery, AnAnswerThatIdentifiesNoServerEndsItsPass) {
  const Dictionary good = kt::serverIdPacket("localhost", 4798);
  EXPECT_EQ(datagramsFor(good, true), 2U);
  for (const test::Kind kind : test::allKinds) {
    EXPECT_EQ(datagramsFor(test::with(good, "KtUDPKeyword", kind), false), passes);
    if (kind == test::Kind::string) continue;
    // Through the text a number is a string: a name that is an address then.
    const bool isName = kind == test::Kind::number;
    EXPECT_EQ(datagramsFor(test::with(good, "_ServerName", kind), isName), 2U);
  }
}

TEST(KtUDPClientDiscovery, AnAnswerWithoutADictionaryAsPacketEndsItsPass) {
  for (const kt::PropertyList &packet :
       {kt::PropertyList("word"), kt::PropertyList(12), kt::PropertyList(kt::Data{}),
        kt::PropertyList(kt::Array{"a"}), kt::PropertyList(Dictionary())}) {
    EXPECT_EQ(datagramsFor(packet, false), passes);
  }
}

TEST(KtUDPClientDiscovery, AServerPortOfAnyKindIsTakenByItsValue) {
  const Dictionary good = kt::serverIdPacket("localhost", 4798);
  for (const test::Kind kind : test::allKinds) {
    EXPECT_EQ(datagramsFor(test::with(good, "_ServerPort", kind), true), 2U);
  }
}

TEST(KtUDPClientDiscovery, AServerOfAnUnknownNameIsAcceptedWithTheBroadcastAddress) {
  const test::HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798, {test::identify("nobody", 4798), test::right()});
  KtUDPClient client;
  LogCapture log;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.inet(), address("255.255.255.255"));
  EXPECT_NE(client.sin().sin_addr.s_addr, address("255.255.255.255"));
  EXPECT_EQ(log.count("Could not resolve host nobody -- fallback broadcast"), 1U);
}

TEST(KtUDPClientDiscovery, AServerThatIsNotIPv4IsRefused) {
  const test::HostsFile hosts(plainHosts);
  const auto refused = test::identify("sapphire", 4798);
  ScriptedPeer peer(4798, {refused, refused});
  KtUDPClient client;
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(client.port(), -1);
  EXPECT_EQ(peer.received().size(), passes);
}

TEST(KtUDPClient, IsServerIdReplyRecordsAddressAndPortOfWhatItAccepts) {
  const test::HostsFile hosts(plainHosts);
  KtUDPClient client;
  EXPECT_FALSE(client.isServerIdReply(nullptr));
  const Dictionary other = kt::serverIdPacket("sapphire", 1);
  EXPECT_FALSE(client.isServerIdReply(&other));
  EXPECT_EQ(client.port(), -1);
  EXPECT_EQ(client.inet(), address("127.0.0.1"));
  const Dictionary good = kt::serverIdPacket("amber", 4822);
  EXPECT_TRUE(client.isServerIdReply(&good));
  EXPECT_EQ(client.port(), 4822);
  EXPECT_EQ(client.inet(), address("10.9.8.7"));
}

// ---- Confirmation ----

TEST(KtUDPClientDiscovery, AMissingConfirmationResetsTheRecordedAddressOnly) {
  const test::HostsFile hosts(plainHosts);
  ScriptedPeer peer(4798, {test::identify("amber", 5555), test::silent(), test::silent(),
                           test::silent(), test::silent(), test::right()});
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

TEST(KtUDPClientDiscovery, TheFallbackIsTheBroadcasthostWhereThereIsOne) {
  const test::HostsFile hosts("127.0.0.1 localhost broadcasthost\n10.9.8.7 amber\n");
  ScriptedPeer peer(4798, {test::identify("amber", 5555)});
  KtUDPClient client;
  client.setBaseReplyTimeout(20);
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.inet(), address("127.0.0.1"));
}

TEST(KtUDPClientDiscovery, AConfirmationWhosePacketIsNoDictionaryIsNone) {
  const test::Act words = [](const test::Cue &cue) {
    Dictionary envelope = kt::replyEnvelope("KtUDP", handshakeIn(cue.datagram), {});
    envelope["_DataPacket"] = "words";
    cue.answer(envelope);
  };
  ScriptedPeer peer(4798, {test::identify(), words});
  KtUDPClient client;
  LogCapture log;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(log.lines().back(), "Invalid reply resolution, broadcast fallback");
  EXPECT_EQ(peer.received().size(), 2U);
}

TEST(KtUDPClientDiscovery, ANegativeServerPortConnectsAndThenSendsNothing) {
  ScriptedPeer peer(4798, {test::identify("localhost", -7)});
  KtUDPClient client;
  LogCapture log;
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.port(), -7);
  EXPECT_EQ(log.count("Invalid reply resolution, broadcast fallback"), 1U);
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(peer.received().size(), 1U);
}

TEST(KtUDPClientDiscovery, ALaterDiscoveryStartsAfreshAndItsFailureDisconnects) {
  KtUDPClient client;
  client.setPorts({4798});
  {
    ScriptedPeer peer(4798, {test::identify(), test::right()});
    ASSERT_TRUE(client.connectToServer());
  }
  EXPECT_EQ(client.port(), 4798);
  EXPECT_FALSE(client.connectToServer());
  EXPECT_EQ(client.port(), -1);
  ScriptedPeer peer(4711, {test::identify("localhost", 4711), test::right()});
  client.setPorts({4711});
  EXPECT_TRUE(client.connectToServer());
  EXPECT_EQ(client.port(), 4711);
}

}  // namespace
