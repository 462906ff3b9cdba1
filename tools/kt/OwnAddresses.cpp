// SPDX-License-Identifier: MIT

#include "tools/kt/OwnAddresses.h"

#include <ifaddrs.h>
#include <netinet/in.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace kt::tools {

OwnAddresses OwnAddresses::ofInterfaces() {
  std::vector<std::uint32_t> addresses;
  ifaddrs *first = nullptr;
  if (::getifaddrs(&first) != 0) return OwnAddresses({});
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(first, &::freeifaddrs);
  for (const ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    const auto &address = *reinterpret_cast<const sockaddr_in *>(entry->ifa_addr);
    addresses.push_back(address.sin_addr.s_addr);
  }
  return OwnAddresses(std::move(addresses));
}

OwnAddresses::OwnAddresses(std::vector<std::uint32_t> addresses)
    : addresses_(std::move(addresses)) {}

bool OwnAddresses::contain(std::uint32_t address) const {
  return isLoopback(address) || std::ranges::find(addresses_, address) != addresses_.end();
}

bool isLoopback(std::uint32_t address) {
  constexpr std::uint32_t loopbackNetwork = 127;
  return ntohl(address) >> 24 == loopbackNetwork;
}

}  // namespace kt::tools
