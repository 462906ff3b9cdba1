// SPDX-License-Identifier: MIT

// The figures at the end of a ping. A function without state.
#ifndef KT_TOOLS_KT_STATISTICS_H
#define KT_TOOLS_KT_STATISTICS_H

#include <vector>

namespace kt::tools {

// Figures over a set of round trips, in milliseconds.
struct Statistics {
  double min;
  double median;  // the mean of the two in the middle if their number is even
  double p99;     // the smallest value that at least 99 % do not exceed
  double max;
};

// Requires: !roundTripsMs.empty().
[[nodiscard]] Statistics statisticsOf(std::vector<double> roundTripsMs);

}  // namespace kt::tools

#endif
