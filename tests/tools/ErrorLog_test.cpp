// SPDX-License-Identifier: MIT

#include "tools/ktd/Complaints.h"

#include <gtest/gtest.h>

#include <csignal>

namespace kt::tools {
namespace {

TEST(Complaints, ALineNamesTheProgramAndIsEscaped) {
  Complaints complaints;
  testing::internal::CaptureStderr();
  complaints.say("a \x1b[2J\nb");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ktd: a \\033[2J\\nb\n");
}

TEST(Complaints, WithNothingLeftOutThereIsNothingToSettle) {
  Complaints complaints;
  testing::internal::CaptureStderr();
  complaints.settle();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Complaints, ASignalAsksForTheLinesLeftOutToBeSettled) {
  sigset_t alarm;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
  Complaints complaints;
  testing::internal::CaptureStderr();
  for (int count = 0; count < 13; ++count) {
    complaints.say("x");
  }
  int signal = 0;
  sigwait(&alarm, &signal);
  complaints.settle();
  std::string lines;
  for (int count = 0; count < 10; ++count) {
    lines += "ktd: x\n";
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), lines + "ktd: errors left out: 3\n");
}

}  // namespace
}  // namespace kt::tools
