// SPDX-License-Identifier: MIT

#include "kt/udp/KtMessage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/udp/support/Kinds.h"

namespace {

using kt::Dictionary;
using test::Kind;

const std::string signature = "KtUDP";

// ---- Framing ----

TEST(KtMessage, ADatagramIsTheTextAndOneNul) {
  const std::string text = Dictionary{{"key", "value"}}.description();
  const std::span<const char> bytes = kt::datagramBytes(text);
  EXPECT_EQ(bytes.data(), text.data());
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), text + '\0');
}

TEST(KtMessage, TheDatagramOfAnEmptyTextIsOneNul) {
  const std::string text;
  EXPECT_EQ(kt::datagramBytes(text).size(), 1U);
  EXPECT_EQ(kt::datagramBytes(text).front(), '\0');
}

TEST(KtMessage, EveryDatagramThatCanBeSentArrivesWhole) {
  EXPECT_EQ(kt::bufferSize, 65536U);
  EXPECT_EQ(kt::receiveLimit, 65535U);
  EXPECT_EQ(kt::largestDatagram, 65507U);
}

TEST(KtMessage, DefaultsAreThoseOfBothEnds) {
  EXPECT_EQ(std::vector<std::int32_t>(kt::defaultPorts.begin(), kt::defaultPorts.end()),
            (std::vector<std::int32_t>{4798, 4711, 5600, 4822, 3493, 4926}));
  EXPECT_EQ(kt::defaultSignature, "KtUDP");
}

TEST(KtMessage, BytesAreReadWithAndWithoutTheirNul) {
  const Dictionary message{{"key", "value"}};
  const std::string text = message.description();
  EXPECT_EQ(kt::parseMessage(text), message);
  EXPECT_EQ(kt::parseMessage(text + '\0'), message);
}

TEST(KtMessage, BytesBehindTheFirstNulAreNotLookedAt) {
  const Dictionary message{{"key", "value"}};
  EXPECT_EQ(kt::parseMessage(message.description() + '\0' + "} garbage"), message);
  EXPECT_EQ(kt::parseMessage(message.description() + std::string(3, '\0')), message);
}

TEST(KtMessage, ATextCutAtAnyByteIsNoMessage) {
  const std::string text = kt::requestEnvelope(signature, 7, kt::discoveryPacket()).description();
  for (std::size_t size = 0; size + 1 < text.size(); ++size) {
    EXPECT_FALSE(kt::parseMessage(text.substr(0, size))) << text.substr(0, size);
  }
}

TEST(KtMessage, WhatIsNoDictionaryIsNoMessage) {
  for (const char *text : {"", " ", "( a, b )", "()", "word", "\"quoted\"", "<0fbd>", "<>"}) {
    EXPECT_FALSE(kt::parseMessage(text)) << text;
  }
  EXPECT_FALSE(kt::parseMessage({"\0", 1}));
  EXPECT_FALSE(kt::parseMessage({"\0{ key = value; }", 17}));
}

TEST(KtMessage, WhatIsNoPropertyListIsNoMessage) {
  for (const char *text : {"{", "}", "{ a = b; } c", "{ a; }", "{ = b; }", "\x01\x02", "<0>"}) {
    EXPECT_FALSE(kt::parseMessage(text)) << text;
  }
}

TEST(KtMessage, AMessageNestedTooDeepIsNoMessage) {
  const std::string text = "{ a = " + std::string(511, '(') + std::string(511, ')') + "; }";
  EXPECT_TRUE(kt::parseMessage(text));
  EXPECT_FALSE(kt::parseMessage("{ a = " + std::string(512, '(') + std::string(512, ')') + "; }"));
}

TEST(KtMessage, AnEmptyDictionaryIsAMessage) {
  EXPECT_EQ(kt::parseMessage("{}"), Dictionary());
}

TEST(KtMessage, IntegersComeBackAsStringsAndKeepTheirValue) {
  const auto back = kt::parseMessage(Dictionary{{"_ServerPort", 4798}}.description());
  ASSERT_TRUE(back);
  ASSERT_NE(back->find("_ServerPort")->asString(), nullptr);
  EXPECT_EQ(*back->find("_ServerPort")->asString(), "4798");
  EXPECT_EQ(back->find("_ServerPort")->intValue(), 4798);
}

