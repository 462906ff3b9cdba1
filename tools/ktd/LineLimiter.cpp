// SPDX-License-Identifier: MIT

#include "tools/ktd/LineLimiter.h"

#include "kt/foundation/Format.h"

namespace kt::tools {

namespace {

constexpr std::chrono::seconds period{1};

}  // namespace

// Once lines were left out, the silence lasts until a second after the last line written. If it
// ended a second after the tenth last, a steady flood would alternate lines and reports.
bool LineLimiter::quietLongEnough(Time now) const {
  const std::size_t newest = (next_ + linesPerSecond - 1) % linesPerSecond;
  return now - written_[newest] >= period;
}

std::string LineLimiter::leftOut(Time now) {
  if (leftOut_ == 0 || !quietLongEnough(now)) return {};
  std::string report = kt::format("ktd: errors left out: %d\n", leftOut_);
  leftOut_ = 0;
  writtenCount_ = 0;
  return report;
}

std::string LineLimiter::add(std::string_view line, Time now) {
  std::string text = leftOut(now);
  const bool full = writtenCount_ == linesPerSecond && now - written_[next_] < period;
  if (full || leftOut_ > 0) {
    ++leftOut_;
    return text;
  }
  written_[next_] = now;
  next_ = (next_ + 1) % linesPerSecond;
  if (writtenCount_ < linesPerSecond) ++writtenCount_;
  return text.append(line) += '\n';
}

}  // namespace kt::tools
