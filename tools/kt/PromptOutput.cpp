// SPDX-License-Identifier: MIT

#include "tools/kt/PromptOutput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tools/common/Output.h"

namespace kt::tools {

namespace {

// Returns whether `descriptor` is a terminal or a pipe that may be written to. One that may not, as
// reserveStandardDescriptors() opens them, must not become writable.
bool makesWritersWait(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return false;
  const bool isWritable = (::fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
  return isWritable && (S_ISCHR(status.st_mode) || S_ISFIFO(status.st_mode));
}

}  // namespace

PromptOutput::PromptOutput() {
  if (!makesWritersWait(STDOUT_FILENO)) return;
  const int descriptor = ::open("/proc/self/fd/1", O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor >= 0) own_.emplace(descriptor);
}

int PromptOutput::descriptor() const {
  return own_ ? own_->get() : STDOUT_FILENO;
}

std::size_t PromptOutput::write(std::string_view text) const {
  const ssize_t count = ::write(descriptor(), text.data(), text.size());
  if (count >= 0) return static_cast<std::size_t>(count);
  if (errno == EAGAIN || errno == EINTR) return 0;
  throwOutputFailure(errno);
}

}  // namespace kt::tools
