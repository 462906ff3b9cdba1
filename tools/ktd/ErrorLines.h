// SPDX-License-Identifier: MIT

// Keeps a flood of errors from flooding the terminal or the disk: at most ten lines within any
// second, then silence for a second, then one line that says how many were left out. It is given
// the time and gives back text, so it neither waits nor writes; one thread at a time may use it.
#ifndef KT_TOOLS_KTD_ERRORLINES_H
#define KT_TOOLS_KTD_ERRORLINES_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kt::tools {

class ErrorLines {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr std::size_t linesPerSecond = 10;

  // What to write now that `line` is to be said: the line with its line feed, perhaps behind the
  // number of lines left out, or nothing.
  [[nodiscard]] std::string say(std::string_view line, Time now);

  // What to write now that nothing else is to be said: the number of lines left out, once a second
  // has passed since the last line, or nothing.
  [[nodiscard]] std::string leftOut(Time now);

  // Whether there are lines left out of which nothing was said yet.
  [[nodiscard]] bool anyLeftOut() const { return leftOut_ > 0; }

 private:
  [[nodiscard]] bool quietLongEnough(Time now) const;

  std::array<Time, linesPerSecond> said_{};  // a ring: when the last lines were said
  std::size_t next_ = 0;                     // the ring's oldest entry
  std::size_t saidCount_ = 0;                // entries of the ring that mean something
  std::uint64_t leftOut_ = 0;                // lines since the last one said
};

}  // namespace kt::tools

#endif
