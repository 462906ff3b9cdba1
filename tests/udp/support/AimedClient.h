// SPDX-License-Identifier: MIT

// Clients whose traffic stays between two sockets of this host.
#ifndef KT_TESTS_UDP_SUPPORT_AIMEDCLIENT_H
#define KT_TESTS_UDP_SUPPORT_AIMEDCLIENT_H

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <vector>

#include "kt/udp/KtUDPClient.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace test {

// A client that discovers on this host without a broadcast.
class LoopbackClient : public KtUDPClient {
 public:
  void broadcastIP() override { (void)serverIPFromHostname("127.0.0.1"); }
};

// One that has looked for a server in vain: it has no port, but sends to that of the peer.
class AimedClient : public LoopbackClient {
 public:
  explicit AimedClient(const ScriptedPeer &peer) {
    setPorts({peer.port()});
    setBaseReplyTimeout(-1);
    EXPECT_FALSE(connectToServer());  // leaves sin() at the last port of the list
    setBaseReplyTimeout(100);
  }

  // The port that the system gave the socket at its first send.
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

// The part of a peer that an AimedClient's making comes before: two passes of discovery.
inline std::vector<Act> behindDiscovery(std::vector<Act> acts) {
  acts.insert(acts.begin(), 2, silent());
  return acts;
}

inline std::vector<Datagram> behindDiscovery(std::vector<Datagram> datagrams) {
  datagrams.erase(datagrams.begin(), datagrams.begin() + 2);
  return datagrams;
}

}  // namespace test

#endif
