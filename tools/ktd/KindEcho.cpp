// SPDX-License-Identifier: MIT

#include "tools/ktd/Kinds.h"

namespace kt::tools {

// Returns the request. Answers removes the keyword, as from every answer.
Dictionary answerEcho(const Dictionary &request, const ServerState &) {
  return request;
}

}  // namespace kt::tools
