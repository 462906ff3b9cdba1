// SPDX-License-Identifier: MIT

// An echo server whose answers also tell the host it runs on, and, asked for "Memory", the bytes it
// has in use. Prints "serving PORT" or "refused".
//
// --signature TEXT, --ports N,N,..., --unique 1, --files COUNT (kept open), --signals MS (a signal
// every so often).
#include <cstdio>
#include <exception>

#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/HostName.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tests/system/Options.h"

namespace {

struct Echo {
  kt::Dictionary replyForRequest(kt::Dictionary packet) const {
    packet["Server"] = kt::hostName();
    if (*packet.find(kt::keywordKey) == "Memory") packet["Memory"] = test::residentBytes();
    return packet;
  }
};

}  // namespace

int main(int count, char **arguments) {
  const test::Options options(count, arguments);
  KtAutoSetDebug();
  test::openFiles(options.number("--files", 0));
  test::interruptEvery(options.number("--signals", 0));
  const Echo echo;
  KtUDPDaemon daemon;
  daemon.setDelegate(&echo).setSignature(options.text("--signature", daemon.signature()));
  daemon.setMustBeUnique(options.number("--unique", 0) != 0);
  if (const auto ports = options.numbers("--ports"); !ports.empty()) daemon.setPorts(ports);
  const bool registered = daemon.registerPort();
  std::puts(registered ? ("serving " + std::to_string(daemon.port())).c_str() : "refused");
  std::fflush(stdout);
  if (!registered) return 1;
  for (;;) {
    try {
      daemon.processQueries();
    } catch (const std::exception &problem) {
      std::fprintf(stderr, "%s\n", problem.what());
    }
  }
}
