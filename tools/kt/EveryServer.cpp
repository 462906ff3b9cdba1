// SPDX-License-Identifier: MIT

#include "tools/kt/EveryServer.h"

#include "kt/foundation/Format.h"
#include "tools/common/Addresses.h"
#include "tools/common/Json.h"
#include "tools/text/Escape.h"

namespace kt::tools {

std::vector<FoundServer> serversAt(const Addresses &addresses, const Options &options) {
  constexpr int passes = 2;
  const std::chrono::milliseconds timeout(options.timeoutMs.value_or(usualTimeoutMs));
  Search search(options);
  for (int count = 0; count < passes; ++count) {
    search.ask(addresses);
    search.listen(Clock::now() + timeout);
  }
  return search.found();
}

std::vector<FoundServer> everyServer(const Options &options) {
  const Addresses addresses = addressesOfAllServers(options);
  const Clock::time_point start = Clock::now();
  std::vector<FoundServer> servers = serversAt(addresses, options);
  if (servers.empty()) throw noServer(options, addresses, Clock::now() - start);
  return servers;
}

std::string lineFor(const FoundServer &server, const std::string &signature,
                    const HostAddress &named) {
  std::string line =
      kt::format("%s at %s, signature %s, %.3f ms", inQuotes(server.id.name),
                 endpoint(server.source), inQuotes(signature), server.roundTrip.count());
  if (server.id.port != ntohs(server.source.sin_port)) {
    line += kt::format("; announces port %d", server.id.port);
  }
  if (named.kind == udp::HostAddress::Kind::ipv4 &&
      named.address != server.source.sin_addr.s_addr) {
    line += "; its name resolves to " + dotted(named.address);
  }
  return line;
}

std::string jsonFor(const FoundServer &server, const std::string &signature,
                    const HostAddress &named) {
  JsonObject object;
  object.addText("name", server.id.name)
      .addText("address", dotted(server.source.sin_addr.s_addr))
      .addNumber("port", std::int64_t{ntohs(server.source.sin_port)})
      .addText("signature", signature)
      .addNumber("roundTripMs", server.roundTrip.count())
      .addNumber("announcedPort", std::int64_t{server.id.port});
  if (named.kind == HostAddress::Kind::ipv4) {
    object.addText("nameAddress", dotted(named.address));
  } else {
    object.addNull("nameAddress");
  }
  return object.text();
}

}  // namespace kt::tools
