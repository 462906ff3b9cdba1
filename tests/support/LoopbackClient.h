// SPDX-License-Identifier: MIT

#ifndef KT_TESTS_SUPPORT_LOOPBACKCLIENT_H
#define KT_TESTS_SUPPORT_LOOPBACKCLIENT_H

#include "kt/udp/KtUDPClient.h"

namespace kt::test {

// A client that discovers servers at 127.0.0.1 only: it sends no broadcast.
class LoopbackClient : public KtUDPClient {
 public:
  void broadcastIP() override { (void)serverIPFromHostname("127.0.0.1"); }  // always an IPv4 host
};

}  // namespace kt::test

#endif
