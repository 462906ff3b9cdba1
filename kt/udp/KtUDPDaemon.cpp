// SPDX-License-Identifier: MIT

#include "kt/udp/KtUDPDaemon.h"

#include <cerrno>
#include <span>
#include <stdexcept>
#include <utility>

#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/HostName.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"

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
  if (!answer) throw std::logic_error("the delegate gave no answer to the request");
  return *std::move(answer);
}

std::optional<kt::Dictionary> KtUDPDaemon::replyFor(const std::optional<kt::Dictionary> &request) {
  if (!request || !kt::isRequestFor(*request, signature_)) return std::nullopt;
  const kt::PropertyList *content = request->find(kt::dataPacketKey);
  if (content == nullptr) return kt::Dictionary();
  const kt::Dictionary *packet = content->asDictionary();
  if (packet == nullptr) throw std::invalid_argument("the request's data packet is no dictionary");
  // Bare on purpose: without signature and handshake every client drops it.
  if (!packet->contains(kt::keywordKey)) return kt::Dictionary();
  return kt::replyEnvelope(signature_, kt::handshakeOf(*request), answerTo(*packet));
}

// ---- Serving ----

// The next datagram's size, or -1 when there was none behind a wait that promised one. While
// requests queue up the next one is there already: asking for it first spares its wait.
std::ptrdiff_t KtUDPDaemon::nextDatagram(kt::ReadSet &readSet, sockaddr_in &sender) {
  const std::span<char> buffer = std::span(buffer_).first(kt::receiveLimit);
  const std::ptrdiff_t count = socketIn_.receive(buffer, sender);
  if (count >= 0) return count;
  while (readSet.wait(nullptr) <= 0) {
  }
  return socketIn_.receive(buffer, sender);
}

void KtUDPDaemon::processQueries() {
  if (socketIn_.descriptor() < 0) return;
  kt::ReadSet readSet(socketIn_);
  KtDebug("Registered and waiting.");
  for (;;) {
    sockaddr_in sender{};
    const std::ptrdiff_t count = nextDatagram(readSet, sender);
    // Before the NUL is set, so that the line may show the rest of an earlier datagram: kept on
    // purpose, and safe, since the buffer's last byte is always NUL.
    KtDebug("Received request\n%s %d", buffer_.data(), count);
    if (count >= 0) ++received_;
    if (count > 0) serve({buffer_.data(), static_cast<std::size_t>(count)}, sender);
  }
}

void KtUDPDaemon::serve(std::span<char> datagram, const sockaddr_in &sender) {
  buffer_[datagram.size()] = '\0';
  const std::optional<kt::Dictionary> reply =
      replyFor(kt::parseMessage({datagram.data(), datagram.size()}));
  if (!reply) {
    KtDebug("No reply specified.");
    return;
  }
  ++answered_;
  const std::string text = reply->description();
  KtDebug("Sending reply %@", text);
  // A refused send is a lost datagram: the client asks again.
  (void)socketIn_.send(kt::datagramBytes(text), sender);
}
