// SPDX-License-Identifier: MIT

#include "tools/ktd/LineLimiter.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kt::test {
namespace {

using namespace tools;

using std::chrono::milliseconds;

const LineLimiter::Time start{std::chrono::hours(1)};

// Returns how many of `count` lines added at `now` are to be written.
std::size_t allowed(LineLimiter &limiter, int count, LineLimiter::Time now) {
  std::string text;
  for (int number = 0; number < count; ++number) {
    text += limiter.add("line", now);
  }
  return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

TEST(LineLimiter, ReturnsLineUnchanged) {
  LineLimiter limiter;
  EXPECT_EQ(limiter.add("oh", start), "oh\n");
}

TEST(LineLimiter, AllowsTenLinesInOneSecond) {
  LineLimiter limiter;
  EXPECT_EQ(allowed(limiter, 100, start), 10U);
}

TEST(LineLimiter, ReportsNumberLeftOutOneSecondAfterLastLine) {
  LineLimiter limiter;
  (void)allowed(limiter, 100, start);
  EXPECT_EQ(limiter.leftOut(start + milliseconds(999)), "");
  EXPECT_EQ(limiter.leftOut(start + milliseconds(1000)), "ktd: errors left out: 90\n");
}

TEST(LineLimiter, ReportsNumberLeftOutOnce) {
  LineLimiter limiter;
  (void)allowed(limiter, 11, start);
  EXPECT_NE(limiter.leftOut(start + milliseconds(1000)), "");
  EXPECT_FALSE(limiter.anyLeftOut());
  EXPECT_EQ(limiter.leftOut(start + milliseconds(2000)), "");
}

TEST(LineLimiter, ReportsNothingIfNothingWasLeftOut) {
  LineLimiter limiter;
  (void)allowed(limiter, 10, start);
  EXPECT_FALSE(limiter.anyLeftOut());
  EXPECT_EQ(limiter.leftOut(start + milliseconds(5000)), "");
}

TEST(LineLimiter, ReportsNumberLeftOutBeforeNextLine) {
  LineLimiter limiter;
  (void)allowed(limiter, 12, start);
  EXPECT_EQ(limiter.add("next", start + milliseconds(1000)), "ktd: errors left out: 2\nnext\n");
}

TEST(LineLimiter, AllowsTenLinesAgainAfterSilence) {
  LineLimiter limiter;
  (void)allowed(limiter, 11, start);
  EXPECT_EQ(allowed(limiter, 100, start + milliseconds(1000)), 1U + 10U);
}

TEST(LineLimiter, AllowsOneLinePer100Milliseconds) {
  LineLimiter limiter;
  for (int number = 0; number < 100; ++number) {
    EXPECT_EQ(allowed(limiter, 1, start + milliseconds(100) * number), 1U) << number;
  }
}

TEST(LineLimiter, AllowsAtMostTenLinesInAnySecondOfFlood) {
  LineLimiter limiter;
  std::vector<int> times;  // of the lines allowed, in ms
  for (int ms = 0; ms < 10'000; ms += 7) {
    const std::string text = limiter.add("line", start + milliseconds(ms));
    if (text.ends_with("line\n")) times.push_back(ms);
  }
  for (std::size_t last = 10; last < times.size(); ++last) {
    EXPECT_GE(times[last] - times[last - 10], 1000) << last;
  }
  EXPECT_GE(times.size(), 80U);
}

}  // namespace
}  // namespace kt::test
