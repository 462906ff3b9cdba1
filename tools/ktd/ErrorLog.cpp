// SPDX-License-Identifier: MIT

#include "tools/ktd/ErrorLog.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// Returns whether standard error takes a line without waiting for its reader. It may be a pipe
// whose reader has stopped; the server must not stop too.
bool hasRoom() {
  pollfd stream{STDERR_FILENO, POLLOUT, 0};
  return ::poll(&stream, 1, 0) != 0;
}

void write(const std::string &text) {
  (void)std::fwrite(text.data(), 1, text.size(), stderr);  // no better place to report a failure
}

}  // namespace

void ErrorLog::report(std::string_view reason, Time now) {
  const std::scoped_lock lock(mutex_);
  if (hasRoom()) {
    write(limiter_.add("ktd: " + escaped(reason), now));
  } else {
    limiter_.leaveOut();
  }
}

void ErrorLog::announce(std::string_view text) {
  const std::scoped_lock lock(mutex_);
  if (hasRoom()) write("ktd: " + escaped(text) + '\n');
}

void ErrorLog::reportLeftOut(Time now) {
  const std::scoped_lock lock(mutex_);
  if (hasRoom()) write(limiter_.leftOut(now));
}

}  // namespace kt::tools
