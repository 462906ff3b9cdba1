// SPDX-License-Identifier: MIT

// The figures at the end of a ping. A function without state.
#ifndef KT_TOOLS_KT_STATISTICS_H
#define KT_TOOLS_KT_STATISTICS_H

#include <vector>

namespace kt::tools {

// What a set of round trips looks like, in milliseconds.
struct Statistics {
  double min;
  double median;  // the mean of the two in the middle when their number is even
  double p99;     // the smallest that at least 99 of 100 do not exceed
  double max;
};

// Requires: at least one round trip.
[[nodiscard]] Statistics statisticsOf(std::vector<double> roundTripsMs);

}  // namespace kt::tools

#endif
