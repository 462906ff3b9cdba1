// SPDX-License-Identifier: MIT

#include "tools/common/ServerOptions.h"

#include "tools/common/Addresses.h"
#include "tools/common/Arguments.h"

namespace kt::tools {

void addServerOptions(CommandLine &line, ServerOptions &options) {
  line.addText({"--signature", "TEXT", "The server's signature (default: \"KtUDP\")"},
               options.signature);
  line.addOption<readPorts>(
      {"--ports", "N,N,...",
       "The server's ports, in order\n(default: " + portList(options.ports) + ")"},
      options.ports, portsWanted);
}

void addDebugFlag(CommandLine &line, bool &debug) {
  line.addFlag("--debug", debug, "Log to standard error what is sent and received");
}

}  // namespace kt::tools
