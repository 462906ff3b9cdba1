#include "tools/common/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/common/Failure.h"

namespace kt::tools {

void printLine(std::string_view line) {
  const std::string whole = std::string(line) + '\n';
  const bool written = std::fwrite(whole.data(), 1, whole.size(), stdout) == whole.size();
  if (!written || std::fflush(stdout) != 0) {
    throw Failure(std::string("can't write to standard output: ") + std::strerror(errno));
  }
}

}  // namespace kt::tools
