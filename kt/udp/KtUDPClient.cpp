// SPDX-License-Identifier: MIT

#include "kt/udp/KtUDPClient.h"

#include <chrono>
#include <string_view>
#include <utility>

#include "kt/diagnostics/KtDebug.h"
#include "kt/udp/HostLookup.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/ReadSet.h"
#include "kt/udp/RetryWaits.h"

namespace {

using kt::udp::HostAddress;

using Clock = std::chrono::steady_clock;

// The recorded address of a new client. Its bytes are not in network byte order as those of every
// later address are. Kept: only the log shows it, since discovery replaces it before it sends.
constexpr std::uint32_t initialInet = 0x7f000001;

constexpr std::int32_t discoveryWaitMs = 50;
constexpr int discoveryPasses = 2;

}  // namespace

// ---- Set-up ----

KtUDPClient::KtUDPClient()
    : ports_(kt::defaultPorts.begin(), kt::defaultPorts.end()),
      signature_(kt::defaultSignature),
      timeout_(100),
      retries_(3),
      sockIn_(kt::Socket::open()),
      inet_(initialInet),
      port_(-1),
      buffer_(kt::bufferSize) {
  (void)sockIn_.allowBroadcast();  // if refused, discovery goes unanswered
}

KtUDPClient::~KtUDPClient() = default;

void KtUDPClient::setPorts(std::vector<std::int32_t> ports) {
  ports_ = std::move(ports);
}

void KtUDPClient::setBaseReplyTimeout(std::int32_t milliseconds) {
  timeout_ = milliseconds;
}

void KtUDPClient::setSignature(std::string signature) {
  signature_ = std::move(signature);
}

void KtUDPClient::setNumberOfRetries(std::int32_t retries) {
  if (retries >= 0) retries_ = retries;
}

std::string KtUDPClient::hello() const {
  return kt::discoveryPacket().description();
}

// ---- Addresses ----

void KtUDPClient::broadcastIP() {
  const HostAddress host = kt::udp::lookUpHost("broadcasthost");
  inet_ = host.kind == HostAddress::Kind::ipv4 ? host.address : INADDR_BROADCAST;
}

bool KtUDPClient::serverIPFromHostname(const std::string &name) {
  const HostAddress host = kt::udp::lookUpHost(name);
  switch (host.kind) {
    case HostAddress::Kind::none:
      KtDebug("Could not resolve host %@ -- fallback broadcast", name);
      inet_ = INADDR_BROADCAST;
      return true;
    case HostAddress::Kind::other:
      return false;
    case HostAddress::Kind::ipv4:
      break;
  }
  inet_ = host.address;
  KtDebug("Server IP found to be %x on host %@", inet_, name);
  return true;
}

void KtUDPClient::setRcvTimeout(std::int32_t milliseconds) {
  if (milliseconds == 0) milliseconds = kt::udp::waitInsteadOfZeroMs;
  timeValue_.tv_sec = milliseconds / 1000;
  timeValue_.tv_usec = milliseconds % 1000 * 1000;
}

// ---- Acceptance ----

bool KtUDPClient::isServerIdReply(const kt::Dictionary *packet) {
  if (packet == nullptr) return false;
  const std::optional<kt::ServerId> server = kt::serverIdOf(*packet);
  if (!server || !serverIPFromHostname(server->name)) return false;
  port_ = server->port;
  return true;
}

bool KtUDPClient::isValidReplyForMessage(const kt::Dictionary &reply,
                                         const kt::Dictionary &message) const {
  return kt::isReplyTo(message, reply, signature_);
}

// ---- Sending and listening ----

void KtUDPClient::sendMessage(const kt::Dictionary &message) {
  const std::string text = message.description();
  const std::span<const char> datagram = kt::datagramBytes(text);
  // Logs the recorded address and port, which can differ from sin_ after discovery. Kept: it tells
  // what the server announced.
  KtDebug("sending %@ len %d to %x port %d", text, datagram.size(), inet_, port_);
  // A refused datagram counts as a lost one: the retry covers both.
  (void)sockIn_.send(datagram, sin_);
}

// Receives one datagram after a successful wait. Returns the reply to `message` in it, or nothing.
std::optional<kt::Dictionary> KtUDPClient::receiveReply(const kt::Dictionary &message) {
  const std::ptrdiff_t count = sockIn_.receive(std::span(buffer_).first(kt::receiveLimit), sinrep_);
  if (count <= 0) {
    KtDebug("Request timed out");
    return std::nullopt;
  }
  const std::string_view received(buffer_.data(), static_cast<std::size_t>(count));
  buffer_[received.size()] = '\0';
  KtDebug("Received reply %s", buffer_.data());
  std::optional<kt::Dictionary> reply = kt::parseMessage(received);
  if (reply && isValidReplyForMessage(*reply, message)) return reply;
  KtDebug("Tossing invalid reply");
  return std::nullopt;
}

