// SPDX-License-Identifier: MIT

// Sums up a set of durations. A function without state.
#ifndef KT_TOOLS_COMMON_STATISTICS_H
#define KT_TOOLS_COMMON_STATISTICS_H

#include <vector>

namespace kt::tools {

// In the unit of the durations.
struct Statistics {
  double min;
  double median;  // the mean of the two in the middle if their number is even
  double p99;     // the smallest value that at least 99 % do not exceed
  double max;
};

// Requires: !durations.empty().
[[nodiscard]] Statistics statisticsOf(std::vector<double> durations);

}  // namespace kt::tools

#endif
