// SPDX-License-Identifier: MIT

// kt send: sends one request, to a server or to every server, and prints the answers.
#include <chrono>

#include "tools/common/Arguments.h"
#include "tools/common/Json.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Request.h"
#include "tools/kt/Results.h"
#include "tools/kt/SendToAll.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
A VALUE that begins with ( { or < is read as property-list text: an array, a dictionary,
data. Any other is a string, unchanged. Prints the answer's data packet as property-list
text, or with --json as JSON; data becomes {"data": "0fbd77"}, numbers are strings.

With --all, prints a line for each server found, as kt hello --all finds them: its name, its
address and its answer. As JSON: name, address, port, roundTripMs and answer, the last two null
if no answer came. Ends with status 0 if any server answered.

With --wait, the first resend comes after --timeout, each later one after twice as long, and
all at most 2 s apart. The server works on the request once. Excludes --retries and --all.

Examples:
  kt send Status
  kt send Echo name=value 'list=(1, 2)' 'nested={ a = b; }' 'bytes=<0fbd77>'
  kt send Backup --server hut --wait 60
  kt send --all Status
)";

class Send : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addArgument("KEYWORD", keyword_, "The kind of the request");
    line.addArguments("KEY=VALUE", entries_, false, "Its other entries");
    line.addFlag("--all", all_, "Ask every server at the same time, not only the first found");
    line.addOption<readSeconds>({"--wait", "SECONDS",
                                 "Send the request again and again for this time, until it\n"
                                 "is answered; for requests that take long"},
                                wait_, "a number of seconds from 0 to 86400");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    if (wait_ && options.retries) throw Misuse("--wait excludes --retries");
    if (all_ && wait_) throw Misuse("--all excludes --wait");
    const Dictionary request = requestOf(keyword_, entries_);
    requireDatagram(options.signature, request);
    if (all_) {
      sendToAll(request, options);
      return exitDone;
    }
    Connection connection(options);
    const Dictionary answer =
        wait_ ? connection.answerWithin(*wait_, request) : connection.answerTo(request);
    Results(options).print([&] { return answer.description(); }, [&] { return jsonOf(answer); });
    return exitDone;
  }

 private:
  std::string keyword_;
  std::vector<std::string> entries_;                   // KEY=VALUE
  bool all_ = false;                                   // whether to ask every server
  std::optional<std::chrono::duration<double>> wait_;  // how long to resend; nothing: --retries
};

}  // namespace

Command &sendCommand() {
  static Send command;
  return command;
}

}  // namespace kt::tools
