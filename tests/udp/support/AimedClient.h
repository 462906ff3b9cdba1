// SPDX-License-Identifier: MIT

// A client whose traffic stays between two sockets of this host.
#ifndef KT_TESTS_UDP_SUPPORT_AIMEDCLIENT_H
#define KT_TESTS_UDP_SUPPORT_AIMEDCLIENT_H

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <vector>

#include "tests/support/LoopbackClient.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace kt::test {

// A client after a failed discovery: it knows no server, but sends to the port of the peer.
class AimedClient : public LoopbackClient {
 public:
  explicit AimedClient(const ScriptedPeer &peer) {
    setPorts({peer.port()});
    setBaseReplyTimeout(-1);
    EXPECT_FALSE(connectToServer());  // leaves sin() at the last port of the list
    setBaseReplyTimeout(100);
  }

  // Returns the port that the system gave the socket at its first send.
  [[nodiscard]] std::uint16_t ownPort() const {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    EXPECT_EQ(::getsockname(sockIn(), reinterpret_cast<sockaddr *>(&local), &size), 0);
    return ntohs(local.sin_port);
  }

  [[nodiscard]] long waitMs() const {
    return timeValue().tv_sec * 1000 + timeValue().tv_usec / 1000;
  }
};

// Returns a peer's part that begins with silence: the two passes of the discovery that creates an
// AimedClient.
inline std::vector<Act> afterDiscovery(std::vector<Act> acts) {
  acts.insert(acts.begin(), 2, silent());
  return acts;
}

// Returns `datagrams` without those of that discovery.
inline std::vector<Datagram> afterDiscovery(std::vector<Datagram> datagrams) {
  datagrams.erase(datagrams.begin(), datagrams.begin() + 2);
  return datagrams;
}

}  // namespace kt::test

#endif
