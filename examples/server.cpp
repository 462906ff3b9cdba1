// SPDX-License-Identifier: MIT

// Greets every client by the name in its request.
#include <iostream>

#include "kt/udp/KtUDPDaemon.h"

struct Greeter {
  kt::Dictionary replyForRequest(const kt::Dictionary &request) const {
    const kt::PropertyList *name = request.find("Name");
    return {{"Greeting", "Hello, " + (name != nullptr ? name->description() : "stranger") + '.'}};
  }
};

int main() {
  Greeter greeter;
  KtUDPDaemon daemon;
  daemon.setSignature("Greetings");
  daemon.setDelegate(&greeter);
  if (!daemon.registerPort()) return 1;  // every port of the list is taken
  std::cout << "serving on port " << daemon.port() << std::endl;
  for (;;) {
    try {
      daemon.processQueries();  // until a request with a packet that is not a dictionary
    } catch (const std::exception &error) {
      std::cerr << error.what() << '\n';
    }
  }
}
