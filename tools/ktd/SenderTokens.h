// SPDX-License-Identifier: MIT

// Tokens that show that a sender receives what is sent to it. The address of a datagram may be
// forged; whoever repeats a request with the token that was sent to that address is there. Any
// thread may use it.
#ifndef KT_TOOLS_KTD_SENDERTOKENS_H
#define KT_TOOLS_KTD_SENDERTOKENS_H

#include <netinet/in.h>

#include <array>
#include <cstddef>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

class SenderTokens {
 public:
  static constexpr std::size_t tokenSize = 16;  // bytes

  // Draws the secret of this run. Throws std::runtime_error if libsodium cannot be initialised.
  SenderTokens();

  // Returns the token of a sender: keyed BLAKE2b of its address and port under the secret.
  [[nodiscard]] Data tokenOf(const sockaddr_in &sender) const;

  // Returns whether the request's entry `Token` is the token of `sender`. Takes the same time for
  // every wrong token.
  [[nodiscard]] bool isProven(const Dictionary &request, const sockaddr_in &sender) const;

 private:
  std::array<unsigned char, 32> secret_{};
};

}  // namespace kt::tools

#endif
