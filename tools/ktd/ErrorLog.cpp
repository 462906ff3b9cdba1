// SPDX-License-Identifier: MIT

#include "tools/ktd/ErrorLog.h"

#include <cstdio>
#include <string>

#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

void write(const std::string &text) {
  (void)std::fwrite(text.data(), 1, text.size(), stderr);  // no better place to report a failure
}

}  // namespace

void ErrorLog::report(std::string_view reason, Time now) {
  const std::scoped_lock lock(mutex_);
  write(limiter_.add("ktd: " + escaped(reason), now));
}

void ErrorLog::announce(std::string_view text) {
  const std::scoped_lock lock(mutex_);
  write("ktd: " + escaped(text) + '\n');
}

void ErrorLog::reportLeftOut(Time now) {
  const std::scoped_lock lock(mutex_);
  write(limiter_.leftOut(now));
}

}  // namespace kt::tools
