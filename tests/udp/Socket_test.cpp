// SPDX-License-Identifier: MIT

#include "kt/udp/Socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/RawSocket.h"

namespace {

using kt::HostAddress;
using kt::ReadSet;
using kt::Socket;
using std::chrono::milliseconds;
using test::RawSocket;

timeval limitOf(int limitMs) {
  timeval limit{};
  limit.tv_sec = limitMs / 1000;
  limit.tv_usec = limitMs % 1000 * 1000;
  return limit;
}

bool isOpen(int descriptor) {
  return ::fcntl(descriptor, F_GETFD) >= 0;
}

Socket boundSocket() {
  Socket socket = Socket::open();
  EXPECT_TRUE(socket.bind(0));
  return socket;
}

// ---- Ownership ----

TEST(Socket, WithoutADescriptorEveryCallFails) {
  Socket socket;
  sockaddr_in source{};
  std::array<char, 8> buffer{};
  EXPECT_EQ(socket.descriptor(), -1);
  EXPECT_FALSE(socket.allowBroadcast());
  EXPECT_FALSE(socket.bind(0));
  EXPECT_EQ(socket.boundPort(), 0);
  EXPECT_FALSE(socket.send({}, test::loopback(4798)));
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(socket.receive(buffer, source), -1);
}

TEST(Socket, OpensAnIPv4DatagramSocketThatClosesOnExec) {
  const Socket socket = Socket::open();
  for (const auto &[option, expected] : std::vector<std::pair<int, int>>{
           {SO_DOMAIN, AF_INET}, {SO_TYPE, SOCK_DGRAM}, {SO_PROTOCOL, IPPROTO_UDP}}) {
    int value = -1;
    socklen_t size = sizeof value;
    ASSERT_EQ(::getsockopt(socket.descriptor(), SOL_SOCKET, option, &value, &size), 0);
    EXPECT_EQ(value, expected);
  }
  EXPECT_EQ(::fcntl(socket.descriptor(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(Socket, MovesItsDescriptorAndClosesItOnce) {
  EXPECT_FALSE(std::is_copy_constructible_v<Socket>);
  int descriptor = -1;
  {
    Socket first = Socket::open();
    descriptor = first.descriptor();
    Socket second(std::move(first));
    EXPECT_EQ(second.descriptor(), descriptor);
    Socket third;
    third = std::move(second);
    EXPECT_EQ(third.descriptor(), descriptor);
    EXPECT_TRUE(isOpen(descriptor));
  }
  EXPECT_FALSE(isOpen(descriptor));
}

TEST(Socket, WithoutFreeDescriptorsThereIsNone) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const Socket socket = Socket::open();
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(socket.descriptor(), -1);
}

// ---- Ports and datagrams ----

TEST(Socket, BindsAPortOnEveryInterfaceUnlessItIsTaken) {
  Socket first = boundSocket();
  Socket second = Socket::open();
  EXPECT_NE(first.boundPort(), 0);
  EXPECT_FALSE(second.bind(first.boundPort()));
  EXPECT_EQ(second.boundPort(), 0);
}

TEST(Socket, CarriesADatagramAndTellsItsSource) {
  Socket sender = boundSocket();
  Socket receiver = boundSocket();
  const std::string text("a\0b", 3);
  ASSERT_TRUE(sender.send(text, test::loopback(receiver.boundPort())));
  std::array<char, 8> buffer{};
  sockaddr_in source{};
  ASSERT_EQ(receiver.receive(buffer, source), 3);
  EXPECT_EQ(std::string(buffer.data(), 3), text);
  EXPECT_EQ(test::text(source), test::text(test::loopback(sender.boundPort())));
}

TEST(Socket, AnEmptyDatagramIsOneOfNoBytes) {
  Socket socket = boundSocket();
  ASSERT_TRUE(socket.send({}, test::loopback(socket.boundPort())));
  std::array<char, 8> buffer{};
  sockaddr_in source{};
  EXPECT_EQ(socket.receive(buffer, source), 0);
}

TEST(Socket, WhatDoesNotFitIsCutOff) {
  Socket socket = boundSocket();
  ASSERT_TRUE(socket.send(std::string("123456789"), test::loopback(socket.boundPort())));
  std::array<char, 4> buffer{};
  sockaddr_in source{};
  EXPECT_EQ(socket.receive(buffer, source), 4);
  EXPECT_EQ(std::string(buffer.data(), 4), "1234");
  EXPECT_EQ(socket.receive(buffer, source), -1);
}

TEST(Socket, AReceiveNeverWaits) {
  Socket socket = boundSocket();
  std::array<char, 8> buffer{};
  sockaddr_in source{};
  EXPECT_EQ(socket.receive(buffer, source), -1);
  EXPECT_EQ(errno, EAGAIN);
}

TEST(Socket, TheLargestDatagramIsSentAndOneByteMoreIsRefused) {
  Socket socket = boundSocket();
  const sockaddr_in own = test::loopback(socket.boundPort());
  EXPECT_TRUE(socket.send(std::string(65507, 'x'), own));
  EXPECT_FALSE(socket.send(std::string(65508, 'x'), own));
  EXPECT_EQ(errno, EMSGSIZE);
}

TEST(Socket, BroadcastNeedsToBeAllowed) {
  sockaddr_in everyone = test::loopback(4798);
  everyone.sin_addr.s_addr = INADDR_BROADCAST;
  const RawSocket listener(4798);
  Socket socket = Socket::open();
  EXPECT_FALSE(socket.send(std::string("x"), everyone));
  EXPECT_EQ(errno, EACCES);
  EXPECT_TRUE(socket.allowBroadcast());
  EXPECT_TRUE(socket.send(std::string("x"), everyone));
  EXPECT_TRUE(listener.receive());
}

// ---- Waiting ----

TEST(ReadSet, AWaitEndsWhenThereIsADatagramAndDoesNotTakeIt) {
  Socket socket = boundSocket();
  ASSERT_TRUE(socket.send({}, test::loopback(socket.boundPort())));
  ReadSet set(socket);
  EXPECT_EQ(set.wait(nullptr), 1);
  const timeval limit = limitOf(5000);
  EXPECT_EQ(set.wait(&limit), 1);
}

TEST(ReadSet, AWaitWithoutDatagramsLastsItsLimitAndDoesNotChangeIt) {
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

// As with select itself, on purpose: users make a set for each run of waits.
TEST(ReadSet, AWaitThatEndsWithoutDataEmptiesTheSet) {
  Socket socket = boundSocket();
  ReadSet set(socket);
  const timeval limit = limitOf(1);
  EXPECT_EQ(set.wait(&limit), 0);
  ASSERT_TRUE(socket.send({}, test::loopback(socket.boundPort())));
  EXPECT_EQ(set.wait(&limit), 0);
  EXPECT_EQ(ReadSet(socket).wait(&limit), 1);
}

TEST(ReadSet, ANegativeLimitIsAnErrorAtOnce) {
  const Socket socket = boundSocket();
  ReadSet set(socket);
  const timeval limit = limitOf(-5);
  EXPECT_EQ(set.wait(&limit), -1);
  EXPECT_EQ(errno, EINVAL);
}

TEST(ReadSet, WithoutADescriptorAWaitLetsItsTimePass) {
  ReadSet set{Socket()};
  const timeval limit = limitOf(20);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(set.wait(&limit), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
}

TEST(ReadSet, ASignalEndsAWaitAndLeavesTheSet) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  struct sigaction before {};
  ASSERT_EQ(::sigaction(SIGALRM, &action, &before), 0);
  Socket socket = boundSocket();
  ReadSet set(socket);
  // Again and again, so that no signal between the calls is the only one.
  itimerval every{{0, 1000}, {0, 1000}};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &every, nullptr), 0);
  const timeval limit = limitOf(5000);
  EXPECT_EQ(set.wait(&limit), -1);
  EXPECT_EQ(errno, EINTR);
  every = {};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &every, nullptr), 0);
  ASSERT_EQ(::sigaction(SIGALRM, &before, nullptr), 0);
  ASSERT_TRUE(socket.send({}, test::loopback(socket.boundPort())));
  EXPECT_EQ(set.wait(&limit), 1);
}

// An fd_set ends at descriptor 1,023.
TEST(ReadSet, HasRoomForAnyDescriptor) {
  rlimit limits{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limits), 0);
  const rlimit before = limits;
  limits.rlim_cur = std::min<rlim_t>(limits.rlim_max, 5000);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limits), 0);
  Socket low = boundSocket();
  // The next socket gets the lowest free descriptor: all below are filled up.
  std::vector<int> fillers;
  for (int filler = 0; filler < 1500;) {
    fillers.push_back(filler = ::dup(low.descriptor()));
  }
  Socket high = boundSocket();
  ASSERT_GT(high.descriptor(), 1500);
  const timeval limit = limitOf(20);
  EXPECT_EQ(ReadSet(high).wait(&limit), 0);
  ASSERT_TRUE(low.send({}, test::loopback(high.boundPort())));
  EXPECT_EQ(ReadSet(high).wait(&limit), 1);
  for (const int filler : fillers) {
    ::close(filler);
  }
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

