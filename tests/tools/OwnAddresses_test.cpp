// SPDX-License-Identifier: MIT

#include "tools/kt/OwnAddresses.h"

#include <gtest/gtest.h>

#include "tests/support/Addresses.h"

namespace kt::test {
namespace {

using namespace tools;

TEST(OwnAddresses, ContainThoseOfInterfaces) {
  const OwnAddresses own({address("10.0.0.9"), address("10.0.1.9")});
  EXPECT_TRUE(own.contain(address("10.0.0.9")));
  EXPECT_TRUE(own.contain(address("10.0.1.9")));
  EXPECT_FALSE(own.contain(address("10.0.0.8")));
}

TEST(OwnAddresses, ContainWholeLoopbackNetwork) {
  const OwnAddresses own({});
  EXPECT_TRUE(own.contain(address("127.0.0.1")));
  EXPECT_TRUE(own.contain(address("127.255.255.255")));
  EXPECT_FALSE(own.contain(address("126.255.255.255")));
  EXPECT_FALSE(own.contain(address("128.0.0.0")));
  EXPECT_FALSE(own.contain(address("10.0.0.127")));
}

}  // namespace
}  // namespace kt::test
