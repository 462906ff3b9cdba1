// SPDX-License-Identifier: MIT

// Prints ports and addresses. Functions without state.
#ifndef KT_TOOLS_COMMON_ADDRESSES_H
#define KT_TOOLS_COMMON_ADDRESSES_H

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kt::tools {

// Returns "4798, 4711".
[[nodiscard]] std::string portList(const std::vector<std::int32_t> &ports);

// Returns "127.0.0.1". `address` is in network byte order.
[[nodiscard]] std::string dotted(std::uint32_t address);

// Returns "127.0.0.1:4798".
[[nodiscard]] std::string endpoint(const sockaddr_in &address);

}  // namespace kt::tools

#endif
