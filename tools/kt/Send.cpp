// SPDX-License-Identifier: MIT

// kt send: one request and its answer.
#include <memory>

#include "kt/udp/KtMessage.h"
#include "tools/common/DirectedClient.h"
#include "tools/common/Failure.h"
#include "tools/common/Output.h"
#include "tools/kt/Command.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Json.h"
#include "tools/kt/Request.h"

namespace kt::tools {

namespace {

struct Arguments {
  std::string keyword;
  std::vector<std::string> entries;  // KEY=VALUE
};

int send(const Arguments &arguments, const Options &options) {
  const Dictionary request = requestOf(arguments.keyword, arguments.entries);
  requireDatagram(options.signature, request);
  DirectedClient client(options.broadcast);
  connect(client, options);
  const Dictionary answer = answerOf(client, request);
  if (options.quiet) return exitDone;
  if (options.json) {
    printJson(jsonOf(answer));
  } else {
    printLine(answer.description());
  }
  return exitDone;
}

}  // namespace

Action declareSend(CLI::App &app) {
  const auto arguments = std::make_shared<Arguments>();
  app.add_option("KEYWORD", arguments->keyword, "The kind of the request")
      ->required()
      ->type_name("");
  app.add_option("KEY=VALUE", arguments->entries, "Its other entries")->type_name("");
  app.footer(
      "A VALUE that begins with ( { or < is read as property-list text: an array, a dictionary,\n"
      "data. Any other is a string as it stands. Prints the answer's data packet as property-list\n"
      "text, or with --json as JSON; data becomes {\"data\": \"0fbd77\"}, numbers are strings.\n"
      "\n"
      "Examples:\n"
      "  kt send Status\n"
      "  kt send Echo name=value 'list=(1, 2)' 'nested={ a = b; }' 'bytes=<0fbd77>'");
  return [arguments](const Options &options) { return send(*arguments, options); };
}

}  // namespace kt::tools
