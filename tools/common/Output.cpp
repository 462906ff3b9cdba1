// SPDX-License-Identifier: MIT

#include "tools/common/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/common/Failure.h"

namespace kt::tools {

void printText(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (!written || std::fflush(stdout) != 0) {
    throw Failure(std::string("can't write to standard output: ") + std::strerror(errno));
  }
}

void printLine(std::string_view line) {
  printText(std::string(line) + '\n');
}

}  // namespace kt::tools
