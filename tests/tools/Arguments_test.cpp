// SPDX-License-Identifier: MIT

#include "tools/common/Numbers.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace kt::tools {
namespace {

using Ports = std::vector<std::int32_t>;

TEST(Numbers, PositiveNumbersBeginAtOneAndEndAtTheLargestOf32Bits) {
  EXPECT_EQ(readPositive("1"), 1);
  EXPECT_EQ(readPositive("2147483647"), 2147483647);
  EXPECT_EQ(readPositive("0"), std::nullopt);
  EXPECT_EQ(readPositive("2147483648"), std::nullopt);
}

TEST(Numbers, CountsBeginAtZero) {
  EXPECT_EQ(readCount("0"), 0);
  EXPECT_EQ(readCount("-1"), std::nullopt);
}

TEST(Numbers, BasesAreFromTwoTo36) {
  EXPECT_EQ(readBase("2"), 2);
  EXPECT_EQ(readBase("36"), 36);
  for (const char *text : {"1", "37", "-2", ""}) {
    EXPECT_EQ(readBase(text), std::nullopt) << text;
  }
}

TEST(Numbers, NothingMayStandAroundANumber) {
  for (const char *text : {"", " 1", "1 ", "+1", "1x", "0x10", "1.0", "x"}) {
    EXPECT_EQ(readPositive(text), std::nullopt) << text;
  }
}

TEST(Numbers, SecondsAreDecimalAndAtMostADay) {
  EXPECT_DOUBLE_EQ(readSeconds("0.25")->count(), 0.25);
  EXPECT_DOUBLE_EQ(readSeconds("0")->count(), 0);
  EXPECT_DOUBLE_EQ(readSeconds("86400")->count(), 86400);
  for (const char *text : {"", "-0.1", "86400.1", "nan", "inf", "1s"}) {
    EXPECT_FALSE(readSeconds(text)) << text;
  }
}

TEST(Numbers, PortsAreSeparatedByCommas) {
  EXPECT_EQ(readPorts("4798"), Ports{4798});
  EXPECT_EQ(readPorts("1,65535,1"), (Ports{1, 65535, 1}));
}

TEST(Numbers, PortsOutsideTheirRangeAreRefused) {
  for (const char *text : {"", "0", "65536", "-1", "4798,", ",4798", "1,,2", "1, 2", "1;2"}) {
    EXPECT_EQ(readPorts(text), std::nullopt) << text;
  }
}

TEST(Numbers, AddressesAreFourDecimalNumbers) {
  EXPECT_EQ(readAddress("192.168.1.255"), "192.168.1.255");
  for (const char *text : {"", "localhost", "1.2.3", "1.2.3.256", "::1", "1.2.3.4 ", " 1.2.3.4"}) {
    EXPECT_EQ(readAddress(text), std::nullopt) << text;
  }
}

TEST(Numbers, AnAddressWithANulIsRefused) {
  EXPECT_EQ(readAddress(std::string_view("1.2.3.4\0x", 9)), std::nullopt);
}

TEST(Numbers, PortListsAreReadable) {
  EXPECT_EQ(portList({4798, 4711}), "4798, 4711");
}

TEST(Numbers, EndpointsAreAddressAndPort) {
  sockaddr_in address{};
  address.sin_addr.s_addr = htonl(0x7f000001);
  address.sin_port = htons(4798);
  EXPECT_EQ(endpoint(address), "127.0.0.1:4798");
}

}  // namespace
}  // namespace kt::tools
