// SPDX-License-Identifier: MIT

#include "tools/common/Output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace kt::tools {

void reserveStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    // Gets the lowest number that is free: this one.
    (void)::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

void throwOutputFailure(int reason) {
  const std::string problem =
      std::string("can't write to standard output: ") + std::strerror(reason);
  if (reason == EPIPE) throw ClosedOutput(problem);
  throw Failure(problem);
}

void printText(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (!written || std::fflush(stdout) != 0) throwOutputFailure(errno);
}

void printLine(std::string_view line) {
  printText(std::string(line) + '\n');
}

}  // namespace kt::tools
