// SPDX-License-Identifier: MIT

// Limits a flood of lines: at most ten within any second, then none for a second, then one line
// with the number of lines left out. It is passed the time and returns text, so it neither waits
// nor writes. One thread at a time may use it.
#ifndef KT_TOOLS_KTD_LINELIMITER_H
#define KT_TOOLS_KTD_LINELIMITER_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kt::tools {

class LineLimiter {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr std::size_t linesPerSecond = 10;

  // Adds `line` and returns what to write: nothing, or the line with a line feed. A line may follow
  // the number of lines left out before it.
  [[nodiscard]] std::string add(std::string_view line, Time now);

  // Counts a line that can't be written as left out.
  void leaveOut() { ++leftOut_; }

  // Returns the number of lines left out, as a line, if there are any and a second has passed since
  // the last line written; otherwise nothing.
  [[nodiscard]] std::string leftOut(Time now);

  // Whether lines were left out that no line has reported yet.
  [[nodiscard]] bool anyLeftOut() const { return leftOut_ > 0; }

 private:
  [[nodiscard]] bool quietLongEnough(Time now) const;

  std::array<Time, linesPerSecond> written_{};  // a ring: when the last lines were written
  std::size_t next_ = 0;                        // the ring's oldest entry
  std::size_t writtenCount_ = 0;                // valid entries of the ring
  std::uint64_t leftOut_ = 0;                   // lines left out since the last one written
};

}  // namespace kt::tools

#endif
