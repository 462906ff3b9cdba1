// SPDX-License-Identifier: MIT

// The subcommands of kt. Each is a class in a file of its own (CommandHello.cpp), made by one
// function; the table in main.cpp lists them all. Everything runs on the main thread unless a
// command says otherwise.
#ifndef KT_TOOLS_KT_COMMAND_H
#define KT_TOOLS_KT_COMMAND_H

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/common/Arguments.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Failure.h"
#include "tools/common/ServerOptions.h"

namespace kt::tools {

// The options that several subcommands share. Those of ServerOptions and all up to the retries are
// offered by the subcommands that use a server.
struct Options : ServerOptions {
  // The host to ask; nothing means a broadcast. If it has a port, `ports` holds that port only.
  std::optional<HostAndPort> server;

  // Where to look for servers, network byte order: on every network if empty, at the usual address
  // if nothing. Not together with `server`.
  std::optional<std::vector<std::uint32_t>> broadcast;

  std::optional<std::int32_t> timeoutMs;  // the base of all waits; nothing: 100 ms
  std::optional<std::int32_t> retries;    // sends after the first one; nothing: 3
  bool debug = false;                     // whether the debug log is on
  bool json = false;                      // results as JSON, one line each
  bool quiet = false;                     // no results, only errors
};

inline constexpr std::int32_t usualTimeoutMs = 100;

class Command {
 public:
  Command() = default;
  virtual ~Command() = default;
  Command(const Command &) = delete;
  Command &operator=(const Command &) = delete;

  // Adds the subcommand's own options and help to `line`.
  virtual void declare(CommandLine &line) = 0;

  // Runs the subcommand once the command line is parsed, and returns the exit status. Throws
  // Failure or Misuse if main is to print an error.
  virtual int run(const Options &options) = 0;
};

// ---- The subcommands: each function returns the same object every time ----

[[nodiscard]] Command &calcCommand();
[[nodiscard]] Command &evalCommand();
[[nodiscard]] Command &filesCommand();
[[nodiscard]] Command &helloCommand();
[[nodiscard]] Command &kindsCommand();
[[nodiscard]] Command &parseCommand();
[[nodiscard]] Command &pingCommand();
[[nodiscard]] Command &sendCommand();
[[nodiscard]] Command &walkCommand();
[[nodiscard]] Command &watchCommand();

}  // namespace kt::tools

#endif
