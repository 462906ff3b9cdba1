// SPDX-License-Identifier: MIT

// kt hello: finds a server, or every server.
#include <memory>

#include "kt/udp/HostLookup.h"
#include "kt/udp/KtMessage.h"
#include "tools/common/DirectedClient.h"
#include "tools/common/Failure.h"
#include "tools/common/Output.h"
#include "tools/kt/Census.h"
#include "tools/kt/Command.h"
#include "tools/kt/Connection.h"

namespace kt::tools {

namespace {

void print(const FoundServer &server, const Options &options) {
  if (options.quiet) return;
  const HostAddress named = udp::lookUpHost(server.id.name);
  if (options.json) {
    printJson(jsonFor(server, options.signature, named));
  } else {
    printLine(lineFor(server, options.signature, named));
  }
}

// The server that the client finds, asked once more for its name and the time that takes: finding
// it takes longer than a round trip.
FoundServer oneServer(const Options &options) {
  DirectedClient client(options.broadcast);
  connect(client, options);
  const Clock::time_point start = Clock::now();
  const Dictionary answer = answerOf(client, discoveryPacket());
  const Milliseconds roundTrip = Clock::now() - start;
  const std::optional<ServerId> id = serverIdOf(answer);
  if (!id) throw Failure("the server does not say who it is: " + answer.description());
  return {client.sin(), *id, roundTrip};
}

std::vector<FoundServer> allServers(const Options &options) {
  DirectedClient client(options.broadcast);
  client.broadcastIP();
  const Clock::time_point start = Clock::now();
  std::vector<FoundServer> servers = everyServer(options, client.inet());
  if (servers.empty()) throw noServer(options, client.inet(), Clock::now() - start);
  return servers;
}

int hello(bool all, const Options &options) {
  if (all) {
    for (const FoundServer &server : allServers(options)) {
      print(server, options);
    }
  } else {
    print(oneServer(options), options);
  }
  return exitDone;
}

}  // namespace

Action declareHello(CLI::App &app) {
  const auto all = std::make_shared<bool>(false);
  app.add_flag(
      "--all", *all,
      "Print every server that answers, not only the first;\ntakes twice the time of --timeout");
  app.footer(
      "Prints a server's name, address, port, signature and round trip, and where the port or the\n"
      "name that it announces differs from where its answer came from. As JSON:\n"
      "name, address, port, signature, roundTripMs, announcedPort, nameAddress (or null).");
  return [all](const Options &options) { return hello(*all, options); };
}

}  // namespace kt::tools
