// SPDX-License-Identifier: MIT

// Sends many requests at once and receives their answers in any order, on one socket, for programs
// with an event loop. No call blocks. An object serves one thread at a time.
//
//   kt::AsyncClient client(connected);  // a KtUDPClient that found its server
//   client.request(packet, [](std::optional<kt::Dictionary> answer) { ... });
//   while (client.pending() > 0) {
//     waitUntilReadable(client.descriptor(), client.deadline());
//     client.process();
//   }
//
// Format, acceptance, timeouts and retries are those of KtUDPClient: a request is sent at most
// 1 + retries() times, with waits that double. The debug log shows everything that is sent and
// received.
#ifndef KT_UDP_ASYNCCLIENT_H
#define KT_UDP_ASYNCCLIENT_H

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/Socket.h"

class KtUDPClient;

namespace kt {

// At most 4,096 requests are in flight; further ones wait, and are sent in order as others end.
// What does not fit into the receive buffer of either end is lost and sent again later. A system's
// default buffer holds some 300 small datagrams.
class AsyncClient {
 public:
  // Called once with the data packet of a request's answer. Called with nothing
  // - after the sum of the doubled waits if no send was answered;
  // - if the request does not fit into a datagram;
  // - if the answer's data packet is not a dictionary;
  // - without sending if the client that the settings come from knew no server.
  using Completion = std::function<void(std::optional<Dictionary> answer)>;

  // Called with the envelope of a reply that passed the usual checks, which are those of
  // KtUDPClient::isValidReplyForMessage without overrides. Returns whether it ends the request; if
  // not, the reply is dropped.
  using Acceptance = std::function<bool(const Dictionary &reply)>;

  // Copies the signature, timeout, retries and destination of `connected`. If it knows no server
  // (port() < 0), every request completes with nothing.
  explicit AsyncClient(const KtUDPClient &connected);

  // Copies the signature, timeout and retries of `settings`, and sends to `server`.
  AsyncClient(const KtUDPClient &settings, const sockaddr_in &server);

  AsyncClient(const AsyncClient &) = delete;
  AsyncClient &operator=(const AsyncClient &) = delete;

  // Drops the completions of pending requests without calling them.
  ~AsyncClient();

  // Sends `packet` once fewer than 4,096 requests are in flight, which may be at once. process()
  // calls `completion` later, never this function. An empty `acceptance` accepts every reply.
  void request(const Dictionary &packet, Completion completion, Acceptance acceptance = {});

  // Returns the descriptor to poll for reading, or -1 if the system refused a socket. The object
  // remains its owner.
  [[nodiscard]] int descriptor() const { return socket_.descriptor(); }

  // Returns when process() must run even if no datagram arrives: the next end of a wait. A time
  // that has passed means now. Returns nothing if nothing is pending.
  [[nodiscard]] std::optional<std::chrono::steady_clock::time_point> deadline() const;

  // Receives what has arrived, sends unanswered requests again, gives up those that had their last
  // wait, and calls completions. Call it when descriptor() can be read and when deadline() has
  // passed; calling it at any other time does no harm.
  //
  // A completion or acceptance may call request(), but not process(), and may not destroy the
  // object. If one throws, the exception propagates and deadline() is now, as there may be more to
  // do. The request of a completion that throws is done with; that of an acceptance goes on as if
  // the reply had been refused.
  void process();

  // Returns how many requests have not completed. A request no longer counts while its completion
  // runs.
  [[nodiscard]] std::size_t pending() const { return requests_.size() + unsendable_.size(); }

 private:
  using Clock = std::chrono::steady_clock;

  struct Request {
    std::string text;  // of the envelope
    Completion completion;
    Acceptance acceptance;     // empty: accepts every reply
    std::int32_t waitMs;       // after the last send, or after the first if there was none
    std::int32_t retriesLeft;  // sends after the first
    bool isInFlight;
    Clock::time_point deadline;  // the end of its wait if it is in flight
  };

  std::int32_t freshHandshake();
  void sendWaiting();
  void send(std::int32_t handshake, Request &request);
  void completeUnsendable();
  void receive();
  void take(std::string_view received);
  bool accept(Dictionary &&reply);
  void expire();
  void complete(std::int32_t handshake, std::optional<Dictionary> answer);

  // The keys of these containers are handshake values.
  std::unordered_map<std::int32_t, Request> requests_;              // in flight or waiting
  std::set<std::pair<Clock::time_point, std::int32_t>> deadlines_;  // of those in flight
  std::deque<std::int32_t> waiting_;                                // in order

  std::string signature_;                   // sent and required
  std::int32_t timeout_;                    // milliseconds; the first wait
  std::int32_t retries_;                    // sends of a request after the first; >= 0
  sockaddr_in server_;                      // the destination of every request
  bool knowsServer_;                        // false: no requests are sent
  Socket socket_;                           // sends and receives
  std::vector<char> buffer_;                // receives datagrams; bufferSize bytes
  std::vector<std::int32_t> randomValues_;  // drawn for handshakes, not yet used
  std::deque<Completion> unsendable_;       // to be called with nothing
  bool isInterrupted_ = false;              // whether process() has not run to its end
  Clock::time_point overdueSince_;          // has passed; the deadline of what needs no wait
};

}  // namespace kt

#endif
