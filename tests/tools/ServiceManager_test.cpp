// SPDX-License-Identifier: MIT

#include "tools/ktd/ServiceManager.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>

#include "tests/support/ScratchFolder.h"

namespace kt::test {
namespace {

using namespace tools;

using std::chrono::microseconds;

// A variable of the environment that has another value during a test.
class Variable {
 public:
  Variable(const char *name, const std::string &value) : name_(name) {
    ::setenv(name, value.c_str(), 1);
  }
  Variable(const Variable &) = delete;
  Variable &operator=(const Variable &) = delete;
  ~Variable() { ::unsetenv(name_); }

 private:
  const char *name_;
};

// The end of the socket at which a service manager listens.
class Listener {
 public:
  explicit Listener(const std::string &name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    if (::bind(socket_, reinterpret_cast<const sockaddr *>(&address), size) != 0) {
      throw std::system_error(errno, std::generic_category(), "bind");
    }
  }
  Listener(const Listener &) = delete;
  Listener &operator=(const Listener &) = delete;
  ~Listener() { ::close(socket_); }

  // Returns the next message that has arrived, or nothing.
  [[nodiscard]] std::optional<std::string> next() const {
    std::array<char, 1024> buffer{};
    const ssize_t size = ::recv(socket_, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (size < 0) return std::nullopt;
    return std::string(buffer.data(), static_cast<std::size_t>(size));
  }

 private:
  int socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

class ListeningServiceManager : public testing::Test {
 protected:
  ScratchFolder folder_;
  Listener listener_{folder_.at("notify")};
  Variable socket_{"NOTIFY_SOCKET", folder_.at("notify")};
};

std::int64_t monotonicTime() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000 + now.tv_nsec / 1000;
}

TEST_F(ListeningServiceManager, IsToldThatServerIsReady) {
  ServiceManager().ready();
  EXPECT_EQ(listener_.next(), "READY=1\nSTATUS=Serving.");
  EXPECT_EQ(listener_.next(), std::nullopt);
}

TEST_F(ListeningServiceManager, IsToldWhenReloadBegan) {
  const std::int64_t before = monotonicTime();
  ServiceManager().reloading();
  const std::int64_t after = monotonicTime();
  const std::string message = listener_.next().value_or("");
  const std::string start = "RELOADING=1\nMONOTONIC_USEC=";
  ASSERT_TRUE(message.starts_with(start)) << message;
  const std::int64_t time = std::stoll(message.substr(start.size()));
  EXPECT_GE(time, before);
  EXPECT_LE(time, after);
  EXPECT_TRUE(message.ends_with("\nSTATUS=Reading the configuration again.")) << message;
}

TEST_F(ListeningServiceManager, IsToldThatServerStops) {
  ServiceManager().stopping();
  EXPECT_EQ(listener_.next(), "STOPPING=1\nSTATUS=Finishing what is in work.");
}

TEST(ServiceManager, IsFoundByAbstractName) {
  const std::string name = "kt-test-" + std::to_string(::getpid());
  const Listener listener('\0' + name);
  const Variable socket("NOTIFY_SOCKET", '@' + name);
  ServiceManager().ready();
  EXPECT_NE(listener.next(), std::nullopt);
}

// ---- Nobody listens ----

TEST(ServiceManager, MayBeMissing) {
  ::unsetenv("NOTIFY_SOCKET");
  ServiceManager manager;
  manager.ready();
  manager.keepAlive();
  EXPECT_EQ(manager.watchdogInterval(), std::nullopt);
}

TEST(ServiceManager, MayHaveEnded) {
  const ScratchFolder folder;
  const Variable socket("NOTIFY_SOCKET", folder.at("nobody"));
  ServiceManager manager;
  manager.ready();
  manager.stopping();
}

TEST_F(ListeningServiceManager, DoesNotHoldUpServerIfItReadsNothing) {
  ServiceManager manager;
  for (int message = 0; message < 10'000; ++message) {
    manager.ready();
  }
  EXPECT_NE(listener_.next(), std::nullopt);
}

TEST(ServiceManager, IsIgnoredIfItsNameIsNoSocket) {
  const std::size_t room = sizeof(sockaddr_un::sun_path);
  for (const std::string &name : {std::string(), std::string("notify"), std::string("vsock:2:1"),
                                  '/' + std::string(room - 1, 'a'), '@' + std::string(room, 'a')}) {
    const Variable socket("NOTIFY_SOCKET", name);
    const Variable watchdog("WATCHDOG_USEC", "1000000");
    ServiceManager manager;
    manager.ready();
    EXPECT_EQ(manager.watchdogInterval(), std::nullopt) << name;
  }
}

// ---- The watchdog ----

TEST_F(ListeningServiceManager, ExpectsSignsTwiceInTimeOfWatchdog) {
  const Variable watchdog("WATCHDOG_USEC", "3000000");
  EXPECT_EQ(ServiceManager().watchdogInterval(), microseconds(1'500'000));
}

TEST_F(ListeningServiceManager, MayWatchThisProcess) {
  const Variable watchdog("WATCHDOG_USEC", "3000000");
  const Variable pid("WATCHDOG_PID", std::to_string(::getpid()));
  EXPECT_NE(ServiceManager().watchdogInterval(), std::nullopt);
}

TEST_F(ListeningServiceManager, MayWatchOtherProcess) {
  const Variable watchdog("WATCHDOG_USEC", "3000000");
  for (const std::string &other : {std::to_string(::getpid() + 1), std::string("x")}) {
    const Variable pid("WATCHDOG_PID", other);
    EXPECT_EQ(ServiceManager().watchdogInterval(), std::nullopt) << other;
  }
}

TEST_F(ListeningServiceManager, DoesNotWatchWithoutTime) {
  for (const char *time : {"", "0", "1", "-5", "5s", "99999999999999999999"}) {
    const Variable watchdog("WATCHDOG_USEC", time);
    EXPECT_EQ(ServiceManager().watchdogInterval(), std::nullopt) << time;
  }
}

TEST_F(ListeningServiceManager, GetsOneSignPerHalfIntervalOfWatchdog) {
  const Variable watchdog("WATCHDOG_USEC", "4000");
  ServiceManager manager;
  const ServiceManager::Clock::time_point start{std::chrono::hours(1)};
  manager.keepAlive(start);
  EXPECT_EQ(listener_.next(), "WATCHDOG=1");
  manager.keepAlive(start + microseconds(999));
  EXPECT_EQ(listener_.next(), std::nullopt);
  manager.keepAlive(start + microseconds(1000));
  EXPECT_EQ(listener_.next(), "WATCHDOG=1");
  manager.keepAlive(start + microseconds(1999));
  EXPECT_EQ(listener_.next(), std::nullopt);
}

TEST_F(ListeningServiceManager, GetsNoSignsWithoutWatchdog) {
  ServiceManager().keepAlive();
  EXPECT_EQ(listener_.next(), std::nullopt);
}

}  // namespace
}  // namespace kt::test
