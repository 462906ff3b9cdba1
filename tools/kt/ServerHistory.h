// SPDX-License-Identifier: MIT

// What became of the last requests to one server. A plain value; one thread at a time may use it.
#ifndef KT_TOOLS_KT_SERVERHISTORY_H
#define KT_TOOLS_KT_SERVERHISTORY_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/kt/Milliseconds.h"

namespace kt::tools {

// The round trip of one request; nothing if it was lost: no answer came.
using RoundTrip = std::optional<Milliseconds>;

class ServerHistory {
 public:
  static constexpr std::size_t capacity = 60;  // requests; older ones are forgotten

  // Adds a request that was answered at the time `at`. `served` is the number of requests that the
  // server then had served; nothing if its answer does not tell.
  void addAnswer(Milliseconds roundTrip, std::optional<std::int64_t> served, Clock::time_point at);

  // Adds a request that was not answered.
  void addLoss();

  // Returns the last requests, at most `capacity`, the oldest first.
  [[nodiscard]] const std::vector<RoundTrip> &roundTrips() const { return roundTrips_; }

  // Returns how many of them were lost.
  [[nodiscard]] std::size_t lost() const;

  // Returns the requests that the server served per second between its last two answers, this
  // history's own included. Returns nothing if the last request was lost, if there are no two
  // answers that tell, or if the server counted from 0 again between them.
  [[nodiscard]] std::optional<double> requestsPerSecond() const { return requestsPerSecond_; }

 private:
  struct Count {
    std::int64_t served;   // >= 0
    Clock::time_point at;  // when it was received
  };

  void add(RoundTrip roundTrip);

  std::vector<RoundTrip> roundTrips_;        // the oldest first
  std::optional<Count> lastCount_;           // of the last answer; nothing if it told none
  std::optional<double> requestsPerSecond_;  // as the function returns it
};

}  // namespace kt::tools

#endif
