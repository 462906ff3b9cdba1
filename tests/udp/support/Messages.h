// SPDX-License-Identifier: MIT

// The datagrams of a small request and of an echo server's reply to it.
#ifndef KT_TESTS_UDP_SUPPORT_MESSAGES_H
#define KT_TESTS_UDP_SUPPORT_MESSAGES_H

#include <cstdint>
#include <string>

#include "kt/udp/KtMessage.h"
#include "tests/udp/support/RawSocket.h"

namespace kt::test {

inline const Dictionary statusPacket{{"KtUDPKeyword", "Status"}};

[[nodiscard]] inline std::string request(std::int32_t handshake,
                                         const Dictionary &packet = statusPacket) {
  return bytesOf(requestEnvelope("KtUDP", handshake, packet));
}

// Returns the reply to the request with this handshake.
[[nodiscard]] inline std::string reply(std::int32_t handshake,
                                       const Dictionary &packet = statusPacket) {
  return bytesOf(replyEnvelope("KtUDP", handshake, packet));
}

}  // namespace kt::test

#endif
