// SPDX-License-Identifier: MIT

#include "tools/ktd/Host.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "kt/foundation/Format.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tools/common/Addresses.h"
#include "tools/common/DirectedClient.h"
#include "tools/common/Failure.h"
#include "tools/common/Output.h"
#include "tools/common/Paths.h"
#include "tools/ktd/Answers.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// Looks for another server where the options say, and records its address. Its data is static
// because the server makes the object itself and keeps only its result.
class UniquenessProbe : public DirectedClient {
 public:
  UniquenessProbe() : DirectedClient(broadcast) {}

  bool isServerIdReply(const Dictionary *packet) override {
    const bool isServer = DirectedClient::isServerIdReply(packet);
    if (isServer) otherServer = sinrep();
    return isServer;
  }

  static inline std::optional<std::string> broadcast;    // where to look
  static inline std::optional<sockaddr_in> otherServer;  // the server that answered
};

// Returns the port and why it can't be bound: "4798 (Address already in use)"
std::string portAndReason(std::int32_t port) {
  Socket socket = Socket::open();
  const bool bound = socket.descriptor() >= 0 && socket.bind(static_cast<std::uint16_t>(port));
  const std::string reason = bound ? "free by now" : std::strerror(errno);
  return std::to_string(port) + " (" + reason + ')';
}

Failure registrationFailure(const Configuration &configuration) {
  if (UniquenessProbe::otherServer) {
    return Failure(
        kt::format("another server of signature %s answers at %s\n"
                   "Stop it, or start without --unique or with another --signature.",
                   inQuotes(configuration.signature), endpoint(*UniquenessProbe::otherServer)));
  }
  std::string reasons;
  for (const std::int32_t port : configuration.ports) {
    reasons += (reasons.empty() ? "" : ", ") + portAndReason(port);
  }
  return Failure("every port of the list is taken: " + reasons +
                 "\nStop what holds them, or give other ports with --ports.");
}

// Reports a mistake in a path when the server starts, rather than serving an empty list.
void checkFiles(const ServedFiles &files) {
  for (const std::string &root : files.roots) {
    if (const std::optional<std::string> reason = whyNotListed(root)) {
      throw Failure("the files of " + inQuotes(root) + " can't be served: " + *reason);
    }
  }
}

void registerServer(KtUDPDaemon &daemon, const Configuration &configuration) {
  UniquenessProbe::broadcast = configuration.broadcast;
  daemon.setCounterpartClass<UniquenessProbe>();
  daemon.setMustBeUnique(configuration.unique);
  daemon.setSignature(configuration.signature);
  daemon.setPorts(configuration.ports);
  if (!daemon.registerPort()) throw registrationFailure(configuration);
}

}  // namespace

void serve(const Configuration &configuration, ErrorLog &errors) {
  checkFiles(configuration.service.files);
  KtUDPDaemon daemon;
  Answers answers(daemon, configuration.service.files);
  daemon.setDelegate(&answers);
  registerServer(daemon, configuration);
  printLine(kt::format("ktd: serving %s on port %d", inQuotes(daemon.signature()), daemon.port()));
  for (;;) {
    try {
      daemon.processQueries();
    } catch (const std::exception &error) {
      errors.report(std::string("a request failed: ") + error.what());
    }
  }
}

}  // namespace kt::tools
