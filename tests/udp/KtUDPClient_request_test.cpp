// SPDX-License-Identifier: MIT

// What the requests of a client are that has found its server, and what it makes of the answers.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace {

using kt::Dictionary;
using test::LogCapture;
using test::ScriptedPeer;

TEST(KtUDPClientRequest, EveryRequestHasAnEnvelopeOfItsOwn) {
  ScriptedPeer peer(4798, {test::identify(), test::right(), test::right(), test::right()});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  const Dictionary packet{{"KtUDPKeyword", "Store"}, {"Value", "17"}};
  EXPECT_TRUE(client.replyForRequest(packet));
  EXPECT_TRUE(client.replyForRequest(packet));
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 4U);
  for (std::size_t request : {2U, 3U}) {
    EXPECT_EQ(
        received[request].message(),
        (Dictionary{{"_Signature", "KtUDP"},
                    {"_Handshake", std::to_string(kt::handshakeOf(received[request].message()))},
                    {"_DataPacket", packet}}));
  }
}

TEST(KtUDPClientRequest, ARequestWithoutAPacketIsSentWithoutOneAndTheBareReplyDropped) {
  ScriptedPeer peer(4798, {test::identify(), test::right(), test::bytes("{}"), test::bytes("{}"),
                           test::bytes("{}"), test::bytes("{}")});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  LogCapture log;
  EXPECT_FALSE(client.replyForRequest(std::nullopt));
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 6U);
  for (std::size_t attempt = 2; attempt < 6; ++attempt) {
    EXPECT_EQ(received[attempt].message().size(), 2U);
    EXPECT_FALSE(received[attempt].message().contains("_DataPacket"));
    EXPECT_EQ(received[attempt].bytes, received[2].bytes);
  }
}

TEST(KtUDPClientRequest, AnAnswerWhosePacketIsNoDictionaryIsNothing) {
  const test::Act act = [](const test::Cue &cue) {
    Dictionary envelope = kt::replyEnvelope("KtUDP", kt::handshakeOf(cue.datagram.message()), {});
    envelope.erase("_DataPacket");
    cue.answer(envelope);
  };
  ScriptedPeer peer(4798, {test::identify(), test::right(), act});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(peer.received().size(), 3U);  // it was an answer: nothing is sent again
}

TEST(KtUDPClientRequest, AFailedRequestLeavesTheServerKnown) {
  ScriptedPeer peer(4798, {test::identify(), test::right(), test::silent(), test::silent(),
                           test::silent(), test::silent(), test::right()});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  const std::string before = test::text(client.sin());
  const Dictionary packet{{"KtUDPKeyword", "Status"}};
  EXPECT_FALSE(client.replyForRequest(packet));
  EXPECT_EQ(client.port(), 4798);
  EXPECT_EQ(test::text(client.sin()), before);
  EXPECT_TRUE(client.replyForRequest(packet));
  EXPECT_EQ(peer.received().size(), 7U);
}

}  // namespace
