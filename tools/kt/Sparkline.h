// SPDX-License-Identifier: MIT

// Draws a series of round trips in one row of characters. A function without state.
#ifndef KT_TOOLS_KT_SPARKLINE_H
#define KT_TOOLS_KT_SPARKLINE_H

#include <cstddef>
#include <span>
#include <string>

#include "tools/kt/Screen.h"
#include "tools/kt/ServerHistory.h"

namespace kt::tools {

// Returns the last `width` round trips, one character each, the newest at the right end; spaces at
// the left fill `width` columns. The characters are eight levels on a linear scale from 0 to the
// longest round trip shown: ▁▂▃▄▅▆▇█, or in ASCII .:-=+*#@. A lost one is an x.
//
//     1 ms, 8 ms, lost, 4 ms in 6 columns: "  ▁█x▄"
[[nodiscard]] std::string sparkline(std::span<const RoundTrip> roundTrips, std::size_t width,
                                    Charset charset);

}  // namespace kt::tools

#endif
