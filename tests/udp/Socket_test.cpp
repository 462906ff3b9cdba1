// SPDX-License-Identifier: MIT

#include "kt/udp/Socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/Addresses.h"
#include "tests/udp/support/RawSocket.h"

namespace kt::test {
namespace {

bool isOpen(int descriptor) {
  return ::fcntl(descriptor, F_GETFD) >= 0;
}

Socket boundSocket() {
  Socket socket = Socket::open();
  EXPECT_TRUE(socket.bind(0));
  return socket;
}

// ---- Addresses ----

TEST(Ipv4, TakesAddressInNetworkOrderAndPortInHostOrder) {
  const sockaddr_in result = ipv4(address("10.9.8.7"), 4798);
  EXPECT_EQ(result.sin_family, AF_INET);
  EXPECT_EQ(result.sin_addr.s_addr, address("10.9.8.7"));
  EXPECT_EQ(result.sin_port, htons(4798));
}

// ---- Ownership ----

TEST(Socket, FailsEveryCallWithoutDescriptor) {
  Socket socket;
  sockaddr_in source{};
  std::array<char, 8> buffer{};
  EXPECT_EQ(socket.descriptor(), -1);
  EXPECT_FALSE(socket.allowBroadcast());
  EXPECT_FALSE(socket.bind(0));
  EXPECT_EQ(socket.boundPort(), 0);
  EXPECT_FALSE(socket.send({}, loopback(4798)));
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(socket.receive(buffer, source), -1);
}

TEST(Socket, OpensIPv4DatagramSocketThatClosesOnExec) {
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

TEST(Socket, MovesDescriptorAndClosesItOnce) {
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

TEST(Socket, HasNoDescriptorIfNoneIsFree) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const Socket socket = Socket::open();
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(socket.descriptor(), -1);
}

// ---- Ports and datagrams ----

TEST(Socket, BindsPortUnlessItIsTaken) {
  Socket first = boundSocket();
  Socket second = Socket::open();
  EXPECT_NE(first.boundPort(), 0);
  EXPECT_FALSE(second.bind(first.boundPort()));
  EXPECT_EQ(second.boundPort(), 0);
}

TEST(Socket, CarriesDatagramAndReportsItsSource) {
  Socket sender = boundSocket();
  Socket receiver = boundSocket();
  const std::string bytes("a\0b", 3);
  ASSERT_TRUE(sender.send(bytes, loopback(receiver.boundPort())));
  std::array<char, 8> buffer{};
  sockaddr_in source{};
  ASSERT_EQ(receiver.receive(buffer, source), 3);
  EXPECT_EQ(std::string(buffer.data(), 3), bytes);
  EXPECT_EQ(text(source), text(loopback(sender.boundPort())));
}

TEST(Socket, ReceivesEmptyDatagramAsZeroBytes) {
  Socket socket = boundSocket();
  ASSERT_TRUE(socket.send({}, loopback(socket.boundPort())));
  std::array<char, 8> buffer{};
  sockaddr_in source{};
  EXPECT_EQ(socket.receive(buffer, source), 0);
}

TEST(Socket, TruncatesDatagramLongerThanBuffer) {
  Socket socket = boundSocket();
  ASSERT_TRUE(socket.send(std::string("123456789"), loopback(socket.boundPort())));
  std::array<char, 4> buffer{};
  sockaddr_in source{};
  EXPECT_EQ(socket.receive(buffer, source), 4);
  EXPECT_EQ(std::string(buffer.data(), 4), "1234");
  EXPECT_EQ(socket.receive(buffer, source), -1);
}

TEST(Socket, ReceiveNeverWaits) {
  Socket socket = boundSocket();
  std::array<char, 8> buffer{};
  sockaddr_in source{};
  EXPECT_EQ(socket.receive(buffer, source), -1);
  EXPECT_EQ(errno, EAGAIN);
}

TEST(Socket, SendsLargestDatagramAndRefusesLargerOne) {
  Socket socket = boundSocket();
  const sockaddr_in own = loopback(socket.boundPort());
  EXPECT_TRUE(socket.send(std::string(65507, 'x'), own));
  EXPECT_FALSE(socket.send(std::string(65508, 'x'), own));
  EXPECT_EQ(errno, EMSGSIZE);
}

TEST(Socket, BroadcastMustBeAllowed) {
  sockaddr_in everyone = loopback(4798);
  everyone.sin_addr.s_addr = INADDR_BROADCAST;
  const RawSocket listener(4798);
  Socket socket = Socket::open();
  EXPECT_FALSE(socket.send(std::string("x"), everyone));
  EXPECT_EQ(errno, EACCES);
  EXPECT_TRUE(socket.allowBroadcast());
  EXPECT_TRUE(socket.send(std::string("x"), everyone));
  EXPECT_TRUE(listener.receive());
}

}  // namespace
}  // namespace kt::test
