// SPDX-License-Identifier: MIT

// Requests of a client that has found its server, and their answers.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace kt::test {
namespace {

TEST(KtUDPClientRequest, HasEnvelopeOfItsOwn) {
  ScriptedPeer peer(4798, {identify(), right(), right(), right()});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  const Dictionary packet{{"KtUDPKeyword", "Store"}, {"Value", "17"}};
  EXPECT_TRUE(client.replyForRequest(packet));
  EXPECT_TRUE(client.replyForRequest(packet));
  const auto received = peer.received();
  ASSERT_EQ(received.size(), 4U);
  for (std::size_t request : {2U, 3U}) {
    EXPECT_EQ(received[request].message(),
              (Dictionary{{"_Signature", "KtUDP"},
                          {"_Handshake", std::to_string(handshakeOf(received[request].message()))},
                          {"_DataPacket", packet}}));
  }
}

TEST(KtUDPClientRequest, SendsNoPacketAndDropsBareReply) {
  ScriptedPeer peer(4798,
                    {identify(), right(), bytes("{}"), bytes("{}"), bytes("{}"), bytes("{}")});
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

TEST(KtUDPClientRequest, ReturnsNothingForPacketThatIsNotDictionary) {
  const Act act = [](const Cue &cue) {
    Dictionary envelope = replyEnvelope("KtUDP", handshakeOf(cue.datagram.message()), {});
    envelope.erase("_DataPacket");
    cue.answer(envelope);
  };
  ScriptedPeer peer(4798, {identify(), right(), act});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  EXPECT_FALSE(client.replyForRequest(Dictionary{{"KtUDPKeyword", "Status"}}));
  EXPECT_EQ(peer.received().size(), 3U);  // an answer, so the request is not sent again
}

TEST(KtUDPClientRequest, KeepsServerAfterFailure) {
  ScriptedPeer peer(4798, {identify(), right(), silent(), silent(), silent(), silent(), right()});
  KtUDPClient client;
  ASSERT_TRUE(client.connectToServer());
  const std::string before = text(client.sin());
  const Dictionary packet{{"KtUDPKeyword", "Status"}};
  EXPECT_FALSE(client.replyForRequest(packet));
  EXPECT_EQ(client.port(), 4798);
  EXPECT_EQ(text(client.sin()), before);
  EXPECT_TRUE(client.replyForRequest(packet));
  EXPECT_EQ(peer.received().size(), 7U);
}

}  // namespace
}  // namespace kt::test
