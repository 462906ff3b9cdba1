// SPDX-License-Identifier: MIT

// ktd: a host for KtUDPDaemon. The server has a thread of its own; the main thread waits for the
// signals that end the process.
#include <pthread.h>

#include <csignal>
#include <iostream>
#include <thread>

#include "kt/diagnostics/KtDebug.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Failure.h"
#include "tools/common/Paths.h"
#include "tools/common/TerminalLog.h"
#include "tools/ktd/Host.h"

using namespace kt::tools;

namespace {

void serveOrExit(const HostOptions &options, Complaints &complaints) {
  try {
    serve(options, complaints);
  } catch (const std::exception &error) {
    std::cerr << "ktd: " << error.what() << '\n';
    endProcess(exitFailed);
  }
}

void addFileOptions(CLI::App &app, ServedFiles &served) {
  CLI::Option *files = app.add_option("--files", served.roots,
                                      "Serve the names of the files below these directories")
                           ->type_name("DIR ...");
  app.add_option("--types", served.types,
                 "Serve files of these extensions only (default: those\nthat a request asks for)")
      ->type_name("EXT,EXT,...")
      ->check(extensionProblem)
      ->delimiter(',')
      ->needs(files);
}

// SIGTERM and SIGINT end ktd, SIGALRM asks for the complaints to be settled.
sigset_t awaitedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGALRM);
  return signals;
}

void waitForEnd(const sigset_t &signals, Complaints &complaints) {
  for (int signal = 0; signal != SIGTERM && signal != SIGINT;) {
    if (sigwait(&signals, &signal) == 0 && signal == SIGALRM) complaints.settle();
  }
}

}  // namespace

int main(int argc, char **argv) {
  KtAutoSetDebug();
  CLI::App app("Serves requests of the clients on the local network until it is told to end.",
               "ktd");
  HostOptions options;
  addServerOptions(app, options);
  app.add_flag("--unique", options.unique,
               "Refuse to start while another server of the signature answers");
  addFileOptions(app, options.files);
  app.get_option("--broadcast")
      ->description(
          "Where --unique looks for other servers (default: that of\nthe host \"broadcasthost\", "
          "else 255.255.255.255)");
  app.footer(
      "Answers the requests Echo (the request's keys), Evaluate (the value of an Expression),\n"
      "Files (the names of the files of --files, a page at a time) and Status (the state of the\n"
      "server). With --files everybody who can send requests may read these names.\n"
      "Ends with status 0 on SIGTERM and SIGINT, 1 when it cannot serve, 2 on wrong usage.\n"
      "The log of --debug is on as well with KtDebugEnabled=YES in the environment.");
  if (const std::optional<int> status = parseCommandLine(app, argc, argv)) return *status;
  if (options.debug) KtSetDebugEnabled(1);

  // Signals are blocked before there is a second thread, so that they come to sigwait and nowhere
  // else.
  const sigset_t signals = awaitedSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  guardTerminal();
  std::signal(SIGPIPE, SIG_IGN);  // an output that is gone shows as a failed write
  Complaints complaints;
  std::thread(serveOrExit, std::cref(options), std::ref(complaints)).detach();
  waitForEnd(signals, complaints);
  endProcess(exitDone);  // at once: the serving thread is still at work with everything
}
