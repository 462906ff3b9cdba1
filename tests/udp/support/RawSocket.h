// SPDX-License-Identifier: MIT

// A UDP socket for tests: sends any bytes and receives any bytes. Serves one thread at a time.
#ifndef KT_TESTS_UDP_SUPPORT_RAWSOCKET_H
#define KT_TESTS_UDP_SUPPORT_RAWSOCKET_H

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt::test {

struct Datagram {
  std::string bytes;  // as received, including the NUL
  sockaddr_in source{};

  // Returns the dictionary that it carries. Without one, fails the test and returns an empty one.
  [[nodiscard]] Dictionary message() const;
};

// Returns the bytes of a datagram that carries `message`: its text and a NUL.
[[nodiscard]] std::string bytesOf(const Dictionary &message);

class RawSocket {
 public:
  // Binds to every interface at `port`; 0 lets the system choose.
  explicit RawSocket(std::uint16_t port = 0);
  RawSocket(const RawSocket &) = delete;
  RawSocket &operator=(const RawSocket &) = delete;
  ~RawSocket();

  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] std::uint16_t port() const;

  void send(std::string_view bytes, const sockaddr_in &destination) const;
  // Sends to `port` of this host.
  void send(std::string_view bytes, std::int32_t port) const;

  // Waits for the next datagram and returns it, or nothing after 10 s.
  [[nodiscard]] std::optional<Datagram> receive() const;
  // Returns the next datagram that has already arrived.
  [[nodiscard]] std::optional<Datagram> receiveAtOnce() const;

 private:
  int descriptor_;
};

}  // namespace kt::test

#endif
