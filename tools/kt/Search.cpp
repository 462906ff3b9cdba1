// SPDX-License-Identifier: MIT

#include "tools/kt/Search.h"

#include <algorithm>
#include <optional>

#include "tools/kt/PollSet.h"

namespace kt::tools {

namespace {

bool sameEndpoint(const sockaddr_in &left, const sockaddr_in &right) {
  return left.sin_addr.s_addr == right.sin_addr.s_addr && left.sin_port == right.sin_port;
}

}  // namespace

bool isSameServer(const FoundServer &left, const FoundServer &right, const OwnAddresses &own) {
  if (sameEndpoint(left.source, right.source)) return true;
  return left.id.port == right.id.port && own.contain(left.source.sin_addr.s_addr) &&
         own.contain(right.source.sin_addr.s_addr);
}

Search::Search(const Options &options) : options_(options) {
  (void)socket_.allowBroadcast();  // a refusal appears as a search without answers
}

// ---- Asking ----

void Search::ask(const Addresses &addresses) {
  questions_.clear();
  for (const std::uint32_t address : addresses) {
    send(questions_.emplace_back(), address);
  }
}

void Search::send(Question &question, std::uint32_t address) {
  question.envelope = requestEnvelope(options_.signature, freshHandshake(), discoveryPacket());
  const std::string text = question.envelope.description();
  for (const std::int32_t port : options_.ports) {
    const sockaddr_in destination = ipv4(address, static_cast<std::uint16_t>(port));
    question.sentAt.push_back(Clock::now());
    (void)socket_.send(datagramBytes(text), destination);  // a refusal appears as silence
  }
}

// ---- Listening ----

void Search::listen(Clock::time_point deadline) {
  while (Clock::now() < deadline) {
    PollSet events;
    events.add(descriptor());
    events.wait(deadline);
    while (receive() && Clock::now() < deadline) {
    }
  }
}

bool Search::receive() {
  sockaddr_in source{};
  const std::ptrdiff_t count = socket_.receive(buffer_, source);
  const Clock::time_point receivedAt = Clock::now();
  if (count < 0) return false;
  const auto reply = parseMessage({buffer_.data(), static_cast<std::size_t>(count)});
  if (reply) take(*reply, source, receivedAt);
  return true;
}

// Adds the server that sent `reply`, unless that answers no question.
void Search::take(const Dictionary &reply, const sockaddr_in &source,
                  Clock::time_point receivedAt) {
  const auto question = std::ranges::find_if(questions_, [&](const Question &asked) {
    return isReplyTo(asked.envelope, reply, options_.signature);
  });
  const Dictionary *packet = dataPacketOf(reply);
  const std::optional<ServerId> id = packet != nullptr ? serverIdOf(*packet) : std::nullopt;
  if (question == questions_.end() || !id) return;
  add({source, *id, receivedAt - timeOfSend(*question, ntohs(source.sin_port))});
}

// Returns when the question was sent to `port`; for any other port, when it was first sent.
Clock::time_point Search::timeOfSend(const Question &question, std::int32_t port) const {
  const auto place = std::ranges::find(options_.ports, port);
  return place != options_.ports.end()
             ? question.sentAt[static_cast<std::size_t>(place - options_.ports.begin())]
             : question.sentAt.front();
}

void Search::add(const FoundServer &server) {
  const bool known = std::ranges::any_of(
      found_, [&](const FoundServer &earlier) { return isSameServer(earlier, server, own_); });
  if (!known) found_.push_back(server);
}

}  // namespace kt::tools
