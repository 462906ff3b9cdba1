// SPDX-License-Identifier: MIT

#include "tools/ktd/ErrorLog.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

using std::chrono::milliseconds;

const ErrorLog::Time start{std::chrono::hours(1)};

TEST(ErrorLog, WritesProgramNameAndEscapedReason) {
  ErrorLog log;
  testing::internal::CaptureStderr();
  log.report("a \x1b[2J\nb");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ktd: a \\033[2J\\nb\n");
}

TEST(ErrorLog, ReportsNothingIfNothingWasLeftOut) {
  ErrorLog log;
  testing::internal::CaptureStderr();
  log.reportLeftOut();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ErrorLog, ReportsLinesLeftOutAfterSilence) {
  ErrorLog log;
  testing::internal::CaptureStderr();
  std::string expected;
  for (int count = 0; count < 13; ++count) {
    log.report("x", start);
    if (count < 10) expected += "ktd: x\n";
  }
  log.reportLeftOut(start + milliseconds(999));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
  testing::internal::CaptureStderr();
  log.reportLeftOut(start + milliseconds(1000));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ktd: errors left out: 3\n");
}

TEST(ErrorLog, AnnouncesWhateverWasLeftOut) {
  ErrorLog log;
  testing::internal::CaptureStderr();
  for (int count = 0; count < 13; ++count) {
    log.report("x", start);
  }
  log.announce("a\nb");
  EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with("ktd: x\nktd: a\\nb\n"));
}

}  // namespace
}  // namespace kt::test
