// SPDX-License-Identifier: MIT

// An echo server. Its answers also carry its host's name and, for the keyword "Memory", the bytes
// that it uses. Prints "serving PORT" or "refused".
//
// --signature TEXT, --ports N,N,..., --unique 1
// --files COUNT  keeps this many files open
// --signals MS   interrupts the process by a signal every MS ms
#include <cstdio>
#include <exception>

#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/HostName.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tests/system/Options.h"

namespace kt::test {
namespace {

struct Echo {
  Dictionary replyForRequest(Dictionary packet) const {
    packet["Server"] = hostName();
    if (*packet.find(keywordKey) == "Memory") packet["Memory"] = residentBytes();
    return packet;
  }
};

}  // namespace
}  // namespace kt::test

int main(int count, char **arguments) {
  using namespace kt::test;
  const Options options(count, arguments);
  KtAutoSetDebug();
  openFiles(options.number("--files", 0));
  interruptEvery(options.number("--signals", 0));
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
