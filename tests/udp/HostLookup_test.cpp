// SPDX-License-Identifier: MIT

#include "kt/udp/HostLookup.h"

#include <gtest/gtest.h>

#include "tests/support/Addresses.h"
#include "tests/udp/support/PrivateNetwork.h"

namespace kt::test {
namespace {

using Kind = udp::HostAddress::Kind;

TEST(HostLookup, DistinguishesIPv4FromOtherAndUnknownHosts) {
  const HostsFile hosts("10.9.8.7 amber\nfd00::7 sapphire\nfd00::8 both\n10.9.8.8 both\n");
  EXPECT_EQ(udp::lookUpHost("amber").kind, Kind::ipv4);
  EXPECT_EQ(udp::lookUpHost("amber").address, address("10.9.8.7"));
  EXPECT_EQ(udp::lookUpHost("both").kind, Kind::ipv4);
  EXPECT_EQ(udp::lookUpHost("both").address, address("10.9.8.8"));
  EXPECT_EQ(udp::lookUpHost("sapphire").kind, Kind::other);
  for (const char *unknown : {"nobody", "", " ", "a b", "-", "amber."}) {
    EXPECT_EQ(udp::lookUpHost(unknown).kind, Kind::none) << unknown;
  }
}

TEST(HostLookup, AcceptsDottedAddresses) {
  EXPECT_EQ(udp::lookUpHost("255.255.255.255").address, address("255.255.255.255"));
  EXPECT_EQ(udp::lookUpHost("192.0.2.1").kind, Kind::ipv4);
  EXPECT_EQ(udp::lookUpHost("::1").kind, Kind::other);
}

TEST(HostLookup, ReturnsFirstOfSeveralAddresses) {
  const HostsFile hosts("10.9.8.7 amber\n10.9.8.6 amber\n");
  EXPECT_EQ(udp::lookUpHost("amber").address, address("10.9.8.7"));
}

}  // namespace
}  // namespace kt::test
