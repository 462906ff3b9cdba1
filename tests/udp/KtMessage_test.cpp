// SPDX-License-Identifier: MIT

#include "kt/udp/KtMessage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/udp/support/Kinds.h"

namespace kt::test {
namespace {

const std::string signature = "KtUDP";

// ---- Framing ----

TEST(KtMessage, DatagramIsTextAndOneNul) {
  const std::string text = Dictionary{{"key", "value"}}.description();
  const std::span<const char> bytes = datagramBytes(text);
  EXPECT_EQ(bytes.data(), text.data());
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), text + '\0');
}

TEST(KtMessage, DatagramOfEmptyTextIsOneNul) {
  const std::string text;
  EXPECT_EQ(datagramBytes(text).size(), 1U);
  EXPECT_EQ(datagramBytes(text).front(), '\0');
}

TEST(KtMessage, ReceiveLimitHoldsLargestDatagram) {
  EXPECT_EQ(bufferSize, 65536U);
  EXPECT_EQ(receiveLimit, 65535U);
  EXPECT_EQ(largestDatagram, 65507U);
}

TEST(KtMessage, DefaultsAreWellKnownPortsAndSignature) {
  EXPECT_EQ(std::vector<std::int32_t>(defaultPorts.begin(), defaultPorts.end()),
            (std::vector<std::int32_t>{4798, 4711, 5600, 4822, 3493, 4926}));
  EXPECT_EQ(defaultSignature, "KtUDP");
}

TEST(KtMessage, ParsesWithAndWithoutNul) {
  const Dictionary message{{"key", "value"}};
  const std::string text = message.description();
  EXPECT_EQ(parseMessage(text), message);
  EXPECT_EQ(parseMessage(text + '\0'), message);
}

TEST(KtMessage, IgnoresBytesAfterFirstNul) {
  const Dictionary message{{"key", "value"}};
  EXPECT_EQ(parseMessage(message.description() + '\0' + "} garbage"), message);
  EXPECT_EQ(parseMessage(message.description() + std::string(3, '\0')), message);
}

TEST(KtMessage, RejectsTextTruncatedAtAnyByte) {
  const std::string text = requestEnvelope(signature, 7, discoveryPacket()).description();
  for (std::size_t size = 0; size + 1 < text.size(); ++size) {
    EXPECT_FALSE(parseMessage(text.substr(0, size))) << text.substr(0, size);
  }
}

TEST(KtMessage, RejectsTextThatIsNotDictionary) {
  for (const char *text : {"", " ", "( a, b )", "()", "word", "\"quoted\"", "<0fbd>", "<>"}) {
    EXPECT_FALSE(parseMessage(text)) << text;
  }
  EXPECT_FALSE(parseMessage({"\0", 1}));
  EXPECT_FALSE(parseMessage({"\0{ key = value; }", 17}));
}

TEST(KtMessage, RejectsTextThatIsNotPropertyList) {
  for (const char *text : {"{", "}", "{ a = b; } c", "{ a; }", "{ = b; }", "\x01\x02", "<0>"}) {
    EXPECT_FALSE(parseMessage(text)) << text;
  }
}

TEST(KtMessage, RejectsMessageNestedTooDeep) {
  const std::string text = "{ a = " + std::string(511, '(') + std::string(511, ')') + "; }";
  EXPECT_TRUE(parseMessage(text));
  EXPECT_FALSE(parseMessage("{ a = " + std::string(512, '(') + std::string(512, ')') + "; }"));
}

TEST(KtMessage, AcceptsEmptyDictionary) {
  EXPECT_EQ(parseMessage("{}"), Dictionary());
}

TEST(KtMessage, ParsesIntegersAsStringsOfSameValue) {
  const auto back = parseMessage(Dictionary{{"_ServerPort", 4798}}.description());
  ASSERT_TRUE(back);
  ASSERT_NE(back->find("_ServerPort")->asString(), nullptr);
  EXPECT_EQ(*back->find("_ServerPort")->asString(), "4798");
  EXPECT_EQ(back->find("_ServerPort")->intValue(), 4798);
}

// ---- Handshake ----

TEST(KtMessage, FreshHandshakesAreOddFrom1To32767) {
  for (int draw = 0; draw < 20'000; ++draw) {
    const std::int32_t value = freshHandshake();
    ASSERT_EQ(value & 1, 1);
    ASSERT_GE(value, 1);
    ASSERT_LE(value, 32767);
  }
}

