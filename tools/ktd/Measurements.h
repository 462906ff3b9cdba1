// SPDX-License-Identifier: MIT

// How many requests of each kind were answered, and how long they took. Any thread may use it.
#ifndef KT_TOOLS_KTD_MEASUREMENTS_H
#define KT_TOOLS_KTD_MEASUREMENTS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

class Measurements {
 public:
  // The durations that the figures of a kind are taken from: those of its last requests.
  static constexpr std::size_t mostDurations = 1000;

  // Counts a request of `kind` that took `duration` from its arrival to its answer.
  void add(std::string_view kind, std::chrono::steady_clock::duration duration);

  // Returns a dictionary for each kind that was asked: the number of its requests, and the median
  // and the 99th percentile of their durations in microseconds.
  [[nodiscard]] Dictionary figures() const;

 private:
  struct OfKind {
    std::uint64_t requests = 0;
    std::vector<float> durationsUs;  // a ring, once it is full
  };

  mutable std::mutex mutex_;
  std::map<std::string, OfKind, std::less<>> kinds_;
};

}  // namespace kt::tools

#endif
