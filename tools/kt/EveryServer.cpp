// SPDX-License-Identifier: MIT

#include "tools/kt/EveryServer.h"

#include <algorithm>

#include "kt/foundation/Format.h"
#include "kt/udp/ReadSet.h"
#include "tools/common/Addresses.h"
#include "tools/common/Json.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

bool sameEndpoint(const sockaddr_in &left, const sockaddr_in &right) {
  return left.sin_addr.s_addr == right.sin_addr.s_addr && left.sin_port == right.sin_port;
}

timeval timeUntil(Clock::time_point deadline) {
  using std::chrono::microseconds;
  const auto rest = std::chrono::duration_cast<microseconds>(deadline - Clock::now());
  const std::int64_t us = std::max<std::int64_t>(rest.count(), 0);
  timeval time{};
  time.tv_sec = static_cast<decltype(time.tv_sec)>(us / 1'000'000);
  time.tv_usec = static_cast<decltype(time.tv_usec)>(us % 1'000'000);
  return time;
}

// One pass of sending and listening. It has a handshake of its own: a late answer to an earlier
// pass must not look like a quick answer to this one.
class Pass {
 public:
  Pass(const Options &options, Socket &socket)
      : options_(options),
        socket_(socket),
        envelope_(requestEnvelope(options.signature, freshHandshake(), discoveryPacket())) {}

  void send(std::uint32_t address) {
    const std::string text = envelope_.description();
    for (const std::int32_t port : options_.ports) {
      const sockaddr_in destination = ipv4(address, static_cast<std::uint16_t>(port));
      sentAt_.push_back(Clock::now());
      (void)socket_.send(datagramBytes(text), destination);  // a refusal appears as silence
    }
  }

  void listen(std::vector<FoundServer> &found) {
    const Clock::time_point deadline =
        Clock::now() + std::chrono::milliseconds(options_.timeoutMs.value_or(usualTimeoutMs));
    while (Clock::now() < deadline) {
      const timeval rest = timeUntil(deadline);
      if (udp::ReadSet(socket_).wait(&rest) > 0) receive(found);
    }
  }

 private:
  void receive(std::vector<FoundServer> &found) {
    sockaddr_in source{};
    const std::ptrdiff_t count = socket_.receive(buffer_, source);
    const Clock::time_point receivedAt = Clock::now();
    if (count <= 0) return;
    const auto reply = parseMessage({buffer_.data(), static_cast<std::size_t>(count)});
    if (!reply || !isReplyTo(envelope_, *reply, options_.signature)) return;
    const Dictionary *packet = dataPacketOf(*reply);
    const std::optional<ServerId> id = packet != nullptr ? serverIdOf(*packet) : std::nullopt;
    const bool known = std::any_of(found.begin(), found.end(), [&](const FoundServer &server) {
      return sameEndpoint(server.source, source);
    });
    if (id && !known) found.push_back({source, *id, receivedAt - sentTo(ntohs(source.sin_port))});
  }

  // Returns when the request was sent to `port`; for any other port, when the first one was sent.
  [[nodiscard]] Clock::time_point sentTo(std::int32_t port) const {
    const auto place = std::find(options_.ports.begin(), options_.ports.end(), port);
    return place != options_.ports.end()
               ? sentAt_[static_cast<std::size_t>(place - options_.ports.begin())]
               : sentAt_.front();
  }

  const Options &options_;
  Socket &socket_;
  Dictionary envelope_;                    // the discovery request
  std::vector<Clock::time_point> sentAt_;  // when it was sent, for each port
  std::vector<char> buffer_ = std::vector<char>(receiveLimit);
};

}  // namespace

std::vector<FoundServer> everyServer(const Options &options, std::uint32_t address) {
  constexpr int passes = 2;
  Socket socket = Socket::open();
  (void)socket.allowBroadcast();  // a refusal appears as a discovery without answers
  std::vector<FoundServer> found;
  for (int count = 0; count < passes; ++count) {
    Pass pass(options, socket);
    pass.send(address);
    pass.listen(found);
  }
  return found;
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
