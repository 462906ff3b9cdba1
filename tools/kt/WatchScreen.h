// SPDX-License-Identifier: MIT

// Lays out what kt watch shows: a table with a row for each server. Functions without state.
#ifndef KT_TOOLS_KT_WATCHSCREEN_H
#define KT_TOOLS_KT_WATCHSCREEN_H

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/kt/Screen.h"
#include "tools/kt/ServerHistory.h"

namespace kt::tools {

// A server that is watched.
struct WatchedServer {
  std::string name;  // as the server announced it
  sockaddr_in address;
  ServerHistory history;
};

// Returns a heading and a line for each server, at most size.height lines of at most size.width
// columns. What does not fit is left out:
// - servers, the last ones; the last line then says how many: "... and 3 more"
// - first characters of names, then of sparklines, down to 8 columns each; then whole columns: the
//   sparkline, the requests per second, the address, the loss.
// Requires: !servers.empty().
[[nodiscard]] std::vector<std::string> screenLines(const std::vector<WatchedServer> &servers,
                                                   ScreenSize size, Charset charset);

// Returns what the last request to the server shows, for programs. `unixTime` is in seconds. The
// round trip and the requests per second are null if they are not known:
//
// {"time":1770000000.25,"name":"hut","address":"10.0.0.9","port":4798,"roundTripMs":0.215,"lost":0,
// "requestsPerSecond":2.0}
[[nodiscard]] std::string jsonFor(const WatchedServer &server, double unixTime);

}  // namespace kt::tools

#endif
