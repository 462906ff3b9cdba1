// SPDX-License-Identifier: MIT

// Tells the service manager how the server is, by the protocol of sd_notify: lines in a datagram to
// the Unix socket that the environment names. Without such a socket nothing is sent. Never waits
// and never fails: a lost message must not disturb the server. For one thread at a time.
#ifndef KT_TOOLS_KTD_SERVICEMANAGER_H
#define KT_TOOLS_KTD_SERVICEMANAGER_H

#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <optional>
#include <string_view>

namespace kt::tools {

class ServiceManager {
 public:
  using Clock = std::chrono::steady_clock;

  // Reads NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID from the environment.
  ServiceManager();
  ServiceManager(const ServiceManager &) = delete;
  ServiceManager &operator=(const ServiceManager &) = delete;
  ~ServiceManager();

  // Says that the server serves: after it has started, and after a reload, done or refused.
  void ready();

  // Says that a reload begins.
  void reloading();

  // Says that the server is about to end.
  void stopping();

  // Says that the server is alive, unless it has said so within half of watchdogInterval(). If at
  // most that interval lies between two calls, the signs are never late.
  void keepAlive(Clock::time_point now = Clock::now());

  // Returns the longest time between two calls of keepAlive: half the time after which the watchdog
  // ends the process. Returns nothing if no watchdog watches this process.
  [[nodiscard]] std::optional<std::chrono::microseconds> watchdogInterval() const {
    return interval_;
  }

 private:
  void tell(std::string_view lines) const;

  sockaddr_un address_{};      // the service manager's socket
  socklen_t addressSize_ = 0;  // in bytes; 0: no service manager listens
  int socket_ = -1;            // to send from; -1: none
  std::optional<std::chrono::microseconds> interval_;
  std::optional<Clock::time_point> lastSign_;  // of keepAlive
};

}  // namespace kt::tools

#endif
