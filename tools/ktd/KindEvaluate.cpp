// SPDX-License-Identifier: MIT

#include <optional>

#include "tools/calculator/Evaluator.h"
#include "tools/common/Arguments.h"
#include "tools/common/Requests.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

// Returns the value of the request's expression, or what is wrong with it and where.
Dictionary answerEvaluate(const Dictionary &request, const ServerState &) {
  const PropertyList *expression = request.find(expressionKey);
  if (expression == nullptr || expression->asString() == nullptr) {
    return {{errorKey, "The request has no Expression."}};
  }
  const PropertyList *wantedBase = request.find(baseKey);
  const std::optional<std::int32_t> base =
      wantedBase != nullptr ? readInteger(*wantedBase, 2, 36) : 10;
  if (!base) return {{errorKey, "The Base is not a number from 2 to 36."}};
  try {
    return {{valueKey, evaluate(*expression->asString(), servedSteps).toString(*base)}};
  } catch (const EvaluationError &error) {
    return {{errorKey, error.what()}, {columnKey, error.column()}};
  }
}

}  // namespace kt::tools
