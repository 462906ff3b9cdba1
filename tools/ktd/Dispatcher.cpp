// SPDX-License-Identifier: MIT

#include "tools/ktd/Dispatcher.h"

#include <algorithm>
#include <exception>
#include <span>
#include <stop_token>
#include <utility>

#include "kt/udp/KtMessage.h"
#include "tools/common/Addresses.h"
#include "tools/common/Requests.h"
#include "tools/ktd/ReplySize.h"
#include "tools/ktd/RunHandler.h"
#include "tools/text/Numerals.h"

namespace kt::tools {

namespace {

using Clock = std::chrono::steady_clock;

Dictionary errorAnswer(std::string text) {
  return {{errorKey, std::move(text)}};
}

const Kind *kindNamed(std::string_view name) {
  const std::span<const Kind> kinds = allKinds();
  const auto kind = std::ranges::find(kinds, name, &Kind::name);
  return kind != kinds.end() ? &*kind : nullptr;
}

}  // namespace

// ---- One request and its answer ----

// Passed from the serving thread to a worker's if the request takes long.
class Dispatcher::Exchange {
 public:
  Exchange(const Dispatcher &dispatcher, Dictionary &&request, Reply &&reply)
      : signature_(dispatcher.signature_),
        tokens_(dispatcher.tokens_),
        request_(std::move(request)),
        reply_(std::move(reply)),
        isProven_(tokens_.isProven(request_, sender())) {}

  // Requires: not packed.
  [[nodiscard]] const Dictionary &request() const { return request_; }

  // Keeps the request as text, which takes a fraction of the memory, while it waits.
  void pack() {
    text_ = request_.description();
    request_ = Dictionary();
  }

  // Returns this object with the request as it was before pack().
  [[nodiscard]] const Exchange &unpacked() {
    request_ = std::move(*PropertyList::parse(text_).asDictionary());
    text_ = std::string();
    return *this;
  }

  [[nodiscard]] const sockaddr_in &sender() const { return reply_.sender(); }
  [[nodiscard]] Clock::duration age() const { return Clock::now() - arrived_; }

  // Whether the sender has shown that it receives what is sent to its address.
  [[nodiscard]] bool isProven() const { return isProven_; }

  // Returns the keyword; nothing if it is not a string, which names no kind.
  [[nodiscard]] std::string_view keyword() const {
    return request_.string(keywordKey).value_or(std::string_view());
  }

  // Sends an answer that costs little: a resend asks for another.
  void sendAtOnce(Dictionary answer) { send(std::move(answer), false); }

  // Sends an answer that a resend gets again.
  void sendInTime(Dictionary answer) { send(std::move(answer), true); }

  void sendToken() {
    constexpr const char *text = "Repeat the request with this Token.";
    // If the system refuses it, it counts as lost, as every answer: the sender asks again.
    (void)reply_.send({{errorKey, text}, {tokenKey, tokens_.tokenOf(sender())}}, false);
  }

 private:
  void send(Dictionary answer, bool remember) {
    answer.erase(keywordKey);
    const std::size_t size = replySize(signature_, answer);
    if (isLong(size) && !isProven_) return sendToken();
    if (size > largestDatagram) answer = tooLarge(size);
    (void)reply_.send(answer, remember);  // a refused answer counts as lost
  }

  static Dictionary tooLarge(std::size_t size) {
    return errorAnswer("The answer is too large for a datagram, which carries " +
                       withCommas(largestDatagram) + " bytes: it takes " + withCommas(size) + '.');
  }

  [[nodiscard]] bool isLong(std::size_t size) const {
    return size > longAnswer && size > longAnswerFactor * reply_.requestSize();
  }

