// SPDX-License-Identifier: MIT

// ktd: a host for KtUDPDaemon. Reads its configuration and serves, or prints it.
#include <csignal>
#include <cstdio>
#include <exception>
#include <optional>
#include <utility>

#include "kt/diagnostics/KtDebug.h"
#include "tools/common/EscapedLog.h"
#include "tools/common/Failure.h"
#include "tools/common/Output.h"
#include "tools/ktd/ConfigurationSource.h"
#include "tools/ktd/ErrorLog.h"
#include "tools/ktd/Host.h"

namespace kt::tools {

namespace {

void serveAs(const ConfigurationSource &source, Configuration configuration) {
  if (configuration.debug) KtSetDebugEnabled(1);
  escapeLogOnTerminal();
  ErrorLog errors;
  const Reload reload = source.hasFile() ? Reload([&source] { return source.load(); }) : Reload();
  serve(std::move(configuration), reload, errors);
}

int run(int argc, const char *const *argv) {
  ConfigurationSource source;
  if (const std::optional<int> status = source.parse(argc, argv)) return *status;
  std::signal(SIGPIPE, SIG_IGN);  // a closed output appears as a failed write
  std::signal(SIGXFSZ, SIG_IGN);  // so does one that is larger than files may be
  try {
    Configuration configuration = source.load();
    if (source.printsConfiguration()) {
      printText(textOf(configuration));
    } else {
      serveAs(source, std::move(configuration));
    }
    return exitDone;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "ktd: %s\n", error.what());
    return exitFailed;
  }
}

}  // namespace

}  // namespace kt::tools

int main(int argc, char **argv) {
  kt::tools::reserveStandardDescriptors();
  KtAutoSetDebug();
  return kt::tools::run(argc, argv);
}
