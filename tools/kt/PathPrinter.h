// SPDX-License-Identifier: MIT

// Paths on standard output, many of them: written in blocks, but none is kept back for long. For
// the main thread.
#ifndef KT_TOOLS_KT_PATHPRINTER_H
#define KT_TOOLS_KT_PATHPRINTER_H

#include <chrono>
#include <string>
#include <string_view>

#include "tools/kt/Json.h"

namespace kt::tools {

class PathPrinter {
 public:
  // A line for each path, or with `endsWithNul` a NUL behind it. The bytes are those of the path,
  // but on a terminal, where lines show what is not printable ASCII escaped.
  explicit PathPrinter(bool endsWithNul);

  void print(std::string_view path);

  // Prints `value` as one line of JSON.
  void printJson(const Json &value);

  // Writes what was printed if it is much, or if nothing was written for a while. To be called now
  // and then. Throws Failure when the output takes no more, as every function here does.
  void flushWhenDue();

  // Writes what was printed.
  void flush();

 private:
  using Clock = std::chrono::steady_clock;

  const bool endsWithNul_;
  const bool escapes_;                        // whether what is not printable is to be shown
  std::string block_;                         // what is not written yet
  Clock::time_point written_ = Clock::now();  // when something was written last
};

}  // namespace kt::tools

#endif
