// SPDX-License-Identifier: MIT

#include "tools/kt/Expression.h"

#include <unistd.h>

#include "tools/common/Evaluator.h"
#include "tools/common/Failure.h"
#include "tools/common/Numbers.h"
#include "tools/common/Output.h"
#include "tools/kt/Excerpt.h"
#include "tools/kt/Json.h"

namespace kt::tools {

const char *const expressionHelp =
    "An expression has whole numbers (12, 0xff, 0b101), brackets, and from what binds loosest:\n"
    "<< and >>, + and -, * / and % (quotients are cut off), unary -, ^ (power), ! (factorial);\n"
    "gcd(a, b), sqrt(a), powmod(a, b, m). No number may take more than 4,080 bits. Quote it: a\n"
    "shell has its own use for * ( ) < > and !.\n";

namespace {

// An argument that looks like an option to the command line's parser: -5+3, -(1+2), -sqrt(4).
bool isNegativeExpression(const std::string &argument) {
  const std::size_t operand = argument.find_first_not_of('-');
  if (operand == 0 || operand == std::string::npos) return false;
  const bool isNumber = argument[operand] >= '0' && argument[operand] <= '9';
  return isNumber || argument.find('(') != std::string::npos;
}

}  // namespace

void addExpressionArguments(CLI::App &app, ExpressionArguments &arguments,
                            const std::string &description) {
  app.allow_extras();  // expressionOf looks at them
  app.add_option("EXPRESSION", arguments.expression, description)->type_name("");
  addOption(app, "--base", arguments.base, readBase, "a base from 2 to 36",
            "The base of what is printed, 2 to 36 (default: 10)")
      ->type_name("N");
}

std::optional<std::string> expressionOf(const CLI::App &app, const ExpressionArguments &arguments) {
  std::vector<std::string> others = app.remaining();
  std::erase(others, "--");  // which has done its work: what stands behind it is no option
  if (others.empty()) return arguments.expression;
  const bool isExpression = !arguments.expression && isNegativeExpression(others.front());
  if (isExpression && others.size() == 1) return others.front();
  const std::string &unexpected = others[isExpression ? 1 : 0];
  throw Misuse("The following argument was not expected: " + visible(unexpected));
}

std::string complaint(std::string_view expression, std::size_t column, const std::string &text) {
  std::string sentence = "column " + std::to_string(column) + ": " + text;
  if (isatty(STDERR_FILENO) == 0) return sentence;
  return sentence + '\n' + excerpt(expression, offsetOfColumn(expression, column));
}

void printValue(const std::string &value, const Options &options) {
  if (options.quiet) return;
  if (options.json) {
    printJson({{"value", value}});
  } else {
    printLine(visible(value));
  }
}

}  // namespace kt::tools
