// SPDX-License-Identifier: MIT

// IPv4 addresses of tests: from text, on this host, and as text.
#ifndef KT_TESTS_SUPPORT_ADDRESSES_H
#define KT_TESTS_SUPPORT_ADDRESSES_H

#include <arpa/inet.h>
#include <netinet/in.h>

#include <array>
#include <cstdint>
#include <string>

#include "kt/udp/Socket.h"

namespace kt::test {

// Returns the address `dotted` in network byte order.
[[nodiscard]] inline std::uint32_t address(const char *dotted) {
  return ::inet_addr(dotted);
}

// Returns 127.0.0.1 at `port`.
[[nodiscard]] inline sockaddr_in loopback(std::uint16_t port) {
  return ipv4(htonl(INADDR_LOOPBACK), port);
}

// Returns the endpoint as text, for example "127.0.0.1:4798".
[[nodiscard]] inline std::string text(const sockaddr_in &endpoint) {
  std::array<char, INET_ADDRSTRLEN> dotted{};
  ::inet_ntop(AF_INET, &endpoint.sin_addr, dotted.data(), dotted.size());
  return std::string(dotted.data()) + ":" + std::to_string(ntohs(endpoint.sin_port));
}

}  // namespace kt::test

#endif
