// SPDX-License-Identifier: MIT

// The right to answer one request of a server, now or later, from any thread. A delegate that needs
// time takes it and returns at once; the server goes on with the next request.
//
//   void replyForRequest(kt::Dictionary packet, kt::Reply reply) {
//     queue.push([packet = std::move(packet), reply = std::move(reply)]() mutable {
//       (void)reply.send(answerTo(packet));
//     });
//   }
#ifndef KT_UDP_REPLY_H
#define KT_UDP_REPLY_H

#include <netinet/in.h>

#include <cstddef>
#include <functional>
#include <memory>

#include "kt/foundation/PropertyList.h"

namespace kt {

namespace udp {
class Outbox;
}

// Can be moved but not copied. Destroyed unsent, also by an exception, it leaves the request
// unanswered, and a resend of it asks the delegate again. It may outlive its server: sending then
// returns false. While it is open, resends of its request are not handed out.
class Reply {
 public:
  // For programs that wrap a delegate, and for tests: `send` is called with the answer, at most
  // until it returns true. `sender` and `requestSize` are what the members below return.
  Reply(const sockaddr_in &sender, std::size_t requestSize,
        std::function<bool(const Dictionary &answer)> send);
  Reply(Reply &&other) noexcept;
  Reply &operator=(Reply &&other) noexcept;
  ~Reply();

  // Sends the answer's data packet, without ever waiting. Returns false
  // - if it does not fit into a datagram; the reply then stays open for a shorter answer;
  // - if the system refuses it, which counts as a datagram lost on the way;
  // - if an answer was sent before, or is being sent by another thread;
  // - if the server is gone.
  // A resend of the request within 10 s gets the same datagram again, without asking the delegate.
  // If `remember` is false, it asks the delegate again: for answers that cost nothing to repeat.
  bool send(const Dictionary &answer, bool remember = true);

  // Returns the address and port that the request came from. UDP does not prove them.
  [[nodiscard]] const sockaddr_in &sender() const noexcept { return sender_; }

  // Returns the size of the request's datagram in bytes.
  [[nodiscard]] std::size_t requestSize() const noexcept { return requestSize_; }

 private:
  friend class udp::Outbox;

  class Way;  // to the sender: closed by the first answer that takes it

  Reply(const sockaddr_in &sender, std::size_t requestSize, std::unique_ptr<Way> way);

  // The same as the public constructor, for a function that is told whether to remember the answer.
  static Reply through(const sockaddr_in &sender, std::size_t requestSize,
                       std::function<bool(const Dictionary &answer, bool remember)> send);

  sockaddr_in sender_;
  std::size_t requestSize_;
  std::unique_ptr<Way> way_;  // null after a move
};

}  // namespace kt

#endif
