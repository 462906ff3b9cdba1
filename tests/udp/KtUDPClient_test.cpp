// SPDX-License-Identifier: MIT

// Set-up, addresses and waits of a client. Listening is tested in KtUDPClient_listening_test.cpp,
// discovery in KtUDPClient_discovery_test.cpp, requests in KtUDPClient_request_test.cpp.
#include "kt/udp/KtUDPClient.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/Addresses.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/PrivateNetwork.h"

namespace kt::test {
namespace {

// ---- Set-up ----

TEST(KtUDPClient, StartsWithDefaults) {
  const KtUDPClient client;
  EXPECT_EQ(client.ports(), (std::vector<std::int32_t>{4798, 4711, 5600, 4822, 3493, 4926}));
  EXPECT_EQ(client.signature(), "KtUDP");
  EXPECT_EQ(client.timeout(), 100);
  EXPECT_EQ(client.retries(), 3);
  EXPECT_GE(client.sockIn(), 0);
  EXPECT_EQ(client.port(), -1);
}

// The number itself, not 127.0.0.1 in network byte order; discovery replaces it before it sends.
TEST(KtUDPClient, StartsWithInet0x7f000001) {
  LogCapture log;
  KtUDPClient client;
  EXPECT_EQ(client.inet(), 0x7f000001U);
  client.sendMessage({});  // sin() is unset: the system refuses it
  EXPECT_EQ(log.lines(), (Lines{"sending {} len 3 to 7f000001 port -1"}));
}

TEST(KtUDPClient, SocketMayBroadcastIsUnboundAndClosesOnExec) {
  const KtUDPClient client;
  int enabled = 0;
  socklen_t size = sizeof enabled;
  ASSERT_EQ(::getsockopt(client.sockIn(), SOL_SOCKET, SO_BROADCAST, &enabled, &size), 0);
  EXPECT_NE(enabled, 0);
  sockaddr_in local{};
  size = sizeof local;
  ASSERT_EQ(::getsockname(client.sockIn(), reinterpret_cast<sockaddr *>(&local), &size), 0);
  EXPECT_EQ(local.sin_port, 0);
  EXPECT_EQ(::fcntl(client.sockIn(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(KtUDPClient, ClosesSocketWhenDestroyed) {
  int descriptor = -1;
  {
    const KtUDPClient client;
    descriptor = client.sockIn();
  }
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST(KtUDPClient, IsNeitherCopiedNorMoved) {
  EXPECT_FALSE(std::is_copy_constructible_v<KtUDPClient>);
  EXPECT_FALSE(std::is_move_constructible_v<KtUDPClient>);
  EXPECT_FALSE(std::is_copy_assignable_v<KtUDPClient>);
}

TEST(KtUDPClient, TakesPortsSignatureAndTimeoutUnchecked) {
  KtUDPClient client;
  client.setPorts({-1, 0, 70000});
  client.setSignature("");
  client.setBaseReplyTimeout(-5);
  EXPECT_EQ(client.ports(), (std::vector<std::int32_t>{-1, 0, 70000}));
  EXPECT_EQ(client.signature(), "");
  EXPECT_EQ(client.timeout(), -5);
}

TEST(KtUDPClient, IgnoresNegativeNumberOfRetries) {
  KtUDPClient client;
  client.setNumberOfRetries(-1);
  EXPECT_EQ(client.retries(), 3);
  client.setNumberOfRetries(std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(client.retries(), 3);
  client.setNumberOfRetries(0);
  EXPECT_EQ(client.retries(), 0);
}

TEST(KtUDPClient, HelloReturnsTextOfDiscoveryPacket) {
  EXPECT_EQ(KtUDPClient().hello(), "{ KtUDPKeyword = HelloKtUDP; }");
}

// ---- Addresses ----

TEST(KtUDPClient, BroadcastsTo255255255255WithoutBroadcasthost) {
  const HostsFile hosts("127.0.0.1 localhost\n");
  KtUDPClient client;
  client.broadcastIP();
  EXPECT_EQ(client.inet(), address("255.255.255.255"));
}

TEST(KtUDPClient, BroadcastsToAddressOfBroadcasthost) {
  const HostsFile hosts("10.9.8.255 broadcasthost\n10.9.8.254 broadcasthost\n");
  KtUDPClient client;
  client.broadcastIP();
  EXPECT_EQ(client.inet(), address("10.9.8.255"));
}

TEST(KtUDPClient, IgnoresBroadcasthostWithoutIPv4Address) {
  const HostsFile hosts("fd00::ff broadcasthost\n");
  KtUDPClient client;
  client.broadcastIP();
  EXPECT_EQ(client.inet(), address("255.255.255.255"));
}

TEST(KtUDPClient, RecordsFirstAddressOfKnownHost) {
  const HostsFile hosts("fd00::7 amber\n10.9.8.7 amber\n10.9.8.6 amber\n");
  LogCapture log;
  KtUDPClient client;
  EXPECT_TRUE(client.serverIPFromHostname("amber"));
  EXPECT_EQ(client.inet(), address("10.9.8.7"));
  EXPECT_EQ(log.lines(), (Lines{"Server IP found to be 708090a on host amber"}));
}

TEST(KtUDPClient, AcceptsDottedAddressAsHost) {
  KtUDPClient client;
  EXPECT_TRUE(client.serverIPFromHostname("192.0.2.33"));
  EXPECT_EQ(client.inet(), address("192.0.2.33"));
}

TEST(KtUDPClient, RecordsBroadcastAddressForUnknownHost) {
  const HostsFile hosts("10.9.8.255 broadcasthost\n");
  for (const std::string name : {"nobody", "", "no such name", "100% %d"}) {
    LogCapture log;
    KtUDPClient client;
    EXPECT_TRUE(client.serverIPFromHostname(name));
    EXPECT_EQ(client.inet(), address("255.255.255.255"));
    EXPECT_EQ(log.lines(), (Lines{"Could not resolve host " + name + " -- fallback broadcast"}));
  }
}

TEST(KtUDPClient, RejectsHostWithoutIPv4AndKeepsAddress) {
  const HostsFile hosts("fd00::7 sapphire\n");
  LogCapture log;
  KtUDPClient client;
  EXPECT_FALSE(client.serverIPFromHostname("sapphire"));
  EXPECT_EQ(client.inet(), 0x7f000001U);
  EXPECT_EQ(log.lines(), Lines{});
}

// ---- Waits ----

TEST(KtUDPClient, SplitsReceiveTimeoutIntoSecondsAndMicroseconds) {
  const std::array<std::array<std::int32_t, 3>, 9> cases{{{0, 0, 100'000},
                                                          {1, 0, 1'000},
                                                          {50, 0, 50'000},
                                                          {999, 0, 999'000},
                                                          {1000, 1, 0},
                                                          {1500, 1, 500'000},
                                                          {-1, 0, -1'000},
                                                          {-1500, -1, -500'000},
                                                          {2147483647, 2147483, 647'000}}};
  KtUDPClient client;
  for (const auto &[milliseconds, seconds, microseconds] : cases) {
    client.setRcvTimeout(milliseconds);
    EXPECT_EQ(client.timeValue().tv_sec, seconds) << milliseconds;
    EXPECT_EQ(client.timeValue().tv_usec, microseconds) << milliseconds;
  }
}

}  // namespace
}  // namespace kt::test
