// SPDX-License-Identifier: MIT

// Delegates that a server refuses: compiles only if no case is defined.
#include "kt/udp/KtUDPDaemon.h"

#ifdef Misspelt
struct Delegate {
  kt::Dictionary replyForRequests(const kt::Dictionary &packet) { return packet; }
};
#elif defined(WrongResult)
struct Delegate {
  int replyForRequest(const kt::Dictionary &) { return 1; }
};
#elif defined(WrongArgument)
struct Delegate {
  kt::Dictionary replyForRequest(kt::Dictionary &packet) { return packet; }
};
#elif defined(Const)
struct Mutable {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
};
using Delegate = const Mutable;
#elif defined(Lambda)
const auto lambda = [](const kt::Dictionary &packet) { return packet; };
using Delegate = decltype(lambda);
#elif defined(LaterWithResult)
struct Delegate {
  bool replyForRequest(const kt::Dictionary &, kt::Reply) { return true; }
};
#elif defined(Both)
struct Delegate {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
  void replyForRequest(const kt::Dictionary &, kt::Reply) {}
};
#else
struct Delegate {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
};
#endif

void use(KtUDPDaemon &daemon, Delegate &delegate) {
  daemon.setDelegate(&delegate);
}
