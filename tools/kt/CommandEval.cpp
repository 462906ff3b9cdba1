// SPDX-License-Identifier: MIT

// kt eval: lets a server compute.
#include "kt/udp/KtMessage.h"
#include "tools/common/Requests.h"
#include "tools/kt/Connection.h"
#include "tools/kt/ExpressionArguments.h"
#include "tools/kt/Request.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

constexpr const char *examples =
    R"(A server refuses expressions that would take it more than a few milliseconds.

Examples:
  kt eval '2^521 - 1'
  kt eval 'gcd(2^64, 12!)' --base 16
)";

// Returns the value in `answer`. Throws Failure if it has an error instead.
std::string valueOf(const Dictionary &answer, const std::string &expression) {
  const PropertyList *value = answer.find(valueKey);
  if (value != nullptr && value->asString() != nullptr) return *value->asString();
  const PropertyList *error = answer.find(errorKey);
  if (error == nullptr || error->asString() == nullptr) {
    throw Failure("the server's answer has no value: " + answer.description());
  }
  const std::string text = escaped(*error->asString());
  const PropertyList *column = answer.find(columnKey);
  if (column == nullptr || column->intValue() < 1) throw Failure(text);
  throw Failure(errorAt(expression, static_cast<std::size_t>(column->intValue()), text));
}

class Eval : public Command {
 public:
  void declare(CommandLine &line) override {
    addExpressionArguments(line, arguments_, "What the server is to compute");
    line.setFooter(std::string(expressionHelp) + examples);
  }

  int run(const Options &options) override {
    const std::optional<std::string> expression = expressionOf(arguments_);
    if (!expression) throw Misuse("EXPRESSION is required");
    const Dictionary request = requestFor(*expression);
    requireDatagram(options.signature, request);
    Connection connection(options);
    printValue(valueOf(connection.answerTo(request), *expression), options);
    return exitDone;
  }

 private:
  [[nodiscard]] Dictionary requestFor(const std::string &expression) const {
    Dictionary request = requestOfKind(evaluateKind);
    request[expressionKey] = expression;
    if (arguments_.base) request[baseKey] = *arguments_.base;
    return request;
  }

  ExpressionArguments arguments_;
};

}  // namespace

Command &evalCommand() {
  static Eval command;
  return command;
}

}  // namespace kt::tools
