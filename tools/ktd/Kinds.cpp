// SPDX-License-Identifier: MIT

#include "tools/ktd/Kinds.h"

#include <array>

#include "tools/common/Requests.h"

namespace kt::tools {

namespace {

constexpr std::array kinds{
    Kind{echoKind, "the request's other keys", answerEcho},
    Kind{evaluateKind, "the value of an arithmetic expression", answerEvaluate},
    Kind{filesKind, "the names of files below --files, page by page", answerFiles},
    Kind{statusKind, "the state of the server", answerStatus},
};

}  // namespace

std::span<const Kind> allKinds() {
  return kinds;
}

std::string kindNames() {
  std::string names;
  for (const Kind &kind : kinds) {
    if (!names.empty()) names += ", ";
    names += kind.name;
  }
  return names;
}

}  // namespace kt::tools
