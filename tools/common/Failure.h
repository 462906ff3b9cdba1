// SPDX-License-Identifier: MIT

// The two ways in which a program of this folder fails. Functions throw them; main prints the text
// to standard error and exits with the status that belongs to it. A text may have several lines.
// Any part of it that came from outside is escaped (Escape.h).
#ifndef KT_TOOLS_COMMON_FAILURE_H
#define KT_TOOLS_COMMON_FAILURE_H

#include <stdexcept>

namespace kt::tools {

inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitMisused = 2;

// The program could not do what it was asked for: no server, no reply, bad input. Status 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command line makes no sense. Status 2.
class Misuse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace kt::tools

#endif
