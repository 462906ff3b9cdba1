// SPDX-License-Identifier: MIT

// Log lines that go to a writer of the program instead of standard error.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "kt/foundation/LogLine.h"
#include "tests/foundation/StandardError.h"

namespace kt::test {

namespace {

std::vector<std::string> receivedLines;

void receiveLine(std::string_view line) {
  receivedLines.emplace_back(line);
}

// Uses `receiveLine` as the writer while it lives.
class LinesReceived {
 public:
  LinesReceived() {
    receivedLines.clear();
    setLogLineWriter(receiveLine);
  }
  LinesReceived(const LinesReceived &) = delete;
  LinesReceived &operator=(const LinesReceived &) = delete;
  ~LinesReceived() { setLogLineWriter(nullptr); }
};

TEST(LogLineWriter, ReceivesWholeLineInsteadOfStandardError) {
  StandardErrorWrites writes;
  const LinesReceived received;
  writeLogLine("first\nsecond");
  EXPECT_TRUE(writes.take().empty());
  ASSERT_EQ(receivedLines.size(), 1u);
  const std::string &line = receivedLines.front();
  const std::string process = program_invocation_short_name;
  EXPECT_EQ(line.substr(24), process + "[" + std::to_string(getpid()) + "] first\nsecond\n");
}

TEST(LogLineWriter, NullRestoresStandardError) {
  { const LinesReceived received; }
  StandardErrorWrites writes;
  writeLogLine("text");
  const std::vector<std::string> lines = writes.take();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines.front().ends_with("] text\n")) << lines.front();
  EXPECT_TRUE(receivedLines.empty());
}

TEST(LogLineWriter, MayBeReplacedBetweenLines) {
  StandardErrorWrites writes;
  {
    const LinesReceived received;
    writeLogLine("to writer");
  }
  writeLogLine("to standard error");
  EXPECT_EQ(receivedLines.size(), 1u);
  EXPECT_EQ(writes.take().size(), 1u);
}

TEST(LogLineWriter, LeavesErrnoUnchangedForCaller) {
  setLogLineWriter([](std::string_view) { errno = EIO; });
  errno = EXDEV;
  writeLogLine("text");
  EXPECT_EQ(errno, EXDEV);
  setLogLineWriter(nullptr);
}

std::atomic<int> writersInside = 0;
std::atomic<bool> haveOverlapped = false;

TEST(LogLineWriter, IsNeverCalledByTwoThreadsAtOnce) {
  static int lineCount = 0;  // a plain int: the lock has to protect it
  lineCount = 0;
  setLogLineWriter([](std::string_view) {
    if (writersInside.fetch_add(1) != 0) haveOverlapped = true;
    ++lineCount;
    std::this_thread::yield();
    writersInside.fetch_sub(1);
  });
  constexpr int threadCount = 4, linesPerThread = 250;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([] {
      for (int line = 0; line < linesPerThread; ++line) {
        writeLogLine("text");
      }
    });
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
  setLogLineWriter(nullptr);
  EXPECT_EQ(lineCount, threadCount * linesPerThread);
  EXPECT_FALSE(haveOverlapped);
}

}  // namespace

}  // namespace kt::test
