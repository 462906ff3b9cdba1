// SPDX-License-Identifier: MIT

#include "kt/udp/KtUDPDaemon.h"

#include <mutex>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/HostName.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "kt/udp/Outbox.h"
#include "kt/udp/ReadSet.h"
#include "kt/udp/StopSignal.h"

// Where a request came from, and what tells a resend of it.
struct KtUDPDaemon::Origin {
  kt::udp::RequestIdentity identity;
  const sockaddr_in &sender;
};

// ---- Set-up ----

KtUDPDaemon::KtUDPDaemon()
    : ports_(kt::defaultPorts.begin(), kt::defaultPorts.end()),
      signature_(kt::defaultSignature),
      buffer_(kt::bufferSize),
      counterpart_(&anotherServerAnswers<KtUDPClient>) {}

KtUDPDaemon::~KtUDPDaemon() {
  if (outbox_ != nullptr) outbox_->close();  // replies that are still open find the server gone
}

void KtUDPDaemon::setPorts(std::vector<std::int32_t> ports) {
  ports_ = std::move(ports);
}

void KtUDPDaemon::setSignature(std::string signature) {
  signature_ = std::move(signature);
}

KtUDPDaemon &KtUDPDaemon::setDelegate(std::nullptr_t) {
  setDelegate(nullptr, nullptr, nullptr);
  return *this;
}

void KtUDPDaemon::setDelegate(void *delegate, Responder responder, Deferred deferred) {
  const bool hasDelegate = delegate != nullptr;
  delegate_ = delegate;
  responder_ = hasDelegate ? responder : nullptr;
  deferred_ = hasDelegate ? deferred : nullptr;
  if (deferred_ != nullptr && outbox_ == nullptr) {
    outbox_ = std::make_shared<kt::udp::Outbox>(socketIn_);
  }
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
    if (outbox_ != nullptr) {
      outbox_->replaceSocket(std::move(socket));  // which is socketIn_
    } else {
      socketIn_ = std::move(socket);
    }
    return true;
  }
  return false;
}

// ---- Answering ----

// Returns what the delegate sends, if it sends it before it returns.
kt::Dictionary KtUDPDaemon::answerSentAtOnce(kt::Dictionary &&packet) {
  struct Answer {
    std::mutex mutex;
    bool isLate = false;
    std::optional<kt::Dictionary> packet;
  };
  const auto answer = std::make_shared<Answer>();
  const auto take = [answer](const kt::Dictionary &sent) {
    const std::scoped_lock lock(answer->mutex);
    if (!answer->isLate) answer->packet = sent;
    return !answer->isLate;
  };
  deferred_(delegate_, std::move(packet), kt::Reply(sockaddr_in{}, 0, take));
  const std::scoped_lock lock(answer->mutex);
  answer->isLate = true;
  if (!answer->packet) throw std::logic_error("the delegate sent no answer to the request");
  return *std::move(answer->packet);
}

kt::Dictionary KtUDPDaemon::answerTo(kt::Dictionary &&packet) {
  if (deferred_ != nullptr) return answerSentAtOnce(std::move(packet));
  if (responder_ == nullptr) throw std::logic_error("no delegate to answer the request");
  std::optional<kt::Dictionary> answer = responder_(delegate_, std::move(packet));
  if (!answer) throw std::logic_error("the delegate returned no answer to the request");
  return *std::move(answer);
}

// Returns the reply to a request, or nothing: a delegate that sends its answer later gets the
// request with its `origin`. Without an origin, what it sends at once is the answer.
std::optional<kt::Dictionary> KtUDPDaemon::replyTo(kt::Dictionary &&request, const Origin *origin) {
  if (!kt::isRequestFor(request, signature_)) return std::nullopt;
  const kt::Dictionary *packet = kt::packetOfRequest(request);
  // The bare reply: without signature and handshake, every client drops it. Kept as part of the
  // format.
  if (packet == nullptr) return kt::Dictionary();
  const std::int32_t handshake = kt::handshakeOf(request);
  if (kt::isDiscovery(*packet)) {
    return kt::replyEnvelope(signature_, handshake, kt::serverIdPacket(kt::hostName(), port_));
  }
  kt::Dictionary taken = *kt::takeDataPacket(std::move(request));
  if (deferred_ == nullptr || origin == nullptr) {
    return kt::replyEnvelope(signature_, handshake, answerTo(std::move(taken)));
  }
  std::optional<kt::Reply> reply =
      outbox_->handOut(origin->identity, origin->sender, signature_, handshake);
  if (reply) deferred_(delegate_, std::move(taken), *std::move(reply));
  return std::nullopt;
}

