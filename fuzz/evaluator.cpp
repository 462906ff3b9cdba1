// SPDX-License-Identifier: MIT

// Evaluates any text as an expression within a server's budget. The result is a value, which reads
// back from its own text and is the same without a budget, or an error at a column of the text.
#include "tools/calculator/Evaluator.h"

#include <cstdint>
#include <string_view>

#include "tests/support/Require.h"

using kt::test::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  using namespace kt::tools;
  const std::string_view expression(reinterpret_cast<const char *>(bytes), size);
  try {
    const kt::Integer value = evaluate(expression, servedSteps);
    require(value.bitLength() <= kt::Integer::maximumBits);
    require(evaluate(value.toString()) == value);
    require(evaluate(expression) == value);
  } catch (const EvaluationError &error) {
    require(error.column() >= 1 && error.column() <= size + 1);
    require(offsetOfColumn(expression, error.column()) <= size);
    for (const char character : std::string_view(error.what())) {
      require(character >= ' ' && character <= '~');
    }
  }
  return 0;
}
