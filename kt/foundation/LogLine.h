// SPDX-License-Identifier: MIT

// Lines of the log, on standard error. A function that any thread may call.
#ifndef KT_FOUNDATION_LOGLINE_H
#define KT_FOUNDATION_LOGLINE_H

#include <string_view>

namespace kt {

// Writes one line: local time, process name and process id, then the text unchanged (line feeds and
// NULs inside it too) and a line feed.
//
//     2026-11-21 06:54:12.345 ktd[1234] Bound to port 4798
//
// The line goes out in one write, and those of several threads never mix. (Between processes that
// share a pipe the system promises as much for PIPE_BUF bytes.) A write that fails is ignored, for
// there is no better place to tell of it. errno is left as it was.
[[gnu::visibility("default")]] void writeLogLine(std::string_view text);

}  // namespace kt

#endif
