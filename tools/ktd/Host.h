// SPDX-License-Identifier: MIT

// The server of ktd: registers as its options say, announces itself and serves. Runs on one thread
// and does not return.
#ifndef KT_TOOLS_KTD_HOST_H
#define KT_TOOLS_KTD_HOST_H

#include "tools/common/ServerOptions.h"
#include "tools/ktd/ErrorLog.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

struct HostOptions : ServerOptions {
  bool debug = false;   // whether the debug log is on
  bool unique = false;  // whether to refuse to start if another server of the signature answers
  ServedFiles files;
};

// Serves forever. Prints one line to standard output when it is ready. If a request makes the
// server class throw, reports it to `errors` and continues to serve. Throws Failure if no port can
// be registered, a directory to serve can't be listed, or the line can't be written.
[[noreturn]] void serve(const HostOptions &options, ErrorLog &errors);

}  // namespace kt::tools

#endif
