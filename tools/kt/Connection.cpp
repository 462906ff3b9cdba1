// SPDX-License-Identifier: MIT

#include "tools/kt/Connection.h"

#include <cerrno>
#include <cstring>

#include "kt/foundation/Format.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/Socket.h"
#include "tools/common/Addresses.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// Returns why the system refuses to send to `address`, or nothing if it does not. The client
// ignores the results of its sends, so one more datagram is sent to find out.
std::optional<std::string> refusalToSend(const Options &options, std::uint32_t address) {
  Socket socket = Socket::open();
  (void)socket.allowBroadcast();  // the send below shows a failure
  sockaddr_in destination{};
  destination.sin_family = AF_INET;
  destination.sin_addr.s_addr = address;
  destination.sin_port = htons(static_cast<std::uint16_t>(options.ports.front()));
  const std::string text =
      requestEnvelope(options.signature, freshHandshake(), discoveryPacket()).description();
  if (socket.send(datagramBytes(text), destination)) return std::nullopt;
  return std::strerror(errno);
}

}  // namespace

std::string wholeMilliseconds(Milliseconds time) {
  return kt::format("%.0f ms", time.count());
}

Failure noServer(const Options &options, std::uint32_t address, Milliseconds elapsed) {
  const std::string tried =
      kt::format("no server of signature %s answered at %s within %s\nTried the ports %s.\n",
                 inQuotes(options.signature), dotted(address), wholeMilliseconds(elapsed),
                 portList(options.ports));
  if (const std::optional<std::string> refusal = refusalToSend(options, address)) {
    return Failure(tried + "The system refuses to send to " + dotted(address) + ": " + *refusal +
                   ".\nCheck that there is a route to that address, or give another with "
                   "--broadcast\n(127.0.0.1 for this machine).");
  }
  return Failure(tried +
                 "Check that ktd runs on this network with that signature and one of these ports,\n"
                 "that no firewall drops UDP, and whether a longer --timeout helps.");
}

void connect(KtUDPClient &client, const Options &options) {
  client.setSignature(options.signature);
  client.setPorts(options.ports);
  client.setBaseReplyTimeout(options.timeoutMs.value_or(usualTimeoutMs));
  if (options.retries) client.setNumberOfRetries(*options.retries);
  const Clock::time_point start = Clock::now();
  if (!client.connectToServer()) {
    throw noServer(options, client.sin().sin_addr.s_addr, Clock::now() - start);
  }
  if (client.port() < 0) {
    throw Failure(
        kt::format("the server at %s says that its port is %d, which no request can be sent to",
                   endpoint(client.sin()), client.port()));
  }
}

Dictionary answerOf(KtUDPClient &client, const Dictionary &packet) {
  const Clock::time_point start = Clock::now();
  if (std::optional<Dictionary> answer = client.replyForRequest(packet)) return *std::move(answer);
  const std::int64_t sends = std::int64_t{client.retries()} + 1;
  throw Failure(kt::format(
      "the server at %s left the request unanswered: sent %d %s within %s\n"
      "Check that the server still runs, and whether a longer --timeout or more --retries help.",
      endpoint(client.sin()), sends, sends == 1 ? "time" : "times",
      wholeMilliseconds(Clock::now() - start)));
}

}  // namespace kt::tools
