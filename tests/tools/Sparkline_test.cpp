// SPDX-License-Identifier: MIT

#include "tools/kt/Sparkline.h"

#include <gtest/gtest.h>

#include <vector>

namespace kt::test {
namespace {

using namespace tools;

std::vector<RoundTrip> series(const std::vector<double> &roundTripsMs) {
  std::vector<RoundTrip> result;
  for (const double ms : roundTripsMs) {
    result.push_back(ms < 0 ? RoundTrip() : Milliseconds(ms));
  }
  return result;
}

constexpr double lost = -1;

TEST(Sparkline, HasEightLevelsFromZeroToLongest) {
  const auto roundTrips = series({0, 1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_EQ(sparkline(roundTrips, 9, Charset::utf8), "▁▁▂▃▄▅▆▇█");
  EXPECT_EQ(sparkline(roundTrips, 9, Charset::ascii), "..:-=+*#@");
}

TEST(Sparkline, RoundsUpToLevel) {
  EXPECT_EQ(sparkline(series({1.001, 7.001, 7.999, 8}), 4, Charset::ascii), ":@@@");
}

TEST(Sparkline, MarksLostRoundTrip) {
  EXPECT_EQ(sparkline(series({1, lost, 1}), 3, Charset::ascii), "@x@");
  EXPECT_EQ(sparkline(series({lost, lost}), 2, Charset::utf8), "xx");
}

TEST(Sparkline, IsAlignedRight) {
  EXPECT_EQ(sparkline(series({8, 1}), 4, Charset::utf8), "  █▁");
  EXPECT_EQ(sparkline({}, 3, Charset::utf8), "   ");
}

TEST(Sparkline, ShowsNewestAndScalesToThem) {
  EXPECT_EQ(sparkline(series({1000, 8, 4}), 2, Charset::ascii), "@=");
  EXPECT_EQ(sparkline(series({1, 2}), 0, Charset::ascii), "");
}

TEST(Sparkline, AllowsRoundTripsOfZero) {
  EXPECT_EQ(sparkline(series({0, 0}), 2, Charset::ascii), "@@");
}

}  // namespace
}  // namespace kt::test