std::optional<kt::Dictionary> KtUDPDaemon::replyFor(const std::optional<kt::Dictionary> &request) {
  return replyFor(std::optional(request));
}

std::optional<kt::Dictionary> KtUDPDaemon::replyFor(std::optional<kt::Dictionary> &&request) {
  return request ? replyTo(*std::move(request), nullptr) : std::nullopt;
}

std::uint64_t KtUDPDaemon::answered() const {
  return answered_ + (outbox_ != nullptr ? outbox_->sent() : 0);
}

// ---- Serving ----

// Returns the size of the next datagram, or -1 if the kernel dropped it after select reported it.
// Under load the next datagram is already queued; trying to receive first saves a select.
std::ptrdiff_t KtUDPDaemon::nextDatagram(kt::udp::ReadSet &readSet, sockaddr_in &sender) {
  const std::ptrdiff_t count = receive(sender);
  if (count >= 0) return count;
  while (readSet.wait(nullptr) <= 0) {
    // Interrupted by a signal: wait again.
  }
  return receive(sender);
}

void KtUDPDaemon::processQueries() {
  if (socketIn_.descriptor() < 0) return;
  kt::udp::ReadSet readSet(socketIn_);
  KtDebug("Registered and waiting.");
  for (;;) {
    sockaddr_in sender{};
    const std::ptrdiff_t count = nextDatagram(readSet, sender);
    process(count, sender, &kt::Socket::send);
  }
}

void KtUDPDaemon::processQueries(std::stop_token stop) {
  if (socketIn_.descriptor() < 0) return;
  const kt::udp::StopSignal signal(std::move(stop));
  KtDebug("Registered and waiting.");
  while (!signal.isRaised()) {
    if (processPending(1) == 0) signal.wait(socketIn_);
  }
}

std::size_t KtUDPDaemon::processPending(std::size_t limit) {
  for (std::size_t served = 0; served < limit; ++served) {
    sockaddr_in sender{};
    const std::ptrdiff_t count = receive(sender);
    if (count < 0) return served;
    process(count, sender, &kt::Socket::sendWithoutWaiting);
  }
  return limit;
}

// Receives a datagram without waiting. Returns its size, or -1 if there is none.
std::ptrdiff_t KtUDPDaemon::receive(sockaddr_in &sender) {
  return socketIn_.receive(std::span(buffer_).first(kt::receiveLimit), sender);
}

// Processes what was received: `count` bytes in the buffer, or -1. Answers with `send`.
void KtUDPDaemon::process(std::ptrdiff_t count, const sockaddr_in &sender, Send send) {
  // Logged before the NUL is set, so the line may show the end of an earlier, longer datagram.
  // Kept, and safe: the buffer's last byte is always NUL.
  KtDebug("Received request\n%s %d", buffer_.data(), count);
  if (count >= 0) ++received_;
  if (count > 0) serve(static_cast<std::size_t>(count), sender, send);
}

// Answers the request in the first `size` bytes of the buffer.
void KtUDPDaemon::serve(std::size_t size, const sockaddr_in &sender, Send send) {
  buffer_[size] = '\0';
  const std::string_view datagram(buffer_.data(), size);
  std::optional<kt::Dictionary> reply;
  if (deferred_ == nullptr) {
    reply = replyFor(kt::parseMessage(datagram));
  } else {
    const Origin origin{kt::udp::RequestIdentity(sender, datagram), sender};
    if (outbox_->repeats(origin.identity, sender)) return;
    if (std::optional<kt::Dictionary> request = kt::parseMessage(datagram)) {
      reply = replyTo(*std::move(request), &origin);
    }
  }
  if (!reply) {
    KtDebug("No reply specified.");
    return;
  }
  ++answered_;
  const std::string text = reply->description();
  KtDebug("Sending reply %@", text);
  // A refused datagram counts as a lost one: the client sends its request again.
  (void)(socketIn_.*send)(kt::datagramBytes(text), sender);
}
