// SPDX-License-Identifier: MIT

// The clock and the unit of the commands that measure time. Any thread may use them.
#ifndef KT_TOOLS_KT_MILLISECONDS_H
#define KT_TOOLS_KT_MILLISECONDS_H

#include <chrono>
#include <string>

#include "kt/foundation/Format.h"

namespace kt::tools {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Returns "203 ms".
[[nodiscard]] inline std::string wholeMilliseconds(Milliseconds time) {
  return kt::format("%.0f ms", time.count());
}

}  // namespace kt::tools

#endif
