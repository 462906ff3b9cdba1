// SPDX-License-Identifier: MIT

// Compares the requests per second of a daemon, with 32 datagrams in flight, with the floor: a
// plain single-threaded echo of the same bytes that waits with select before every receive. One
// process sends and receives in batches, so that the server limits the rate.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "bench/udp_support.h"
#include "kt/udp/ReadSet.h"
#include "tests/support/Addresses.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned inFlight = 32;

// Keeps `inFlight` copies of one datagram in flight between this process and a server.
class Load {
 public:
  Load(std::uint16_t port, std::string datagram)
      : server_(kt::test::loopback(port)), datagram_(std::move(datagram)) {
    bench::require(::connect(socket_.descriptor(), reinterpret_cast<const sockaddr *>(&server_),
                             sizeof server_) == 0,
                   "connect");
    for (unsigned i = 0; i < inFlight; ++i) {
      outPieces_[i] = {datagram_.data(), datagram_.size()};
      out_[i].msg_hdr.msg_iov = &outPieces_[i];
      out_[i].msg_hdr.msg_iovlen = 1;
      inPieces_[i] = {buffers_[i].data(), buffers_[i].size()};
      in_[i].msg_hdr.msg_iov = &inPieces_[i];
      in_[i].msg_hdr.msg_iovlen = 1;
    }
  }

  // Returns the replies per second over `requests` requests.
  double run(long requests) {
    const Clock::time_point start = Clock::now();
    send(inFlight);
    for (long received = 0; received < requests;) {
      const unsigned count = receive();
      received += count;
      if (received < requests) send(count);
    }
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    drain();
    return static_cast<double>(requests) / elapsed.count();
  }

 private:
  void send(unsigned count) {
    bench::require(
        ::sendmmsg(socket_.descriptor(), out_.data(), count, 0) == static_cast<int>(count),
        "sendmmsg");
  }

  // Polls instead of waiting: the server would spend its time on waking a sleeping process. Gives
  // up after some seconds without a reply.
  unsigned receive() {
    constexpr int manyTries = 20'000'000;
    int count = -1;
    for (int tries = 0; count <= 0; ++tries) {
      bench::require(tries < manyTries, "no reply");
      count = ::recvmmsg(socket_.descriptor(), in_.data(), inFlight, MSG_DONTWAIT, nullptr);
    }
    return static_cast<unsigned>(count);
  }

  // Receives the remaining datagrams until none arrives for 20 ms.
  void drain() {
    const timeval moment{0, 20'000};
    kt::udp::ReadSet set(socket_);
    while (set.wait(&moment) > 0) {
      (void)receive();  // too late to be counted
    }
  }

  kt::Socket socket_ = kt::Socket::open();
  sockaddr_in server_;
  std::string datagram_;
  std::array<mmsghdr, inFlight> out_{};
  std::array<iovec, inFlight> outPieces_{};
  std::array<mmsghdr, inFlight> in_{};
  std::array<iovec, inFlight> inPieces_{};
  std::array<std::array<char, 2048>, inFlight> buffers_{};
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 15;
  constexpr long requestsPerRound = 30'000;

  const bench::ServerProcess echo(1, bench::serveEcho);
  const bench::ServerProcess daemon(1, bench::serveKt);
  bench::pinTo(0);
  std::string datagram =
      kt::requestEnvelope(std::string(kt::defaultSignature), 1, bench::requestPacket())
          .description();
  datagram.push_back('\0');
  Load floor(echo.port(), datagram);
  Load load(daemon.port(), datagram);

  std::vector<double> floorRates;
  std::vector<double> ktRates;
  std::vector<double> ratios;
  for (int round = 0; round < rounds; ++round) {
    floorRates.push_back(floor.run(requestsPerRound));
    ktRates.push_back(load.run(requestsPerRound));
    ratios.push_back(ktRates.back() / floorRates.back());
  }
  std::printf("%u datagrams of %zu bytes in flight, requests per second, median of %d runs\n",
              inFlight, datagram.size(), rounds);
  std::printf("%-24s %10.0f\n", "select echo (floor)", median(floorRates));
  std::printf("%-24s %10.0f\n", "KtUDPDaemon", median(ktRates));
  std::printf("ratio, median of pairs %.3f (at least 1.00)\n", median(ratios));
}