  const std::string &signature_;
  const SenderTokens &tokens_;
  Dictionary request_;
  std::string text_;  // of the request, while it is packed
  Reply reply_;
  bool isProven_;
  Clock::time_point arrived_ = Clock::now();
};

// ---- Dispatching ----

Dispatcher::Dispatcher(const KtUDPDaemon &daemon, Service service, std::int32_t workerCount,
                       ErrorLog &errors)
    : daemon_(daemon),
      signature_(daemon.signature()),
      service_(std::make_shared<const Service>(std::move(service))),
      errors_(errors),
      workers_(static_cast<std::size_t>(workerCount)) {}

void Dispatcher::stop() {
  isStopping_ = true;
  workers_.close();
}

bool Dispatcher::isIdle() const {
  const Workers::Load load = workers_.load();
  return load.working == 0 && load.queued == 0;
}

void Dispatcher::setService(Service service) {
  service_ = std::make_shared<const Service>(std::move(service));
}

void Dispatcher::replyForRequest(Dictionary packet, Reply reply) {
  Exchange exchange(*this, std::move(packet), std::move(reply));
  const std::string_view keyword = exchange.keyword();
  if (isStopping_) {
    exchange.sendAtOnce(errorAnswer(stoppingError));
  } else if (const Kind *kind = kindNamed(keyword)) {
    dispatch(std::move(exchange), *kind);
  } else if (const auto handler = service_->handlers.find(keyword);
             handler != service_->handlers.end()) {
    dispatch(std::move(exchange), *handler);
  } else {
    exchange.sendAtOnce(unknownKind());
  }
}

void Dispatcher::dispatch(Exchange &&exchange, const Kind &kind) {
  if (kind.answerAtOnce != nullptr) {
    const ServerState state{daemon_, *service_, workers_, measurements_, started_, busy_};
    if (AnswerAtOnce answer = kind.answerAtOnce(exchange.request(), state)) {
      exchange.sendAtOnce(*std::move(answer));
      measurements_.add(kind.name, exchange.age());
      return;
    }
  }
  if (kind.needsToken && !exchange.isProven()) return exchange.sendToken();
  work(std::move(exchange), std::string(kind.name),
       [&kind](const Exchange &request, const WorkState &state) {
         return kind.answerInTime(request.request(), state);
       });
}

void Dispatcher::dispatch(Exchange &&exchange, const std::pair<const std::string, Handler> &entry) {
  if (!exchange.isProven()) return exchange.sendToken();
  const std::string &kind = entry.first;
  const Handler &handler = entry.second;
  work(std::move(exchange), kind,
       [&kind, &handler](const Exchange &request, const WorkState &state) {
         const HandlerRequest about{kind, endpoint(request.sender()), state.signature,
                                    state.service.handlerTimeout};
         Dictionary packet = request.request();
         packet.erase(tokenKey);  // it proves the sender to this server, and to nobody else
         return runHandler(handler, about, packet, state.stop);
       });
}

// Gives the request to a worker, which sends what `answer` returns. The present service, which
// `answer` may refer to, lives until then.
template <typename Answer>
void Dispatcher::work(Exchange &&exchange, const std::string &kind, Answer answer) {
  const auto shared = std::make_shared<Exchange>(std::move(exchange));
  shared->pack();
  const auto job = [this, shared, kind, answer, service = service_](const std::stop_token &stop) {
    try {
      shared->sendInTime(stop.stop_requested()
                             ? errorAnswer(stoppingError)
                             : answer(shared->unpacked(), {*service, signature_, stop}));
    } catch (const Stopped &) {
      shared->sendInTime(errorAnswer(stoppingError));
    }
    measurements_.add(kind, shared->age());
  };
  const auto guarded = [this, shared, job](const std::stop_token &stop) {
    try {
      job(stop);
    } catch (const std::exception &error) {
      fail(*shared, error);
    }
  };
  if (workers_.offer(shared->sender().sin_addr.s_addr, guarded)) return;
  ++busy_;
  shared->sendAtOnce(errorAnswer(busyError));
}

// Reports that the work on a request failed, and answers it: otherwise a resend would repeat work
// that may have been done.
void Dispatcher::fail(Exchange &exchange, const std::exception &error) noexcept {
  try {
    errors_.report(std::string("a request failed: ") + error.what());
    exchange.sendInTime(errorAnswer("The server failed to answer this request."));
  } catch (const std::exception &) {
    return;  // without memory for an answer there is none
  }
}

Dictionary Dispatcher::unknownKind() const {
  std::string names;
  for (const Kind &kind : allKinds()) {
    names.append(names.empty() ? "" : ", ").append(kind.name);
  }
  for (const auto &[kind, handler] : service_->handlers) {
    names.append(", ").append(kind);
  }
  // The keyword itself is not repeated: it may have any length and any content.
  return errorAnswer("This server has no such kind of request. It knows: " + names + '.');
}

}  // namespace kt::tools
