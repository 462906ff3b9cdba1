// SPDX-License-Identifier: MIT

#include "tools/ktd/Kinds.h"

#include <array>

#include "tools/common/Requests.h"

namespace kt::tools {

namespace {

constexpr std::array kinds{
    Kind{echoKind, "Returns the request's other entries.", answerEcho, nullptr, false},
    Kind{evaluateKind, "Computes the value of an arithmetic expression.", answerEvaluate,
         answerEvaluateInTime, false},
    Kind{filesKind, "Returns the names of files below --files, page by page.", nullptr, answerFiles,
         true},
    Kind{kindsKind, "Returns the kinds of requests that the server answers.", answerKinds, nullptr,
         false},
    Kind{statusKind, "Returns the state of the server.", answerStatus, nullptr, false},
};

}  // namespace

std::span<const Kind> allKinds() {
  return kinds;
}

}  // namespace kt::tools
