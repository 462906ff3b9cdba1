// SPDX-License-Identifier: MIT

// Compares the requests per second of AsyncClient, with 32 requests in flight, with those of the
// blocking client. Both ask the same server on another core, alternately in many short runs, so
// that other load affects both equally.
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

#include "bench/udp_support.h"
#include "kt/udp/AsyncClient.h"
#include "tests/support/LoopbackClient.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr long inFlight = 32;
constexpr long requestsPerRound = 10'000;

// Returns the answers per second that `ask` gets with requestsPerRound requests.
template <class Ask>
double rateOf(const Ask &ask) {
  const Clock::time_point start = Clock::now();
  ask();
  const std::chrono::duration<double> elapsed = Clock::now() - start;
  return static_cast<double>(requestsPerRound) / elapsed.count();
}

void askOneByOne(KtUDPClient &client) {
  const kt::Dictionary packet = bench::requestPacket();
  for (long request = 0; request < requestsPerRound; ++request) {
    bench::require(client.replyForRequest(packet).has_value(), "reply");
  }
}

// Keeps `inFlight` requests in flight.
void askTogether(kt::AsyncClient &client) {
  const kt::Dictionary packet = bench::requestPacket();
  long requested = 0;
  std::function<void()> requestNext;
  const auto completion = [&](const std::optional<kt::Dictionary> &answer) {
    bench::require(answer.has_value(), "reply");
    requestNext();
  };
  requestNext = [&] {
    if (requested++ < requestsPerRound) client.request(packet, completion);
  };
  for (long request = 0; request < inFlight; ++request) {
    requestNext();
  }
  while (client.pending() > 0) {
    pollfd readable{client.descriptor(), POLLIN, 0};
    bench::require(::poll(&readable, 1, 100) >= 0, "poll");
    client.process();
  }
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 25;
  bench::pinTo(0);
  const bench::ServerProcess daemon(1, bench::serveKt);
  kt::test::LoopbackClient blocking;
  blocking.setPorts({daemon.port()});
  bench::require(blocking.connectToServer(), "connectToServer");
  kt::AsyncClient together(blocking);

  std::vector<double> blockingRates;
  std::vector<double> asyncRates;
  std::vector<double> ratios;
  for (int round = 0; round < rounds; ++round) {
    blockingRates.push_back(rateOf([&] { askOneByOne(blocking); }));
    asyncRates.push_back(rateOf([&] { askTogether(together); }));
    ratios.push_back(asyncRates.back() / blockingRates.back());
  }
  std::printf("requests per second, median of %d runs\n", rounds);
  std::printf("%-32s %10.0f\n", "KtUDPClient", median(blockingRates));
  std::printf("%-32s %10.0f\n", "AsyncClient, 32 in flight", median(asyncRates));
  std::printf("ratio, median of pairs %.3f (at least 2.50)\n", median(ratios));
}
