// SPDX-License-Identifier: MIT

#include <cstdint>
#include <optional>

#include "tools/calculator/Evaluator.h"
#include "tools/common/Arguments.h"
#include "tools/common/Requests.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

namespace {

// What the serving thread spends on an expression: about 0.1 ms, longer than most expressions take.
constexpr std::uint64_t stepsAtOnce = servedSteps / 50;

// Returns the value of the request's expression, or what is wrong with it and where. Throws
// CostError if it costs more than `steps`.
Dictionary valueIn(const Dictionary &request, std::uint64_t steps) {
  const PropertyList *expression = request.find(expressionKey);
  if (expression == nullptr || expression->asString() == nullptr) {
    return {{errorKey, "The request has no Expression."}};
  }
  const PropertyList *wantedBase = request.find(baseKey);
  const std::optional<std::int32_t> base =
      wantedBase != nullptr ? readInteger(*wantedBase, 2, 36) : 10;
  if (!base) return {{errorKey, "The Base is not a number from 2 to 36."}};
  try {
    return {{valueKey, evaluate(*expression->asString(), steps).toString(*base)}};
  } catch (const CostError &) {
    throw;
  } catch (const EvaluationError &error) {
    return {{errorKey, error.what()}, {columnKey, error.column()}};
  }
}

}  // namespace

AnswerAtOnce answerEvaluate(const Dictionary &request, const ServerState &) {
  try {
    return valueIn(request, stepsAtOnce);
  } catch (const CostError &) {
    return std::nullopt;
  }
}

Dictionary answerEvaluateInTime(const Dictionary &request, const WorkState &) {
  try {
    return valueIn(request, servedSteps);
  } catch (const CostError &error) {
    return {{errorKey, error.what()}, {columnKey, error.column()}};
  }
}

}  // namespace kt::tools
