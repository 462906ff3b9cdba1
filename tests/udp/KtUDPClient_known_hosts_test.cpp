// SPDX-License-Identifier: MIT

// How a client discovers its server at hosts that it is told, instead of by broadcast.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/Messages.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace kt::test {
namespace {

constexpr const char *hosts =
    "127.0.0.1 localhost\n127.0.0.5 amber\n127.0.0.6 amber\nfd00::7 sapphire\n";

// Returns the addresses and ports that discovery was sent to, in order, from the log of it.
Lines destinationsIn(LogCapture &log) {
  Lines destinations;
  for (const std::string &line : log.lines()) {
    const std::size_t place = line.find(" to ");
    if (line.starts_with("sending ")) destinations.push_back(line.substr(place + 4));
  }
  return destinations;
}

// ---- A known host ----

TEST(KtUDPClientKnownHost, IsFoundByName) {
  const HostsFile file(hosts);
  ScriptedPeer peer(4798, {identify("localhost", 4798), right(), right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer("localhost"));
  EXPECT_EQ(text(client.sin()), "127.0.0.1:4798");
  EXPECT_EQ(client.port(), 4798);
  EXPECT_EQ(client.inet(), address("127.0.0.1"));
  EXPECT_EQ(client.replyForRequest(statusPacket), (Dictionary{{"Answer", "right"}}));
}

TEST(KtUDPClientKnownHost, IsFoundByDottedAddress) {
  ScriptedPeer peer(4798, {identify(), right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServer("127.0.0.9"));
  EXPECT_EQ(peer.received().size(), 2U);
}

TEST(KtUDPClientKnownHost, IsAskedAtItsFirstAddressOnly) {
  const HostsFile file(hosts);
  KtUDPClient client;
  client.setPorts({4798, 4711});
  LogCapture log;
  EXPECT_FALSE(client.connectToServer("amber"));
  EXPECT_EQ(destinationsIn(log), (Lines{"500007f port 4798", "500007f port 4711",
                                        "500007f port 4798", "500007f port 4711"}));
  EXPECT_EQ(log.lines().back(), "No server could be found");
  EXPECT_EQ(client.port(), -1);
}

TEST(KtUDPClientKnownHost, ThatIsUnknownFailsAtOnceWithoutBroadcast) {
  const HostsFile file(hosts);
  ScriptedPeer peer(4798, {identify()});
  KtUDPClient client;
  LogCapture log;
  EXPECT_FALSE(client.connectToServer("nowhere"));
  EXPECT_EQ(log.lines(), (Lines{"Could not resolve host nowhere", "No server could be found"}));
  EXPECT_EQ(peer.received().size(), 0U);
}

TEST(KtUDPClientKnownHost, WithoutIpv4AddressFailsAtOnce) {
  const HostsFile file(hosts);
  ScriptedPeer peer(4798, {identify()});
  KtUDPClient client;
  EXPECT_FALSE(client.connectToServer("sapphire"));
  EXPECT_EQ(peer.received().size(), 0U);
}

TEST(KtUDPClientKnownHost, FailureEndsEarlierConnection) {
  const HostsFile file(hosts);
  ScriptedPeer peer(4798, {identify(), right()});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer("localhost"));
  EXPECT_FALSE(client.connectToServer("nowhere"));
  EXPECT_EQ(client.port(), -1);
  EXPECT_FALSE(client.replyForRequest(statusPacket));
  EXPECT_EQ(peer.received().size(), 2U);
}

// Counts the calls of broadcastIP.
class CountingClient : public KtUDPClient {
 public:
  void broadcastIP() override { ++broadcasts; }
  int broadcasts = 0;
};

TEST(KtUDPClientKnownHost, IsNeverAskedByBroadcast) {
  const HostsFile file(hosts);
  ScriptedPeer peer(4798, {identify()});  // the confirming request goes unanswered
  CountingClient client;
  client.setNumberOfRetries(0);
  LogCapture log;
  EXPECT_TRUE(client.connectToServer("localhost"));
  EXPECT_EQ(client.broadcasts, 0);
  EXPECT_EQ(log.lines().back(), "Invalid reply resolution");
  EXPECT_EQ(client.inet(), address("127.0.0.1"));
}

// ---- Several addresses ----

TEST(KtUDPClientAddresses, GetEveryPortInEachPass) {
  KtUDPClient client;
  client.setPorts({4798, 4711});
  LogCapture log;
  EXPECT_FALSE(client.connectToServerAt({address("127.0.0.2"), address("127.0.0.3")}));
  const Lines pass{"200007f port 4798", "200007f port 4711", "300007f port 4798",
                   "300007f port 4711"};
  Lines both = pass;
  both.insert(both.end(), pass.begin(), pass.end());
  EXPECT_EQ(destinationsIn(log), both);
}

TEST(KtUDPClientAddresses, GetSameEnvelopeInBothPasses) {
  ScriptedPeer peer(4798, {});
  KtUDPClient client;
  client.setPorts({4798});
  EXPECT_FALSE(client.connectToServerAt({address("127.0.0.2"), address("127.0.0.3")}));
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 4U);
  for (const Datagram &datagram : received) {
    EXPECT_EQ(datagram.bytes, received.front().bytes);
  }
}

TEST(KtUDPClientAddresses, LeadToFirstServerThatAnswers) {
  ScriptedPeer peer(4711, {identify("localhost", 4711), silent(), right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServerAt({address("127.0.0.2"), address("127.255.255.255")}));
  EXPECT_EQ(client.port(), 4711);
  EXPECT_EQ(client.sin().sin_port, htons(4711));
}

TEST(KtUDPClientAddresses, EmptyListFailsAtOnce) {
  KtUDPClient client;
  LogCapture log;
  EXPECT_FALSE(client.connectToServerAt({}));
  EXPECT_EQ(log.lines(), Lines{"No server could be found"});
  EXPECT_EQ(client.port(), -1);
}

}  // namespace
}  // namespace kt::test
