// SPDX-License-Identifier: MIT

#include "kt/udp/AsyncClient.h"

#include <sys/random.h>

#include <algorithm>
#include <limits>
#include <span>
#include <string_view>

#include "kt/diagnostics/KtDebug.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "kt/udp/RetryWaits.h"

namespace kt {

namespace {

constexpr std::size_t mostInFlight = 4096;

// The most datagrams that one process() receives. It bounds the call when answers come as fast as
// completions request more. Not fewer than the requests in flight: a request must not be given up
// while its answer waits in the receive buffer, which may be large or fill up during the call.
constexpr std::size_t mostReceived = mostInFlight;

// The handshakes drawn at once; getentropy returns at most 256 bytes.
constexpr std::size_t drawnTogether = 256 / sizeof(std::int32_t);

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

// Returns the handshake value of the request that `reply` answers, or claims to.
std::int32_t handshakeAnsweredBy(const Dictionary &reply) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(handshakeOf(reply)) - 1);
}

// Returns how long a client with this wait listens. With a negative one it does not.
std::chrono::milliseconds listening(std::int32_t waitMs) {
  return std::chrono::milliseconds(waitMs == 0 ? udp::waitInsteadOfZeroMs : std::max(waitMs, 0));
}

}  // namespace

// ---- Set-up ----

AsyncClient::AsyncClient(const KtUDPClient &connected) : AsyncClient(connected, connected.sin()) {
  knowsServer_ = connected.port() >= 0;
}

AsyncClient::AsyncClient(const KtUDPClient &settings, const sockaddr_in &server)
    : signature_(settings.signature()),
      timeout_(settings.timeout()),
      retries_(settings.retries()),
      server_(server),
      knowsServer_(true),
      socket_(Socket::open()),
      buffer_(bufferSize) {
  (void)socket_.allowBroadcast();  // if refused, only requests to a broadcast address are lost
}

AsyncClient::~AsyncClient() = default;

// ---- Sending ----

// Returns an odd value from 1 to 2^31 - 1 that no open request has.
std::int32_t AsyncClient::freshHandshake() {
  if (randomValues_.empty()) {
    randomValues_.resize(drawnTogether);
    // Without a random source every value is 1, or the next that is free: distinct among open
    // requests, but a late reply to an earlier request may then be accepted.
    if (::getentropy(randomValues_.data(), randomValues_.size() * sizeof(std::int32_t)) != 0) {
      std::fill(randomValues_.begin(), randomValues_.end(), 1);
    }
  }
  std::int32_t handshake = (randomValues_.back() & largest) | 1;
  randomValues_.pop_back();
  while (requests_.contains(handshake)) {
    handshake = handshake == largest ? 1 : handshake + 2;
  }
  return handshake;
}

void AsyncClient::request(const Dictionary &packet, Completion completion, Acceptance acceptance) {
  const std::int32_t handshake = freshHandshake();
  std::string text = requestEnvelope(signature_, handshake, packet).description();
  if (!knowsServer_ || datagramBytes(text).size() > largestDatagram) {
    overdueSince_ = Clock::now();
    unsendable_.push_back(std::move(completion));
    return;
  }
  requests_.emplace(handshake, Request{std::move(text),
                                       std::move(completion),
                                       std::move(acceptance),
                                       timeout_,
                                       retries_,
                                       false,
                                       {}});
  waiting_.push_back(handshake);
  sendWaiting();
}

// Sends the requests that wait, as many as may be in flight.
void AsyncClient::sendWaiting() {
  while (!waiting_.empty() && deadlines_.size() < mostInFlight) {
    const std::int32_t handshake = waiting_.front();
    waiting_.pop_front();
    send(handshake, requests_.at(handshake));
  }
}

// Sends a request and starts its wait.
void AsyncClient::send(std::int32_t handshake, Request &request) {
  const std::span<const char> datagram = datagramBytes(request.text);
  KtDebug("sending %@ len %d to %x port %d", request.text, datagram.size(), server_.sin_addr.s_addr,
          ntohs(server_.sin_port));
  // A refused datagram counts as a lost one: the retry covers both.
  (void)socket_.sendWithoutWaiting(datagram, server_);
  request.isInFlight = true;
  request.deadline = Clock::now() + listening(request.waitMs);
  deadlines_.emplace(request.deadline, handshake);
}

// ---- Processing ----

std::optional<AsyncClient::Clock::time_point> AsyncClient::deadline() const {
  if (isInterrupted_ || !unsendable_.empty()) return overdueSince_;
  if (deadlines_.empty()) return std::nullopt;
  return deadlines_.begin()->first;
}

void AsyncClient::process() {
  isInterrupted_ = true;  // in case a completion throws
  overdueSince_ = Clock::now();
  completeUnsendable();
  receive();
  expire();
  isInterrupted_ = false;
}

// Leaves those that a completion adds to the next call.
void AsyncClient::completeUnsendable() {
  for (std::size_t count = unsendable_.size(); count > 0; --count) {
    const Completion completion = std::move(unsendable_.front());
    unsendable_.pop_front();
    if (completion) completion(std::nullopt);
  }
}

void AsyncClient::receive() {
  sockaddr_in source{};
  for (std::size_t received = 0; received < mostReceived; ++received) {
    const std::ptrdiff_t count = socket_.receive(std::span(buffer_).first(receiveLimit), source);
    if (count < 0) return;
    buffer_[static_cast<std::size_t>(count)] = '\0';
    KtDebug("Received reply %s", buffer_.data());
    take({buffer_.data(), static_cast<std::size_t>(count)});
  }
}

void AsyncClient::take(std::string_view received) {
  std::optional<Dictionary> reply = parseMessage(received);
  if (!reply || !accept(*std::move(reply))) KtDebug("Tossing invalid reply");
}

// Completes the request in flight that `reply` answers. Returns false if there is none, or if its
// acceptance refuses the reply.
bool AsyncClient::accept(Dictionary &&reply) {
  const std::int32_t handshake = handshakeAnsweredBy(reply);
  const auto found = requests_.find(handshake);
  if (found == requests_.end() || !found->second.isInFlight) return false;
  if (!isReplyTo(handshake, reply, signature_)) return false;
  const Acceptance &accepts = found->second.acceptance;
  if (accepts && !accepts(reply)) return false;
  complete(handshake, takeDataPacket(std::move(reply)));
  return true;
}

// Sends requests again whose wait has passed, and gives up those that have no send left.
void AsyncClient::expire() {
  const Clock::time_point now = Clock::now();
  while (!deadlines_.empty() && deadlines_.begin()->first < now) {
    const std::int32_t handshake = deadlines_.begin()->second;
    Request &request = requests_.at(handshake);
    if (request.retriesLeft == 0) {
      complete(handshake, std::nullopt);
      continue;
    }
    deadlines_.erase(deadlines_.begin());
    --request.retriesLeft;
    request.waitMs = udp::doubled(request.waitMs);
    send(handshake, request);  // its deadline is not before `now`: the loop ends
  }
}

// Ends a request that is in flight. Sends those that waited for it before the completion, which may
// request more.
void AsyncClient::complete(std::int32_t handshake, std::optional<Dictionary> answer) {
  const auto ended = requests_.extract(handshake);
  const Request &request = ended.mapped();
  deadlines_.erase({request.deadline, handshake});
  sendWaiting();
  if (request.completion) request.completion(std::move(answer));
}

}  // namespace kt
