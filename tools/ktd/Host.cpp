// SPDX-License-Identifier: MIT

#include "tools/ktd/Host.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/Format.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tools/common/Addresses.h"
#include "tools/common/DirectedClient.h"
#include "tools/common/Failure.h"
#include "tools/common/Output.h"
#include "tools/common/Signals.h"
#include "tools/ktd/ConfigurationSource.h"
#include "tools/ktd/Dispatcher.h"
#include "tools/ktd/RunHandler.h"
#include "tools/ktd/ServiceManager.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// Looks for another server where the options say, and records its address. Its data is static
// because the server makes the object itself and keeps only its result.
class UniquenessProbe : public DirectedClient {
 public:
  UniquenessProbe() : DirectedClient(broadcast) {}

  bool isServerIdReply(const Dictionary *packet) override {
    const bool isServer = DirectedClient::isServerIdReply(packet);
    if (isServer) otherServer = sinrep();
    return isServer;
  }

  static inline std::optional<std::string> broadcast;    // where to look
  static inline std::optional<sockaddr_in> otherServer;  // the server that answered
};

// Returns the port and why it can't be bound: "4798 (Address already in use)"
std::string portAndReason(std::int32_t port) {
  Socket socket = Socket::open();
  const bool bound = socket.descriptor() >= 0 && socket.bind(static_cast<std::uint16_t>(port));
  const std::string reason = bound ? "free by now" : std::strerror(errno);
  return std::to_string(port) + " (" + reason + ')';
}

Failure registrationFailure(const Configuration &configuration) {
  if (UniquenessProbe::otherServer) {
    return Failure(
        kt::format("another server of signature %s answers at %s\n"
                   "Stop it, or start without --unique or with another --signature.",
                   inQuotes(configuration.signature), endpoint(*UniquenessProbe::otherServer)));
  }
  std::string reasons;
  for (const std::int32_t port : configuration.ports) {
    reasons += (reasons.empty() ? "" : ", ") + portAndReason(port);
  }
  return Failure("every port of the list is taken: " + reasons +
                 "\nStop what holds them, or give other ports with --ports.");
}

void configure(KtUDPDaemon &daemon, const Configuration &configuration) {
  UniquenessProbe::broadcast = configuration.broadcast;
  daemon.setCounterpartClass<UniquenessProbe>();
  daemon.setMustBeUnique(configuration.unique);
  daemon.setSignature(configuration.signature);
  daemon.setPorts(configuration.ports);
}

// ---- Serving ----

constexpr std::array obeyedSignals{SIGTERM, SIGINT, SIGHUP};

// Returns the signals that the server obeys. SIGTERM and SIGINT end it even if it was started to
// ignore them, as shells start a program with "&"; so does SIGHUP if it has a meaning of its own.
Signals signalsOf(bool reloads) {
  for (const int number : obeyedSignals) {
    if (number != SIGHUP || reloads) std::signal(number, SIG_DFL);
  }
  return Signals(obeyedSignals);
}

// Ignores further signals when it is destroyed. One that comes after the last that the server
// obeyed must not change its exit status.
struct DeafAtEnd {
  DeafAtEnd() = default;
  DeafAtEnd(const DeafAtEnd &) = delete;
  DeafAtEnd &operator=(const DeafAtEnd &) = delete;
  ~DeafAtEnd() {
    for (const int number : obeyedSignals) {
      std::signal(number, SIG_IGN);
    }
  }
};

// Waits for datagrams and signals, and for the time to look after the rest.
class Loop {
 public:
  Loop(KtUDPDaemon &daemon, Dispatcher &dispatcher, const Signals &signals,
       Configuration configuration, const Reload &reload, ErrorLog &errors)
      : daemon_(daemon),
        dispatcher_(dispatcher),
        signals_(signals),
        configuration_(std::move(configuration)),
        reload_(reload),
        errors_(errors) {}

  // Obeys the signals that came before run(). Returns whether one of them ends the server.
  bool endsBeforehand() {
    obeySignals();
    return end_.has_value();
  }

