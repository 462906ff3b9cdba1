// SPDX-License-Identifier: MIT

// What the client and the server of this folder need of the operating system: an owned IPv4 UDP
// socket, waiting with select, and host names. Nothing here knows what a message is. A socket
// serves one thread at a time; the functions may be called from any thread.
#ifndef KT_UDP_SOCKET_H
#define KT_UDP_SOCKET_H

#include <netinet/in.h>
#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#pragma GCC visibility push(default)

namespace kt {

// Owns one IPv4 UDP socket, or none. Moved, not copied; closed by the destructor.
class Socket {
 public:
  Socket() = default;
  Socket(Socket &&other) noexcept;
  Socket &operator=(Socket &&other) noexcept;
  ~Socket();

  // A new close-on-exec socket; one without a descriptor when the system refuses.
  [[nodiscard]] static Socket open();

  // The descriptor, -1 when there is none. The socket goes on owning it.
  [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

  // Lets datagrams be sent to broadcast addresses. False when the system refuses.
  bool allowBroadcast();

  // Binds to every local interface at `port` (host byte order; 0 lets the system choose). False
  // when the port can't be had.
  [[nodiscard]] bool bind(std::uint16_t port);

  // The port that is bound, in host byte order; 0 when none is.
  [[nodiscard]] std::uint16_t boundPort() const;

  // Sends one datagram. False when the system refused it, with the reason in errno.
  bool send(std::span<const char> datagram, const sockaddr_in &destination);

  // Receives one datagram into `buffer` without waiting and stores where it came from in `source`.
  // The number of bytes, which may be 0; -1 with the reason in errno when there is none (EAGAIN) or
  // the system failed. What does not fit the buffer is cut off.
  [[nodiscard]] std::ptrdiff_t receive(std::span<char> buffer, sockaddr_in &source);

 private:
  explicit Socket(int descriptor) : descriptor_(descriptor) {}

  int descriptor_ = -1;  // -1 when no socket is owned
};

// The set of descriptors that one run of waits looks at: one socket, as large as its descriptor
// asks (a fixed fd_set ends at 1,023). A wait that ends without data empties the set, as select
// does; every later wait with it then only lets its time pass.
class ReadSet {
 public:
  explicit ReadSet(const Socket &socket);

  // Waits until the socket can be read. `limit` is the longest wait, null for no limit; it is not
  // changed. What select returns: 1 readable, 0 time is up, -1 an error or a signal, with errno.
  int wait(const timeval *limit);

 private:
  int descriptor_;                    // -1 when the socket has none: waits only let time pass
  std::vector<unsigned long> words_;  // select's bit set, at least an fd_set long
};

// What a host name stands for.
struct HostAddress {
  enum class Kind {
    none,   // no such host
    other,  // a host without an IPv4 address
    ipv4
  };
  Kind kind = Kind::none;
  std::uint32_t address = 0;  // in network byte order; only with Kind::ipv4
};

// Looks a name or a dotted address up. Blocks as long as the system's resolver does.
[[nodiscard]] HostAddress lookUpHost(const std::string &name);

}  // namespace kt

#pragma GCC visibility pop

#endif
