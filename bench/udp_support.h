// SPDX-License-Identifier: MIT

// Shared by the two UDP benchmarks: servers in separate processes on loopback, and the packet that
// both sides of a comparison carry.
#ifndef KT_BENCH_UDP_SUPPORT_H
#define KT_BENCH_UDP_SUPPORT_H

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tests/support/EchoDelegate.h"
#include "tests/support/Require.h"

namespace bench {

using kt::test::require;

// Keeps the calling process on one core, so that results do not depend on where the scheduler puts
// the two ends.
inline void pinTo(unsigned core) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(core, &set);
  require(::sched_setaffinity(0, sizeof set, &set) == 0, "sched_setaffinity");
}

// A server in a child process on `core`; it ends with this object. `serve` must call the function
// that it is passed once the server is bound, with the port.
class ServerProcess {
 public:
  using Announce = std::function<void(std::uint16_t port)>;

  ServerProcess(unsigned core, const std::function<void(const Announce &)> &serve) {
    std::array<int, 2> ends{};
    require(::pipe(ends.data()) == 0, "pipe");
    child_ = ::fork();
    require(child_ >= 0, "fork");
    if (child_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      pinTo(core);
      serve([&](std::uint16_t port) {
        require(::write(ends[1], &port, sizeof port) == sizeof port, "write");
      });
      std::exit(1);
    }
    require(::read(ends[0], &port_, sizeof port_) == sizeof port_, "read");
    ::close(ends[0]);
    ::close(ends[1]);
  }
  ServerProcess(const ServerProcess &) = delete;
  ServerProcess &operator=(const ServerProcess &) = delete;
  ~ServerProcess() {
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }

  [[nodiscard]] std::uint16_t port() const { return port_; }

 private:
  pid_t child_ = -1;
  std::uint16_t port_ = 0;
};

inline void waitReadable(int descriptor) {
  fd_set set;
  FD_ZERO(&set);
  FD_SET(descriptor, &set);
  require(::select(descriptor + 1, &set, nullptr, nullptr, nullptr) == 1, "select");
}

// The floor: a server that only waits with select, receives and sends back.
inline void serveEcho(const ServerProcess::Announce &announce) {
  kt::Socket socket = kt::Socket::open();
  require(socket.bind(0), "bind");
  announce(socket.boundPort());
  std::array<char, kt::bufferSize> buffer;
  for (;;) {
    waitReadable(socket.descriptor());
    sockaddr_in sender{};
    socklen_t size = sizeof sender;
    auto *address = reinterpret_cast<sockaddr *>(&sender);
    const ssize_t count =
        ::recvfrom(socket.descriptor(), buffer.data(), buffer.size(), 0, address, &size);
    if (count < 0) continue;
    // If the send fails, the other end times out.
    (void)::sendto(socket.descriptor(), buffer.data(), static_cast<std::size_t>(count), 0, address,
                   size);
  }
}

inline void serveKt(const ServerProcess::Announce &announce) {
  kt::test::EchoDelegate delegate;
  KtUDPDaemon daemon;
  daemon.setDelegate(&delegate).setPorts({0});
  require(daemon.registerPort(), "registerPort");
  announce(static_cast<std::uint16_t>(daemon.port()));
  daemon.processQueries();
}

// Returns a typical request: about 200 bytes with its envelope.
inline kt::Dictionary requestPacket() {
  return {{"KtUDPKeyword", "Measure"}, {"Device", "thermometer 4"}, {"Room", "server_room_2"},
          {"Since", 1700000000},       {"Unit", "celsius"},         {"Samples", 60}};
}

}  // namespace bench

#endif
