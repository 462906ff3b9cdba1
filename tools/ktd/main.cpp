// SPDX-License-Identifier: MIT

// ktd: a host for KtUDPDaemon. A second thread serves; the main thread waits for the signals that
// end the process.
#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "kt/diagnostics/KtDebug.h"
#include "tools/common/Arguments.h"
#include "tools/common/EscapedLog.h"
#include "tools/common/Failure.h"
#include "tools/common/Paths.h"
#include "tools/ktd/Host.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

namespace {

// ---- The command line ----

constexpr const char *broadcastHelp =
    R"(Where --unique looks for other servers (default: that of
the host "broadcasthost", else 255.255.255.255))";

constexpr const char *footerEnd = R"(
With --files, anyone who can send requests may read these names.
Ends with status 0 on SIGTERM and SIGINT, 1 if it cannot serve, 2 on wrong usage.
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
               served.types, extensionProblem, "--files");
}

std::optional<int> parseOptions(Configuration &options, int argc, const char *const *argv) {
  ProgramLine line("ktd", "Serves requests from clients on the local network until it is stopped.");
  addServerOptions(line, options);
  line.addOption<readAddress>({"--broadcast", "ADDRESS", broadcastHelp}, options.broadcast,
                              "an IPv4 address such as 192.168.1.255");
  addDebugFlag(line, options.debug);
  line.addFlag("--unique", options.unique,
               "Refuse to start while another server of the signature answers");
  addFileOptions(line, options.service.files);
  line.setFooter(footer());
  return line.parse(argc, argv);
}

// ---- Serving until a signal ----

void serveOrExit(const Configuration &options, ErrorLog &errors) {
  try {
    serve(options, errors);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "ktd: %s\n", error.what());
    std::_Exit(exitFailed);  // at once: the main thread is waiting
  }
}

sigset_t endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  return signals;
}

void waitForEnd(const sigset_t &signals, ErrorLog &errors) {
  constexpr timespec second{1, 0};
  while (::sigtimedwait(&signals, nullptr, &second) < 0) {
    errors.reportLeftOut();
  }
}

int run(int argc, const char *const *argv) {
  Configuration options;
  if (const std::optional<int> status = parseOptions(options, argc, argv)) return *status;
  if (options.debug) KtSetDebugEnabled(1);
  escapeLogOnTerminal();
  std::signal(SIGPIPE, SIG_IGN);  // a closed output appears as a failed write

  // Blocked before the second thread starts, the signals reach sigtimedwait and nothing else.
  const sigset_t signals = endingSignals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  ErrorLog errors;
  std::thread([&options, &errors] { serveOrExit(options, errors); }).detach();
  waitForEnd(signals, errors);
  std::_Exit(exitDone);  // at once: the serving thread still uses everything
}

}  // namespace

}  // namespace kt::tools

int main(int argc, char **argv) {
  KtAutoSetDebug();
  return kt::tools::run(argc, argv);
}
