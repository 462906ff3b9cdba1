// SPDX-License-Identifier: MIT

#include "tools/ktd/Capture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace kt::tools {

Capture::Capture(std::size_t limit) : limit_(limit) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category());
  }
  readingEnd_.emplace(ends[0]);
  writingEnd_.emplace(ends[1]);
  // Only this end: programs expect that writing waits.
  if (::fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0) {
    throw std::system_error(errno, std::generic_category());
  }
}

bool Capture::receive() {
  std::array<char, 65536> chunk;  // as much as a pipe holds
  const ssize_t count = ::read(readingEnd(), chunk.data(), chunk.size());
  if (count == 0) readingEnd_.reset();
  if (count <= 0) return false;
  const std::size_t received = static_cast<std::size_t>(count);
  const std::size_t kept = std::min(received, limit_ - text_.size());
  text_.append(chunk.data(), kept);
  overflowed_ = overflowed_ || kept < received;
  return true;
}

void Capture::receiveRest() {
  while (!overflowed_ && receive()) {
  }
}

}  // namespace kt::tools
