// SPDX-License-Identifier: MIT

// The options of both programs that name a server: its signature and ports, and where to look for
// it.
#ifndef KT_TOOLS_COMMON_SERVEROPTIONS_H
#define KT_TOOLS_COMMON_SERVEROPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "tools/common/CommandLine.h"

namespace kt::tools {

struct ServerOptions {
  std::string signature{defaultSignature};
  std::vector<std::int32_t> ports{defaultPorts.begin(), defaultPorts.end()};
  std::optional<std::string> broadcast;  // a dotted IPv4 address; nothing means the usual broadcast
};

// Adds --signature, --ports and --broadcast, the last one described by `broadcastHelp`.
void addServerOptions(CommandLine &line, ServerOptions &options, const char *broadcastHelp);

// Adds --debug, which sets `debug`.
void addDebugFlag(CommandLine &line, bool &debug);

}  // namespace kt::tools

#endif
