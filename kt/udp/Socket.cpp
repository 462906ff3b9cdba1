// SPDX-License-Identifier: MIT

#include "kt/udp/Socket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace kt {

namespace {

// The socket calls take every kind of address as a sockaddr.
const sockaddr *generic(const sockaddr_in &address) {
  return reinterpret_cast<const sockaddr *>(&address);
}

sockaddr *generic(sockaddr_in &address) {
  return reinterpret_cast<sockaddr *>(&address);
}

}  // namespace

Socket Socket::open() {
  return Socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP));
}

Socket::Socket(Socket &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Socket &Socket::operator=(Socket &&other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

Socket::~Socket() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool Socket::allowBroadcast() {
  const int enabled = 32;  // any non-zero value enables the option
  return ::setsockopt(descriptor_, SOL_SOCKET, SO_BROADCAST, &enabled, sizeof enabled) == 0;
}

bool Socket::bind(std::uint16_t port) {
  const sockaddr_in address = ipv4(INADDR_ANY, port);
  return ::bind(descriptor_, generic(address), sizeof address) == 0;
}

std::uint16_t Socket::boundPort() const {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (::getsockname(descriptor_, generic(address), &size) != 0) return 0;
  return ntohs(address.sin_port);
}

bool Socket::send(std::span<const char> datagram, const sockaddr_in &destination) {
  return send(datagram, destination, 0);
}

bool Socket::sendWithoutWaiting(std::span<const char> datagram, const sockaddr_in &destination) {
  return send(datagram, destination, MSG_DONTWAIT);
}

bool Socket::send(std::span<const char> datagram, const sockaddr_in &destination, int flags) {
  return ::sendto(descriptor_, datagram.data(), datagram.size(), flags, generic(destination),
                  sizeof destination) >= 0;
}

std::ptrdiff_t Socket::receive(std::span<char> buffer, sockaddr_in &source) {
  socklen_t size = sizeof source;
  return ::recvfrom(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT, generic(source),
                    &size);
}

}  // namespace kt
