// SPDX-License-Identifier: MIT

#include "tools/ktd/ErrorLines.h"

#include "kt/foundation/Format.h"

namespace kt::tools {

namespace {

constexpr std::chrono::seconds period{1};

}  // namespace

// Once lines were left out there is silence until a second after the last line said, rather than
// after the tenth last: else a steady flood would alternate lines and numbers of lines left out.
bool ErrorLines::quietLongEnough(Time now) const {
  const std::size_t newest = (next_ + linesPerSecond - 1) % linesPerSecond;
  return now - said_[newest] >= period;
}

std::string ErrorLines::leftOut(Time now) {
  if (leftOut_ == 0 || !quietLongEnough(now)) return {};
  std::string notice = kt::format("ktd: errors left out: %d\n", leftOut_);
  leftOut_ = 0;
  saidCount_ = 0;
  return notice;
}

std::string ErrorLines::say(std::string_view line, Time now) {
  std::string text = leftOut(now);
  const bool full = saidCount_ == linesPerSecond && now - said_[next_] < period;
  if (full || leftOut_ > 0) {
    ++leftOut_;
    return text;
  }
  said_[next_] = now;
  next_ = (next_ + 1) % linesPerSecond;
  if (saidCount_ < linesPerSecond) ++saidCount_;
  return text.append(line) += '\n';
}

}  // namespace kt::tools
