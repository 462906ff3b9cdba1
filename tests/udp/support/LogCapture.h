// SPDX-License-Identifier: MIT

// Switches the debug log on and collects its lines from standard error, without their prefixes.
// Keep it alive while the lines of interest are written. One object at a time.
#ifndef KT_TESTS_UDP_SUPPORT_LOGCAPTURE_H
#define KT_TESTS_UDP_SUPPORT_LOGCAPTURE_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kt::test {

using Lines = std::vector<std::string>;

class LogCapture {
 public:
  LogCapture();
  LogCapture(const LogCapture &) = delete;
  LogCapture &operator=(const LogCapture &) = delete;
  ~LogCapture();

  // Returns every line of the log so far. A line that contains line feeds counts as one.
  [[nodiscard]] Lines lines();

  // Returns the same lines, with consecutive equal ones as one: how often a wait ends before the
  // deadline depends on the scheduler.
  [[nodiscard]] Lines linesWithoutRepeats();

  [[nodiscard]] std::size_t count(std::string_view line);

  // Waits until `line` has been written `times` times. Returns false after 10 s. Any thread.
  bool waitFor(std::string_view line, std::size_t times = 1);

 private:
  void collect();
  void take(std::string_view rawLine);

  std::mutex mutex_;
  std::condition_variable changed_;
  Lines lines_;         // guarded by mutex_
  int standardError_;   // the standard error that the process had before
  int readEnd_;         // of the pipe that replaced it
  unsigned marks_ = 0;  // lines that lines() wrote, to know that all earlier ones have arrived
  std::thread collector_;
};

}  // namespace kt::test

#endif
