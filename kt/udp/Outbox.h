// SPDX-License-Identifier: MIT

// What a server shares with the replies that it handed out, which may outlive it: the socket, as
// long as the server lives, and the memory of requests. This header is not installed. Any thread.
#ifndef KT_UDP_OUTBOX_H
#define KT_UDP_OUTBOX_H

#include <netinet/in.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "kt/udp/Reply.h"
#include "kt/udp/RequestMemory.h"
#include "kt/udp/Socket.h"

namespace kt::udp {

// Owned by shared pointers only.
class Outbox : public std::enable_shared_from_this<Outbox> {
 public:
  // Sends with `socket` until close(). Calls that change the socket go through replaceSocket().
  explicit Outbox(Socket &socket) : socket_(&socket) {}
  Outbox(const Outbox &) = delete;
  Outbox &operator=(const Outbox &) = delete;
  ~Outbox() = default;

  // Sends nothing from now on.
  void close();

  // Moves `socket` into the one that this object sends with.
  void replaceSocket(Socket &&socket);

  // Returns whether the request is open or was answered. If its answer is remembered, sends it.
  [[nodiscard]] bool repeats(const RequestIdentity &request, const sockaddr_in &sender);

  // Opens a request and returns its reply, which is sent with `signature` and the answer to
  // `handshake`. Returns nothing if open requests leave no room for it.
  [[nodiscard]] std::optional<Reply> handOut(const RequestIdentity &request,
                                             const sockaddr_in &sender,
                                             const std::string &signature, std::int32_t handshake);

  // Returns how many answers were sent, repeated ones included.
  [[nodiscard]] std::uint64_t sent() const noexcept { return sent_; }

 private:
  class OpenRequest;

  [[nodiscard]] bool answer(const RequestIdentity &request, const sockaddr_in &sender,
                            const std::string &text, bool remember);
  void forget(const RequestIdentity &request);
  bool send(const std::string &text, const sockaddr_in &destination);

  std::mutex mutex_;  // guards all but sent_
  Socket *socket_;    // null once the server is gone
  RequestMemory memory_;
  std::atomic<std::uint64_t> sent_ = 0;
};

}  // namespace kt::udp

#endif