// 20,000 draws from 16,384 values hit 70 % of them, within half a per cent.
TEST(KtMessage, FreshHandshakesFillTheirRange) {
  std::set<std::int32_t> seen;
  for (int draw = 0; draw < 20'000; ++draw) {
    seen.insert(freshHandshake());
  }
  EXPECT_GT(seen.size(), 11'000U);
  EXPECT_LT(*seen.begin(), 200);
  EXPECT_GT(*seen.rbegin(), 32'500);
}

TEST(KtMessage, HandshakeAnswerIsValuePlusOne) {
  for (std::int32_t value = 1; value <= 32767; value += 2) {
    ASSERT_EQ(handshakeAnswer(value), value + 1);
  }
  EXPECT_EQ(handshakeAnswer(0), 1);
  EXPECT_EQ(handshakeAnswer(-1), 0);
  EXPECT_EQ(handshakeAnswer(-32767), -32766);
}

TEST(KtMessage, HandshakeAnswerToLargestNumberWrapsToSmallest) {
  using Limits = std::numeric_limits<std::int32_t>;
  EXPECT_EQ(handshakeAnswer(Limits::max()), Limits::min());
  EXPECT_EQ(handshakeAnswer(Limits::max() - 1), Limits::max());
  EXPECT_EQ(handshakeAnswer(Limits::min()), Limits::min() + 1);
}

TEST(KtMessage, ReadsHandshakeFromNumberAndString) {
  EXPECT_EQ(handshakeOf({{"_Handshake", 4711}}), 4711);
  EXPECT_EQ(handshakeOf({{"_Handshake", "4711"}}), 4711);
  EXPECT_EQ(handshakeOf({{"_Handshake", "-4711"}}), -4711);
  EXPECT_EQ(handshakeOf({{"_Handshake", " +4711 miles"}}), 4711);
}

TEST(KtMessage, ReadsHandshakeOfOtherKindAs0) {
  for (const Kind kind : {Kind::missing, Kind::data, Kind::array, Kind::dictionary}) {
    EXPECT_EQ(handshakeOf(with({}, "_Handshake", kind)), 0) << name(kind);
  }
  EXPECT_EQ(handshakeOf({{"_Handshake", "eleven"}}), 0);
  EXPECT_EQ(handshakeOf({{"_Handshake", ""}}), 0);
}

TEST(KtMessage, SaturatesHandshakeBeyond32Bits) {
  using Limits = std::numeric_limits<std::int32_t>;
  EXPECT_EQ(handshakeOf({{"_Handshake", "2147483648"}}), Limits::max());
  EXPECT_EQ(handshakeOf({{"_Handshake", "-99999999999999999999"}}), Limits::min());
  EXPECT_EQ(handshakeOf({{"_Handshake", std::int64_t{1} << 40}}), Limits::max());
}

// ---- Envelopes and packets ----

TEST(KtMessage, RequestHasSignatureHandshakeAndPacket) {
  const Dictionary packet{{"KtUDPKeyword", "Status"}};
  EXPECT_EQ(requestEnvelope("Mine", 33, packet),
            (Dictionary{{"_Signature", "Mine"}, {"_Handshake", 33}, {"_DataPacket", packet}}));
}

TEST(KtMessage, RequestWithoutPacketHasNoPacketKey) {
  EXPECT_EQ(requestEnvelope("Mine", 33, std::nullopt),
            (Dictionary{{"_Signature", "Mine"}, {"_Handshake", 33}}));
}

TEST(KtMessage, ReplyHasSignatureHandshakeAnswerAndPacket) {
  const Dictionary packet{{"Answer", "yes"}};
  EXPECT_EQ(replyEnvelope("Mine", 33, packet),
            (Dictionary{{"_Signature", "Mine"}, {"_Handshake", 34}, {"_DataPacket", packet}}));
}

TEST(KtMessage, HandshakesAreNumbersInEnvelopes) {
  const PropertyList number(33);
  EXPECT_EQ(*requestEnvelope("Mine", 33, std::nullopt).find("_Handshake"), number);
  EXPECT_EQ(*replyEnvelope("Mine", 32, {}).find("_Handshake"), number);
}

TEST(KtMessage, DiscoveryPacketSaysHello) {
  EXPECT_EQ(discoveryPacket(), (Dictionary{{"KtUDPKeyword", "HelloKtUDP"}}));
  EXPECT_EQ(discoveryPacket().description(), "{ KtUDPKeyword = HelloKtUDP; }");
}

TEST(KtMessage, IdentificationPacketHasNameKeyAsKeyword) {
  EXPECT_EQ(serverIdPacket("amber", 4822),
            (Dictionary{
                {"KtUDPKeyword", "_ServerName"}, {"_ServerName", "amber"}, {"_ServerPort", 4822}}));
}

// ---- Acceptance by a server ----

const Dictionary request = requestEnvelope(signature, 33, discoveryPacket());

TEST(KtMessage, RequestNeedsHandshakeOfAnyKind) {
  for (const Kind kind : allKinds) {
    EXPECT_EQ(isRequestFor(with(request, "_Handshake", kind), signature), kind != Kind::missing)
        << name(kind);
  }
}

TEST(KtMessage, RequestNeedsServersSignatureAsString) {
  EXPECT_TRUE(isRequestFor(request, signature));
  for (const Kind kind : allKinds) {
    EXPECT_FALSE(isRequestFor(with(request, "_Signature", kind), signature)) << name(kind);
  }
}

TEST(KtMessage, RejectsSignatureThatDiffersInAnyCharacter) {
  for (const char *other : {"", "KtUD", "KtUDPP", "ktUDP", "KtUDp", " KtUDP", "KtUDP "}) {
    EXPECT_FALSE(isRequestFor(requestEnvelope(other, 33, {}), signature)) << other;
    EXPECT_FALSE(isReplyTo(request, replyEnvelope(other, 33, {}), signature)) << other;
  }
}

TEST(KtMessage, SignatureOfDigitsDiffersFromNumber) {
  Dictionary numbered = request;
  numbered["_Signature"] = 12;
  EXPECT_FALSE(isRequestFor(numbered, "12"));
  EXPECT_TRUE(isRequestFor(*parseMessage(numbered.description()), "12"));
}

TEST(KtMessage, AnySignatureSurvivesTransport) {
  for (const std::string odd : {"", " ", "a b", "\"quoted\"", "back\\slash", "\xC3\xA4\xE2\x82\xAC",
                                "line\nfeed", "12", "{}", "\x01"}) {
    const auto back = parseMessage(requestEnvelope(odd, 33, {}).description());
    ASSERT_TRUE(back) << odd;
    EXPECT_TRUE(isRequestFor(*back, odd)) << odd;
  }
}

TEST(KtMessage, DataPacketIsDictionaryOrNull) {
  for (const Kind kind : allKinds) {
    EXPECT_EQ(dataPacketOf(with(request, "_DataPacket", kind)) != nullptr, kind == Kind::dictionary)
        << name(kind);
  }
}

TEST(KtMessage, TakesDataPacketOnlyIfDictionary) {
  EXPECT_EQ(takeDataPacket(Dictionary(request)), discoveryPacket());
  for (const Kind kind : allKinds) {
    EXPECT_EQ(takeDataPacket(with(request, "_DataPacket", kind)).has_value(),
              kind == Kind::dictionary)
        << name(kind);
  }
}

TEST(KtMessage, DiscoveryNeedsItsKeyword) {
  EXPECT_TRUE(isDiscovery(discoveryPacket()));
  EXPECT_TRUE(isDiscovery({{"KtUDPKeyword", "HelloKtUDP"}, {"More", "than that"}}));
  EXPECT_FALSE(isDiscovery({{"KtUDPKeyword", "helloKtUDP"}}));
  for (const Kind kind : allKinds) {
    EXPECT_FALSE(isDiscovery(with({}, "KtUDPKeyword", kind))) << name(kind);
  }
}

TEST(KtMessage, PacketOfRequestNeedsKeywordOfAnyKind) {
  for (const Kind kind : allKinds) {
    const Dictionary packet = with({}, "KtUDPKeyword", kind);
    const Dictionary envelope = requestEnvelope(signature, 33, packet);
    const Dictionary *found = packetOfRequest(envelope);
    EXPECT_EQ(found, kind == Kind::missing ? nullptr : dataPacketOf(envelope)) << name(kind);
  }
  EXPECT_EQ(packetOfRequest(requestEnvelope(signature, 33, std::nullopt)), nullptr);
}

TEST(KtMessage, PacketOfRequestThrowsUnlessDictionary) {
  for (const Kind kind : {Kind::string, Kind::number, Kind::data, Kind::array}) {
    EXPECT_THROW((void)packetOfRequest(with(request, "_DataPacket", kind)), std::invalid_argument)
        << name(kind);
  }
}

// ---- Acceptance by a client ----

const Dictionary reply = replyEnvelope(signature, 33, {});

TEST(KtMessage, ReplyMustAnswerHandshakeOfRequest) {
  EXPECT_TRUE(isReplyTo(request, reply, signature));
  EXPECT_TRUE(isReplyTo(request, *parseMessage(reply.description()), signature));
  for (const std::int32_t answer : {0, 31, 32, 33, 35, -34, 34 + 65536}) {
    Dictionary other = reply;
    other["_Handshake"] = answer;
    EXPECT_FALSE(isReplyTo(request, other, signature)) << answer;
  }
}

TEST(KtMessage, RequestIsNeverItsOwnReply) {
  for (std::int32_t value = 1; value <= 32767; value += 2) {
    const Dictionary own = requestEnvelope(signature, value, {});
    ASSERT_FALSE(isReplyTo(own, own, signature)) << value;
  }
}

TEST(KtMessage, RejectsReplyWithWrongHandshakeOfAnyKind) {
  for (const Kind kind : allKinds) {
    EXPECT_FALSE(isReplyTo(request, with(reply, "_Handshake", kind), signature)) << name(kind);
  }
}

// A missing handshake counts as 0, the answer to -1. No client draws -1.
TEST(KtMessage, ReplyWithoutHandshakeCountsAs0) {
  const Dictionary minusOne = requestEnvelope(signature, -1, {});
  for (const Kind kind : {Kind::missing, Kind::data, Kind::array, Kind::dictionary}) {
    EXPECT_TRUE(isReplyTo(minusOne, with(reply, "_Handshake", kind), signature)) << name(kind);
  }
}

TEST(KtMessage, ReplyNeedsClientsSignatureAsString) {
  for (const Kind kind : allKinds) {
    EXPECT_FALSE(isReplyTo(request, with(reply, "_Signature", kind), signature)) << name(kind);
  }
}

TEST(KtMessage, IgnoresDataPacketOfReply) {
  for (const Kind kind : allKinds) {
    EXPECT_TRUE(isReplyTo(request, with(reply, "_DataPacket", kind), signature)) << name(kind);
  }
}

// ---- Identification packets ----

const Dictionary identification = serverIdPacket("amber", 4822);

TEST(KtMessage, ReadsNameAndPortOfIdentificationPacket) {
  for (const Dictionary &packet : {identification, *parseMessage(identification.description())}) {
    const auto server = serverIdOf(packet);
    ASSERT_TRUE(server);
    EXPECT_EQ(server->name, "amber");
    EXPECT_EQ(server->port, 4822);
  }
}

TEST(KtMessage, IdentificationPacketNeedsItsKeyword) {
  for (const Kind kind : allKinds) {
    EXPECT_FALSE(serverIdOf(with(identification, "KtUDPKeyword", kind))) << name(kind);
  }
  EXPECT_FALSE(serverIdOf(discoveryPacket()));
}

TEST(KtMessage, ServerNameMustBeString) {
  for (const Kind kind : allKinds) {
    EXPECT_EQ(serverIdOf(with(identification, "_ServerName", kind)).has_value(),
              kind == Kind::string)
        << name(kind);
  }
}

TEST(KtMessage, ServerPortMayBeOfAnyKind) {
  const std::map<Kind, std::int32_t> expected{{Kind::missing, 0}, {Kind::string, 0},
                                              {Kind::number, 12}, {Kind::data, 0},
                                              {Kind::array, 0},   {Kind::dictionary, 0}};
  for (const auto &[kind, port] : expected) {
    const auto server = serverIdOf(with(identification, "_ServerPort", kind));
    ASSERT_TRUE(server) << name(kind);
    EXPECT_EQ(server->port, port) << name(kind);
  }
  EXPECT_EQ(serverIdOf(serverIdPacket("amber", -7))->port, -7);
}

}  // namespace
}  // namespace kt::test
