// SPDX-License-Identifier: MIT

#include "tools/common/Addresses.h"

#include <arpa/inet.h>

#include <array>

namespace kt::tools {

std::string portList(const std::vector<std::int32_t> &ports) {
  std::string list;
  for (const std::int32_t port : ports) {
    if (!list.empty()) list += ", ";
    list += std::to_string(port);
  }
  return list;
}

std::string dotted(std::uint32_t address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  const in_addr bytes{address};
  return ::inet_ntop(AF_INET, &bytes, text.data(), text.size());
}

std::string endpoint(const sockaddr_in &address) {
  return dotted(address.sin_addr.s_addr) + ':' + std::to_string(ntohs(address.sin_port));
}

}  // namespace kt::tools
