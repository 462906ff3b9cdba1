// SPDX-License-Identifier: MIT

#include "tools/common/Statistics.h"

#include <gtest/gtest.h>

#include <numeric>

namespace kt::test {
namespace {

using namespace tools;

// 1, 2, ..., count, the largest first.
std::vector<double> downFrom(int count) {
  std::vector<double> numbers(static_cast<std::size_t>(count));
  std::iota(numbers.rbegin(), numbers.rend(), 1.0);
  return numbers;
}

TEST(Statistics, SingleRoundTripEqualsEveryFigure) {
  const Statistics figures = statisticsOf({0.5});
  EXPECT_EQ(figures.min, 0.5);
  EXPECT_EQ(figures.median, 0.5);
  EXPECT_EQ(figures.p99, 0.5);
  EXPECT_EQ(figures.max, 0.5);
}

TEST(Statistics, MedianOfEvenCountIsMeanOfMiddleTwo) {
  EXPECT_EQ(statisticsOf({4, 1, 3, 2}).median, 2.5);
}

TEST(Statistics, MedianOfOddCountIsMiddleOne) {
  EXPECT_EQ(statisticsOf({9, 1, 3}).median, 3);
}

TEST(Statistics, MinAndMaxAreFoundInAnyOrder) {
  const Statistics figures = statisticsOf({2, 5, 1, 4});
  EXPECT_EQ(figures.min, 1);
  EXPECT_EQ(figures.max, 5);
}

TEST(Statistics, P99IsSmallestValueNotExceededBy99Percent) {
  EXPECT_EQ(statisticsOf(downFrom(99)).p99, 99);
  EXPECT_EQ(statisticsOf(downFrom(100)).p99, 99);
  EXPECT_EQ(statisticsOf(downFrom(101)).p99, 100);
  EXPECT_EQ(statisticsOf(downFrom(200)).p99, 198);
  EXPECT_EQ(statisticsOf(downFrom(1000)).p99, 990);
}

}  // namespace
}  // namespace kt::test
