// SPDX-License-Identifier: MIT

// The arguments of the commands that compute, and how they report what is wrong with an expression.
// For the main thread.
#ifndef KT_TOOLS_KT_EXPRESSIONARGUMENTS_H
#define KT_TOOLS_KT_EXPRESSIONARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/kt/Command.h"

namespace kt::tools {

struct ExpressionArguments {
  std::optional<std::string> expression;  // nothing if the parser took it for an option
  std::vector<std::string> rest;          // the arguments that the parser did not expect
  std::optional<std::int32_t> base;       // of the result; nothing means 10
};

// What an expression may contain, for --help.
extern const char *const expressionHelp;

// Adds EXPRESSION, described by `description`, and --base.
void addExpressionArguments(CommandLine &line, ExpressionArguments &arguments,
                            const std::string &description);

// Returns the expression of a parsed command line, or nothing if there is none. An expression that
// begins with a minus sign looks like an option and is found among the rest. Throws Misuse if there
// is an argument too many.
[[nodiscard]] std::optional<std::string> expressionOf(const ExpressionArguments &arguments);

// Returns "column 7: division by zero". If standard error is a terminal, two more lines show the
// expression with a caret under that column. `text` is printable.
[[nodiscard]] std::string errorAt(std::string_view expression, std::size_t column,
                                  const std::string &text);

// Prints a computed value as the options ask.
void printValue(const std::string &value, const Options &options);

}  // namespace kt::tools

#endif
