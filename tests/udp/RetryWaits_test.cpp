// SPDX-License-Identifier: MIT

#include "kt/udp/RetryWaits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace kt::test {
namespace {

using Limits = std::numeric_limits<std::int32_t>;

TEST(RetryWaits, Double) {
  EXPECT_EQ(udp::doubled(100), 200);
  EXPECT_EQ(udp::doubled(0), 0);
  EXPECT_EQ(udp::doubled(-3), -6);
}

TEST(RetryWaits, Saturate) {
  EXPECT_EQ(udp::doubled(Limits::max() / 2), Limits::max() - 1);
  EXPECT_EQ(udp::doubled(Limits::max() / 2 + 1), Limits::max());
  EXPECT_EQ(udp::doubled(Limits::min() / 2), Limits::min());
  EXPECT_EQ(udp::doubled(Limits::min() / 2 - 1), Limits::min());
}

}  // namespace
}  // namespace kt::test
