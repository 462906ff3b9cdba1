// SPDX-License-Identifier: MIT

// What the command lines of the programs have in common: the options that say which server is
// meant, how an option's text is checked, and how a wrong command line ends. For the main thread,
// while the program starts.
#ifndef KT_TOOLS_COMMON_COMMANDLINE_H
#define KT_TOOLS_COMMON_COMMANDLINE_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "tools/common/Visible.h"

namespace kt::tools {

// Which server is meant, and whether to log.
struct ServerOptions {
  std::string signature{defaultSignature};
  std::vector<std::int32_t> ports{defaultPorts.begin(), defaultPorts.end()};
  std::optional<std::string> broadcast;  // a dotted IPv4 address; nothing means the usual broadcast
  bool debug = false;                    // whether the debug log is wanted on
};

// The version of the toolkit: "0.1.0"
inline constexpr std::string_view version = KT_VERSION;

// Adds --version, which prints the program's name and its version.
void addVersionFlag(CLI::App &app, const std::string &program);

// Adds --signature, --ports, --broadcast, --debug and --version, which fill in `options`; it must
// live until the command line is parsed.
void addServerOptions(CLI::App &app, ServerOptions &options);

// Adds the option `name`, whose text `read` turns into the value, or refuses by giving nothing. The
// refusal says that the text is not `wanted`, for example "a number of milliseconds, 1 or more".
// `value` must live until the command line is parsed.
template <typename Value, typename Result>
CLI::Option *addOption(CLI::App &app, const std::string &name, Result &value,
                       std::optional<Value> (*read)(std::string_view text),
                       const std::string &wanted, const std::string &description) {
  const std::string longName = name.substr(name.rfind(',') + 1);  // "--count" of "-c,--count"
  const auto take = [&value, read, wanted, longName](const std::string &text) {
    std::optional<Value> result = read(text);
    if (!result) throw CLI::ValidationError(longName, inQuotes(text) + " is not " + wanted);
    value = *std::move(result);
  };
  return app.add_option_function<std::string>(name, take, description);
}

// Parses the command line. Nothing when the program is to go on; otherwise the status to end with:
// 0 after --help and --version, 2 after an error, which is on standard error by then.
[[nodiscard]] std::optional<int> parseCommandLine(CLI::App &app, int argc, const char *const *argv);

// "kt hello" once the command line of kt has named its subcommand, the program's name before.
[[nodiscard]] std::string commandName(const CLI::App &app);

}  // namespace kt::tools

#endif
