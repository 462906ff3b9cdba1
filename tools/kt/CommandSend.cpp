// SPDX-License-Identifier: MIT

// kt send: sends one request and prints its answer.
#include "tools/common/DirectedClient.h"
#include "tools/kt/Connection.h"
#include "tools/common/Json.h"
#include "tools/kt/Request.h"
#include "tools/kt/Results.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
A VALUE that begins with ( { or < is read as property-list text: an array, a dictionary,
data. Any other is a string, unchanged. Prints the answer's data packet as property-list
text, or with --json as JSON; data becomes {"data": "0fbd77"}, numbers are strings.

Examples:
  kt send Status
  kt send Echo name=value 'list=(1, 2)' 'nested={ a = b; }' 'bytes=<0fbd77>'
)";

class Send : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addArgument("KEYWORD", keyword_, "The kind of the request");
    line.addArguments("KEY=VALUE", entries_, false, "Its other entries");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    const Dictionary request = requestOf(keyword_, entries_);
    requireDatagram(options.signature, request);
    DirectedClient client(options.broadcast);
    connect(client, options);
    const Dictionary answer = answerOf(client, request);
    Results(options).print([&] { return answer.description(); }, [&] { return jsonOf(answer); });
    return exitDone;
  }

 private:
  std::string keyword_;
  std::vector<std::string> entries_;  // KEY=VALUE
};

}  // namespace

Command &sendCommand() {
  static Send command;
  return command;
}

}  // namespace kt::tools
