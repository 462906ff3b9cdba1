// SPDX-License-Identifier: MIT

// A server, and a client that asks it three things at once, in one thread with one poll.
#include <poll.h>

#include <algorithm>
#include <array>
#include <iostream>

#include "kt/udp/AsyncClient.h"
#include "kt/udp/KtUDPClient.h"
#include "kt/udp/KtUDPDaemon.h"

struct Clerk {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
};

int main() {
  using std::chrono::milliseconds, std::chrono::steady_clock;
  Clerk clerk;
  KtUDPDaemon daemon;
  daemon.setDelegate(&clerk).setPorts({0});
  if (!daemon.registerPort()) return 1;
  const auto server = kt::ipv4(htonl(INADDR_LOOPBACK), static_cast<std::uint16_t>(daemon.port()));
  kt::AsyncClient client(KtUDPClient(), server);
  for (const char *kind : {"Hum", "Whistle", "Sing"}) {
    client.request({{"KtUDPKeyword", kind}}, [kind](const auto &answer) {
      std::cout << kind << ": " << (answer ? answer->description() : "no answer") << '\n';
    });
  }
  while (const auto deadline = client.deadline()) {  // none: every request has completed
    const auto wait = std::chrono::ceil<milliseconds>(*deadline - steady_clock::now()).count();
    std::array<pollfd, 2> both{{{daemon.socketIn(), POLLIN, 0}, {client.descriptor(), POLLIN, 0}}};
    ::poll(both.data(), both.size(), std::max(0, static_cast<int>(wait)));
    daemon.processPending();
    client.process();
  }
}
