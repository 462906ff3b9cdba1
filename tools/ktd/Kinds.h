// SPDX-License-Identifier: MIT

// The kinds of requests that ktd answers by itself. Each is a function or two in a file of its own,
// and the table in Kinds.cpp lists them all. docs/programs.md describes what they ask and answer.
#ifndef KT_TOOLS_KTD_KINDS_H
#define KT_TOOLS_KTD_KINDS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tools/ktd/Measurements.h"
#include "tools/ktd/Service.h"
#include "tools/ktd/Workers.h"

namespace kt::tools {

// What a kind that answers at once may know about its server. For the serving thread.
struct ServerState {
  const KtUDPDaemon &daemon;
  const Service &service;
  const Workers &workers;
  const Measurements &measurements;
  std::chrono::steady_clock::time_point started;  // when serving began
  std::uint64_t busy;                             // requests refused as busy so far
};

// What a kind that takes long may know. For the threads of Workers.
struct WorkState {
  const Service &service;
  const std::string &signature;
  std::stop_token stop;  // a request of it means: throw Stopped soon
};

// Thrown by a kind that gave up as its server stops.
struct Stopped {};

struct Kind {
  std::string_view name;     // the keyword of its requests
  std::string_view summary;  // a sentence, for --help and the kind Kinds

  // Returns the answer to a data packet whose keyword is `name`, or nothing if it takes long; null
  // if it always takes long. Keywords, tokens and sizes of answers are not the kind's concern:
  // Dispatcher looks after them for all kinds.
  std::optional<Dictionary> (*answerAtOnce)(const Dictionary &request, const ServerState &server);

  // Returns the answer if it takes long, on a worker's thread; null if it never does.
  Dictionary (*answerInTime)(const Dictionary &request, const WorkState &work);

  bool needsToken;  // whether a worker is only for senders who prove their address
};

// All kinds, in the order in which --help and error answers list them.
[[nodiscard]] std::span<const Kind> allKinds();

// ---- The kinds' functions ----

using AnswerAtOnce = std::optional<Dictionary>;

[[nodiscard]] AnswerAtOnce answerEcho(const Dictionary &request, const ServerState &server);
[[nodiscard]] AnswerAtOnce answerEvaluate(const Dictionary &request, const ServerState &server);
[[nodiscard]] Dictionary answerEvaluateInTime(const Dictionary &request, const WorkState &work);
[[nodiscard]] Dictionary answerFiles(const Dictionary &request, const WorkState &work);
[[nodiscard]] AnswerAtOnce answerKinds(const Dictionary &request, const ServerState &server);
[[nodiscard]] AnswerAtOnce answerStatus(const Dictionary &request, const ServerState &server);

}  // namespace kt::tools

#endif
