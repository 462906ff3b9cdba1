// SPDX-License-Identifier: MIT

// Escapes control characters in the debug log when it goes to a terminal. The log repeats datagrams
// unchanged, which is right for a file, but a terminal would obey the control characters in them.
#ifndef KT_TOOLS_COMMON_ESCAPEDLOG_H
#define KT_TOOLS_COMMON_ESCAPEDLOG_H

namespace kt::tools {

// If standard error is a terminal, escapes each log line from here on. A line feed inside a log
// text still starts a new line. Call it once, before other threads start.
void escapeLogOnTerminal();

}  // namespace kt::tools

#endif
