// SPDX-License-Identifier: MIT

#include "kt/foundation/LogLine.h"

#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

namespace kt {

namespace {

// Writes in one piece, unless a signal or a full descriptor interrupts; then the rest follows.
void writeToStandardError(std::string_view line) {
  while (!line.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
    if (written > 0) {
      line.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      return;
    }
  }
}

// Held while a line is written. It keeps lines apart that are longer than a pipe takes at once.
constinit std::mutex writeMutex;
constinit LogLineWriter lineWriter = writeToStandardError;  // guarded by writeMutex; never null

std::string linePrefix() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  ::localtime_r(&now.tv_sec, &local);
  std::array<char, 128> time;  // holds seven numbers of any size
  std::snprintf(time.data(), time.size(), "%04d-%02d-%02d %02d:%02d:%02d.%03d ",
                local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                local.tm_sec, static_cast<int>(now.tv_nsec / 1'000'000));
  std::string prefix = time.data();
  prefix += program_invocation_short_name;
  prefix += '[' + std::to_string(::getpid()) + "] ";
  return prefix;
}

}  // namespace

void writeLogLine(std::string_view text) {
  const int savedErrno = errno;
  std::string line = linePrefix();
  line += text;
  line += '\n';
  {
    const std::scoped_lock lock(writeMutex);
    lineWriter(line);
  }
  errno = savedErrno;
}

void setLogLineWriter(LogLineWriter writer) noexcept {
  const std::scoped_lock lock(writeMutex);
  lineWriter = writer != nullptr ? writer : writeToStandardError;
}

}  // namespace kt
