// SPDX-License-Identifier: MIT

#include "kt/udp/Interfaces.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace kt::test {
namespace {

using Addresses = std::vector<std::uint32_t>;

// Runs the program `ip` in the network of this test.
void ip(const std::string &arguments) {
  ASSERT_EQ(std::system(("ip " + arguments).c_str()), 0) << "ip " << arguments;
}

TEST(InterfaceBroadcastAddresses, HoldThatOfLoopbackInterface) {
  EXPECT_EQ(interfaceBroadcastAddresses(), Addresses{address("127.255.255.255")});
}

TEST(InterfaceBroadcastAddresses, HoldThoseOfEachNetworkOfInterface) {
  ip("address add 10.1.0.1/24 dev lo");
  ip("address add 10.2.0.1/16 dev lo");
  EXPECT_EQ(
      interfaceBroadcastAddresses(),
      (Addresses{address("127.255.255.255"), address("10.1.0.255"), address("10.2.255.255")}));
}

TEST(InterfaceBroadcastAddresses, HoldEachAddressOnce) {
  ip("address add 10.1.0.1/24 dev lo");
  ip("address add 10.1.0.2/24 dev lo");
  EXPECT_EQ(interfaceBroadcastAddresses(),
            (Addresses{address("127.255.255.255"), address("10.1.0.255")}));
}

TEST(InterfaceBroadcastAddresses, PreferAddressThatInterfaceWasGiven) {
  ip("link add here type veth peer name there");
  ip("address add 10.1.0.1/24 broadcast 10.1.0.127 dev here");
  ip("link set here up");
  EXPECT_EQ(interfaceBroadcastAddresses(),
            (Addresses{address("127.255.255.255"), address("10.1.0.127")}));
}

TEST(InterfaceBroadcastAddresses, LeaveOutInterfacesThatAreDown) {
  ip("link add here type veth peer name there");
  ip("address add 10.1.0.1/24 dev here");
  EXPECT_EQ(interfaceBroadcastAddresses(), Addresses{address("127.255.255.255")});
}

TEST(InterfaceBroadcastAddresses, LeaveOutNetworksOfOneOrTwoAddresses) {
  ip("address add 10.1.0.1/32 dev lo");
  ip("address add 10.1.0.2/31 dev lo");
  EXPECT_EQ(interfaceBroadcastAddresses(), Addresses{address("127.255.255.255")});
}

TEST(InterfaceBroadcastAddresses, AreEmptyWithoutInterfaceThatIsUp) {
  ip("link set lo down");
  EXPECT_EQ(interfaceBroadcastAddresses(), Addresses{});
}

TEST(InterfaceBroadcastAddresses, LeadClientToServer) {
  ScriptedPeer peer(4798, {identify(), right()});
  KtUDPClient client;
  EXPECT_TRUE(client.connectToServerAt(interfaceBroadcastAddresses()));
}

}  // namespace
}  // namespace kt::test
