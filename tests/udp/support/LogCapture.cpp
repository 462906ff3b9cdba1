// SPDX-License-Identifier: MIT

#include "tests/udp/support/LogCapture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/LogLine.h"

namespace kt::test {

namespace {

constexpr std::string_view markPrefix = "end of lines ";

// Returns the length of the prefix "2026-11-21 06:54:12.345 name[1234] " of a line, or 0.
std::size_t prefixLength(const std::string &line) {
  std::array<int, 8> numbers{};
  int length = 0;
  (void)std::sscanf(line.c_str(), "%4d-%2d-%2d %2d:%2d:%2d.%3d %*[^][ ][%d]%n", numbers.data(),
                    &numbers[1], &numbers[2], &numbers[3], &numbers[4], &numbers[5], &numbers[6],
                    &numbers[7], &length);
  const std::size_t end = static_cast<std::size_t>(length);
  return length > 0 && line.size() > end && line[end] == ' ' ? end + 1 : 0;
}

}  // namespace

LogCapture::LogCapture() : standardError_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
  std::array<int, 2> ends{};
  if (standardError_ < 0 || ::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
  readEnd_ = ends[0];
  ::dup2(ends[1], STDERR_FILENO);
  ::close(ends[1]);
  collector_ = std::thread([this] { collect(); });
  KtSetDebugEnabled(1);
}

LogCapture::~LogCapture() {
  KtSetDebugEnabled(0);
  ::dup2(standardError_, STDERR_FILENO);  // closes the pipe's write end, which ends the collector
  collector_.join();
  ::close(readEnd_);
  ::close(standardError_);
}

void LogCapture::collect() {
  std::string pending;
  std::array<char, 65536> part;
  for (ssize_t count; (count = ::read(readEnd_, part.data(), part.size())) > 0;) {
    pending.append(part.data(), static_cast<std::size_t>(count));
    std::size_t start = 0;
    for (std::size_t end; (end = pending.find('\n', start)) != std::string::npos; start = end + 1) {
      take(std::string_view(pending).substr(start, end - start));
    }
    pending.erase(0, start);
  }
}

void LogCapture::take(std::string_view rawLine) {
  const std::string line(rawLine);
  const std::scoped_lock lock(mutex_);
  if (const std::size_t length = prefixLength(line); length > 0 || lines_.empty()) {
    lines_.push_back(line.substr(length));
  } else {
    lines_.back() += '\n' + line;
  }
  changed_.notify_all();
}

Lines LogCapture::lines() {
  const std::string mark = std::string(markPrefix) + std::to_string(++marks_);
  writeLogLine(mark);
  if (!waitFor(mark)) std::abort();
  const std::scoped_lock lock(mutex_);
  Lines result = lines_;
  std::erase_if(result, [](const std::string &line) { return line.starts_with(markPrefix); });
  return result;
}

Lines LogCapture::linesWithoutRepeats() {
  Lines result = lines();
  result.erase(std::unique(result.begin(), result.end()), result.end());
  return result;
}

std::size_t LogCapture::count(std::string_view line) {
  const Lines all = lines();
  return static_cast<std::size_t>(std::count(all.begin(), all.end(), line));
}

bool LogCapture::waitFor(std::string_view line, std::size_t times) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(10), [&] {
    return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line)) >= times;
  });
}

}  // namespace kt::test
