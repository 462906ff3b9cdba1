// SPDX-License-Identifier: MIT

#include "kt/udp/Reply.h"

#include <mutex>
#include <utility>

namespace kt {

// A function that may be called until it returns true, by one thread at a time.
class Reply::Way {
 public:
  using Send = std::function<bool(const Dictionary &answer, bool remember)>;

  explicit Way(Send send) : send_(std::move(send)) {}

  bool send(const Dictionary &answer, bool remember) {
    Taken taken(*this);
    if (!taken.send) return false;
    const bool sent = taken.send(answer, remember);
    if (sent) taken.send = nullptr;
    return sent;
  }

 private:
  // Holds the function during a call, so that a call at the same time finds none. Gives it back
  // unless it has done its work.
  struct Taken {
    explicit Taken(Way &from) : way(from) {
      const std::scoped_lock lock(way.mutex_);
      send.swap(way.send_);
    }
    Taken(const Taken &) = delete;
    Taken &operator=(const Taken &) = delete;
    ~Taken() {
      if (!send) return;
      const std::scoped_lock lock(way.mutex_);
      way.send_.swap(send);
    }
    Way &way;
    Send send;
  };

  std::mutex mutex_;
  Send send_;  // empty during a call, and after the answer was sent
};

Reply::Reply(const sockaddr_in &sender, std::size_t requestSize, std::unique_ptr<Way> way)
    : sender_(sender), requestSize_(requestSize), way_(std::move(way)) {}

Reply::Reply(const sockaddr_in &sender, std::size_t requestSize,
             std::function<bool(const Dictionary &answer)> send)
    : Reply(through(sender, requestSize, [send = std::move(send)](const Dictionary &answer, bool) {
        return send(answer);
      })) {}

Reply Reply::through(const sockaddr_in &sender, std::size_t requestSize,
                     std::function<bool(const Dictionary &answer, bool remember)> send) {
  return {sender, requestSize, std::make_unique<Way>(std::move(send))};
}

Reply::Reply(Reply &&other) noexcept = default;
Reply &Reply::operator=(Reply &&other) noexcept = default;
Reply::~Reply() = default;

bool Reply::send(const Dictionary &answer, bool remember) {
  return way_ != nullptr && way_->send(answer, remember);
}

}  // namespace kt
