// SPDX-License-Identifier: MIT

#include "tools/ktd/ErrorLines.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kt::tools {
namespace {

using std::chrono::milliseconds;

const ErrorLines::Time start{std::chrono::hours(1)};

// How many of `count` lines said at `now` come out.
std::size_t said(ErrorLines &lines, int count, ErrorLines::Time now) {
  std::string text;
  for (int number = 0; number < count; ++number) {
    text += lines.say("line", now);
  }
  return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

TEST(ErrorLines, ALineIsSaidAsItIs) {
  ErrorLines lines;
  EXPECT_EQ(lines.say("oh", start), "oh\n");
}

TEST(ErrorLines, TenLinesOfOneSecondAreSaid) {
  ErrorLines lines;
  EXPECT_EQ(said(lines, 100, start), 10U);
}

TEST(ErrorLines, TheNumberLeftOutIsSaidASecondAfterTheLastLine) {
  ErrorLines lines;
  (void)said(lines, 100, start);
  EXPECT_EQ(lines.leftOut(start + milliseconds(999)), "");
  EXPECT_EQ(lines.leftOut(start + milliseconds(1000)), "ktd: errors left out: 90\n");
}

TEST(ErrorLines, TheNumberLeftOutIsSaidOnce) {
  ErrorLines lines;
  (void)said(lines, 11, start);
  EXPECT_NE(lines.leftOut(start + milliseconds(1000)), "");
  EXPECT_FALSE(lines.anyLeftOut());
  EXPECT_EQ(lines.leftOut(start + milliseconds(2000)), "");
}

TEST(ErrorLines, WithNothingLeftOutThereIsNothingToSay) {
  ErrorLines lines;
  (void)said(lines, 10, start);
  EXPECT_FALSE(lines.anyLeftOut());
  EXPECT_EQ(lines.leftOut(start + milliseconds(5000)), "");
}

TEST(ErrorLines, TheNextLineBringsTheNumberLeftOutWithIt) {
  ErrorLines lines;
  (void)said(lines, 12, start);
  EXPECT_EQ(lines.say("next", start + milliseconds(1000)), "ktd: errors left out: 2\nnext\n");
}

TEST(ErrorLines, AfterTheSilenceThereAreTenLinesAgain) {
  ErrorLines lines;
  (void)said(lines, 11, start);
  EXPECT_EQ(said(lines, 100, start + milliseconds(1000)), 1U + 10U);
}

TEST(ErrorLines, OneLineEachTenthOfASecondIsNeverTooMany) {
  ErrorLines lines;
  for (int number = 0; number < 100; ++number) {
    EXPECT_EQ(said(lines, 1, start + milliseconds(100) * number), 1U) << number;
  }
}

TEST(ErrorLines, ASteadyFloodHasAtMostTenLinesInAnySecond) {
  ErrorLines lines;
  std::vector<int> times;  // of the lines said, in milliseconds
  for (int ms = 0; ms < 10'000; ms += 7) {
    const std::string text = lines.say("line", start + milliseconds(ms));
    if (text.ends_with("line\n")) times.push_back(ms);
  }
  for (std::size_t last = 10; last < times.size(); ++last) {
    EXPECT_GE(times[last] - times[last - 10], 1000) << last;
  }
  EXPECT_GE(times.size(), 80U);
}

}  // namespace
}  // namespace kt::tools
