// SPDX-License-Identifier: MIT

// kt eval: lets a server compute.
#include <memory>

#include "kt/udp/KtMessage.h"
#include "tools/common/DirectedClient.h"
#include "tools/common/Failure.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Expression.h"
#include "tools/kt/Request.h"

namespace kt::tools {

namespace {

Dictionary requestFor(const std::string &expression, const ExpressionArguments &arguments) {
  Dictionary request{{std::string(keywordKey), "Evaluate"}, {"Expression", expression}};
  if (arguments.base) request["Base"] = *arguments.base;
  return request;
}

// The value in `answer`. Throws Failure when it has an error instead.
std::string valueOf(const Dictionary &answer, const std::string &expression) {
  const PropertyList *value = answer.find("Value");
  if (value != nullptr && value->asString() != nullptr) return *value->asString();
  const PropertyList *error = answer.find("Error");
  if (error == nullptr || error->asString() == nullptr) {
    throw Failure("the server's answer has no value: " + answer.description());
  }
  const std::string text = visible(*error->asString());
  const PropertyList *column = answer.find("Column");
  if (column == nullptr || column->intValue() < 1) throw Failure(text);
  throw Failure(complaint(expression, static_cast<std::size_t>(column->intValue()), text));
}

int eval(const CLI::App &app, const ExpressionArguments &arguments, const Options &options) {
  const std::optional<std::string> expression = expressionOf(app, arguments);
  if (!expression) throw Misuse("EXPRESSION is required");
  const Dictionary request = requestFor(*expression, arguments);
  requireDatagram(options.signature, request);
  DirectedClient client(options.broadcast);
  connect(client, options);
  printValue(valueOf(answerOf(client, request), *expression), options);
  return exitDone;
}

}  // namespace

Action declareEval(CLI::App &app) {
  const auto arguments = std::make_shared<ExpressionArguments>();
  addExpressionArguments(app, *arguments, "What the server is to compute");
  app.footer(std::string(expressionHelp) +
             "A server refuses what would take it more than a few milliseconds.\n"
             "\n"
             "Examples:\n"
             "  kt eval '2^521 - 1'\n"
             "  kt eval 'gcd(2^64, 12!)' --base 16");
  return [&app, arguments](const Options &options) { return eval(app, *arguments, options); };
}

}  // namespace kt::tools