// ---- Handshake ----

TEST(KtMessage, FreshHandshakesAreOddAndBetween1And32767) {
  for (int draw = 0; draw < 20'000; ++draw) {
    const std::int32_t value = kt::freshHandshake();
    ASSERT_EQ(value & 1, 1);
    ASSERT_GE(value, 1);
    ASSERT_LE(value, 32767);
  }
}

// 20,000 draws of 16,384 values hit 70 % of them, give or take half a per cent.
TEST(KtMessage, FreshHandshakesFillTheirRange) {
  std::set<std::int32_t> seen;
  for (int draw = 0; draw < 20'000; ++draw) {
    seen.insert(kt::freshHandshake());
  }
  EXPECT_GT(seen.size(), 11'000U);
  EXPECT_LT(*seen.begin(), 200);
  EXPECT_GT(*seen.rbegin(), 32'500);
}

TEST(KtMessage, TheAnswerIsTheRequestsValuePlusOne) {
  for (std::int32_t value = 1; value <= 32767; value += 2) {
    ASSERT_EQ(kt::handshakeAnswer(value), value + 1);
  }
  EXPECT_EQ(kt::handshakeAnswer(0), 1);
  EXPECT_EQ(kt::handshakeAnswer(-1), 0);
  EXPECT_EQ(kt::handshakeAnswer(-32767), -32766);
}

TEST(KtMessage, TheAnswerToTheLargestNumberWrapsToTheSmallest) {
  using Limits = std::numeric_limits<std::int32_t>;
  EXPECT_EQ(kt::handshakeAnswer(Limits::max()), Limits::min());
  EXPECT_EQ(kt::handshakeAnswer(Limits::max() - 1), Limits::max());
  EXPECT_EQ(kt::handshakeAnswer(Limits::min()), Limits::min() + 1);
}

TEST(KtMessage, AHandshakeIsReadFromNumberAndStringAlike) {
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", 4711}}), 4711);
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", "4711"}}), 4711);
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", "-4711"}}), -4711);
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", " +4711 miles"}}), 4711);
}

TEST(KtMessage, AHandshakeOfAnyOtherKindCountsAs0) {
  for (const Kind kind : {Kind::missing, Kind::data, Kind::array, Kind::dictionary}) {
    EXPECT_EQ(kt::handshakeOf(test::with({}, "_Handshake", kind)), 0) << test::name(kind);
  }
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", "eleven"}}), 0);
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", ""}}), 0);
}

TEST(KtMessage, AHandshakeTooLargeForItsKindSaturates) {
  using Limits = std::numeric_limits<std::int32_t>;
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", "2147483648"}}), Limits::max());
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", "-99999999999999999999"}}), Limits::min());
  EXPECT_EQ(kt::handshakeOf({{"_Handshake", std::int64_t{1} << 40}}), Limits::max());
}

// ---- Envelopes and packets ----

TEST(KtMessage, ARequestHasSignatureHandshakeAndPacket) {
  const Dictionary packet{{"KtUDPKeyword", "Status"}};
  EXPECT_EQ(kt::requestEnvelope("Mine", 33, packet),
            (Dictionary{{"_Signature", "Mine"}, {"_Handshake", 33}, {"_DataPacket", packet}}));
}

TEST(KtMessage, ARequestWithoutAPacketHasNoKeyForIt) {
  EXPECT_EQ(kt::requestEnvelope("Mine", 33, std::nullopt),
            (Dictionary{{"_Signature", "Mine"}, {"_Handshake", 33}}));
}

TEST(KtMessage, AReplyHasSignatureHandshakeAnswerAndPacket) {
  const Dictionary packet{{"Answer", "yes"}};
  EXPECT_EQ(kt::replyEnvelope("Mine", 33, packet),
            (Dictionary{{"_Signature", "Mine"}, {"_Handshake", 34}, {"_DataPacket", packet}}));
}

TEST(KtMessage, HandshakesAreNumbersInEnvelopes) {
  const kt::PropertyList number(33);
  EXPECT_EQ(*kt::requestEnvelope("Mine", 33, std::nullopt).find("_Handshake"), number);
  EXPECT_EQ(*kt::replyEnvelope("Mine", 32, {}).find("_Handshake"), number);
}

TEST(KtMessage, TheDiscoveryPacketSaysHello) {
  EXPECT_EQ(kt::discoveryPacket(), (Dictionary{{"KtUDPKeyword", "HelloKtUDP"}}));
  EXPECT_EQ(kt::discoveryPacket().description(), "{ KtUDPKeyword = HelloKtUDP; }");
}

TEST(KtMessage, TheKeywordOfAnIdentificationPacketIsTheKeyOfTheName) {
  EXPECT_EQ(kt::serverIdPacket("amber", 4822),
            (Dictionary{
                {"KtUDPKeyword", "_ServerName"}, {"_ServerName", "amber"}, {"_ServerPort", 4822}}));
}

// ---- What a server accepts ----

const Dictionary request = kt::requestEnvelope(signature, 33, kt::discoveryPacket());

TEST(KtMessage, ARequestNeedsAHandshakeOfWhateverKind) {
  for (const Kind kind : test::allKinds) {
    EXPECT_EQ(kt::isRequestFor(test::with(request, "_Handshake", kind), signature),
              kind != Kind::missing)
        << test::name(kind);
  }
}

TEST(KtMessage, ARequestsSignatureMustBeTheStringOfTheServer) {
  EXPECT_TRUE(kt::isRequestFor(request, signature));
  for (const Kind kind : test::allKinds) {
    EXPECT_FALSE(kt::isRequestFor(test::with(request, "_Signature", kind), signature))
        << test::name(kind);
  }
}

TEST(KtMessage, ASignatureThatDiffersInAnyCharacterIsAnother) {
  for (const char *other : {"", "KtUD", "KtUDPP", "ktUDP", "KtUDp", " KtUDP", "KtUDP "}) {
    EXPECT_FALSE(kt::isRequestFor(kt::requestEnvelope(other, 33, {}), signature)) << other;
    EXPECT_FALSE(kt::isReplyTo(request, kt::replyEnvelope(other, 33, {}), signature)) << other;
  }
}

TEST(KtMessage, ASignatureOfDigitsIsNotTheNumber) {
  Dictionary numbered = request;
  numbered["_Signature"] = 12;
  EXPECT_FALSE(kt::isRequestFor(numbered, "12"));
  EXPECT_TRUE(kt::isRequestFor(*kt::parseMessage(numbered.description()), "12"));
}

TEST(KtMessage, AnySignatureSurvivesTheWay) {
  for (const std::string odd : {"", " ", "a b", "\"quoted\"", "back\\slash", "\xC3\xA4\xE2\x82\xAC",
                                "line\nfeed", "12", "{}", "\x01"}) {
    const auto back = kt::parseMessage(kt::requestEnvelope(odd, 33, {}).description());
    ASSERT_TRUE(back) << odd;
    EXPECT_TRUE(kt::isRequestFor(*back, odd)) << odd;
  }
}

TEST(KtMessage, ADataPacketIsADictionaryOrNone) {
  for (const Kind kind : test::allKinds) {
    EXPECT_EQ(kt::dataPacketOf(test::with(request, "_DataPacket", kind)) != nullptr,
              kind == Kind::dictionary)
        << test::name(kind);
  }
}

TEST(KtMessage, DiscoveryIsOneKeywordAndNoOther) {
  EXPECT_TRUE(kt::isDiscovery(kt::discoveryPacket()));
  EXPECT_TRUE(kt::isDiscovery({{"KtUDPKeyword", "HelloKtUDP"}, {"More", "than that"}}));
  EXPECT_FALSE(kt::isDiscovery({{"KtUDPKeyword", "helloKtUDP"}}));
  for (const Kind kind : test::allKinds) {
    EXPECT_FALSE(kt::isDiscovery(test::with({}, "KtUDPKeyword", kind))) << test::name(kind);
  }
}

// ---- What a client accepts ----

const Dictionary reply = kt::replyEnvelope(signature, 33, {});

TEST(KtMessage, AReplyAnswersTheHandshakeOfItsRequest) {
  EXPECT_TRUE(kt::isReplyTo(request, reply, signature));
  EXPECT_TRUE(kt::isReplyTo(request, *kt::parseMessage(reply.description()), signature));
  for (const std::int32_t answer : {0, 31, 32, 33, 35, -34, 34 + 65536}) {
    Dictionary other = reply;
    other["_Handshake"] = answer;
    EXPECT_FALSE(kt::isReplyTo(request, other, signature)) << answer;
  }
}

TEST(KtMessage, ARequestIsNeverItsOwnReply) {
  for (std::int32_t value = 1; value <= 32767; value += 2) {
    const Dictionary own = kt::requestEnvelope(signature, value, {});
    ASSERT_FALSE(kt::isReplyTo(own, own, signature)) << value;
  }
}

TEST(KtMessage, AReplysHandshakeMustHaveTheValueWhateverItsKind) {
  for (const Kind kind : test::allKinds) {
    EXPECT_FALSE(kt::isReplyTo(request, test::with(reply, "_Handshake", kind), signature))
        << test::name(kind);
  }
}

// Missing counts as 0, which is the answer to -1: no client draws that, but the rule is the rule.
TEST(KtMessage, AReplyWithoutHandshakeCountsAs0) {
  const Dictionary minusOne = kt::requestEnvelope(signature, -1, {});
  for (const Kind kind : {Kind::missing, Kind::data, Kind::array, Kind::dictionary}) {
    EXPECT_TRUE(kt::isReplyTo(minusOne, test::with(reply, "_Handshake", kind), signature))
        << test::name(kind);
  }
}

TEST(KtMessage, AReplysSignatureMustBeTheStringOfTheClient) {
  for (const Kind kind : test::allKinds) {
    EXPECT_FALSE(kt::isReplyTo(request, test::with(reply, "_Signature", kind), signature))
        << test::name(kind);
  }
}

TEST(KtMessage, AReplysDataPacketIsNotLookedAt) {
  for (const Kind kind : test::allKinds) {
    EXPECT_TRUE(kt::isReplyTo(request, test::with(reply, "_DataPacket", kind), signature))
        << test::name(kind);
  }
}

// ---- Identification packets ----

const Dictionary identification = kt::serverIdPacket("amber", 4822);

TEST(KtMessage, AnIdentificationPacketTellsNameAndPort) {
  for (const Dictionary &packet :
       {identification, *kt::parseMessage(identification.description())}) {
    const auto server = kt::serverIdOf(packet);
    ASSERT_TRUE(server);
    EXPECT_EQ(server->name, "amber");
    EXPECT_EQ(server->port, 4822);
  }
}

TEST(KtMessage, AnIdentificationPacketNeedsItsKeyword) {
  for (const Kind kind : test::allKinds) {
    EXPECT_FALSE(kt::serverIdOf(test::with(identification, "KtUDPKeyword", kind)))
        << test::name(kind);
  }
  EXPECT_FALSE(kt::serverIdOf(kt::discoveryPacket()));
}

TEST(KtMessage, AServersNameMustBeAString) {
  for (const Kind kind : test::allKinds) {
    EXPECT_EQ(kt::serverIdOf(test::with(identification, "_ServerName", kind)).has_value(),
              kind == Kind::string)
        << test::name(kind);
  }
}

TEST(KtMessage, AServersPortMayBeAnything) {
  const std::map<Kind, std::int32_t> expected{{Kind::missing, 0}, {Kind::string, 0},
                                              {Kind::number, 12}, {Kind::data, 0},
                                              {Kind::array, 0},   {Kind::dictionary, 0}};
  for (const auto &[kind, port] : expected) {
    const auto server = kt::serverIdOf(test::with(identification, "_ServerPort", kind));
    ASSERT_TRUE(server) << test::name(kind);
    EXPECT_EQ(server->port, port) << test::name(kind);
  }
  EXPECT_EQ(kt::serverIdOf(kt::serverIdPacket("amber", -7))->port, -7);
}

}  // namespace
