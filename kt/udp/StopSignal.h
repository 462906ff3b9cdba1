// SPDX-License-Identifier: MIT

// Waits until a socket can be read or a stop is requested. This header is not installed. It is
// inline because the programs of this project use it too and a shared library exports public names
// only.
#ifndef KT_UDP_STOPSIGNAL_H
#define KT_UDP_STOPSIGNAL_H

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <stop_token>
#include <system_error>
#include <utility>

#include "kt/udp/Socket.h"

namespace kt::udp {

// Turns a stop into a descriptor that can be read. A request of a stop wakes the wait, from any
// thread and also if it came first.
class StopSignal {
 public:
  // Throws std::system_error if the system has no descriptor.
  explicit StopSignal(std::stop_token stop) : stop_(std::move(stop)), callback_(stop_, event_) {}

  [[nodiscard]] bool isRaised() const noexcept { return stop_.stop_requested(); }

  // Returns a descriptor that can be read once a stop was requested, for waits of other kinds. The
  // StopSignal remains its owner.
  [[nodiscard]] int descriptor() const noexcept { return event_.descriptor; }

  // Returns when the socket can be read, when a stop was requested, or after a signal.
  void wait(const Socket &socket) const {
    std::array<pollfd, 2> watched{pollfd{socket.descriptor(), POLLIN, 0},
                                  pollfd{event_.descriptor, POLLIN, 0}};
    (void)::poll(watched.data(), watched.size(), -1);  // the caller looks for itself
  }

 private:
  struct Event {
    Event() : descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
      if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "can't wait for a stop");
      }
    }
    Event(const Event &) = delete;
    Event &operator=(const Event &) = delete;
    ~Event() { ::close(descriptor); }

    int descriptor;
  };

  // Called once, by the thread that requests the stop.
  struct Raise {
    explicit Raise(const Event &raised) : event(raised) {}
    void operator()() const {
      const std::uint64_t one = 1;
      // Cannot fail: the counter is 0.
      [[maybe_unused]] const ssize_t written = ::write(event.descriptor, &one, sizeof one);
    }
    const Event &event;
  };

  std::stop_token stop_;
  Event event_;
  std::stop_callback<Raise> callback_;  // destroyed first: waits for a call in progress
};

}  // namespace kt::udp

#endif