// ---- Names ----

TEST(LookUpHost, TellsIPv4FromOtherHostsAndFromNone) {
  const test::HostsFile hosts("10.9.8.7 amber\nfd00::7 sapphire\nfd00::8 both\n10.9.8.8 both\n");
  EXPECT_EQ(kt::lookUpHost("amber").kind, HostAddress::Kind::ipv4);
  EXPECT_EQ(kt::lookUpHost("amber").address, test::address("10.9.8.7"));
  EXPECT_EQ(kt::lookUpHost("both").kind, HostAddress::Kind::ipv4);
  EXPECT_EQ(kt::lookUpHost("both").address, test::address("10.9.8.8"));
  EXPECT_EQ(kt::lookUpHost("sapphire").kind, HostAddress::Kind::other);
  for (const char *unknown : {"nobody", "", " ", "a b", "-", "amber."}) {
    EXPECT_EQ(kt::lookUpHost(unknown).kind, HostAddress::Kind::none) << unknown;
  }
}

TEST(LookUpHost, TakesDottedAddresses) {
  EXPECT_EQ(kt::lookUpHost("255.255.255.255").address, test::address("255.255.255.255"));
  EXPECT_EQ(kt::lookUpHost("192.0.2.1").kind, HostAddress::Kind::ipv4);
  EXPECT_EQ(kt::lookUpHost("::1").kind, HostAddress::Kind::other);
}

TEST(LookUpHost, OfANameWithSeveralAddressesTheFirstCounts) {
  const test::HostsFile hosts("10.9.8.7 amber\n10.9.8.6 amber\n");
  EXPECT_EQ(kt::lookUpHost("amber").address, test::address("10.9.8.7"));
}

}  // namespace
