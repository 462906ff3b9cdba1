// SPDX-License-Identifier: MIT

#include "tools/common/Addresses.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

TEST(Addresses, PortListsAreReadable) {
  EXPECT_EQ(portList({4798, 4711}), "4798, 4711");
}

TEST(Addresses, EndpointsAreAddressAndPort) {
  sockaddr_in address{};
  address.sin_addr.s_addr = htonl(0x7f000001);
  address.sin_port = htons(4798);
  EXPECT_EQ(endpoint(address), "127.0.0.1:4798");
}

}  // namespace
}  // namespace kt::test
