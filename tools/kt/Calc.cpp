// SPDX-License-Identifier: MIT

// kt calc: computes here.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

#include "tools/common/Evaluator.h"
#include "tools/common/Failure.h"
#include "tools/kt/Expression.h"

namespace kt::tools {

namespace {

void compute(std::string_view expression, const ExpressionArguments &arguments,
             const Options &options) {
  printValue(evaluate(expression).toString(arguments.base.value_or(10)), options);
}

// One expression a line. Goes on behind one that is wrong.
int computeLines(const ExpressionArguments &arguments, const Options &options) {
  int status = exitDone;
  std::size_t lineNumber = 0;
  for (std::string line; std::getline(std::cin, line);) {
    ++lineNumber;
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    try {
      compute(line, arguments, options);
    } catch (const EvaluationError &error) {
      std::cerr << "kt calc: line " << lineNumber << ", "
                << complaint(line, error.column(), error.what()) << '\n';
      status = exitFailed;
    }
  }
  // The stream takes an error for the end.
  if (std::ferror(stdin) != 0) {
    throw Failure(std::string("standard input: can't read it: ") + std::strerror(errno));
  }
  return status;
}

int calc(const CLI::App &app, const ExpressionArguments &arguments, const Options &options) {
  const std::optional<std::string> expression = expressionOf(app, arguments);
  if (!expression) return computeLines(arguments, options);
  try {
    compute(*expression, arguments, options);
    return exitDone;
  } catch (const EvaluationError &error) {
    throw Failure(complaint(*expression, error.column(), error.what()));
  }
}

}  // namespace

Action declareCalc(CLI::App &app) {
  const auto arguments = std::make_shared<ExpressionArguments>();
  addExpressionArguments(app, *arguments, "What to compute (default: each line of standard input)");
  app.footer(std::string(expressionHelp) +
             "\n"
             "Examples:\n"
             "  kt calc '2^521 - 1'\n"
             "  kt calc 100! --base 16\n"
             "  kt calc 'powmod(2, 10^9, 10^9 + 7)'");
  return [&app, arguments](const Options &options) { return calc(app, *arguments, options); };
}

}  // namespace kt::tools
