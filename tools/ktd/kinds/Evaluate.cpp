// SPDX-License-Identifier: MIT

#include "tools/common/Evaluator.h"

#include <optional>

#include "tools/common/Numbers.h"
#include "tools/ktd/kinds/Kind.h"

namespace kt::tools {

// The value of the request's expression, or what is wrong with it, and where in it.
Dictionary answerEvaluate(const Dictionary &request, const ServerState &) {
  const PropertyList *expression = request.find("Expression");
  if (expression == nullptr || expression->asString() == nullptr) {
    return {{"Error", "There is no Expression."}};
  }
  const PropertyList *wantedBase = request.find("Base");
  const std::optional<std::int32_t> base =
      wantedBase != nullptr ? readBase(wantedBase->description()) : 10;
  if (!base) return {{"Error", "The Base is no number from 2 to 36."}};
  try {
    return {{"Value", evaluate(*expression->asString(), servedSteps).toString(*base)}};
  } catch (const EvaluationError &error) {
    return {{"Error", error.what()}, {"Column", error.column()}};
  }
}

}  // namespace kt::tools
