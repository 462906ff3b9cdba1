// SPDX-License-Identifier: MIT

// Waits for several descriptors at once. Made afresh for each wait; one thread at a time may use
// it.
#ifndef KT_TOOLS_KT_POLLSET_H
#define KT_TOOLS_KT_POLLSET_H

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace kt::tools {

class PollSet {
 public:
  using Clock = std::chrono::steady_clock;

  // Adds a descriptor to wait for: POLLIN until it can be read, POLLOUT until it can be written, 0
  // until its other end is closed, which also ends the waits for the others. Of a descriptor below
  // 0 nothing is reported.
  void add(int descriptor, short events = POLLIN) { entries_.push_back({descriptor, events, 0}); }

  // Waits until a descriptor is ready, until `deadline` (nothing: without end), or until a signal
  // arrives that is not blocked.
  void wait(std::optional<Clock::time_point> deadline) {
    const int waitMs = deadline ? millisecondsUntil(*deadline) : -1;
    (void)::poll(entries_.data(), entries_.size(), waitMs);  // a failure reports nothing ready
  }

  // Returns whether what the last wait waited for at `descriptor` has happened.
  [[nodiscard]] bool isReady(int descriptor) const {
    return std::ranges::any_of(entries_, [&](const pollfd &entry) {
      return entry.fd == descriptor && entry.revents != 0;
    });
  }

 private:
  // Rounds up: after a wait that ends too early, others without length would follow.
  static int millisecondsUntil(Clock::time_point deadline) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    constexpr std::int64_t longest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp<std::int64_t>(rest.count(), 0, longest));
  }

  std::vector<pollfd> entries_;
};

}  // namespace kt::tools

#endif
