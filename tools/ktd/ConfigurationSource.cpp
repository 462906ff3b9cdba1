// SPDX-License-Identifier: MIT

#include "tools/ktd/ConfigurationSource.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "kt/foundation/Format.h"
#include "tools/common/Arguments.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Failure.h"
#include "tools/common/Paths.h"
#include "tools/ktd/ConfigurationKeys.h"
#include "tools/ktd/HandlerText.h"
#include "tools/ktd/Kinds.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// ---- The command line ----

constexpr const char *broadcastHelp =
    R"(Where --unique looks for other servers (default: that of
the host "broadcasthost", else 255.255.255.255))";

constexpr const char *handleHelp =
    R"(Answer requests of this kind with what the program prints;
once for each kind. PROGRAM is an absolute path. Blanks
separate the arguments; there is no quoting)";

constexpr const char *configHelp =
    R"(Read options from a property list whose keys are the long
options. Those on the command line replace the file's)";

constexpr const char *footerEnd = R"(
With --files, anyone who can send requests may read these names. With --handle, anyone
who can send requests may run these programs.
Ends with status 0 on SIGTERM and SIGINT, 1 if it cannot serve, 2 on wrong usage. SIGHUP
reads the file of --config again; without one it ends ktd.
KtDebugEnabled=YES in the environment turns the log of --debug on, too.
)";

std::string footer() {
  std::string text = "Answers these kinds of requests:\n";
  for (const Kind &kind : allKinds()) {
    std::string line = "  " + std::string(kind.name);
    line.resize(std::max<std::size_t>(12, line.size() + 2), ' ');
    text += line.append(kind.summary) += '\n';
  }
  return text + footerEnd;
}

void addFileOptions(CommandLine &line, ServedFiles &served) {
  line.addSeveral({"--files", "DIR", "Serve the names of the files below these directories"},
                  served.roots);
  line.addList({"--types", "EXT,EXT,...",
                "Serve files of these extensions only (default: those\nthat a request asks for)"},
               served.types, extensionProblem);
}

void addWorkOptions(CommandLine &line, Configuration &configuration,
                    std::vector<std::string> &handlers) {
  line.addTexts({"--handle", "'KIND=PROGRAM ARGUMENT...'", handleHelp}, handlers, handleProblem);
  line.addOption<readTimeLimit>(
      {"--handler-timeout", "SECONDS", "The most that a run of a program may take (default: 10)"},
      configuration.service.handlerTimeout, timeLimitWanted);
  line.addOption<readWorkers>(
      {"--workers", "N", "The most requests to work on at once (default: 4)"},
      configuration.workers, workersWanted);
}

std::map<std::string, Handler, std::less<>> handlersIn(const std::vector<std::string> &texts) {
  std::map<std::string, Handler, std::less<>> handlers;
  for (const std::string &text : texts) {
    const auto [kind, handler] = readHandle(text);
    if (!handlers.emplace(kind, handler).second) {
      throw Misuse("--handle: the kind " + inQuotes(kind) + " is repeated");
    }
  }
  return handlers;
}

// ---- Checks ----

constexpr const char *filesMissing = "--types requires --files";

bool lacksFiles(const ServedFiles &files) {
  return !files.types.empty() && files.roots.empty();
}

// Throws Failure if the system can't do what the command line says.
void checkGiven(const Service &given) {
  for (const std::string &root : given.files.roots) {
    if (const auto problem = whyNotServed(root)) throw Failure(*problem);
  }
  for (const auto &[kind, handler] : given.handlers) {
    if (const auto problem = whyNotStarted(handler)) throw Failure(*problem);
  }
}

}  // namespace

std::optional<int> ConfigurationSource::parse(int argc, const char *const *argv) {
  ProgramLine line("ktd", "Serves requests from clients on the local network until it is stopped.");
  std::vector<std::string> handlers;
  addServerOptions(line, given_);
  line.addOption<readAddress>({"--broadcast", "ADDRESS", broadcastHelp}, given_.broadcast,
                              addressWanted);
  addDebugFlag(line, given_.debug);
  line.addFlag("--unique", given_.unique,
               "Refuse to start while another server of the signature answers");
  addFileOptions(line, given_.service.files);
  addWorkOptions(line, given_, handlers);
  std::string path;
  line.addText({"--config", "FILE", configHelp}, path);
  line.addFlag("--print-config", printsConfiguration_,
               "Print the configuration as the text of such a file and end");
  line.setFooter(footer());
  if (const std::optional<int> status = line.parse(argc, argv)) return status;

  if (line.isGiven("--config")) path_ = path;
  for (const ConfigurationKey &key : configurationKeys()) {
    if (line.isGiven("--" + std::string(key.name))) givenKeys_.emplace(key.name);
  }
  try {
    given_.service.handlers = handlersIn(handlers);
    if (!hasFile() && lacksFiles(given_.service.files)) throw Misuse(filesMissing);
    return std::nullopt;
  } catch (const Misuse &error) {
    std::fprintf(stderr, "ktd: %s\nTry \"ktd --help\".\n", error.what());
    return exitMisused;
  }
}

Configuration ConfigurationSource::load() const {
  Configuration configuration = given_;
  if (path_) applyConfigurationFile(*path_, givenKeys_, configuration);
  if (lacksFiles(configuration.service.files)) throw Failure(filesMissing);
  checkGiven(given_.service);
  return configuration;
}

// ---- Reloading ----

namespace {

// Returns "a, b and c".
std::string joinedNames(const std::vector<std::string> &names) {
  std::string text;
  for (std::size_t index = 0; index < names.size(); ++index) {
    if (index > 0) text += index + 1 < names.size() ? ", " : " and ";
    text += names[index];
  }
  return text;
}

}  // namespace

std::optional<std::string> whyNotReloaded(const Configuration &old, const Configuration &next) {
  std::vector<std::string> changed;
  if (old.signature != next.signature) changed.emplace_back("the signature");
  if (old.ports != next.ports) changed.emplace_back("the ports");
  if (old.broadcast != next.broadcast) changed.emplace_back("the broadcast address");
  if (old.unique != next.unique) changed.emplace_back("the flag unique");
  if (old.debug != next.debug) changed.emplace_back("the flag debug");
  if (old.workers != next.workers) changed.emplace_back("the number of workers");
  if (changed.empty()) return std::nullopt;
  return joinedNames(changed) + " can't change while ktd runs; restart it";
}

}  // namespace kt::tools
