// SPDX-License-Identifier: MIT

#include "tools/ktd/ChildProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <system_error>

#include "tests/support/ScratchFolder.h"

namespace kt::test {
namespace {

using namespace tools;
using file::Descriptor;

ChildProcess::Command shell(const std::string &script) {
  return {"/bin/sh", {"-c", script}, {"PATH=/usr/bin:/bin"}};
}

// A process without input whose output is dropped.
class Quiet : public ChildProcess {
 public:
  explicit Quiet(const std::string &script, int null = ::open("/dev/null", O_RDWR | O_CLOEXEC))
      : ChildProcess(shell(script), {null, null, null}), null_(null) {}

  void awaitEnd() const {
    pollfd ended{descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&ended, 1, 60'000), 1);
  }

 private:
  Descriptor null_;
};

std::string contentsOf(const std::string &path) {
  const Descriptor opened(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::array<char, 100> bytes{};
  const ssize_t count = ::read(opened.get(), bytes.data(), bytes.size());
  return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

// Calls `action` in a process without standard streams.
void withoutStandardStreams(const std::function<void()> &action) {
  std::array<int, 3> saved{};
  for (int stream = 0; stream < 3; ++stream) {
    saved.at(static_cast<std::size_t>(stream)) = ::fcntl(stream, F_DUPFD_CLOEXEC, 10);
    ::close(stream);
  }
  action();
  for (int stream = 0; stream < 3; ++stream) {
    ::dup2(saved.at(static_cast<std::size_t>(stream)), stream);
    ::close(saved.at(static_cast<std::size_t>(stream)));
  }
}

TEST(ChildProcess, ReportsHowProgramEndedByItself) {
  Quiet exits("exit 3");
  exits.awaitEnd();
  EXPECT_EQ(exits.end().status, 3);
  EXPECT_EQ(exits.end().signal, 0);
  Quiet dies("kill -TERM $$");
  dies.awaitEnd();
  EXPECT_EQ(dies.end().status, 128 + SIGTERM);
  EXPECT_EQ(dies.end().signal, SIGTERM);
}

TEST(ChildProcess, EndsRunningProgram) {
  Quiet running("tail -f /dev/null");
  EXPECT_EQ(running.end().signal, SIGKILL);
}

TEST(ChildProcess, EndsWhenDestroyed) {
  becomeSubreaper();
  { const Quiet running("tail -f /dev/null & wait"); }
  EXPECT_EQ(::waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG), -1);
}

TEST(ChildProcess, TakesStreamsOfAnyNumbers) {
  const ScratchFolder folder;
  const std::string output = folder.at("output");
  const std::string errors = folder.at("errors");
  withoutStandardStreams([&] {
    const Descriptor first(::open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const Descriptor second(::open(errors.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const Descriptor third(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(third.get(), 2);
    ChildProcess process(shell("cat; echo out; echo problem >&2"),
                         {third.get(), first.get(), second.get()});
    pollfd ended{process.descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&ended, 1, 60'000), 1);
  });
  EXPECT_EQ(contentsOf(output), "out\n");
  EXPECT_EQ(contentsOf(errors), "problem\n");
}

TEST(ChildProcess, ThrowsReasonIfProgramCannotBeStarted) {
  const ChildProcess::Command missing{"/missing/program", {}, {}};
  try {
    const ChildProcess process(missing, {0, 1, 2});
    FAIL() << "started";
  } catch (const std::system_error &error) {
    EXPECT_EQ(error.code().value(), ENOENT);
  }
}

TEST(ReapStrays, ReapsEveryChildThatNobodyAwaits) {
  Quiet awaited("exit 3");
  const pid_t other = ::fork();
  if (other == 0) ::_exit(0);
  ASSERT_GT(other, 0);
  siginfo_t info{};
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(other), &info, WEXITED | WNOWAIT), 0);
  awaited.awaitEnd();
  reapStrays();
  EXPECT_EQ(awaited.end().status, 3);
  reapStrays();
  EXPECT_EQ(::kill(other, 0), -1);
}

}  // namespace
}  // namespace kt::test
