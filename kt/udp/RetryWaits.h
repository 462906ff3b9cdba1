// SPDX-License-Identifier: MIT

// The waits of a request that is sent again: each is twice the one before. This header is not
// installed. Any thread may call it.
#ifndef KT_UDP_RETRYWAITS_H
#define KT_UDP_RETRYWAITS_H

#include <algorithm>
#include <cstdint>
#include <limits>

namespace kt::udp {

// Replaces a wait of 0 ms, which would poll.
inline constexpr std::int32_t waitInsteadOfZeroMs = 100;

// Returns twice the wait, saturated.
[[nodiscard]] inline std::int32_t doubled(std::int32_t waitMs) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(std::int64_t{waitMs} * 2, Limits::min(), Limits::max()));
}

}  // namespace kt::udp

#endif
