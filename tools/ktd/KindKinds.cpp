// SPDX-License-Identifier: MIT

#include "tools/common/Requests.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

namespace {

// Returns the program's name without its folders, which are nobody's business.
std::string nameOf(const Handler &handler) {
  return handler.program.substr(handler.program.rfind('/') + 1);
}

}  // namespace

// Returns a sentence for each kind, in the order of their names.
AnswerAtOnce answerKinds(const Dictionary &, const ServerState &server) {
  Dictionary sentences;
  for (const Kind &kind : allKinds()) {
    sentences[kind.name] = kind.summary;
  }
  for (const auto &[name, handler] : server.service.handlers) {
    sentences[name] = "Runs the program " + nameOf(handler) + '.';
  }
  return Dictionary{{kindsKey, sentences}};
}

}  // namespace kt::tools
