// SPDX-License-Identifier: MIT

// Serves on a thread of its own until a line is typed, and ends cleanly.
#include <iostream>
#include <string>
#include <thread>

#include "kt/udp/KtUDPDaemon.h"

struct Clerk {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
};

int main() {
  Clerk clerk;
  KtUDPDaemon daemon;
  daemon.setDelegate(&clerk).setSignature("Office");
  if (!daemon.registerPort()) return 1;  // every port of the list is taken
  std::jthread server([&](const std::stop_token &stop) {
    while (!stop.stop_requested()) {
      try {
        daemon.processQueries(stop);
      } catch (const std::exception &error) {  // a request whose packet is not a dictionary
        std::cerr << error.what() << '\n';
      }
    }
  });
  std::cout << "serving on port " << daemon.port() << "; press Enter to stop" << std::endl;
  std::string line;
  std::getline(std::cin, line);
  server.request_stop();  // wakes the server, also if no datagram arrives
  server.join();
  std::cout << "served " << daemon.answered() << '\n';
}
