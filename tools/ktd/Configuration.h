// SPDX-License-Identifier: MIT

// All that the command line and the configuration file say.
#ifndef KT_TOOLS_KTD_CONFIGURATION_H
#define KT_TOOLS_KTD_CONFIGURATION_H

#include <cstdint>
#include <optional>
#include <string>

#include "tools/common/ServerOptions.h"
#include "tools/ktd/Service.h"

namespace kt::tools {

// A reload may change `service`; the rest stays as long as the server runs.
struct Configuration : ServerOptions {
  // The dotted IPv4 address at which `unique` looks; nothing means the usual broadcast.
  std::optional<std::string> broadcast;

  bool debug = false;   // whether the debug log is on
  bool unique = false;  // whether to refuse to start if another server of the signature answers
  std::int32_t workers = 4;  // threads for requests that take long
  Service service;
};

}  // namespace kt::tools

#endif
