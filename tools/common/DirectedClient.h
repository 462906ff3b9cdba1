// SPDX-License-Identifier: MIT

// A client that sends discovery to a given address instead of the broadcast address. Its lifetime
// and thread rules are those of KtUDPClient.
#ifndef KT_TOOLS_COMMON_DIRECTEDCLIENT_H
#define KT_TOOLS_COMMON_DIRECTEDCLIENT_H

#include <optional>
#include <string>
#include <utility>

#include "kt/udp/KtUDPClient.h"

namespace kt::tools {

class DirectedClient : public KtUDPClient {
 public:
  // Sends discovery to `address`, a dotted IPv4 address; without one, where KtUDPClient sends it.
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
