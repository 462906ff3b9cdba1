// SPDX-License-Identifier: MIT

#include "tools/common/CommandLine.h"

#include <iostream>

#include "tools/common/Failure.h"
#include "tools/common/Numbers.h"

namespace kt::tools {

namespace {

std::string misuseText(const CLI::App *app, const CLI::Error &error) {
  const std::string name = commandName(*app);
  return name + ": " + visible(error.what()) + "\nTry \"" + name + " --help\".\n";
}

}  // namespace

void addVersionFlag(CLI::App &app, const std::string &program) {
  app.set_version_flag("--version", program + ' ' + std::string(version),
                       "Print the version and end");
}

void addServerOptions(CLI::App &app, ServerOptions &options) {
  app.add_option("--signature", options.signature, "The server's signature (default: \"KtUDP\")")
      ->type_name("TEXT");
  addOption(app, "--ports", options.ports, readPorts,
            "a list of ports from 1 to 65535 with commas between them",
            "The server's ports, in order\n(default: " + portList(options.ports) + ")")
      ->type_name("N,N,...");
  addOption(app, "--broadcast", options.broadcast, readAddress,
            "an IPv4 address such as 192.168.1.255",
            "Look for servers at this address (default:\n"
            "that of the host \"broadcasthost\", else 255.255.255.255)")
      ->type_name("ADDRESS");
  app.add_flag("--debug", options.debug, "Log what is sent and received on standard error");
  const CLI::App &program = app.get_parent() != nullptr ? *app.get_parent() : app;
  addVersionFlag(app, program.get_name());
}

std::optional<int> parseCommandLine(CLI::App &app, int argc, const char *const *argv) {
  app.failure_message(misuseText);
  try {
    app.parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::ParseError &end) {
    return app.exit(end) == 0 ? exitDone : exitMisused;
  }
}

std::string commandName(const CLI::App &app) {
  const std::vector<const CLI::App *> chosen =
      app.get_subcommands([](const CLI::App *command) { return command->parsed(); });
  return chosen.empty() ? app.get_name() : app.get_name() + ' ' + chosen.front()->get_name();
}

}  // namespace kt::tools
