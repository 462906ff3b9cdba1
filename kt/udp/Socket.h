// SPDX-License-Identifier: MIT

// An owned IPv4 UDP socket and the addresses that it sends to. Nothing here knows the message
// format. A Socket serves one thread at a time.
#ifndef KT_UDP_SOCKET_H
#define KT_UDP_SOCKET_H

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace kt {

// Returns the socket address of `address` (network byte order, as the resolver returns it) and
// `port` (host byte order).
[[nodiscard]] inline sockaddr_in ipv4(std::uint32_t address, std::uint16_t port) {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_addr.s_addr = address;
  result.sin_port = htons(port);
  return result;
}

// Owns one IPv4 UDP socket, or none. It can be moved but not copied, and its destructor closes the
// socket. Without a descriptor every call fails.
class Socket {
 public:
  Socket() = default;
  Socket(Socket &&other) noexcept;
  Socket &operator=(Socket &&other) noexcept;
  ~Socket();

  // Opens a close-on-exec socket. Returns one without a descriptor if the system refuses.
  [[nodiscard]] static Socket open();

  // Returns the descriptor, or -1 if there is none. The Socket remains its owner.
  [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

  // Permits sending to broadcast addresses. Returns false if the system refuses.
  bool allowBroadcast();

  // Binds to every local interface at `port` (host byte order; 0 lets the system choose). Returns
  // false if the system refuses, for example because the port is taken.
  [[nodiscard]] bool bind(std::uint16_t port);

  // Returns the bound port in host byte order, or 0 if none is bound.
  [[nodiscard]] std::uint16_t boundPort() const;

  // Sends one datagram. Returns false if the system refuses it, with the reason in errno.
  bool send(std::span<const char> datagram, const sockaddr_in &destination);

  // The same, but never waits: if the system has no room for the datagram, refuses it (EAGAIN).
  bool sendWithoutWaiting(std::span<const char> datagram, const sockaddr_in &destination);

  // Receives one datagram into `buffer` without waiting, and stores its sender in `source`. Returns
  // the number of bytes, which may be 0, or -1 with the reason in errno (EAGAIN: no datagram).
  // Truncates a datagram that is longer than `buffer`.
  [[nodiscard]] std::ptrdiff_t receive(std::span<char> buffer, sockaddr_in &source);

 private:
  bool send(std::span<const char> datagram, const sockaddr_in &destination, int flags);
  explicit Socket(int descriptor) : descriptor_(descriptor) {}

  int descriptor_ = -1;  // -1: no socket is owned
};

}  // namespace kt

#endif
