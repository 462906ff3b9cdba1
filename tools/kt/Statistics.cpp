// SPDX-License-Identifier: MIT

#include "tools/kt/Statistics.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace kt::tools {

Statistics statisticsOf(std::vector<double> roundTripsMs) {
  assert(!roundTripsMs.empty());
  std::sort(roundTripsMs.begin(), roundTripsMs.end());
  const std::size_t count = roundTripsMs.size();
  const std::size_t p99Rank = count - count / 100;  // 99 %, rounded up
  return {roundTripsMs.front(), (roundTripsMs[(count - 1) / 2] + roundTripsMs[count / 2]) / 2,
          roundTripsMs[p99Rank - 1], roundTripsMs.back()};
}

}  // namespace kt::tools
