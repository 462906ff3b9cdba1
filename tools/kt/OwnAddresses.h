// SPDX-License-Identifier: MIT

// The IPv4 addresses of this host. Any thread may use them.
#ifndef KT_TOOLS_KT_OWNADDRESSES_H
#define KT_TOOLS_KT_OWNADDRESSES_H

#include <cstdint>
#include <vector>

namespace kt::tools {

class OwnAddresses {
 public:
  // The addresses that the interfaces have now.
  [[nodiscard]] static OwnAddresses ofInterfaces();

  // `addresses`, in network byte order, as those of the interfaces.
  explicit OwnAddresses(std::vector<std::uint32_t> addresses);

  // Returns whether `address` (network byte order) is an interface's or begins with 127.
  [[nodiscard]] bool contain(std::uint32_t address) const;

 private:
  std::vector<std::uint32_t> addresses_;  // of the interfaces, network byte order
};

// Returns whether `address` (network byte order) is one of the loopback network, 127.0.0.0/8.
[[nodiscard]] bool isLoopback(std::uint32_t address);

}  // namespace kt::tools

#endif
