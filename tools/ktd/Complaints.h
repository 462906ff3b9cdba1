// SPDX-License-Identifier: MIT

// ktd's lines on standard error about requests that failed, kept to a bearable number. Any thread
// may use it.
#ifndef KT_TOOLS_KTD_COMPLAINTS_H
#define KT_TOOLS_KTD_COMPLAINTS_H

#include <mutex>
#include <string_view>

#include "tools/ktd/ErrorLines.h"

namespace kt::tools {

class Complaints {
 public:
  // Writes `ktd: reason`, the reason escaped, unless there were too many lines of late. In that
  // case SIGALRM comes to the process about a second later, for which settle() is to be called.
  void say(std::string_view reason);

  // Writes how many lines were left out, if any were.
  void settle();

 private:
  std::mutex mutex_;
  ErrorLines lines_;
};

}  // namespace kt::tools

#endif
