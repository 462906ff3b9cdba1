// SPDX-License-Identifier: MIT

#include "tools/ktd/Kinds.h"

namespace kt::tools {

// Returns the request. Dispatcher removes the keyword, as from every answer.
AnswerAtOnce answerEcho(const Dictionary &request, const ServerState &) {
  return request;
}

}  // namespace kt::tools
