// SPDX-License-Identifier: MIT

// Answers requests by running programs. docs/programs.md says what a program is given and how its
// output becomes the answer.
#ifndef KT_TOOLS_KTD_RUNHANDLER_H
#define KT_TOOLS_KTD_RUNHANDLER_H

#include <chrono>
#include <stop_token>
#include <string>

#include "kt/foundation/PropertyList.h"
#include "tools/ktd/ChildProcess.h"  // becomeSubreaper, reapStrays: for callers of runHandler
#include "tools/ktd/Service.h"

namespace kt::tools {

// What a program is told beside the packet, in its environment.
struct HandlerRequest {
  std::string kind;                   // KT_KIND
  std::string sender;                 // KT_SENDER: "10.0.0.7:4798"
  std::string signature;              // KT_SIGNATURE: the server's
  std::chrono::milliseconds timeout;  // the most that the run may take
};

// Runs the handler's program with `packet` on its standard input until it ends. Returns the answer
// that its standard output means (HandlerJson.h). If the program fails, can't be started, takes
// longer than `request.timeout` or writes more than 1 MiB, returns an answer with an `Error`. If a
// stop is requested, also beforehand, returns { Error = stopping; } at once.
//
// When it returns, the program and its whole process group have ended, with the exceptions of
// ChildProcess::end(). Any thread may call it; calls do not disturb each other. Throws only if
// memory runs out.
[[nodiscard]] Dictionary runHandler(const Handler &handler, const HandlerRequest &request,
                                    const Dictionary &packet, const std::stop_token &stop);

}  // namespace kt::tools

#endif
