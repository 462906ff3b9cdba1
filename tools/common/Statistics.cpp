// SPDX-License-Identifier: MIT

#include "tools/common/Statistics.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace kt::tools {

Statistics statisticsOf(std::vector<double> durations) {
  assert(!durations.empty());
  std::sort(durations.begin(), durations.end());
  const std::size_t count = durations.size();
  const std::size_t p99Rank = count - count / 100;  // 99 %, rounded up
  return {durations.front(), (durations[(count - 1) / 2] + durations[count / 2]) / 2,
          durations[p99Rank - 1], durations.back()};
}

}  // namespace kt::tools
