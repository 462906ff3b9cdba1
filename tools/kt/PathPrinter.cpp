// SPDX-License-Identifier: MIT

#include "tools/kt/PathPrinter.h"

#include <unistd.h>

#include "tools/common/Output.h"
#include "tools/common/Visible.h"

namespace kt::tools {

namespace {

constexpr std::size_t blockSize = 32768;
constexpr std::chrono::milliseconds longestWait{100};  // shorter than people notice

}  // namespace

PathPrinter::PathPrinter(bool endsWithNul)
    : endsWithNul_(endsWithNul), escapes_(!endsWithNul && ::isatty(STDOUT_FILENO) == 1) {}

void PathPrinter::print(std::string_view path) {
  if (escapes_) {
    block_ += visible(path);
  } else {
    block_ += path;
  }
  block_ += endsWithNul_ ? '\0' : '\n';
  flushWhenDue();
}

void PathPrinter::printJson(const Json &value) {
  block_ += lineOf(value) += '\n';
  flushWhenDue();
}

void PathPrinter::flushWhenDue() {
  if (block_.size() >= blockSize || Clock::now() - written_ >= longestWait) flush();
}

void PathPrinter::flush() {
  if (!block_.empty()) printText(block_);
  block_.clear();
  written_ = Clock::now();
}

}  // namespace kt::tools
