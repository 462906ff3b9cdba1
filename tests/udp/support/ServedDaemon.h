// SPDX-License-Identifier: MIT

// A daemon that serves on a thread of its own for as long as the object lives. What leaves
// processQueries is kept and the serving goes on, as a host does that means to survive it.
#ifndef KT_TESTS_UDP_SUPPORT_SERVEDDAEMON_H
#define KT_TESTS_UDP_SUPPORT_SERVEDDAEMON_H

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "kt/udp/KtUDPDaemon.h"
#include "tests/udp/support/RawSocket.h"

namespace test {

// Answers with the request's data packet.
struct EchoDelegate {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
};

class ServedDaemon {
 public:
  // Serves `daemon`, which must be registered and outlive this object.
  explicit ServedDaemon(KtUDPDaemon &daemon);
  ServedDaemon(const ServedDaemon &) = delete;
  ServedDaemon &operator=(const ServedDaemon &) = delete;
  ~ServedDaemon();

  // Ends the serving; the daemon is the caller's again. What the exceptions that left it until then
  // said, in order.
  std::vector<std::string> stop();

 private:
  void serve();

  KtUDPDaemon &daemon_;
  std::vector<std::string> exceptions_;  // the server's until it has joined
  std::atomic<bool> stopping_ = false;
  std::thread server_;
};

// The answer to the bytes as a client at `socket` gets it; empty, and a failed test, without one.
[[nodiscard]] std::string answerTo(const RawSocket &socket, std::int32_t port,
                                   std::string_view bytes);

}  // namespace test

#endif
