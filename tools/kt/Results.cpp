// SPDX-License-Identifier: MIT

#include "tools/kt/Results.h"

#include <unistd.h>

#include "tools/common/Output.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

constexpr std::size_t blockSize = 32768;
constexpr std::chrono::milliseconds longestWait{100};  // shorter than people notice

}  // namespace

// ---- Results ----

void Results::append(std::string_view result) {
  block_ += result;
  block_ += lineEnd_;
  flushWhenDue();
}

void Results::flushWhenDue() {
  if (block_.size() >= blockSize || Clock::now() - written_ >= longestWait) flush();
}

void Results::flush() {
  if (!block_.empty()) printText(block_);
  block_.clear();
  written_ = Clock::now();
}

// ---- PathResults ----

PathResults::PathResults(const Options &options, bool endsWithNul)
    : Results(options), escapes_(!endsWithNul && ::isatty(STDOUT_FILENO) == 1) {
  if (endsWithNul && options.json) throw Misuse("--null excludes --json");
  if (endsWithNul) setLineEnd('\0');
}

std::string PathResults::textOf(std::string_view path) const {
  return escapes_ ? escaped(path) : std::string(path);
}

}  // namespace kt::tools
