// SPDX-License-Identifier: MIT

#include "kt/udp/Interfaces.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace kt {

namespace {

std::optional<std::uint32_t> ipv4Of(const sockaddr *address) {
  if (address == nullptr || address->sa_family != AF_INET) return std::nullopt;
  return reinterpret_cast<const sockaddr_in *>(address)->sin_addr.s_addr;
}

// Returns the broadcast address that the interface was given. If it has none, which many tools
// omit, returns that of its network: the network's part of its address, then ones. The system
// routes that one in any case. Returns nothing for point-to-point links and for networks of one or
// two addresses, which have none (RFC 3021).
std::optional<std::uint32_t> broadcastAddressOf(const ifaddrs &interface) {
  if ((interface.ifa_flags & IFF_UP) == 0 || (interface.ifa_flags & IFF_POINTOPOINT) != 0) {
    return std::nullopt;
  }
  const std::optional<std::uint32_t> address = ipv4Of(interface.ifa_addr);
  const std::optional<std::uint32_t> mask = ipv4Of(interface.ifa_netmask);
  if (!address || !mask) return std::nullopt;
  // Without a broadcast address the system repeats the interface's own in its place.
  const std::optional<std::uint32_t> given = ipv4Of(interface.ifa_broadaddr);
  if (given && given != address) return given;
  if (ntohl(~*mask) < 2) return std::nullopt;
  return *address | ~*mask;
}

}  // namespace

std::vector<std::uint32_t> interfaceBroadcastAddresses() {
  ifaddrs *first = nullptr;
  if (::getifaddrs(&first) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(first, &::freeifaddrs);
  std::vector<std::uint32_t> addresses;
  for (const ifaddrs *interface = first; interface != nullptr; interface = interface->ifa_next) {
    const std::optional<std::uint32_t> address = broadcastAddressOf(*interface);
    if (address && std::ranges::find(addresses, *address) == addresses.end()) {
      addresses.push_back(*address);
    }
  }
  return addresses;
}

}  // namespace kt
