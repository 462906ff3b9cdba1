// SPDX-License-Identifier: MIT

// kt calc: computes on this machine.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "tools/calculator/Evaluator.h"
#include "tools/kt/ExpressionArguments.h"

namespace kt::tools {

namespace {

constexpr const char *examples = R"(
Examples:
  kt calc '2^521 - 1'
  kt calc 100! --base 16
  kt calc 'powmod(2, 10^9, 10^9 + 7)'
)";

class Calc : public Command {
 public:
  void declare(CommandLine &line) override {
    addExpressionArguments(line, arguments_,
                           "What to compute (default: each line of standard input)");
    line.setFooter(std::string(expressionHelp) + examples);
  }

  int run(const Options &options) override {
    const std::optional<std::string> expression = expressionOf(arguments_);
    if (!expression) return computeLines(options);
    try {
      compute(*expression, options);
      return exitDone;
    } catch (const EvaluationError &error) {
      throw Failure(errorAt(*expression, error.column(), error.what()));
    }
  }

 private:
  void compute(std::string_view expression, const Options &options) const {
    printValue(evaluate(expression).toString(arguments_.base.value_or(10)), options);
  }

  // Computes one expression per line. Continues after one that is wrong.
  [[nodiscard]] int computeLines(const Options &options) const;

  ExpressionArguments arguments_;
};

int Calc::computeLines(const Options &options) const {
  int status = exitDone;
  std::size_t lineNumber = 0;
  for (std::string line; std::getline(std::cin, line);) {
    ++lineNumber;
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    try {
      compute(line, options);
    } catch (const EvaluationError &error) {
      std::cerr << "kt calc: line " << lineNumber << ", "
                << errorAt(line, error.column(), error.what()) << '\n';
      status = exitFailed;
    }
  }
  // The stream treats an error as the end.
  if (std::ferror(stdin) != 0) {
    throw Failure(std::string("standard input: can't read it: ") + std::strerror(errno));
  }
  return status;
}

}  // namespace

Command &calcCommand() {
  static Calc command;
  return command;
}

}  // namespace kt::tools
