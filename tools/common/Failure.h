// SPDX-License-Identifier: MIT

// The two ways in which a program of this folder fails. Functions throw them; main prints the text
// on standard error and ends with the status that goes with it. Texts may have several lines; what
// came from outside stands in them escaped (Visible.h).
#ifndef KT_TOOLS_COMMON_FAILURE_H
#define KT_TOOLS_COMMON_FAILURE_H

#include <stdexcept>

namespace kt::tools {

inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitMisused = 2;

// What was asked for could not be done: no server, no reply, bad input. Status 1.
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
