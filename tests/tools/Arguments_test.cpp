// SPDX-License-Identifier: MIT

#include "tools/common/Arguments.h"

#include <gtest/gtest.h>

#include "kt/foundation/PropertyList.h"
#include "tests/support/Addresses.h"

namespace kt::test {
namespace {

using namespace tools;

using Ports = std::vector<std::int32_t>;

TEST(Arguments, PositiveNumbersAreFrom1ToLargestOf32Bits) {
  EXPECT_EQ(readPositive("1"), 1);
  EXPECT_EQ(readPositive("2147483647"), 2147483647);
  EXPECT_EQ(readPositive("0"), std::nullopt);
  EXPECT_EQ(readPositive("2147483648"), std::nullopt);
}

TEST(Arguments, CountsBeginAtZero) {
  EXPECT_EQ(readCount("0"), 0);
  EXPECT_EQ(readCount("-1"), std::nullopt);
}

TEST(Arguments, BasesAreFrom2To36) {
  EXPECT_EQ(readBase("2"), 2);
  EXPECT_EQ(readBase("36"), 36);
  for (const char *text : {"1", "37", "-2", ""}) {
    EXPECT_EQ(readBase(text), std::nullopt) << text;
  }
}

TEST(Arguments, NumbersRejectSurroundingCharacters) {
  for (const char *text : {"", " 1", "1 ", "+1", "1x", "0x10", "1.0", "x"}) {
    EXPECT_EQ(readPositive(text), std::nullopt) << text;
  }
}

TEST(Arguments, SecondsAreDecimalAndAtMostOneDay) {
  EXPECT_DOUBLE_EQ(readSeconds("0.25")->count(), 0.25);
  EXPECT_DOUBLE_EQ(readSeconds("0")->count(), 0);
  EXPECT_DOUBLE_EQ(readSeconds("86400")->count(), 86400);
  for (const char *text : {"", "-0.1", "86400.1", "nan", "inf", "1s"}) {
    EXPECT_FALSE(readSeconds(text)) << text;
  }
}

TEST(Arguments, TimeLimitsAreAboveZeroAndAtMostOneDay) {
  using std::chrono::milliseconds;
  EXPECT_EQ(readTimeLimit("10"), milliseconds(10'000));
  EXPECT_EQ(readTimeLimit("86400"), milliseconds(86'400'000));
  for (const char *text : {"0", "0.0", "-1", "86400.1", "", "1s", "nan"}) {
    EXPECT_FALSE(readTimeLimit(text)) << text;
  }
}

TEST(Arguments, TimeLimitsAreRoundedToMilliseconds) {
  using std::chrono::milliseconds;
  EXPECT_EQ(readTimeLimit("0.2514"), milliseconds(251));
  EXPECT_EQ(readTimeLimit("0.2516"), milliseconds(252));
  EXPECT_EQ(readTimeLimit("0.0000001"), milliseconds(1)) << "no run would be possible in 0 ms";
}

TEST(Arguments, WorkersAreFrom1To64) {
  EXPECT_EQ(readWorkers("1"), 1);
  EXPECT_EQ(readWorkers("64"), 64);
  for (const char *text : {"0", "65", "-1", ""}) {
    EXPECT_EQ(readWorkers(text), std::nullopt) << text;
  }
}

TEST(Arguments, FlagsAreYesOrNo) {
  EXPECT_EQ(readYesOrNo("YES"), true);
  EXPECT_EQ(readYesOrNo("NO"), false);
  for (const char *text : {"yes", "Y", "1", "true", ""}) {
    EXPECT_EQ(readYesOrNo(text), std::nullopt) << text;
  }
}

TEST(Arguments, PortIsFrom1To65535) {
  EXPECT_EQ(readPort("1"), 1);
  EXPECT_EQ(readPort("65535"), 65535);
  for (const char *text : {"0", "65536", "1,2", ""}) {
    EXPECT_EQ(readPort(text), std::nullopt) << text;
  }
}

TEST(Arguments, PortsAreSeparatedByCommas) {
  EXPECT_EQ(readPorts("4798"), Ports{4798});
  EXPECT_EQ(readPorts("1,65535,1"), (Ports{1, 65535, 1}));
}

TEST(Arguments, PortsOutOfRangeAreRejected) {
  for (const char *text : {"", "0", "65536", "-1", "4798,", ",4798", "1,,2", "1, 2", "1;2"}) {
    EXPECT_EQ(readPorts(text), std::nullopt) << text;
  }
}

TEST(Arguments, AddressesAreFourDecimalNumbers) {
  EXPECT_EQ(readAddress("192.168.1.255"), "192.168.1.255");
  for (const char *text : {"", "localhost", "1.2.3", "1.2.3.256", "::1", "1.2.3.4 ", " 1.2.3.4"}) {
    EXPECT_EQ(readAddress(text), std::nullopt) << text;
  }
}

TEST(Arguments, AddressWithNulIsRejected) {
  EXPECT_EQ(readAddress(std::string_view("1.2.3.4\0x", 9)), std::nullopt);
}

TEST(Arguments, PlacesToLookAreAddressesSeparatedByCommas) {
  using Addresses = std::vector<std::uint32_t>;
  EXPECT_EQ(readAddresses("10.0.0.255"), Addresses{address("10.0.0.255")});
  EXPECT_EQ(readAddresses("10.0.0.255,127.0.0.1"),
            (Addresses{address("10.0.0.255"), address("127.0.0.1")}));
}

TEST(Arguments, AllPlacesToLookAreNoAddress) {
  EXPECT_EQ(readAddresses("all"), std::vector<std::uint32_t>());
}

TEST(Arguments, PlacesToLookOtherThanAddressesAreRejected) {
  for (const char *text : {"", "localhost", "1.2.3.256", "1.2.3.4,", ",1.2.3.4", "1.2.3.4, 1.2.3.5",
                           "All", "all,1.2.3.4", "1.2.3.4,all", "::1"}) {
    EXPECT_EQ(readAddresses(text), std::nullopt) << text;
  }
}

TEST(Arguments, HostsMayHavePorts) {
  const auto expectHost = [](const char *text, const char *host, std::optional<std::int32_t> port) {
    const std::optional<HostAndPort> read = readHostAndPort(text);
    ASSERT_TRUE(read) << text;
    EXPECT_EQ(read->host, host);
    EXPECT_EQ(read->port, port);
  };
  expectHost("hut", "hut", std::nullopt);
  expectHost("hut.example:1", "hut.example", 1);
  expectHost("192.168.1.9:65535", "192.168.1.9", 65535);
}

TEST(Arguments, TextWithSeveralColonsIsHostWithoutPort) {
  for (const char *text : {"::1", "fe80::1:4798"}) {
    const std::optional<HostAndPort> read = readHostAndPort(text);
    ASSERT_TRUE(read) << text;
    EXPECT_EQ(read->host, text);
    EXPECT_EQ(read->port, std::nullopt);
  }
}

TEST(Arguments, HostsWithoutNameOrWithWrongPortAreRejected) {
  for (const char *text : {"", ":", ":4798", "hut:", "hut:0", "hut:65536", "hut:x", "hut: 1"}) {
    EXPECT_FALSE(readHostAndPort(text)) << text;
  }
}

TEST(Arguments, IntegersOfRequestsAreStringsOrNumbers) {
  for (const PropertyList &value : {PropertyList("7"), PropertyList(7)}) {
    EXPECT_EQ(readInteger(value, 7, 7), 7);
    EXPECT_EQ(readInteger(value, 8, 9), std::nullopt);
    EXPECT_EQ(readInteger(value, 5, 6), std::nullopt);
  }
}

TEST(Arguments, IntegersOfRequestsAreNothingElse) {
  for (const PropertyList &value :
       {PropertyList(""), PropertyList(" 1"), PropertyList("1x"), PropertyList("+1"),
        PropertyList(Array{"1"}), PropertyList(Dictionary()), PropertyList(Data{std::byte{'1'}})}) {
    EXPECT_EQ(readInteger(value, 0, 9), std::nullopt) << value.description();
  }
}

}  // namespace
}  // namespace kt::test
