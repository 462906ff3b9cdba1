// SPDX-License-Identifier: MIT

#include "tools/common/TerminalLog.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "kt/diagnostics/KtDebug.h"
#include "tools/common/Visible.h"

namespace kt::tools {

namespace {

void writeWhole(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count <= 0) return;  // no better place to tell of a failure
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

// Carries lines from a pipe to a terminal, on a thread of its own, until the pipe's end. Made once
// and never destroyed: other threads may write while the process ends.
class Relay {
 public:
  // Puts the pipe in the place of standard error.
  Relay(int pipeInput, int pipeOutput)
      : pipeOutput_(pipeOutput),
        terminal_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)),
        nowhere_(::open("/dev/null", O_WRONLY | O_CLOEXEC)) {
    ::dup2(pipeInput, STDERR_FILENO);
    ::close(pipeInput);
    // Signals are for the program's other threads, which it may have blocked them in.
    sigset_t everySignal, signalsBefore;
    sigfillset(&everySignal);
    pthread_sigmask(SIG_SETMASK, &everySignal, &signalsBefore);
    thread_ = std::thread([this] { carry(); });
    pthread_sigmask(SIG_SETMASK, &signalsBefore, nullptr);
  }

  // Returns when everything written so far is on the terminal. What is written later is lost.
  void drain() {
    const std::lock_guard lock(mutex_);
    if (!thread_.joinable()) return;
    ::dup2(nowhere_, STDERR_FILENO);  // closes the pipe's only input
    thread_.join();
  }

 private:
  void carry() {
    std::array<char, 4096> block;
    std::string text;
    for (ssize_t count; (count = ::read(pipeOutput_, block.data(), block.size())) > 0;) {
      text.append(block.data(), static_cast<std::size_t>(count));
      carryLines(text);
    }
    writeWhole(terminal_, visible(text));
  }

  void carryLines(std::string &text) const {
    std::string shown;
    std::string_view rest = text;
    for (std::size_t end; (end = rest.find('\n')) != std::string_view::npos;) {
      shown += visible(rest.substr(0, end)) + '\n';
      rest.remove_prefix(end + 1);
    }
    writeWhole(terminal_, shown);
    text.erase(0, text.size() - rest.size());
  }

  const int pipeOutput_;
  const int terminal_;
  const int nowhere_;  // /dev/null
  std::mutex mutex_;   // for thread_
  std::thread thread_;
};

Relay *relay = nullptr;  // set before there is a second thread; null when nothing is to be guarded

void drainRelay() {
  if (relay != nullptr) relay->drain();
}

}  // namespace

void guardTerminal() {
  std::array<int, 2> ends{};
  if (!debug || ::isatty(STDERR_FILENO) == 0 || ::pipe2(ends.data(), O_CLOEXEC) != 0) return;
  relay = new Relay(ends[1], ends[0]);
  (void)std::atexit(drainRelay);  // cannot fail: 32 places are guaranteed
}

void endProcess(int status) {
  drainRelay();
  std::_Exit(status);
}

}  // namespace kt::tools
