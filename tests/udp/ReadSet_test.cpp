// SPDX-License-Identifier: MIT

#include "kt/udp/ReadSet.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <vector>

#include "tests/support/Addresses.h"

namespace kt::test {
namespace {

using std::chrono::milliseconds;
using udp::ReadSet;

timeval limitOf(int limitMs) {
  timeval limit{};
  limit.tv_sec = limitMs / 1000;
  limit.tv_usec = limitMs % 1000 * 1000;
  return limit;
}

Socket boundSocket() {
  Socket socket = Socket::open();
  EXPECT_TRUE(socket.bind(0));
  return socket;
}

TEST(ReadSet, WaitEndsAtDatagramAndLeavesIt) {
  Socket socket = boundSocket();
  ASSERT_TRUE(socket.send({}, loopback(socket.boundPort())));
  ReadSet set(socket);
  EXPECT_EQ(set.wait(nullptr), 1);
  const timeval limit = limitOf(5000);
  EXPECT_EQ(set.wait(&limit), 1);
}

TEST(ReadSet, WaitWithoutDataLastsItsLimitUnchanged) {
  const Socket socket = boundSocket();
  ReadSet set(socket);
  const timeval limit = limitOf(30);
  for (int wait = 0; wait < 2; ++wait) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(set.wait(&limit), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(30));
    EXPECT_EQ(limit.tv_usec, 30'000);
  }
}

// As select itself does. Callers make a new set for each run of waits.
TEST(ReadSet, WaitWithoutDataEmptiesSet) {
  Socket socket = boundSocket();
  ReadSet set(socket);
  const timeval limit = limitOf(1);
  EXPECT_EQ(set.wait(&limit), 0);
  ASSERT_TRUE(socket.send({}, loopback(socket.boundPort())));
  EXPECT_EQ(set.wait(&limit), 0);
  EXPECT_EQ(ReadSet(socket).wait(&limit), 1);
}

TEST(ReadSet, NegativeLimitIsErrorAtOnce) {
  const Socket socket = boundSocket();
  ReadSet set(socket);
  const timeval limit = limitOf(-5);
  EXPECT_EQ(set.wait(&limit), -1);
  EXPECT_EQ(errno, EINVAL);
}

TEST(ReadSet, WaitWithoutDescriptorLetsTimePass) {
  ReadSet set{Socket()};
  const timeval limit = limitOf(20);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(set.wait(&limit), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
}

TEST(ReadSet, SignalEndsWaitAndKeepsSet) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  struct sigaction before {};
  ASSERT_EQ(::sigaction(SIGALRM, &action, &before), 0);
  Socket socket = boundSocket();
  ReadSet set(socket);
  // Repeated, because one signal could arrive between the calls.
  itimerval every{{0, 1000}, {0, 1000}};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &every, nullptr), 0);
  const timeval limit = limitOf(5000);
  EXPECT_EQ(set.wait(&limit), -1);
  EXPECT_EQ(errno, EINTR);
  every = {};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &every, nullptr), 0);
  ASSERT_EQ(::sigaction(SIGALRM, &before, nullptr), 0);
  ASSERT_TRUE(socket.send({}, loopback(socket.boundPort())));
  EXPECT_EQ(set.wait(&limit), 1);
}

// An fd_set ends at descriptor 1,023.
TEST(ReadSet, HoldsAnyDescriptor) {
  rlimit limits{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limits), 0);
  const rlimit before = limits;
  limits.rlim_cur = std::min<rlim_t>(limits.rlim_max, 5000);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limits), 0);
  Socket low = boundSocket();
  // The next socket gets the lowest free descriptor, so all lower ones are used up.
  std::vector<int> fillers;
  for (int filler = 0; filler < 1500;) {
    fillers.push_back(filler = ::dup(low.descriptor()));
  }
  Socket high = boundSocket();
  ASSERT_GT(high.descriptor(), 1500);
  const timeval limit = limitOf(20);
  EXPECT_EQ(ReadSet(high).wait(&limit), 0);
  ASSERT_TRUE(low.send({}, loopback(high.boundPort())));
  EXPECT_EQ(ReadSet(high).wait(&limit), 1);
  for (const int filler : fillers) {
    ::close(filler);
  }
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

}  // namespace
}  // namespace kt::test
