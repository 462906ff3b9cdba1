// SPDX-License-Identifier: MIT

// The server of ktd: registers as its options say, announces itself and serves. Runs on one thread
// and does not return.
#ifndef KT_TOOLS_KTD_HOST_H
#define KT_TOOLS_KTD_HOST_H

#include "tools/ktd/Configuration.h"
#include "tools/ktd/ErrorLog.h"

namespace kt::tools {

// Serves forever. Prints one line to standard output when it is ready. If a request makes the
// server class throw, reports it to `errors` and continues to serve. Throws Failure if no port can
// be registered, a directory to serve can't be listed, or the line can't be written.
[[noreturn]] void serve(const Configuration &configuration, ErrorLog &errors);

}  // namespace kt::tools

#endif
