// SPDX-License-Identifier: MIT

// Looks up host names. This header is not installed. It is inline because the programs of this
// project use it too and a shared library exports public names only. Any thread may call it.
#ifndef KT_UDP_HOSTLOOKUP_H
#define KT_UDP_HOSTLOOKUP_H

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <memory>
#include <string>

namespace kt::udp {

// The result of looking up a host name.
struct HostAddress {
  enum class Kind {
    none,   // no such host
    other,  // a host without an IPv4 address
    ipv4
  };
  Kind kind = Kind::none;
  std::uint32_t address = 0;  // the first IPv4 address, network byte order; 0 unless Kind::ipv4
};

// Looks up a name or a dotted address. Blocks as long as the system's resolver does.
[[nodiscard]] inline HostAddress lookUpHost(const std::string &name) {
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

}  // namespace kt::udp

#endif
