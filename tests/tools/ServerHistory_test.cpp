// SPDX-License-Identifier: MIT

#include "tools/kt/ServerHistory.h"

#include <gtest/gtest.h>

#include <limits>

namespace kt::test {
namespace {

using namespace tools;
using std::chrono::seconds;

constexpr Clock::time_point start{};

TEST(ServerHistory, IsEmptyAtFirst) {
  const ServerHistory history;
  EXPECT_TRUE(history.roundTrips().empty());
  EXPECT_EQ(history.lost(), 0);
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
}

TEST(ServerHistory, HoldsRoundTripsOldestFirst) {
  ServerHistory history;
  history.addAnswer(Milliseconds(1), std::nullopt, start);
  history.addLoss();
  history.addAnswer(Milliseconds(3), std::nullopt, start);
  EXPECT_EQ(history.roundTrips(),
            (std::vector<RoundTrip>{Milliseconds(1), std::nullopt, Milliseconds(3)}));
  EXPECT_EQ(history.lost(), 1);
}

TEST(ServerHistory, ForgetsAllButLast60) {
  ServerHistory history;
  history.addLoss();
  for (int count = 1; count <= 60; ++count) {
    history.addAnswer(Milliseconds(count), std::nullopt, start);
  }
  EXPECT_EQ(history.roundTrips().size(), 60);
  EXPECT_EQ(history.roundTrips().front(), Milliseconds(1));
  EXPECT_EQ(history.lost(), 0);
}

TEST(ServerHistory, ComputesRequestsPerSecondBetweenLastTwoAnswers) {
  ServerHistory history;
  history.addAnswer(Milliseconds(1), 100, start);
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
  history.addAnswer(Milliseconds(1), 105, start + seconds(2));
  EXPECT_EQ(history.requestsPerSecond(), 2.5);
  history.addAnswer(Milliseconds(1), 105, start + seconds(3));
  EXPECT_EQ(history.requestsPerSecond(), 0);
}

TEST(ServerHistory, SpansLossBetweenAnswers) {
  ServerHistory history;
  history.addAnswer(Milliseconds(1), 100, start);
  history.addLoss();
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
  history.addAnswer(Milliseconds(1), 106, start + seconds(2));
  EXPECT_EQ(history.requestsPerSecond(), 3);
  history.addLoss();
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
}

TEST(ServerHistory, HasNoRateIfServerCountsFromZeroAgain) {
  ServerHistory history;
  history.addAnswer(Milliseconds(1), 100, start);
  history.addAnswer(Milliseconds(1), 3, start + seconds(1));
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
  history.addAnswer(Milliseconds(1), 4, start + seconds(2));
  EXPECT_EQ(history.requestsPerSecond(), 1);
}

TEST(ServerHistory, HasNoRateIfServerDoesNotCount) {
  ServerHistory history;
  history.addAnswer(Milliseconds(1), 100, start);
  history.addAnswer(Milliseconds(1), std::nullopt, start + seconds(1));
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
  history.addAnswer(Milliseconds(1), 200, start + seconds(2));
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
}

TEST(ServerHistory, HasFiniteRateOfAnyCounts) {
  using Limits = std::numeric_limits<std::int64_t>;
  ServerHistory history;
  history.addAnswer(Milliseconds(1), Limits::min(), start);
  history.addAnswer(Milliseconds(1), Limits::max(), start + seconds(1));
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);
  history.addAnswer(Milliseconds(1), Limits::max(), start + seconds(1));
  EXPECT_EQ(history.requestsPerSecond(), std::nullopt);  // no time passed
  history.addAnswer(Milliseconds(1), 0, start + seconds(2));
  history.addAnswer(Milliseconds(1), Limits::max(), start + seconds(3));
  EXPECT_EQ(history.requestsPerSecond(), static_cast<double>(Limits::max()));
}

}  // namespace
}  // namespace kt::test
