// SPDX-License-Identifier: MIT

#include "tools/common/Signals.h"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tools/common/Failure.h"

namespace kt::tools {

namespace {

bool isIgnored(int number) {
  struct sigaction action {};
  return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

Signals::Signals(std::span<const int> numbers) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : numbers) {
    if (!isIgnored(number)) sigaddset(&signals, number);
  }
  descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor_ < 0) {
    throw Failure(std::string("can't wait for signals: ") + std::strerror(errno));
  }
  ::pthread_sigmask(SIG_BLOCK, &signals, &earlierMask_);
}

Signals::~Signals() {
  while (next()) {
  }
  ::close(descriptor_);
  ::pthread_sigmask(SIG_SETMASK, &earlierMask_, nullptr);
}

std::optional<int> Signals::next() const {
  signalfd_siginfo signal{};
  if (::read(descriptor_, &signal, sizeof signal) != sizeof signal) return std::nullopt;
  return static_cast<int>(signal.ssi_signo);
}

// The signal is blocked, so it takes effect when it is let through, and not earlier.
void Signals::obey(int number) {
  sigset_t signal;
  sigemptyset(&signal);
  sigaddset(&signal, number);
  (void)std::raise(number);  // cannot fail: the number is that of a signal
  ::pthread_sigmask(SIG_UNBLOCK, &signal, nullptr);
  ::pthread_sigmask(SIG_BLOCK, &signal, nullptr);
}

}  // namespace kt::tools
