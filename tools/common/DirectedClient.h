// SPDX-License-Identifier: MIT

// A client whose discovery may be sent to a given address instead of the broadcast address. Lives
// and is used as KtUDPClient.
#ifndef KT_TOOLS_COMMON_DIRECTEDCLIENT_H
#define KT_TOOLS_COMMON_DIRECTEDCLIENT_H

#include <optional>
#include <string>
#include <utility>

#include "kt/udp/KtUDPClient.h"

namespace kt::tools {

class DirectedClient : public KtUDPClient {
 public:
  // Discovers at `address`, an IPv4 address in dotted form; as KtUDPClient does where there is
  // none.
  explicit DirectedClient(std::optional<std::string> address) : address_(std::move(address)) {}

  void broadcastIP() override {
    if (address_) {
      (void)serverIPFromHostname(*address_);  // cannot fail: a dotted address is an IPv4 host
    } else {
      KtUDPClient::broadcastIP();
    }
  }

 private:
  std::optional<std::string> address_;  // where discovery goes; nothing means broadcast
};

}  // namespace kt::tools

#endif
