// SPDX-License-Identifier: MIT

#include "tests/udp/support/RawSocket.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "kt/udp/KtMessage.h"
#include "tests/support/Addresses.h"

namespace kt::test {

namespace {

constexpr int longestWaitMs = 10'000;

}  // namespace

Dictionary Datagram::message() const {
  const std::optional<Dictionary> result = parseMessage(bytes);
  EXPECT_TRUE(result) << "not a message: " << bytes;
  return result.value_or(Dictionary());
}

std::string bytesOf(const Dictionary &message) {
  return message.description() + '\0';
}

RawSocket::RawSocket(std::uint16_t port)
    : descriptor_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  const sockaddr_in local = ipv4(INADDR_ANY, port);
  EXPECT_EQ(::bind(descriptor_, reinterpret_cast<const sockaddr *>(&local), sizeof local), 0)
      << "port " << port;
}

RawSocket::~RawSocket() {
  ::close(descriptor_);
}

std::uint16_t RawSocket::port() const {
  sockaddr_in local{};
  socklen_t size = sizeof local;
  ::getsockname(descriptor_, reinterpret_cast<sockaddr *>(&local), &size);
  return ntohs(local.sin_port);
}

void RawSocket::send(std::string_view bytes, const sockaddr_in &destination) const {
  EXPECT_EQ(::sendto(descriptor_, bytes.data(), bytes.size(), 0,
                     reinterpret_cast<const sockaddr *>(&destination), sizeof destination),
            static_cast<ssize_t>(bytes.size()));
}

void RawSocket::send(std::string_view bytes, std::int32_t port) const {
  send(bytes, loopback(static_cast<std::uint16_t>(port)));
}

std::optional<Datagram> RawSocket::receive() const {
  pollfd waiting{descriptor_, POLLIN, 0};
  if (::poll(&waiting, 1, longestWaitMs) != 1) return std::nullopt;
  return receiveAtOnce();
}

std::optional<Datagram> RawSocket::receiveAtOnce() const {
  Datagram datagram;
  datagram.bytes.resize(bufferSize);
  socklen_t size = sizeof datagram.source;
  const ssize_t count =
      ::recvfrom(descriptor_, datagram.bytes.data(), datagram.bytes.size(), MSG_DONTWAIT,
                 reinterpret_cast<sockaddr *>(&datagram.source), &size);
  if (count < 0) return std::nullopt;
  datagram.bytes.resize(static_cast<std::size_t>(count));
  return datagram;
}

}  // namespace kt::test
