// SPDX-License-Identifier: MIT

// Lines on standard output that arrive or fail. Any thread may print; lines stay whole.
#ifndef KT_TOOLS_COMMON_OUTPUT_H
#define KT_TOOLS_COMMON_OUTPUT_H

#include <string_view>

namespace kt::tools {

// Writes `text` and flushes. Throws as printLine.
void printText(std::string_view text);

// Prints `line` and a line feed and flushes. Throws Failure when the output takes no more: a closed
// pipe, which SIGPIPE must be ignored for, or a full disk.
void printLine(std::string_view line);

}  // namespace kt::tools

#endif
