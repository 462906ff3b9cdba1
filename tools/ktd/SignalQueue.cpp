// SPDX-License-Identifier: MIT

#include "tools/ktd/SignalQueue.h"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace kt::tools {

SignalQueue::SignalQueue(std::initializer_list<int> signals) {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : signals) {
    ::sigaddset(&set, signal);
  }
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
  descriptor_ = ::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
  if (descriptor_ < 0) {
    throw std::system_error(errno, std::generic_category(), "can't wait for signals");
  }
}

SignalQueue::~SignalQueue() {
  ::close(descriptor_);
}

std::optional<int> SignalQueue::next() {
  signalfd_siginfo info{};
  if (::read(descriptor_, &info, sizeof info) != sizeof info) return std::nullopt;
  return static_cast<int>(info.ssi_signo);
}

}  // namespace kt::tools
