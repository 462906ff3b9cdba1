// SPDX-License-Identifier: MIT

#include <algorithm>

#include "tools/common/CommandLine.h"
#include "tools/common/Requests.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

// Returns the state of the server and what it did before this request.
AnswerAtOnce answerStatus(const Dictionary &, const ServerState &server) {
  using std::chrono::seconds;
  const auto uptime = std::chrono::steady_clock::now() - server.started;
  const Workers::Load load = server.workers.load();
  const std::uint64_t earlier = server.daemon.received() - 1;  // without this request
  const std::uint64_t answered = server.daemon.answered();
  const std::uint64_t notRefused = answered + load.working + load.queued;
  return Dictionary{
      {versionKey, version},
      {uptimeKey, std::chrono::duration_cast<seconds>(uptime).count()},
      {servedKey, answered},
      {refusedKey, earlier - std::min(earlier, notRefused)},
      {workingKey, load.working},
      {queuedKey, load.queued},
      {busyKey, server.busy},
      {servedSignatureKey, server.daemon.signature()},
      {servedPortKey, server.daemon.port()},
      {kindsKey, server.measurements.figures()},
  };
}

}  // namespace kt::tools
