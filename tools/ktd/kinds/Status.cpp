// SPDX-License-Identifier: MIT

#include "tools/common/CommandLine.h"
#include "tools/ktd/kinds/Kind.h"

namespace kt::tools {

// How the server is and what it has done before this request.
Dictionary answerStatus(const Dictionary &, const ServerState &server) {
  using std::chrono::seconds;
  const auto uptime = std::chrono::steady_clock::now() - server.started;
  const std::uint64_t earlier = server.daemon.received() - 1;  // this request has been received
  return {
      {"Version", version},
      {"Uptime", std::chrono::duration_cast<seconds>(uptime).count()},
      {"Served", server.daemon.answered()},
      {"Refused", earlier - server.daemon.answered()},
      {"Signature", server.daemon.signature()},
      {"Port", server.daemon.port()},
  };
}

}  // namespace kt::tools
