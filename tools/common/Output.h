// SPDX-License-Identifier: MIT

// Writes to standard output and reports failures. Any thread may call these functions; the texts of
// several threads never mix.
#ifndef KT_TOOLS_COMMON_OUTPUT_H
#define KT_TOOLS_COMMON_OUTPUT_H

#include <string_view>

#include "tools/common/Failure.h"

namespace kt::tools {

// The reader of standard output, a pipe, has closed it.
class ClosedOutput : public Failure {
 public:
  using Failure::Failure;
};

// Opens those of the three standard descriptors that are closed, so that no socket gets their
// numbers and then what is meant for them. Reading from one or writing to it still fails. For the
// start of a program.
void reserveStandardDescriptors();

// Throws the failure that standard output takes no more: ClosedOutput for EPIPE.
[[noreturn]] void throwOutputFailure(int reason);

// Writes `text` and flushes. Throws Failure if the output accepts no more, for example because the
// disk is full, and ClosedOutput if the pipe is closed. For the latter, SIGPIPE must be ignored.
void printText(std::string_view text);

// Writes `line` and a line feed and flushes. Throws as printText does.
void printLine(std::string_view line);

}  // namespace kt::tools

#endif
