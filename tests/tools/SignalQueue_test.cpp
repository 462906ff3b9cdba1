// SPDX-License-Identifier: MIT

#include "tools/ktd/SignalQueue.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>

namespace kt::test {
namespace {

using tools::SignalQueue;

bool isReadable(int descriptor) {
  pollfd watched{descriptor, POLLIN, 0};
  return ::poll(&watched, 1, 0) == 1;
}

TEST(SignalQueue, IsEmptyAtFirst) {
  SignalQueue signals{SIGUSR1};
  EXPECT_FALSE(isReadable(signals.descriptor()));
  EXPECT_EQ(signals.next(), std::nullopt);
}

TEST(SignalQueue, ReturnsSignalsThatArrived) {
  SignalQueue signals{SIGUSR1, SIGUSR2};
  ASSERT_EQ(::kill(::getpid(), SIGUSR2), 0);
  EXPECT_TRUE(isReadable(signals.descriptor()));
  EXPECT_EQ(signals.next(), SIGUSR2);
  EXPECT_EQ(signals.next(), std::nullopt);
}

}  // namespace
}  // namespace kt::test
