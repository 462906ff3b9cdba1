// SPDX-License-Identifier: MIT

#include "tools/ktd/Capture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kt::test {
namespace {

using namespace tools;

void writeTo(const Capture &capture, const std::string &text) {
  ASSERT_EQ(::write(capture.writingEnd(), text.data(), text.size()),
            static_cast<ssize_t>(text.size()));
}

int bytesWaiting(const Capture &capture) {
  int count = 0;
  EXPECT_EQ(::ioctl(capture.readingEnd(), FIONREAD, &count), 0);
  return count;
}

TEST(Capture, ReceivesWhatHasArrived) {
  Capture capture(100);
  EXPECT_FALSE(capture.receive());
  writeTo(capture, "ab");
  EXPECT_TRUE(capture.receive());
  writeTo(capture, "c");
  EXPECT_TRUE(capture.receive());
  EXPECT_FALSE(capture.receive());
  EXPECT_EQ(capture.text(), "abc");
}

TEST(Capture, KeepsFirstBytesUpToLimit) {
  Capture capture(3);
  writeTo(capture, "abc");
  capture.receiveRest();
  EXPECT_FALSE(capture.hasOverflowed());
  writeTo(capture, "d");
  capture.receiveRest();
  EXPECT_TRUE(capture.hasOverflowed());
  EXPECT_EQ(capture.text(), "abc");
}

TEST(Capture, ReceivesRestUpToLimitOnly) {
  constexpr int size = 500'000;
  Capture capture(3);
  ASSERT_GE(::fcntl(capture.writingEnd(), F_SETPIPE_SZ, size), size);
  writeTo(capture, std::string(size, 'x'));
  capture.receiveRest();
  EXPECT_EQ(capture.text(), "xxx");
  EXPECT_GT(bytesWaiting(capture), 0);
}

TEST(Capture, ReceivesAllOfLongRest) {
  constexpr int size = 500'000;
  Capture capture(size);
  ASSERT_GE(::fcntl(capture.writingEnd(), F_SETPIPE_SZ, size), size);
  writeTo(capture, std::string(size, 'x'));
  capture.receiveRest();
  EXPECT_EQ(capture.text(), std::string(size, 'x'));
}

TEST(Capture, EndsWhenNobodyCanWrite) {
  Capture capture(100);
  writeTo(capture, "ab");
  capture.closeWritingEnd();
  EXPECT_TRUE(capture.receive());
  EXPECT_GE(capture.readingEnd(), 0);
  EXPECT_FALSE(capture.receive());
  EXPECT_EQ(capture.readingEnd(), -1);
  EXPECT_FALSE(capture.receive());
  EXPECT_EQ(capture.text(), "ab");
}

TEST(Capture, PassesNothingToOtherPrograms) {
  const Capture capture(100);
  EXPECT_EQ(::fcntl(capture.readingEnd(), F_GETFD), FD_CLOEXEC);
  EXPECT_EQ(::fcntl(capture.writingEnd(), F_GETFD), FD_CLOEXEC);
}

TEST(Capture, LetsWritersWait) {
  const Capture capture(100);
  EXPECT_EQ(::fcntl(capture.writingEnd(), F_GETFL) & O_NONBLOCK, 0);
}

}  // namespace
}  // namespace kt::test
