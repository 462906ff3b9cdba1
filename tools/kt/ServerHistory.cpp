// SPDX-License-Identifier: MIT

#include "tools/kt/ServerHistory.h"

#include <algorithm>
#include <utility>

namespace kt::tools {

void ServerHistory::add(RoundTrip roundTrip) {
  if (roundTrips_.size() == capacity) roundTrips_.erase(roundTrips_.begin());
  roundTrips_.push_back(roundTrip);
}

void ServerHistory::addAnswer(Milliseconds roundTrip, std::optional<std::int64_t> served,
                              Clock::time_point at) {
  add(roundTrip);
  requestsPerSecond_.reset();
  std::optional<Count> count;
  if (served && *served >= 0) count = Count{*served, at};
  const std::optional<Count> earlier = std::exchange(lastCount_, count);
  if (!count || !earlier || count->served < earlier->served || count->at <= earlier->at) return;
  const std::chrono::duration<double> elapsed = count->at - earlier->at;
  requestsPerSecond_ = static_cast<double>(count->served - earlier->served) / elapsed.count();
}

void ServerHistory::addLoss() {
  add(std::nullopt);
  requestsPerSecond_.reset();
}

std::size_t ServerHistory::lost() const {
  return static_cast<std::size_t>(std::count(roundTrips_.begin(), roundTrips_.end(), std::nullopt));
}

}  // namespace kt::tools
