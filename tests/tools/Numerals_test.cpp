// SPDX-License-Identifier: MIT

#include "tools/text/Numerals.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

TEST(Numerals, SeparateGroupsOfThreeDigits) {
  EXPECT_EQ(tools::withCommas(0), "0");
  EXPECT_EQ(tools::withCommas(999), "999");
  EXPECT_EQ(tools::withCommas(1000), "1,000");
  EXPECT_EQ(tools::withCommas(65507), "65,507");
  EXPECT_EQ(tools::withCommas(100000), "100,000");
  EXPECT_EQ(tools::withCommas(1234567), "1,234,567");
}

}  // namespace
}  // namespace kt::test
