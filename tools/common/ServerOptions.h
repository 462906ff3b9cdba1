// SPDX-License-Identifier: MIT

// The options of both programs that name a server: its signature and ports.
#ifndef KT_TOOLS_COMMON_SERVEROPTIONS_H
#define KT_TOOLS_COMMON_SERVEROPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "tools/common/CommandLine.h"

namespace kt::tools {

struct ServerOptions {
  std::string signature{defaultSignature};
  std::vector<std::int32_t> ports{defaultPorts.begin(), defaultPorts.end()};
};

// Adds --signature and --ports.
void addServerOptions(CommandLine &line, ServerOptions &options);

// Adds --debug, which sets `debug`.
void addDebugFlag(CommandLine &line, bool &debug);

}  // namespace kt::tools

#endif
