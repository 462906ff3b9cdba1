// SPDX-License-Identifier: MIT

// The server of ktd: registers as its options say, announces itself and serves. Runs on one thread,
// which it keeps.
#ifndef KT_TOOLS_KTD_HOST_H
#define KT_TOOLS_KTD_HOST_H

#include "tools/common/CommandLine.h"
#include "tools/ktd/Complaints.h"
#include "tools/ktd/kinds/Kind.h"

namespace kt::tools {

struct HostOptions : ServerOptions {
  bool unique = false;  // whether to refuse to start while another server of the signature answers
  ServedFiles files;
};

// Serves for ever. Prints one line on standard output when it is ready. A request that the server
// does not guard against is complained of, and serving goes on. Throws Failure, saying why, when no
// port could be registered, a directory to serve can't be listed, or the line not be written.
[[noreturn]] void serve(const HostOptions &options, Complaints &complaints);

}  // namespace kt::tools

#endif
