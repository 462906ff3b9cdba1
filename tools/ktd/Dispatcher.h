// SPDX-License-Identifier: MIT

// The delegate of ktd's server. Finds who answers a request: a kind on the serving thread, or a
// kind or a handler on a worker's. Checks each answer before it leaves the server. Used on the
// serving thread.
#ifndef KT_TOOLS_KTD_DISPATCHER_H
#define KT_TOOLS_KTD_DISPATCHER_H

#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/KtUDPDaemon.h"
#include "kt/udp/Reply.h"
#include "tools/ktd/ErrorLog.h"
#include "tools/ktd/Kinds.h"
#include "tools/ktd/Measurements.h"
#include "tools/ktd/SenderTokens.h"
#include "tools/ktd/Service.h"
#include "tools/ktd/Workers.h"

namespace kt::tools {

class Dispatcher {
 public:
  // An answer is long if it has more than 1,200 bytes and more than 3 times those of its request.
  static constexpr std::size_t longAnswer = 1200;
  static constexpr std::size_t longAnswerFactor = 3;

  // Answers for `daemon`, whose signature is set, with `workerCount` threads for requests that take
  // long. Reports those that fail to `errors`. Both must outlive this object. The uptime begins
  // here. Throws Failure if the system has no thread.
  Dispatcher(const KtUDPDaemon &daemon, Service service, std::int32_t workerCount,
             ErrorLog &errors);
  Dispatcher(const Dispatcher &) = delete;
  Dispatcher &operator=(const Dispatcher &) = delete;
  ~Dispatcher() = default;

  // Answers, now or from a worker's thread. The answer is a packet with the one entry `Error` if
  // there is no such kind, if there is no worker for it, or if the answer is too large for a
  // datagram and would be lost silently. If the request takes a worker that only senders who prove
  // their address get, or if the answer is long, and the request has not the sender's token, the
  // answer is that token.
  //
  // Removes `KtUDPKeyword` from every answer. A reply envelope with a keyword would be a valid
  // request: one forged datagram could make two servers answer each other forever.
  void replyForRequest(Dictionary packet, Reply reply);

  // Answers later requests with `service`. Those in work keep the one that they began with.
  void setService(Service service);

  // Answers later requests and those that wait for a worker with the error "stopping".
  void stop();

  // Returns whether no request waits for a worker or is in work.
  [[nodiscard]] bool isIdle() const;

 private:
  class Exchange;

  void dispatch(Exchange &&exchange, const Kind &kind);
  void dispatch(Exchange &&exchange, const std::pair<const std::string, Handler> &entry);
  template <typename Answer>
  void work(Exchange &&exchange, const std::string &kind, Answer answer);
  void fail(Exchange &exchange, const std::exception &error) noexcept;
  [[nodiscard]] Dictionary unknownKind() const;

  const KtUDPDaemon &daemon_;
  const std::string signature_;
  std::shared_ptr<const Service> service_;
  ErrorLog &errors_;
  const SenderTokens tokens_;
  Measurements measurements_;
  const std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
  std::uint64_t busy_ = 0;  // requests refused as busy
  bool isStopping_ = false;
  Workers workers_;  // destroyed first: its jobs use the rest
};

}  // namespace kt::tools

#endif
