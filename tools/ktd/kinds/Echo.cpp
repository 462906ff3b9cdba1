// SPDX-License-Identifier: MIT

#include "tools/ktd/kinds/Kind.h"

namespace kt::tools {

// The request's other keys, as they came. Its keyword goes where no answer keeps one (Answers.h).
Dictionary answerEcho(const Dictionary &request, const ServerState &) {
  return request;
}

}  // namespace kt::tools
