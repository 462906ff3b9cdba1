// SPDX-License-Identifier: MIT

// The server of ktd: registers as its configuration says, announces itself, serves, and obeys
// signals. All on the thread that calls it, except for requests that take long.
#ifndef KT_TOOLS_KTD_HOST_H
#define KT_TOOLS_KTD_HOST_H

#include <functional>

#include "tools/ktd/Configuration.h"
#include "tools/ktd/ErrorLog.h"

namespace kt::tools {

// Returns the configuration as it is now. Throws Failure if it is wrong.
using Reload = std::function<Configuration()>;

// Serves until SIGTERM or SIGINT. Prints one line to standard output when it is ready. If a request
// makes the server class throw, reports it to `errors` and continues to serve. Throws Failure if no
// port can be registered, no thread can be made, or the line can't be written.
//
// On SIGHUP calls `reload` and goes over to its result, or reports why it does not. Ignores SIGHUP
// once it is about to end. Without `reload`, SIGHUP ends it too.
//
// Before it ends it answers new requests and those that wait for a worker with the error
// "stopping". Those in work have 2 s to end, or until a second signal, and are then answered so
// too.
void serve(Configuration configuration, const Reload &reload, ErrorLog &errors);

}  // namespace kt::tools

#endif
