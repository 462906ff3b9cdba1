// SPDX-License-Identifier: MIT

// The subcommands of kt: each is one function in a file of its own; the table in main.cpp names
// them all. Everything runs on the main thread but where a command says otherwise.
#ifndef KT_TOOLS_KT_COMMAND_H
#define KT_TOOLS_KT_COMMAND_H

#include <cstdint>
#include <functional>

#include "tools/common/CommandLine.h"

namespace kt::tools {

// The options of every subcommand.
struct Options : ServerOptions {
  std::int32_t timeoutMs = 100;         // the base of all waits
  std::optional<std::int32_t> retries;  // sends after the first of a request; nothing: the usual
  bool json = false;                    // results as JSON, one line each
  bool quiet = false;                   // no results, only errors
};

// What a subcommand does once the command line is parsed. Gives the exit status; throws Failure or
// Misuse where that says more.
using Action = std::function<int(const Options &options)>;

// Adds the subcommand's own options and examples to `app` and gives what it does. The values of
// these options live in the action.
using DeclareCommand = Action(CLI::App &app);

}  // namespace kt::tools

#endif
