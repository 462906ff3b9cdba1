// SPDX-License-Identifier: MIT

// kt hello: finds one server, or every server.
#include "kt/udp/HostLookup.h"
#include "kt/udp/KtMessage.h"
#include "tools/kt/Connection.h"
#include "tools/kt/EveryServer.h"
#include "tools/kt/Results.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
Prints a server's name, address, port, signature and round trip. If the port or the name that
it announces differs from the source of its answer, prints that too. As JSON: name, address,
port, signature, roundTripMs, announcedPort, nameAddress (or null).

Without --server and --broadcast, --all looks at the broadcast address of every network and
at that of the host "broadcasthost". A server on this host counts once even if it answers
from several addresses.
)";

// Returns the server that the client finds. Asks it once more, to get its name and to measure the
// round trip: finding it takes longer than one.
FoundServer oneServer(const Options &options) {
  Connection connection(options);
  const Clock::time_point start = Clock::now();
  const Dictionary answer = connection.answerTo(discoveryPacket());
  const Milliseconds roundTrip = Clock::now() - start;
  const std::optional<ServerId> id = serverIdOf(answer);
  if (!id) throw Failure("the server does not say who it is: " + answer.description());
  return {connection.client().sin(), *id, roundTrip};
}

class Hello : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addFlag("--all", all_,
                 "Print every server that answers, not only the first, on\n"
                 "every network; takes twice the time of --timeout");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    if (all_) {
      for (const FoundServer &server : everyServer(options)) {
        print(server, options);
      }
    } else {
      print(oneServer(options), options);
    }
    return exitDone;
  }

 private:
  static void print(const FoundServer &server, const Options &options) {
    const auto named = [&] { return udp::lookUpHost(server.id.name); };
    Results(options).print([&] { return lineFor(server, options.signature, named()); },
                           [&] { return jsonFor(server, options.signature, named()); });
  }

  bool all_ = false;
};

}  // namespace

Command &helloCommand() {
  static Hello command;
  return command;
}

}  // namespace kt::tools
