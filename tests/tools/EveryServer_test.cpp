// SPDX-License-Identifier: MIT

// What kt hello says of a server; the asking is tested by kt_hello_test.py.
#include "tools/kt/Census.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace kt::tools {
namespace {

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

TEST(Census, ALineNamesTheServerAndWhereItAnswered) {
  EXPECT_EQ(lineFor(hut(4798), "KtUDP", here),
            "\"hut\" at 10.0.0.9:4798, signature \"KtUDP\", 0.250 ms");
}

TEST(Census, ANameThatNobodyKnowsIsNoDifference) {
  EXPECT_EQ(lineFor(hut(4798), "KtUDP", unknown),
            "\"hut\" at 10.0.0.9:4798, signature \"KtUDP\", 0.250 ms");
}

TEST(Census, AnotherPortAndAddressAreNoted) {
  EXPECT_EQ(lineFor(hut(4711), "KtUDP", elsewhere),
            "\"hut\" at 10.0.0.9:4798, signature \"KtUDP\", 0.250 ms; announces port 4711; "
            "its name stands for 10.0.0.8");
}

TEST(Census, NamesAndSignaturesAreEscaped) {
  FoundServer server = hut(4798);
  server.id.name = "\x1b]0;\"\n";
  EXPECT_EQ(lineFor(server, "\x07", here),
            "\"\\033]0;\\\"\\n\" at 10.0.0.9:4798, signature \"\\a\", 0.250 ms");
}

TEST(Census, JsonTellsTheSame) {
  EXPECT_EQ(jsonFor(hut(4711), "KtUDP", elsewhere).dump(),
            "{\"name\":\"hut\",\"address\":\"10.0.0.9\",\"port\":4798,\"signature\":\"KtUDP\","
            "\"roundTripMs\":0.25,\"announcedPort\":4711,\"nameAddress\":\"10.0.0.8\"}");
  EXPECT_EQ(jsonFor(hut(4711), "KtUDP", unknown)["nameAddress"], nullptr);
}

}  // namespace
}  // namespace kt::tools
