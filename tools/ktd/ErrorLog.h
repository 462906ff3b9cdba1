// SPDX-License-Identifier: MIT

// ktd's lines on standard error: about requests that failed, limited in number, and about what the
// operator does. Lines that standard error has no room for are lost. Any thread may use it.
#ifndef KT_TOOLS_KTD_ERRORLOG_H
#define KT_TOOLS_KTD_ERRORLOG_H

#include <mutex>
#include <string_view>

#include "tools/ktd/LineLimiter.h"

namespace kt::tools {

class ErrorLog {
 public:
  using Time = LineLimiter::Time;

  // Writes `ktd: reason` with the reason escaped, unless there were too many lines recently.
  void report(std::string_view reason, Time now = std::chrono::steady_clock::now());

  // Writes `ktd: text` with the text escaped, however many lines there were. For what an operator
  // asked for, which clients must not be able to hide.
  void announce(std::string_view text);

  // Writes how many lines were left out, if any were and no line was written for a second. Call it
  // about once a second.
  void reportLeftOut(Time now = std::chrono::steady_clock::now());

 private:
  std::mutex mutex_;     // for limiter_; lines do not mix
  LineLimiter limiter_;  // decides what is written
};

}  // namespace kt::tools

#endif
