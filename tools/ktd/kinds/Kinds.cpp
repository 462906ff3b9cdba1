// SPDX-License-Identifier: MIT

#include <array>

#include "tools/ktd/kinds/Kind.h"

namespace kt::tools {

Answer answerEcho, answerEvaluate, answerFiles, answerStatus;

namespace {

constexpr std::array kinds{
    Kind{"Echo", answerEcho},
    Kind{"Evaluate", answerEvaluate},
    Kind{"Files", answerFiles},
    Kind{"Status", answerStatus},
};

}  // namespace

std::span<const Kind> allKinds() {
  return kinds;
}

}  // namespace kt::tools
