// SPDX-License-Identifier: MIT

// Serves a daemon on a separate thread while the object lives. Keeps each exception from
// processQueries and continues to serve, as a host does that handles bad requests.
#ifndef KT_TESTS_UDP_SUPPORT_SERVEDDAEMON_H
#define KT_TESTS_UDP_SUPPORT_SERVEDDAEMON_H

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "kt/udp/KtUDPDaemon.h"
#include "tests/udp/support/RawSocket.h"

namespace kt::test {

class ServedDaemon {
 public:
  // Serves `daemon`, which must outlive this object. Requires: daemon.socketIn() >= 0.
  explicit ServedDaemon(KtUDPDaemon &daemon);
  ServedDaemon(const ServedDaemon &) = delete;
  ServedDaemon &operator=(const ServedDaemon &) = delete;
  ~ServedDaemon();

  // Ends the serving; the caller may use the daemon again. Returns the texts of the exceptions
  // until then, in order.
  std::vector<std::string> stop();

 private:
  void serve();

  KtUDPDaemon &daemon_;
  std::vector<std::string> exceptions_;  // belongs to the server until it has joined
  std::atomic<bool> stopping_ = false;
  std::thread server_;
};

// Sends `bytes` to `port` and returns the answer. Without one, fails the test and returns "".
[[nodiscard]] std::string answerTo(const RawSocket &socket, std::int32_t port,
                                   std::string_view bytes);

}  // namespace kt::test

#endif
