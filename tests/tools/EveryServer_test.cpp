// SPDX-License-Identifier: MIT

// How kt hello describes a server; kt_hello_test.py covers the search.
#include "tools/kt/EveryServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "tests/support/Addresses.h"

namespace kt::test {
namespace {

using namespace tools;

const std::uint32_t hutAddress = htonl(0x0a000009);

FoundServer hut(std::int32_t announcedPort) {
  FoundServer server{{}, {"hut", announcedPort}, Milliseconds(0.25)};
  server.source.sin_addr.s_addr = hutAddress;
  server.source.sin_port = htons(4798);
  return server;
}

const udp::HostAddress unknown{};
const udp::HostAddress here{udp::HostAddress::Kind::ipv4, hutAddress};
const udp::HostAddress elsewhere{udp::HostAddress::Kind::ipv4, htonl(0x0a000008)};

// A server that answers from `source` and announces `announcedPort`.
FoundServer answering(const char *source, std::uint16_t port, std::int32_t announcedPort) {
  return {ipv4(address(source), port), {"hut", announcedPort}, Milliseconds(1)};
}

const OwnAddresses own({address("10.0.0.9"), address("10.0.1.9")});

TEST(EveryServer, SameEndpointIsSameServer) {
  EXPECT_TRUE(isSameServer(answering("10.9.9.9", 4798, 1), answering("10.9.9.9", 4798, 2), own));
  EXPECT_FALSE(isSameServer(answering("10.9.9.9", 4798, 1), answering("10.9.9.9", 4711, 1), own));
  EXPECT_FALSE(isSameServer(answering("10.9.9.9", 4798, 1), answering("10.9.9.8", 4798, 1), own));
}

TEST(EveryServer, SamePortAtAnyOwnAddressIsSameServer) {
  const FoundServer server = answering("127.0.0.1", 4798, 4798);
  EXPECT_TRUE(isSameServer(server, answering("10.0.0.9", 4798, 4798), own));
  EXPECT_TRUE(isSameServer(answering("10.0.1.9", 4798, 4798), server, own));
  EXPECT_FALSE(isSameServer(server, answering("10.0.0.9", 4711, 4711), own));
  EXPECT_FALSE(isSameServer(server, answering("10.0.0.8", 4798, 4798), own));
}

TEST(EveryServer, LineNamesServerAndSourceOfAnswer) {
  EXPECT_EQ(lineFor(hut(4798), "KtUDP", here),
            "\"hut\" at 10.0.0.9:4798, signature \"KtUDP\", 0.250 ms");
}

TEST(EveryServer, LineOmitsUnknownName) {
  EXPECT_EQ(lineFor(hut(4798), "KtUDP", unknown),
            "\"hut\" at 10.0.0.9:4798, signature \"KtUDP\", 0.250 ms");
}

TEST(EveryServer, LineReportsOtherPortAndAddress) {
  EXPECT_EQ(lineFor(hut(4711), "KtUDP", elsewhere),
            "\"hut\" at 10.0.0.9:4798, signature \"KtUDP\", 0.250 ms; announces port 4711; "
            "its name resolves to 10.0.0.8");
}

TEST(EveryServer, LineEscapesNameAndSignature) {
  FoundServer server = hut(4798);
  server.id.name = "\x1b]0;\"\n";
  EXPECT_EQ(lineFor(server, "\x07", here),
            "\"\\033]0;\\\"\\n\" at 10.0.0.9:4798, signature \"\\a\", 0.250 ms");
}

TEST(EveryServer, JsonHasSameContents) {
  EXPECT_EQ(jsonFor(hut(4711), "KtUDP", elsewhere),
            "{\"name\":\"hut\",\"address\":\"10.0.0.9\",\"port\":4798,\"signature\":\"KtUDP\","
            "\"roundTripMs\":0.25,\"announcedPort\":4711,\"nameAddress\":\"10.0.0.8\"}");
  EXPECT_TRUE(jsonFor(hut(4711), "KtUDP", unknown).ends_with(",\"nameAddress\":null}"));
}

}  // namespace
}  // namespace kt::test
