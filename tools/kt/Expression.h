// SPDX-License-Identifier: MIT

// What the commands that compute have in common: their arguments, and how they say what is wrong
// with an expression. For the main thread.
#ifndef KT_TOOLS_KT_EXPRESSION_H
#define KT_TOOLS_KT_EXPRESSION_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/kt/Command.h"

namespace kt::tools {

struct ExpressionArguments {
  std::optional<std::string> expression;  // as far as the command line's parser took it for one
  std::optional<std::int32_t> base;       // of the result; nothing means 10
};

// What can be written in an expression, for --help.
extern const char *const expressionHelp;

// Adds EXPRESSION, described by `description`, and --base, which fill in `arguments`; it must live
// until the command line is parsed.
void addExpressionArguments(CLI::App &app, ExpressionArguments &arguments,
                            const std::string &description);

// The expression of a parsed command line, one that begins with a minus sign and therefore looks
// like an option included; nothing when there is none. Throws Misuse for an argument too many.
[[nodiscard]] std::optional<std::string> expressionOf(const CLI::App &app,
                                                      const ExpressionArguments &arguments);

// "column 7: division by zero", and where standard error is a terminal the expression with a caret
// under that column on two more lines. `text` is printable.
[[nodiscard]] std::string complaint(std::string_view expression, std::size_t column,
                                    const std::string &text);

// Prints a value that was computed, as the options say.
void printValue(const std::string &value, const Options &options);

}  // namespace kt::tools

#endif
