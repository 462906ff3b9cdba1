// SPDX-License-Identifier: MIT

#include "tools/kt/EveryServer.h"

#include <algorithm>
#include <utility>

#include "kt/foundation/Format.h"
#include "kt/udp/ReadSet.h"
#include "kt/udp/Socket.h"
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

// A request to one address, on every port. It has a handshake of its own: the answer to it tells
// when it was sent, and a late answer to an earlier one must not look like a quick one.
class Question {
 public:
  explicit Question(const Options &options)
      : options_(options),
        envelope_(requestEnvelope(options.signature, freshHandshake(), discoveryPacket())) {}

  void send(Socket &socket, std::uint32_t address) {
    const std::string text = envelope_.description();
    for (const std::int32_t port : options_.ports) {
      const sockaddr_in destination = ipv4(address, static_cast<std::uint16_t>(port));
      sentAt_.push_back(Clock::now());
      (void)socket.send(datagramBytes(text), destination);  // a refusal appears as silence
    }
  }

  [[nodiscard]] bool isAnsweredBy(const Dictionary &reply) const {
    return isReplyTo(envelope_, reply, options_.signature);
  }

  // Returns when it was sent to `port`; for any other port, when it was first sent.
  [[nodiscard]] Clock::time_point sentTo(std::int32_t port) const {
    const auto place = std::find(options_.ports.begin(), options_.ports.end(), port);
    return place != options_.ports.end()
               ? sentAt_[static_cast<std::size_t>(place - options_.ports.begin())]
               : sentAt_.front();
  }

 private:
  const Options &options_;
  Dictionary envelope_;                    // the discovery request
  std::vector<Clock::time_point> sentAt_;  // when it was sent, for each port
};

// Sends questions and collects the servers that answer.
class Search {
 public:
  explicit Search(const Options &options) : options_(options) {
    (void)socket_.allowBroadcast();  // a refusal appears as a discovery without answers
  }

  // Asks at each of `addresses` and listens for the timeout.
  void pass(const Addresses &addresses) {
    questions_.clear();
    for (const std::uint32_t address : addresses) {
      questions_.emplace_back(options_).send(socket_, address);
    }
    const Clock::time_point deadline =
        Clock::now() + std::chrono::milliseconds(options_.timeoutMs.value_or(usualTimeoutMs));
    while (Clock::now() < deadline) {
      const timeval rest = timeUntil(deadline);
      if (udp::ReadSet(socket_).wait(&rest) > 0) receive();
    }
  }

  [[nodiscard]] std::vector<FoundServer> found() && { return std::move(found_); }

 private:
  void receive() {
    sockaddr_in source{};
    const std::ptrdiff_t count = socket_.receive(buffer_, source);
    const Clock::time_point receivedAt = Clock::now();
    if (count <= 0) return;
    const auto reply = parseMessage({buffer_.data(), static_cast<std::size_t>(count)});
    if (!reply) return;
    const auto question = std::ranges::find_if(
        questions_, [&](const Question &asked) { return asked.isAnsweredBy(*reply); });
    const Dictionary *packet = dataPacketOf(*reply);
    const std::optional<ServerId> id = packet != nullptr ? serverIdOf(*packet) : std::nullopt;
    if (question == questions_.end() || !id) return;
    add({source, *id, receivedAt - question->sentTo(ntohs(source.sin_port))});
  }

  void add(const FoundServer &server) {
    const bool known = std::ranges::any_of(
        found_, [&](const FoundServer &earlier) { return isSameServer(earlier, server, own_); });
    if (!known) found_.push_back(server);
  }

  const Options &options_;
  const OwnAddresses own_ = OwnAddresses::ofInterfaces();
  Socket socket_ = Socket::open();
  std::vector<Question> questions_;  // of the present pass, one for each address
  std::vector<FoundServer> found_;   // in the order of their answers
  std::vector<char> buffer_ = std::vector<char>(receiveLimit);
};

}  // namespace

bool isSameServer(const FoundServer &left, const FoundServer &right, const OwnAddresses &own) {
  if (sameEndpoint(left.source, right.source)) return true;
  return left.id.port == right.id.port && own.contain(left.source.sin_addr.s_addr) &&
         own.contain(right.source.sin_addr.s_addr);
}

std::vector<FoundServer> serversAt(const Addresses &addresses, const Options &options) {
  constexpr int passes = 2;
  Search search(options);
  for (int count = 0; count < passes; ++count) {
    search.pass(addresses);
  }
  return std::move(search).found();
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
