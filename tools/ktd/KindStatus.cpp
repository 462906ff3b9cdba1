// SPDX-License-Identifier: MIT

#include "tools/common/CommandLine.h"
#include "tools/common/Requests.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

// Returns the state of the server and what it did before this request.
Dictionary answerStatus(const Dictionary &, const ServerState &server) {
  using std::chrono::seconds;
  const auto uptime = std::chrono::steady_clock::now() - server.started;
  const std::uint64_t earlier = server.daemon.received() - 1;  // without this request
  return {
      {versionKey, version},
      {uptimeKey, std::chrono::duration_cast<seconds>(uptime).count()},
      {servedKey, server.daemon.answered()},
      {refusedKey, earlier - server.daemon.answered()},
      {servedSignatureKey, server.daemon.signature()},
      {servedPortKey, server.daemon.port()},
  };
}

}  // namespace kt::tools
