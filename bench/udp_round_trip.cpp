// SPDX-License-Identifier: MIT

// Compares the time of one replyForRequest on loopback with the floor: a plain echo of the same
// bytes whose two ends wait with select. Both are measured alternately in many short runs, so that
// other load affects both equally. The result is the ratio of the medians.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "bench/udp_support.h"
#include "tests/support/Addresses.h"
#include "tests/support/LoopbackClient.h"

namespace {

using Clock = std::chrono::steady_clock;

class EchoClient {
 public:
  EchoClient(std::uint16_t port, std::string datagram)
      : server_(kt::test::loopback(port)), datagram_(std::move(datagram)) {}

  void roundTrip() {
    bench::require(socket_.send(datagram_, server_), "send");
    bench::waitReadable(socket_.descriptor());
    sockaddr_in source{};
    bench::require(socket_.receive(buffer_, source) > 0, "receive");
  }

 private:
  kt::Socket socket_ = kt::Socket::open();
  sockaddr_in server_;
  std::string datagram_;
  std::array<char, kt::bufferSize> buffer_{};
};

template <class Call>
void timeCalls(int count, std::vector<double> &microseconds, Call call) {
  for (int i = 0; i < count; ++i) {
    const Clock::time_point start = Clock::now();
    call();
    microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
}

double quantile(std::vector<double> &values, double share) {
  const auto nth =
      values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), nth, values.end());
  return *nth;
}

// Measures both alternately against servers on `serverCore` and prints a table.
void compare(const char *title, unsigned serverCore, int rounds) {
  constexpr int callsPerRound = 250;
  const bench::ServerProcess echo(serverCore, bench::serveEcho);
  const bench::ServerProcess daemon(serverCore, bench::serveKt);

  kt::test::LoopbackClient client;
  client.setPorts({daemon.port()});
  bench::require(client.connectToServer(), "connectToServer");
  const kt::Dictionary packet = bench::requestPacket();
  std::string datagram =
      kt::requestEnvelope(client.signature(), kt::freshHandshake(), packet).description();
  datagram.push_back('\0');
  EchoClient floor(echo.port(), std::move(datagram));

  std::vector<double> floorTimes;
  std::vector<double> ktTimes;
  for (int round = 0; round < rounds; ++round) {
    timeCalls(callsPerRound, floorTimes, [&] { floor.roundTrip(); });
    timeCalls(callsPerRound, ktTimes,
              [&] { bench::require(client.replyForRequest(packet).has_value(), "reply"); });
  }

  std::printf("%s, microseconds, %zu calls each\n", title, ktTimes.size());
  std::printf("%-24s %8s %8s %8s\n", "", "p10", "median", "p99");
  for (auto [name, times] :
       {std::pair("select echo (floor)", &floorTimes), std::pair("replyForRequest", &ktTimes)}) {
    std::printf("%-24s %8.2f %8.2f %8.2f\n", name, quantile(*times, 0.1), quantile(*times, 0.5),
                quantile(*times, 0.99));
  }
  std::printf("ratio of medians %.3f\n\n", quantile(ktTimes, 0.5) / quantile(floorTimes, 0.5));
}

}  // namespace

int main(int argc, char **argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 100;
  bench::pinTo(0);
  compare("client and server on two cores (at most 1.10)", 1, rounds);
  compare("client and server on one core: no time hidden by waking a core", 0, rounds);
}
