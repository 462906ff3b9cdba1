// SPDX-License-Identifier: MIT

#include "tools/kt/ExpressionArguments.h"

#include <unistd.h>

#include "tools/calculator/Evaluator.h"
#include "tools/common/Arguments.h"
#include "tools/common/Json.h"
#include "tools/kt/Results.h"
#include "tools/text/Escape.h"
#include "tools/text/Excerpt.h"

namespace kt::tools {

const char *const expressionHelp = R"(
An expression has whole numbers (12, 0xff, 0b101), brackets, and these operators, from the
loosest binding to the tightest: << and >>, + and -, * / and % (quotients truncate), unary -,
^ (power), ! (factorial). Functions: gcd(a, b), sqrt(a), powmod(a, b, m). No number may have
more than 4,080 bits. Quote the expression: the shell interprets * ( ) < > and !.
)";

namespace {

// Whether an argument that looks like an option is an expression: -5+3, -(1+2), -sqrt(4).
bool isNegativeExpression(const std::string &argument) {
  const std::size_t operand = argument.find_first_not_of('-');
  if (operand == 0 || operand == std::string::npos) return false;
  const bool isNumber = argument[operand] >= '0' && argument[operand] <= '9';
  return isNumber || argument.find('(') != std::string::npos;
}

}  // namespace

void addExpressionArguments(CommandLine &line, ExpressionArguments &arguments,
                            const std::string &description) {
  line.addOptionalArgument("EXPRESSION", arguments.expression, description);
  line.addRest(arguments.rest);
  line.addOption<readBase>({"--base", "N", "The base of the result, 2 to 36 (default: 10)"},
                           arguments.base, "a base from 2 to 36");
}

std::optional<std::string> expressionOf(const ExpressionArguments &arguments) {
  std::vector<std::string> others = arguments.rest;
  std::erase(others, "--");  // the parser has obeyed it: nothing after it is an option
  if (others.empty()) return arguments.expression;
  const bool isExpression = !arguments.expression && isNegativeExpression(others.front());
  if (isExpression && others.size() == 1) return others.front();
  const std::string &unexpected = others[isExpression ? 1 : 0];
  throw Misuse("The following argument was not expected: " + escaped(unexpected));
}

std::string errorAt(std::string_view expression, std::size_t column, const std::string &text) {
  std::string sentence = "column " + std::to_string(column) + ": " + text;
  if (::isatty(STDERR_FILENO) == 0) return sentence;
  return sentence + '\n' + excerpt(expression, offsetOfColumn(expression, column));
}

void printValue(const std::string &value, const Options &options) {
  Results(options).print([&] { return escaped(value); },
                         [&] { return JsonObject().addText("value", value).text(); });
}

}  // namespace kt::tools
