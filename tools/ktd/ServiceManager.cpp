// SPDX-License-Identifier: MIT

#include "tools/ktd/ServiceManager.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

namespace {

std::string_view variable(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::optional<std::int64_t> numberIn(const char *name) {
  return PropertyList(variable(name)).asInteger();
}

// Stores the socket's name in `address` and returns the size of the address; 0 for a name that is
// missing or too long. A leading '@' stands for the NUL of a name that is not in the file system.
socklen_t readAddress(std::string_view name, sockaddr_un &address) {
  const bool isAbstract = name.starts_with('@');
  if (!isAbstract && !name.starts_with('/')) return 0;
  const std::size_t longest = sizeof address.sun_path - (isAbstract ? 0 : 1);  // a path needs a NUL
  if (name.size() > longest) return 0;
  address.sun_family = AF_UNIX;
  std::ranges::copy(name, address.sun_path);
  if (isAbstract) address.sun_path[0] = '\0';
  return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() +
                                (isAbstract ? 0 : 1));
}

// Returns half of the watchdog's time, the usual interval: a sign may then be a little late.
std::optional<std::chrono::microseconds> readWatchdogInterval() {
  const bool isForOther =
      !variable("WATCHDOG_PID").empty() && numberIn("WATCHDOG_PID") != ::getpid();
  const std::int64_t microseconds = numberIn("WATCHDOG_USEC").value_or(0);
  if (isForOther || microseconds < 2) return std::nullopt;
  return std::chrono::microseconds(microseconds / 2);
}

// In microseconds, as the service manager compares it with its own clock.
std::int64_t monotonicTime() {
  timespec now{};
  (void)::clock_gettime(CLOCK_MONOTONIC, &now);  // can't fail for this clock
  return std::int64_t{now.tv_sec} * 1'000'000 + now.tv_nsec / 1000;
}

}  // namespace

ServiceManager::ServiceManager() : addressSize_(readAddress(variable("NOTIFY_SOCKET"), address_)) {
  if (addressSize_ == 0) return;
  socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  interval_ = readWatchdogInterval();
}

ServiceManager::~ServiceManager() {
  if (socket_ >= 0) ::close(socket_);
}

void ServiceManager::ready() {
  tell("READY=1\nSTATUS=Serving.");
}

void ServiceManager::reloading() {
  tell("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(monotonicTime()) +
       "\nSTATUS=Reading the configuration again.");
}

void ServiceManager::stopping() {
  tell("STOPPING=1\nSTATUS=Finishing what is in work.");
}

void ServiceManager::keepAlive(Clock::time_point now) {
  if (!interval_ || (lastSign_ && now - *lastSign_ < *interval_ / 2)) return;
  tell("WATCHDOG=1");
  lastSign_ = now;
}

void ServiceManager::tell(std::string_view lines) const {
  if (socket_ < 0) return;
  // The server works as well without a service manager that listens.
  (void)::sendto(socket_, lines.data(), lines.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr *>(&address_), addressSize_);
}

}  // namespace kt::tools
