// SPDX-License-Identifier: MIT

// Switches the debug log on and collects its lines from standard error, without what the log puts
// in front of them. Lives while the lines of interest are written; one at a time.
#ifndef KT_TESTS_UDP_SUPPORT_LOGCAPTURE_H
#define KT_TESTS_UDP_SUPPORT_LOGCAPTURE_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace test {

using Lines = std::vector<std::string>;

class LogCapture {
 public:
  LogCapture();
  LogCapture(const LogCapture &) = delete;
  LogCapture &operator=(const LogCapture &) = delete;
  ~LogCapture();

  // Every line of the log so far. A line that holds line feeds is one of them.
  [[nodiscard]] Lines lines();

  // The same with each run of equal neighbours as one: how often a wait ends before a deadline that
  // is no multiple of it is the scheduler's affair.
  [[nodiscard]] Lines linesWithoutRepeats();

  [[nodiscard]] std::size_t count(std::string_view line);

  // Waits until `line` has been written `times` times; false after ten seconds. Any thread.
  bool waitFor(std::string_view line, std::size_t times = 1);

 private:
  void collect();
  void take(std::string_view rawLine);

  std::mutex mutex_;
  std::condition_variable changed_;
  Lines lines_;         // guarded by mutex_
  int standardError_;   // the one that the process had before
  int readEnd_;         // of the pipe that took its place
  unsigned marks_ = 0;  // how many lines of lines() own were written, to see that all came through
  std::thread collector_;
};

}  // namespace test

#endif
