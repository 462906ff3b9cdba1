// SPDX-License-Identifier: MIT

#include "kt/udp/KtUDPDaemon.h"

#include <span>
#include <stdexcept>
#include <utility>

#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/HostName.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "kt/udp/ReadSet.h"

// ---- Set-up ----

KtUDPDaemon::KtUDPDaemon()
    : ports_(kt::defaultPorts.begin(), kt::defaultPorts.end()),
      signature_(kt::defaultSignature),
      buffer_(kt::bufferSize),
      counterpart_(&anotherServerAnswers<KtUDPClient>) {}

KtUDPDaemon::~KtUDPDaemon() = default;

void KtUDPDaemon::setPorts(std::vector<std::int32_t> ports) {
  ports_ = std::move(ports);
}

void KtUDPDaemon::setSignature(std::string signature) {
  signature_ = std::move(signature);
}

KtUDPDaemon &KtUDPDaemon::setDelegate(std::nullptr_t) {
  delegate_ = nullptr;
  responder_ = nullptr;
  return *this;
}

void KtUDPDaemon::setMustBeUnique(bool unique) {
  unique_ = unique;
}

// ---- Registering ----

bool KtUDPDaemon::ensureUniqueness() {
  if (!unique_) return true;
  const bool alone = !counterpart_(signature_, ports_);
  KtDebug("Daemon is unique: %d", alone);
  return alone;
}

bool KtUDPDaemon::registerPort() {
  if (!ensureUniqueness()) return false;
  kt::Socket socket = kt::Socket::open();
  for (const std::int32_t port : ports_) {
    if (!socket.bind(static_cast<std::uint16_t>(port))) continue;
    port_ = socket.boundPort();
    KtDebug("Bound to port %d", port_);
    socketIn_ = std::move(socket);
    return true;
  }
  return false;
}

// ---- Answering ----

kt::Dictionary KtUDPDaemon::answerTo(const kt::Dictionary &packet) {
  if (kt::isDiscovery(packet)) return kt::serverIdPacket(kt::hostName(), port_);
  if (responder_ == nullptr) throw std::logic_error("no delegate to answer the request");
  std::optional<kt::Dictionary> answer = responder_(delegate_, packet);
  if (!answer) throw std::logic_error("the delegate returned no answer to the request");
  return *std::move(answer);
}

std::optional<kt::Dictionary> KtUDPDaemon::replyFor(const std::optional<kt::Dictionary> &request) {
  if (!request || !kt::isRequestFor(*request, signature_)) return std::nullopt;
  const kt::Dictionary *packet = kt::packetOfRequest(*request);
  // The bare reply: without signature and handshake, every client drops it. Kept as part of the
  // format.
  if (packet == nullptr) return kt::Dictionary();
  return kt::replyEnvelope(signature_, kt::handshakeOf(*request), answerTo(*packet));
}

// ---- Serving ----

// Returns the size of the next datagram, or -1 if the kernel dropped it after select reported it.
// Under load the next datagram is already queued; trying to receive first saves a select.
std::ptrdiff_t KtUDPDaemon::nextDatagram(kt::udp::ReadSet &readSet, sockaddr_in &sender) {
  const std::span<char> buffer = std::span(buffer_).first(kt::receiveLimit);
  const std::ptrdiff_t count = socketIn_.receive(buffer, sender);
  if (count >= 0) return count;
  while (readSet.wait(nullptr) <= 0) {
    // Interrupted by a signal: wait again.
  }
  return socketIn_.receive(buffer, sender);
}

void KtUDPDaemon::processQueries() {
  if (socketIn_.descriptor() < 0) return;
  kt::udp::ReadSet readSet(socketIn_);
  KtDebug("Registered and waiting.");
  for (;;) {
    sockaddr_in sender{};
    const std::ptrdiff_t count = nextDatagram(readSet, sender);
    // Logged before the NUL is set, so the line may show the end of an earlier, longer datagram.
    // Kept, and safe: the buffer's last byte is always NUL.
    KtDebug("Received request\n%s %d", buffer_.data(), count);
    if (count >= 0) ++received_;
    if (count > 0) serve(static_cast<std::size_t>(count), sender);
  }
}

// Answers the request in the first `size` bytes of the buffer.
void KtUDPDaemon::serve(std::size_t size, const sockaddr_in &sender) {
  buffer_[size] = '\0';
  const std::optional<kt::Dictionary> reply = replyFor(kt::parseMessage({buffer_.data(), size}));
  if (!reply) {
    KtDebug("No reply specified.");
    return;
  }
  ++answered_;
  const std::string text = reply->description();
  KtDebug("Sending reply %@", text);
  // A refused datagram counts as a lost one: the client sends its request again.
  (void)socketIn_.send(kt::datagramBytes(text), sender);
}
