// SPDX-License-Identifier: MIT

// Log lines. Any thread may call these functions.
#ifndef KT_FOUNDATION_LOGLINE_H
#define KT_FOUNDATION_LOGLINE_H

#include <string_view>

namespace kt {

// Writes one line to the log, by default to standard error: local time, process name, process id,
// `text` and a line feed. `text` is unchanged, line feeds and NULs inside it included.
//
//     2026-11-21 06:54:12.345 ktd[1234] Bound to port 4798
//
// The line goes out in a single write, and lines of several threads never mix. Between processes
// that share a pipe, the system guarantees this for lines <= PIPE_BUF bytes. A failed write is
// ignored: there is no better place to report it. errno is unchanged.
void writeLogLine(std::string_view text);

// Receives one whole log line, the time and process prefix and the final line feed included.
using LogLineWriter = void (*)(std::string_view line);

// Replaces the writer of log lines; null restores the default, which writes to standard error. Any
// thread may call this, and a line in progress is finished first. The writer is never called by two
// threads at once. It must not throw, log, or call this function; it may change errno.
void setLogLineWriter(LogLineWriter writer) noexcept;

}  // namespace kt

#endif
