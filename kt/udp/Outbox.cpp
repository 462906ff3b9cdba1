// SPDX-License-Identifier: MIT

#include "kt/udp/Outbox.h"

#include <chrono>
#include <utility>

#include "kt/diagnostics/KtDebug.h"
#include "kt/udp/KtMessage.h"

namespace kt::udp {

using Clock = std::chrono::steady_clock;

// ---- The server ----

void Outbox::close() {
  const std::scoped_lock lock(mutex_);
  socket_ = nullptr;
}

void Outbox::replaceSocket(Socket &&socket) {
  const std::scoped_lock lock(mutex_);
  *socket_ = std::move(socket);
}

bool Outbox::repeats(const RequestIdentity &request, const sockaddr_in &sender) {
  std::string answer;
  {
    const std::scoped_lock lock(mutex_);
    memory_.advanceTo(Clock::now());
    if (!memory_.knows(request)) return false;
    if (const std::string *remembered = memory_.answerTo(request)) answer = *remembered;
  }
  if (!answer.empty()) (void)send(answer, sender);  // if refused, it counts as lost
  return true;
}

// One request that was handed out. Destroyed unanswered, it is forgotten.
class Outbox::OpenRequest {
 public:
  OpenRequest(std::shared_ptr<Outbox> outbox, const RequestIdentity &identity,
              const sockaddr_in &sender, std::string signature, std::int32_t handshake)
      : outbox_(std::move(outbox)),
        identity_(identity),
        sender_(sender),
        signature_(std::move(signature)),
        handshake_(handshake) {}
  OpenRequest(const OpenRequest &) = delete;
  OpenRequest &operator=(const OpenRequest &) = delete;
  ~OpenRequest() {
    if (isOpen_) outbox_->forget(identity_);
  }

  // Returns false if there is no room for the request.
  bool open() {
    const std::scoped_lock lock(outbox_->mutex_);
    isOpen_ = outbox_->memory_.open(identity_);
    return isOpen_;
  }

  bool answer(const Dictionary &packet, bool remember) {
    if (!isOpen_) return false;
    const std::string text = replyEnvelope(signature_, handshake_, packet).description();
    if (datagramBytes(text).size() > largestDatagram) return false;
    const bool sent = outbox_->answer(identity_, sender_, text, remember);
    isOpen_ = false;
    return sent;
  }

 private:
  std::shared_ptr<Outbox> outbox_;
  RequestIdentity identity_;
  sockaddr_in sender_;
  std::string signature_;
  std::int32_t handshake_;  // of the request
  bool isOpen_ = false;     // until there was an answer that fits
};

std::optional<Reply> Outbox::handOut(const RequestIdentity &request, const sockaddr_in &sender,
                                     const std::string &signature, std::int32_t handshake) {
  const auto handed =
      std::make_shared<OpenRequest>(shared_from_this(), request, sender, signature, handshake);
  if (!handed->open()) return std::nullopt;
  return Reply::through(sender, request.size, [handed](const Dictionary &packet, bool remember) {
    return handed->answer(packet, remember);
  });
}

void Outbox::forget(const RequestIdentity &request) {
  const std::scoped_lock lock(mutex_);
  memory_.forget(request);
}

// Remembers the answer before it is sent: if memory fails, nothing was sent and the request is
// open.
bool Outbox::answer(const RequestIdentity &request, const sockaddr_in &sender,
                    const std::string &text, bool remember) {
  {
    const std::scoped_lock lock(mutex_);
    if (remember) {
      memory_.answer(request, text, Clock::now());
    } else {
      memory_.forget(request);
    }
  }
  return send(text, sender);
}

// Logs without the lock: a log that waits for its reader must not hold up other answers.
bool Outbox::send(const std::string &text, const sockaddr_in &destination) {
  KtDebug("Sending reply %@", text);
  const std::scoped_lock lock(mutex_);
  if (socket_ == nullptr || !socket_->sendWithoutWaiting(datagramBytes(text), destination)) {
    return false;
  }
  ++sent_;
  return true;
}

}  // namespace kt::udp
