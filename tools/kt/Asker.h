// SPDX-License-Identifier: MIT

// One server and the requests to it, for commands that ask several servers at the same time;
// Connection.h has the usual way, which waits. Serves one thread at a time.
#ifndef KT_TOOLS_KT_ASKER_H
#define KT_TOOLS_KT_ASKER_H

#include <netinet/in.h>

#include <functional>
#include <optional>

#include "kt/udp/AsyncClient.h"
#include "tools/kt/Milliseconds.h"

namespace kt::tools {

class Asker {
 public:
  // Called with the answer, or with nothing if there was none, and the time since the request was
  // first sent. A request that was repeated with a token counts from its repetition.
  using Completion = std::function<void(std::optional<Dictionary> answer, Milliseconds elapsed)>;

  // Asks `server` with the signature, timeout and retries of `settings`.
  Asker(const KtUDPClient &settings, const sockaddr_in &server) : client_(settings, server) {}

  // Sends the request `packet`. client().process() calls `completion`. If the server asks for a
  // token (Token.h), the request is repeated with it, and later requests have it too.
  void ask(const Dictionary &packet, Completion completion);

  // For waiting: its descriptor, its deadline, process() and pending().
  [[nodiscard]] kt::AsyncClient &client() { return client_; }

 private:
  void ask(const Dictionary &packet, Completion completion, int repeatsLeft);

  kt::AsyncClient client_;
  std::optional<Data> token_;  // the last one that the server asked for
};

}  // namespace kt::tools

#endif
