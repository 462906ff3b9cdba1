// SPDX-License-Identifier: MIT

#include "kt/udp/Socket.h"

#include <fcntl.h>
#include <netdb.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <utility>

namespace kt {

namespace {

// The socket calls take every kind of address through one type.
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
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  return ::bind(descriptor_, generic(address), sizeof address) == 0;
}

std::uint16_t Socket::boundPort() const {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (::getsockname(descriptor_, generic(address), &size) != 0) return 0;
  return ntohs(address.sin_port);
}

bool Socket::send(std::span<const char> datagram, const sockaddr_in &destination) {
  return ::sendto(descriptor_, datagram.data(), datagram.size(), 0, generic(destination),
                  sizeof destination) >= 0;
}

std::ptrdiff_t Socket::receive(std::span<char> buffer, sockaddr_in &source) {
  socklen_t size = sizeof source;
  return ::recvfrom(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT, generic(source),
                    &size);
}

ReadSet::ReadSet(const Socket &socket) : descriptor_(socket.descriptor()) {
  constexpr std::size_t bitsPerWord = sizeof(unsigned long) * CHAR_BIT;
  const std::size_t bit = static_cast<std::size_t>(std::max(descriptor_, 0));
  words_.resize(std::max(sizeof(fd_set) / sizeof(unsigned long), bit / bitsPerWord + 1));
  if (descriptor_ >= 0) words_[bit / bitsPerWord] |= 1UL << (bit % bitsPerWord);
}

int ReadSet::wait(const timeval *limit) {
  timeval remaining = limit != nullptr ? *limit : timeval{};  // select counts its copy down
  return ::select(descriptor_ + 1, reinterpret_cast<fd_set *>(words_.data()), nullptr, nullptr,
                  limit != nullptr ? &remaining : nullptr);
}

HostAddress lookUpHost(const std::string &name) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo *found = nullptr;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0) return {};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(found, &::freeaddrinfo);
  for (const addrinfo *entry = found; entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_family != AF_INET) continue;
    const auto &address = *reinterpret_cast<const sockaddr_in *>(entry->ai_addr);
    return {HostAddress::Kind::ipv4, address.sin_addr.s_addr};
  }
  return {HostAddress::Kind::other, 0};
}

}  // namespace kt
