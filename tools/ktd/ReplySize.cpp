// SPDX-License-Identifier: MIT

#include "tools/ktd/ReplySize.h"

#include <limits>

#include "kt/udp/KtMessage.h"

namespace kt::tools {

std::size_t replySize(const std::string &signature, const Dictionary &answer) {
  // The answer to this handshake value is the smallest integer, which has the longest text.
  constexpr std::int32_t handshake = std::numeric_limits<std::int32_t>::max();
  const Dictionary envelope = replyEnvelope(signature, handshake, answer);
  return datagramBytes(envelope.description()).size();
}

}  // namespace kt::tools
