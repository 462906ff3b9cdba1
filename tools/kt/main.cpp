// SPDX-License-Identifier: MIT

// kt: a client for KtUDPDaemon. Reads the command line, runs the subcommand that it names and turns
// what that throws into a text and a status.
#include <array>
#include <csignal>
#include <iostream>

#include "kt/diagnostics/KtDebug.h"
#include "tools/common/Failure.h"
#include "tools/common/Numbers.h"
#include "tools/common/TerminalLog.h"
#include "tools/kt/Command.h"

namespace kt::tools {

DeclareCommand declareHello, declareSend, declarePing, declareParse, declareCalc, declareEval,
    declareWalk, declareFiles;

namespace {

struct Command {
  const char *name;
  const char *summary;
  DeclareCommand *declare;
};

constexpr std::array commands{
    Command{"hello", "Find a server, or with --all every server", declareHello},
    Command{"send", "Send one request and print its answer", declareSend},
    Command{"ping", "Measure round trips to a server", declarePing},
    Command{"parse", "Check property-list text and print it in canonical form", declareParse},
    Command{"calc", "Compute with integers of up to 4,080 bits", declareCalc},
    Command{"eval", "Let a server compute", declareEval},
    Command{"walk", "Find the files of some types on this machine", declareWalk},
    Command{"files", "Find the files that a server serves", declareFiles},
};

constexpr const char *footer =
    "Examples:\n"
    "  kt hello                        is there a server?\n"
    "  kt hello --all --json           every server, for a program to read\n"
    "  kt send Status                  how is it doing?\n"
    "  kt send Echo name=value 'list=(1, 2)'\n"
    "  kt ping -c 5 -i 0.2             five round trips, five a second\n"
    "  kt parse settings.plist         is this text well-formed?\n"
    "  kt calc '2^521 - 1'             what is that?\n"
    "  kt eval '2^521 - 1'             the same, computed by the server\n"
    "  kt walk --type h /usr/include   which headers are there?\n"
    "  kt files --type h               and on the server?\n"
    "  kt hello --broadcast 127.0.0.1  only on this machine\n"
    "\n"
    "Ends with status 0 when done, 1 when it failed (no server, no reply, bad input), 2 on\n"
    "wrong usage. \"kt COMMAND --help\" tells more.";

void addOptions(CLI::App &app, Options &options) {
  app.option_defaults()->group("Options of all commands");
  addServerOptions(app, options);
  addOption(app, "--timeout", options.timeoutMs, readPositive, "a number of milliseconds from 1 up",
            "How long to wait for an answer, twice as long\nafter each resend (default: 100)")
      ->type_name("MS");
  addOption(app, "--retries", options.retries, readCount, "a number of resends from 0 up",
            "How often to send an unanswered request again (default: 3)")
      ->type_name("N");
  app.add_flag("--json", options.json, "Print one JSON object per line and nothing else");
  app.add_flag("-q,--quiet", options.quiet, "Print nothing but errors");
  app.option_defaults()->group("Options");
}

int runGuarded(const CLI::App &app, const Options &options, const Action &action) {
  const std::string name = commandName(app);
  try {
    return action(options);
  } catch (const Misuse &error) {
    std::cerr << name << ": " << error.what() << "\nTry \"" << name << " --help\".\n";
    return exitMisused;
  } catch (const std::exception &error) {
    std::cerr << name << ": " << error.what() << '\n';
    return exitFailed;
  }
}

int refuseWithoutCommand(const Options &) {
  std::string names;
  for (const Command &command : commands) {
    names += std::string(names.empty() ? "" : ", ") + command.name;
  }
  throw Misuse("a command is needed: " + names);
}

int run(int argc, const char *const *argv) {
  CLI::App app("Finds servers on the local network and talks to them.", "kt");
  app.require_subcommand(0, 1);  // that there is none is said below, more to the point
  app.footer(footer);
  addVersionFlag(app, app.get_name());
  Options options;
  Action action;
  for (const Command &command : commands) {
    CLI::App *subcommand = app.add_subcommand(command.name, command.summary);
    addOptions(*subcommand, options);
    subcommand->callback([&action, chosen = command.declare(*subcommand)] { action = chosen; });
  }
  if (const std::optional<int> status = parseCommandLine(app, argc, argv)) return *status;
  if (options.debug) KtSetDebugEnabled(1);
  guardTerminal();
  if (!action) action = refuseWithoutCommand;
  return runGuarded(app, options, action);
}

}  // namespace

}  // namespace kt::tools

int main(int argc, char **argv) {
  KtAutoSetDebug();
  std::signal(SIGPIPE, SIG_IGN);  // an output that is gone shows as a failed write
  return kt::tools::run(argc, argv);
}
