// SPDX-License-Identifier: MIT

#include "kt/foundation/LogLine.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/foundation/StandardError.h"

namespace kt::test {
namespace {

using namespace std::string_literals;

// Returns the one line that logging `text` writes.
std::string lineOf(std::string_view text) {
  StandardErrorWrites writes;
  kt::writeLogLine(text);
  const std::vector<std::string> lines = writes.take();
  return lines.size() == 1 ? lines.front() : std::to_string(lines.size()) + " writes";
}

// Returns a line without its prefix of time, process name and process id.
std::string withoutPrefix(const std::string &line) {
  const std::size_t end = line.find("] ");
  return end == std::string::npos ? "no prefix: " + line : line.substr(end + 2);
}

// Reads from the descriptor to the end of its stream.
std::string readToEnd(int descriptor) {
  std::string text;
  std::array<char, 8192> chunk;
  for (;;) {
    const ssize_t count = ::read(descriptor, chunk.data(), chunk.size());
    if (count <= 0) return text;
    text.append(chunk.data(), static_cast<std::size_t>(count));
  }
}

// Sets the time zone while it lives.
class TimeZone {
 public:
  explicit TimeZone(const char *name) {
    if (const char *value = std::getenv("TZ")) saved_ = value;
    set(name);
  }
  TimeZone(const TimeZone &) = delete;
  TimeZone &operator=(const TimeZone &) = delete;
  ~TimeZone() { set(saved_.empty() ? nullptr : saved_.c_str()); }

 private:
  static void set(const char *name) {
    if (name != nullptr) {
      setenv("TZ", name, 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  std::string saved_;  // empty if there was none
};

TEST(LogLine, HoldsTimeProcessNameProcessIdAndText) {
  const std::string line = lineOf("text");
  std::string time = line.substr(0, 24);
  for (char &character : time) {
    if (character >= '1' && character <= '9') character = '0';
  }
  EXPECT_EQ(time, "0000-00-00 00:00:00.000 ") << line;
  const std::string process = program_invocation_short_name;
  EXPECT_EQ(line.substr(24), process + "[" + std::to_string(::getpid()) + "] text\n");
}

TEST(LogLine, HoldsLocalTime) {
  const TimeZone kathmandu("XXX-05:45");
  const time_t before = time(nullptr);
  const std::string line = lineOf("");
  const time_t after = time(nullptr);
  tm local{};
  ASSERT_NE(strptime(line.c_str(), "%Y-%m-%d %H:%M:%S", &local), nullptr) << line;
  const time_t logged = timegm(&local) - (5 * 60 + 45) * 60;
  EXPECT_LE(before, logged + 1);  // time() has coarser ticks than the log's clock
  EXPECT_LE(logged, after + 1);
}

TEST(LogLine, KeepsTextUnchanged) {
  const std::string text = "100% %d %s %n %@\nsecond line\r\x1B[0m\0end \xFF"s;
  EXPECT_EQ(withoutPrefix(lineOf(text)), text + "\n");
}

TEST(LogLine, WritesLineForEmptyText) {
  EXPECT_EQ(withoutPrefix(lineOf("")), "\n");
}

TEST(LogLine, IsOneWrite) {
  StandardErrorWrites writes;
  kt::writeLogLine("short");
  kt::writeLogLine(std::string(65536, 'x'));
  kt::writeLogLine("with\nline\nfeeds\n");
  EXPECT_EQ(writes.take().size(), 3u);
}

TEST(LogLine, NeverMixesWithLinesOfOtherThreads) {
  constexpr int threadCount = 8, linesPerThread = 25;
  // Most lines are longer than a pipe takes in one write.
  const auto sizeOf = [](int line) { return static_cast<std::size_t>(line) * 10'000 + 1; };
  std::array<int, 2> ends;
  ASSERT_EQ(::pipe(ends.data()), 0);
  StandardErrorReplaced replaced(ends[1]);
  std::string seen;
  std::thread reader([&] { seen = readToEnd(ends[0]); });
  std::vector<std::thread> writers;
  for (int thread = 0; thread < threadCount; ++thread) {
    writers.emplace_back([&, letter = static_cast<char>('a' + thread)] {
      for (int line = 0; line < linesPerThread; ++line) {
        kt::writeLogLine(std::string(sizeOf(line), letter));
      }
    });
  }
  for (std::thread &writer : writers) {
    writer.join();
  }
  replaced.restore();
  reader.join();
  ::close(ends[0]);

  std::map<char, int> lines;  // lines seen, by the letter that fills them
  for (std::size_t start = 0; start < seen.size();) {
    const std::size_t end = std::min(seen.find('\n', start), seen.size());
    const std::string text = withoutPrefix(seen.substr(start, end - start));
    const char letter = text.front();
    ASSERT_EQ(text, std::string(sizeOf(lines[letter]++), letter));
    start = end + 1;
  }
  EXPECT_EQ(lines.size(), static_cast<std::size_t>(threadCount));
  for (const auto &[letter, count] : lines) {
    EXPECT_EQ(count, linesPerThread) << letter;
  }
}

TEST(LogLine, IgnoresFailedWrite) {
  for (const char *path : {"/dev/full", "/dev/null"}) {
    const int descriptor = ::open(path, O_RDONLY);  // not open for writing
    ASSERT_GE(descriptor, 0);
    StandardErrorReplaced replaced(descriptor);
    kt::writeLogLine("lost");
  }
  StandardErrorReplaced replaced(::open("/dev/full", O_WRONLY));
  kt::writeLogLine("lost");
}

TEST(LogLine, PreservesErrno) {
  StandardErrorReplaced replaced(::open("/dev/full", O_WRONLY));
  errno = EXDEV;
  kt::writeLogLine("lost");
  EXPECT_EQ(errno, EXDEV);
}

sem_t alarms;  // counts the signals in the next test

TEST(LogLine, SurvivesSignalsWhileReaderIsSlow) {
  sem_init(&alarms, 0, 0);
  struct sigaction action {};
  action.sa_handler = [](int) {
    sem_post(&alarms);
  };  // without SA_RESTART, so that it interrupts the write
  struct sigaction savedAction {};
  ASSERT_EQ(::sigaction(SIGALRM, &action, &savedAction), 0);
  std::array<int, 2> ends;
  ASSERT_EQ(::pipe(ends.data()), 0);
  StandardErrorReplaced replaced(ends[1]);

  sigset_t alarmSignal, savedSignals;
  sigemptyset(&alarmSignal);
  sigaddset(&alarmSignal, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarmSignal, &savedSignals);
  std::string seen;
  std::thread reader([&] {
    for (int signals = 0; signals < 20; ++signals) {
      sem_wait(&alarms);
    }
    seen = readToEnd(ends[0]);
  });
  pthread_sigmask(SIG_SETMASK, &savedSignals, nullptr);
  const itimerval everyMillisecond{{0, 1000}, {0, 1000}}, never{};
  ::setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
  const std::string text(1'000'000, 'x');
  kt::writeLogLine(text);
  ::setitimer(ITIMER_REAL, &never, nullptr);
  replaced.restore();
  reader.join();
  ::close(ends[0]);
  ::sigaction(SIGALRM, &savedAction, nullptr);
  EXPECT_TRUE(withoutPrefix(seen) == text + "\n") << seen.size() << " bytes";
}

}  // namespace
}  // namespace kt::test
