// SPDX-License-Identifier: MIT

// Keeps the debug log from writing to a terminal what the network sent as it stands. The log
// repeats datagrams unchanged, which is right for a file; a terminal would obey the control
// characters in them. For the main thread, while the program starts, but for endProcess.
#ifndef KT_TOOLS_COMMON_TERMINALLOG_H
#define KT_TOOLS_COMMON_TERMINALLOG_H

namespace kt::tools {

// From here on all that is written to standard error reaches it escaped, line by line, if the debug
// log is on and standard error is a terminal. Everything written has arrived when the process ends
// by returning from main, by exit() or by endProcess().
void guardTerminal();

// Ends the process at once, whatever its other threads are at. Any thread may call it.
[[noreturn]] void endProcess(int status);

}  // namespace kt::tools

#endif
