// SPDX-License-Identifier: MIT

// kt: a client for KtUDPDaemon. Parses the command line, runs the subcommand that it names and
// turns exceptions into an error text and an exit status.
#include <array>
#include <csignal>
#include <cstdio>

#include "kt/diagnostics/KtDebug.h"
#include "tools/common/Arguments.h"
#include "tools/common/EscapedLog.h"
#include "tools/common/Output.h"
#include "tools/kt/Command.h"

namespace kt::tools {

namespace {

// ---- The subcommands ----

struct CommandEntry {
  const char *name;
  const char *summary;
  Command &(*command)();
  bool talks;  // whether it uses a server and has the options for that
};

constexpr std::array commands{
    CommandEntry{"hello", "Find a server, or with --all every server", helloCommand, true},
    CommandEntry{"send", "Send one request and print its answer, or with --all every answer",
                 sendCommand, true},
    CommandEntry{"ping", "Measure round trips to a server", pingCommand, true},
    CommandEntry{"parse", "Check property-list text and print it in canonical form", parseCommand,
                 false},
    CommandEntry{"calc", "Compute with integers of up to 4,080 bits", calcCommand, false},
    CommandEntry{"eval", "Let a server compute", evalCommand, true},
    CommandEntry{"walk", "Find the files of some types on this machine", walkCommand, false},
    CommandEntry{"files", "Find the files that a server serves", filesCommand, true},
    CommandEntry{"watch", "Watch every server live", watchCommand, true},
    CommandEntry{"kinds", "List the kinds of requests that a server answers", kindsCommand, true},
};

// ---- The command line ----

constexpr const char *footer = R"(
Examples:
  kt hello                        is there a server?
  kt hello --all --json           every server, for a program to read
  kt send Status                  how is it doing?
  kt send Echo name=value 'list=(1, 2)'
  kt send --all Status            how are all of them doing?
  kt watch                        how do they do from second to second?
  kt ping -c 5 -i 0.2             five round trips, five a second
  kt parse settings.plist         is this text well-formed?
  kt calc '2^521 - 1'             what is that?
  kt eval '2^521 - 1'             the same, computed by the server
  kt walk --type h /usr/include   which headers are there?
  kt files --type h               and on the server?
  kt kinds                        and what else does it answer?
  kt hello --broadcast 127.0.0.1  only on this machine
  kt ping --server hut            the server on that host

Ends with status 0 when done, 1 when it failed (no server, no reply, bad input), 2 on wrong
usage. "kt COMMAND --help" tells more.
)";

constexpr const char *broadcastHelp = R"(Look for servers at these addresses; "all" means
on every network (default: at that of the host
"broadcasthost", else 255.255.255.255))";

void addTalkingOptions(CommandLine &line, Options &options) {
  line.beginGroup("Options of all commands that use a server");
  addServerOptions(line, options);
  line.addOption<readHostAndPort>(
      {"--server", "HOST[:PORT]", "Use the server on this host; a port stands for --ports"},
      options.server, "HOST or HOST:PORT with a port from 1 to 65535");
  line.addOption<readAddresses>(
      {"--broadcast", "ADDRESS,...", broadcastHelp}, options.broadcast,
      "an IPv4 address such as 192.168.1.255, several with commas between them, or all");
  line.addOption<readPositive>({"--timeout", "MS",
                                "How long to wait for an answer, twice as long\n"
                                "after each resend (default: 100)"},
                               options.timeoutMs, "a number of milliseconds from 1 up");
  line.addOption<readCount>(
      {"--retries", "N", "How often to send an unanswered request again (default: 3)"},
      options.retries, "a number of resends from 0 up");
}

void declare(const CommandEntry &entry, ProgramLine &program, Options &options) {
  CommandLine line = program.addCommand(entry.name, entry.summary);
  entry.command().declare(line);
  if (entry.talks) addTalkingOptions(line, options);
  line.beginGroup("Options of all commands");
  addDebugFlag(line, options.debug);
  line.addFlag("--json", options.json, "Print one JSON object per line and nothing else");
  line.addFlag("-q,--quiet", options.quiet, "Print nothing but errors");
}

// ---- Running ----

// Lets the port of --server stand for --ports. Throws Misuse if options exclude each other.
void settle(Options &options) {
  if (!options.server) return;
  if (options.broadcast) throw Misuse("--server excludes --broadcast");
  if (options.server->port) options.ports = {*options.server->port};
}

int runNamed(const std::string &name, const Options &options) {
  std::string names;
  for (const CommandEntry &entry : commands) {
    if (name == entry.name) return entry.command().run(options);
    names += std::string(names.empty() ? "" : ", ") + entry.name;
  }
  throw Misuse("a command is needed: " + names);
}

int runGuarded(const ProgramLine &program, Options &options) {
  const std::string name = program.nameWithCommand();
  try {
    settle(options);
    return runNamed(program.command(), options);
  } catch (const Misuse &error) {
    std::fprintf(stderr, "%s: %s\nTry \"%s --help\".\n", name.c_str(), error.what(), name.c_str());
    return exitMisused;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
    return exitFailed;
  }
}

int run(int argc, const char *const *argv) {
  ProgramLine program("kt", "Finds servers on the local network and talks to them.");
  program.setFooter(footer);
  Options options;
  for (const CommandEntry &entry : commands) {
    declare(entry, program, options);
  }
  if (const std::optional<int> status = program.parse(argc, argv)) return *status;
  if (options.debug) KtSetDebugEnabled(1);
  escapeLogOnTerminal();
  return runGuarded(program, options);
}

}  // namespace

}  // namespace kt::tools

int main(int argc, char **argv) {
  kt::tools::reserveStandardDescriptors();
  KtAutoSetDebug();
  std::signal(SIGPIPE, SIG_IGN);  // a closed output appears as a failed write
  return kt::tools::run(argc, argv);
}
