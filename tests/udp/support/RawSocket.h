// SPDX-License-Identifier: MIT

// A UDP socket of the test's own: sends any bytes and sees the bytes that come back. Serves one
// thread at a time.
#ifndef KT_TESTS_UDP_SUPPORT_RAWSOCKET_H
#define KT_TESTS_UDP_SUPPORT_RAWSOCKET_H

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace test {

struct Datagram {
  std::string bytes;  // as they came, NUL and all
  sockaddr_in source{};

  // The dictionary that it carries; an empty one and a failed test when it carries none.
  [[nodiscard]] kt::Dictionary message() const;
};

// The bytes of a datagram that carries `message`: its text and a NUL.
[[nodiscard]] std::string bytesOf(const kt::Dictionary &message);

class RawSocket {
 public:
  // Bound to every interface at `port`; 0 lets the system choose.
  explicit RawSocket(std::uint16_t port = 0);
  RawSocket(const RawSocket &) = delete;
  RawSocket &operator=(const RawSocket &) = delete;
  ~RawSocket();

  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] std::uint16_t port() const;

  void send(std::string_view bytes, const sockaddr_in &destination) const;
  // To a port of this host.
  void send(std::string_view bytes, std::int32_t port) const;

  // The next datagram; nothing when none has come after ten seconds.
  [[nodiscard]] std::optional<Datagram> receive() const;
  // The next datagram that is there already.
  [[nodiscard]] std::optional<Datagram> receiveAtOnce() const;

 private:
  int descriptor_;
};

}  // namespace test

#endif
