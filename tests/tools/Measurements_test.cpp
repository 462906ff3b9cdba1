// SPDX-License-Identifier: MIT

#include "tools/ktd/Measurements.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using tools::Measurements;

Dictionary figures(int requests, int median, int p99) {
  return {{"Requests", requests}, {"MedianUs", median}, {"P99Us", p99}};
}

TEST(Measurements, HaveNoFiguresOfKindThatWasNotAsked) {
  EXPECT_EQ(Measurements().figures(), Dictionary());
}

TEST(Measurements, HaveFiguresOfEachKind) {
  Measurements measurements;
  measurements.add("Echo", microseconds(10));
  measurements.add("Files", milliseconds(3));
  measurements.add("Files", milliseconds(5));
  EXPECT_EQ(measurements.figures(),
            (Dictionary{{"Echo", figures(1, 10, 10)}, {"Files", figures(2, 4000, 5000)}}));
}

TEST(Measurements, TakeFiguresFromLastThousandRequests) {
  Measurements measurements;
  for (int count = 0; count < 1000; ++count) {
    measurements.add("Echo", microseconds(1));
  }
  for (int count = 0; count < 600; ++count) {
    measurements.add("Echo", microseconds(2));
  }
  EXPECT_EQ(measurements.figures(), (Dictionary{{"Echo", figures(1600, 2, 2)}}));
}

}  // namespace
}  // namespace kt::test