  // Returns when the server has stopped.
  void run() {
    manager_.ready();
    while (!hasStopped()) {
      wait();
      serveDatagrams();
      obeySignals();
      lookAround();
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr std::chrono::milliseconds usualPause{1000};
  static constexpr std::chrono::milliseconds pauseWhileStopping{10};
  static constexpr std::chrono::milliseconds patience{2000};
  static constexpr std::size_t mostAtOnce = 64;  // datagrams served before signals are obeyed

  [[nodiscard]] bool hasStopped() const {
    const bool hasAnsweredAll = !mayHaveMore_ && dispatcher_.isIdle();
    return end_ && (hasAnsweredAll || Clock::now() >= *end_);
  }

  void wait() {
    using std::chrono::milliseconds;
    const auto sign = manager_.watchdogInterval();
    milliseconds pause = end_ ? pauseWhileStopping : usualPause;
    if (sign) pause = std::min(pause, std::chrono::ceil<milliseconds>(*sign));
    std::array<pollfd, 2> watched{pollfd{daemon_.socketIn(), POLLIN, 0},
                                  pollfd{signals_.descriptor(), POLLIN, 0}};
    // Whatever ended the wait, what is there is looked at.
    (void)::poll(watched.data(), watched.size(), static_cast<int>(pause.count()));
  }

  // Serves some datagrams; the others that have arrived end the next wait at once.
  void serveDatagrams() {
    mayHaveMore_ = true;  // also after a failure
    try {
      mayHaveMore_ = daemon_.processPending(mostAtOnce) == mostAtOnce;
    } catch (const std::exception &error) {
      errors_.report(std::string("a request failed: ") + error.what());
    }
  }

  // A server that stops ignores SIGHUP: it must not say that it is ready again.
  void obeySignals() {
    while (const std::optional<int> signal = signals_.next()) {
      if (*signal == SIGHUP && reload_) {
        if (!end_) readConfigurationAgain();
      } else {
        stop();
      }
    }
  }

  void readConfigurationAgain() {
    manager_.reloading();
    try {
      Configuration next = reload_();
      if (const auto reason = whyNotReloaded(configuration_, next)) throw Failure(*reason);
      dispatcher_.setService(next.service);
      configuration_ = std::move(next);
      errors_.announce("the configuration was read again");
    } catch (const std::exception &error) {
      errors_.announce(std::string("the configuration stays as it was: ") + error.what());
    }
    manager_.ready();
  }

  void stop() {
    manager_.stopping();
    dispatcher_.stop();
    mayHaveMore_ = true;
    end_ = end_ ? Clock::now() : Clock::now() + patience;  // a second signal ends the patience
  }

  void lookAround() {
    manager_.keepAlive();
    const Clock::time_point now = Clock::now();
    if (now < nextLook_) return;
    nextLook_ = now + usualPause;
    errors_.reportLeftOut(now);
    reapStrays();
  }

  KtUDPDaemon &daemon_;
  Dispatcher &dispatcher_;
  const Signals &signals_;
  Configuration configuration_;
  const Reload &reload_;
  ErrorLog &errors_;
  ServiceManager manager_;
  Clock::time_point nextLook_;            // when errors and children are looked after again
  std::optional<Clock::time_point> end_;  // when a stopping server ends at the latest
  bool mayHaveMore_ = true;               // whether datagrams may have arrived that were not served
};

}  // namespace

void serve(Configuration configuration, const Reload &reload, ErrorLog &errors) {
  const Signals signals = signalsOf(reload != nullptr);
  const DeafAtEnd deafAtEnd;
  becomeSubreaper();
  KtUDPDaemon daemon;
  configure(daemon, configuration);
  Dispatcher dispatcher(daemon, configuration.service, configuration.workers, errors);
  daemon.setDelegate(&dispatcher);
  if (!daemon.registerPort()) throw registrationFailure(configuration);
  Loop loop(daemon, dispatcher, signals, std::move(configuration), reload, errors);
  if (loop.endsBeforehand()) return;  // it may have looked for other servers for a while
  printLine(kt::format("ktd: serving %s on port %d", inQuotes(daemon.signature()), daemon.port()));
  KtDebug("Registered and waiting.");
  loop.run();
}

}  // namespace kt::tools
