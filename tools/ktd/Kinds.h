// SPDX-License-Identifier: MIT

// The kinds of requests that ktd answers. Each is one function in a file of its own, and the table
// in Kinds.cpp lists them all. docs/programs.md describes what they ask and answer. They run on the
// serving thread.
#ifndef KT_TOOLS_KTD_KINDS_H
#define KT_TOOLS_KTD_KINDS_H

#include <chrono>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tools/ktd/Service.h"

namespace kt::tools {

// What a kind may know about the server that it runs in.
struct ServerState {
  const KtUDPDaemon &daemon;
  std::chrono::steady_clock::time_point started;  // when serving began
  ServedFiles files;
};

// Returns the answer to the data packet `request`, whose keyword is the kind's name. Keywords and
// sizes of answers are not its concern: Answers checks them for all kinds.
using AnswerFunction = Dictionary (*)(const Dictionary &request, const ServerState &server);

struct Kind {
  std::string_view name;     // the keyword of its requests
  std::string_view summary;  // what the answer is, for --help
  AnswerFunction answer;
};

// All kinds, in the order in which --help and error answers list them.
[[nodiscard]] std::span<const Kind> allKinds();

// "Echo, Evaluate, ..."
[[nodiscard]] std::string kindNames();

// ---- The kinds' functions ----

[[nodiscard]] Dictionary answerEcho(const Dictionary &request, const ServerState &server);
[[nodiscard]] Dictionary answerEvaluate(const Dictionary &request, const ServerState &server);
[[nodiscard]] Dictionary answerFiles(const Dictionary &request, const ServerState &server);
[[nodiscard]] Dictionary answerStatus(const Dictionary &request, const ServerState &server);

}  // namespace kt::tools

#endif