std::optional<kt::Dictionary> KtUDPClient::validateReplyForMessage(const kt::Dictionary &message) {
  // Made once per call: a wait that ends without data empties the set, and later waits of this call
  // only let their time pass. Kept: a later reply is read in the next period.
  kt::udp::ReadSet readSet(sockIn_);
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeout_);
  do {
    if (readSet.wait(&timeValue_) <= 0) {
      KtDebug("Bad select");  // on a timeout too; kept, as people search logs for these words
    } else if (std::optional<kt::Dictionary> reply = receiveReply(message)) {
      return reply;
    }
  } while (Clock::now() < deadline);
  return std::nullopt;
}

std::optional<kt::Dictionary> KtUDPClient::replyForMessage(const kt::Dictionary &message) {
  std::int32_t waitMs = timeout_;
  for (std::int64_t attempt = 0; attempt <= retries_; ++attempt) {
    setRcvTimeout(waitMs);
    sendMessage(message);
    if (std::optional<kt::Dictionary> reply = validateReplyForMessage(message)) return reply;
    waitMs = kt::udp::doubled(waitMs);
  }
  return std::nullopt;
}

// ---- Discovery and requests ----

void KtUDPClient::sendToPorts(const std::vector<std::int32_t> &ports,
                              const kt::Dictionary &envelope) {
  for (const std::int32_t port : ports) {
    port_ = port;
    sin_.sin_port = htons(static_cast<std::uint16_t>(port));
    sendMessage(envelope);
  }
}

bool KtUDPClient::failToConnect() {
  KtDebug("No server could be found");
  port_ = -1;
  return false;
}

// Sends discovery with `sendPass`, which is called with the envelope, in at most two passes. When a
// server answers, aims at it and returns true.
template <typename SendPass>
bool KtUDPClient::discover(const SendPass &sendPass) {
  const kt::Dictionary envelope =
      kt::requestEnvelope(signature_, kt::freshHandshake(), kt::discoveryPacket());
  for (int pass = 0; pass < discoveryPasses; ++pass) {
    sendPass(envelope);
    KtDebug("Done sending requests; now listening for reply");
    setRcvTimeout(discoveryWaitMs);
    const std::optional<kt::Dictionary> reply = validateReplyForMessage(envelope);
    if (!isServerIdReply(reply ? kt::dataPacketOf(*reply) : nullptr)) continue;
    sin_ = sinrep_;
    KtDebug("Server listening on port %d", port_);
    return true;
  }
  return failToConnect();
}

bool KtUDPClient::connectToServer() {
  const std::vector<std::int32_t> ports = ports_;  // an override of broadcastIP may change them
  broadcastIP();
  sin_ = kt::ipv4(inet_, 0);  // sendToPorts sets the port
  const auto sendPass = [&](const kt::Dictionary &envelope) { sendToPorts(ports, envelope); };
  if (!discover(sendPass)) return false;
  if (!replyForRequest(kt::discoveryPacket())) {
    KtDebug("Invalid reply resolution, broadcast fallback");
    broadcastIP();  // changes the recorded address only; requests are still sent to sin_
  }
  return true;
}

bool KtUDPClient::connectToServer(const std::string &host) {
  const HostAddress found = kt::udp::lookUpHost(host);
  if (found.kind != HostAddress::Kind::ipv4) {
    KtDebug("Could not resolve host %@", host);
    return failToConnect();
  }
  return connectToServerAt({found.address});
}

bool KtUDPClient::connectToServerAt(const std::vector<std::uint32_t> &addresses) {
  if (addresses.empty()) return failToConnect();
  const auto sendPass = [&](const kt::Dictionary &envelope) {
    for (const std::uint32_t address : addresses) {
      inet_ = address;
      sin_ = kt::ipv4(address, 0);  // sendToPorts sets the port
      sendToPorts(ports_, envelope);
    }
  };
  if (!discover(sendPass)) return false;
  if (!replyForRequest(kt::discoveryPacket())) {
    KtDebug("Invalid reply resolution");
    inet_ = sin_.sin_addr.s_addr;
  }
  return true;
}

std::optional<kt::Dictionary> KtUDPClient::replyForRequest(
    const std::optional<kt::Dictionary> &packet) {
  if (port_ < 0) return std::nullopt;
  std::optional<kt::Dictionary> reply =
      replyForMessage(kt::requestEnvelope(signature_, kt::freshHandshake(), packet));
  if (!reply) return std::nullopt;
  return kt::takeDataPacket(std::move(*reply));
}
