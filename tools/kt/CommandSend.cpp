// SPDX-License-Identifier: MIT

// kt send: sends one request and prints its answer.
#include <chrono>

#include "tools/common/Arguments.h"
#include "tools/common/Json.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Request.h"
#include "tools/kt/Results.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
A VALUE that begins with ( { or < is read as property-list text: an array, a dictionary,
data. Any other is a string, unchanged. Prints the answer's data packet as property-list
text, or with --json as JSON; data becomes {"data": "0fbd77"}, numbers are strings.

With --wait, the first resend comes after --timeout, each later one after twice as long, and
all at most 2 s apart. The server works on the request once. Excludes --retries.

Examples:
  kt send Status
  kt send Echo name=value 'list=(1, 2)' 'nested={ a = b; }' 'bytes=<0fbd77>'
  kt send Backup --server hut --wait 60
)";

class Send : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addArgument("KEYWORD", keyword_, "The kind of the request");
    line.addArguments("KEY=VALUE", entries_, false, "Its other entries");
    line.addOption<readSeconds>({"--wait", "SECONDS",
                                 "Send the request again and again until it is answered,\n"
                                 "for so long; for requests that take long"},
                                wait_, "a number of seconds from 0 to 86400");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    if (wait_ && options.retries) throw Misuse("--wait excludes --retries");
    const Dictionary request = requestOf(keyword_, entries_);
    requireDatagram(options.signature, request);
    Connection connection(options);
    const Dictionary answer =
        wait_ ? connection.answerWithin(*wait_, request) : connection.answerTo(request);
    Results(options).print([&] { return answer.description(); }, [&] { return jsonOf(answer); });
    return exitDone;
  }

 private:
  std::string keyword_;
  std::vector<std::string> entries_;  // KEY=VALUE
  std::optional<std::chrono::duration<double>> wait_;
};

}  // namespace

Command &sendCommand() {
  static Send command;
  return command;
}

}  // namespace kt::tools
