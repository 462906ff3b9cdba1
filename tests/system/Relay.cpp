// SPDX-License-Identifier: MIT

// Relays datagrams between clients and a server of this host as a bad network does, by a plan drawn
// from a seed. In either direction, 10 % of the datagrams are lost and 10 % are doubled. Another
// 10 % are up to --delay ms late, and 10 % arrive after the one that follows. Prints "relaying"
// when it is ready. When its standard input ends, it prints how often it did each of these.
//
// --seed NUMBER, --port N (for clients), --server N (the server's port), --delay MS.
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>

#include "kt/udp/Socket.h"
#include "tests/support/Addresses.h"
#include "tests/system/Options.h"

namespace kt::test {
namespace {

using Clock = std::chrono::steady_clock;

// A datagram to be sent.
struct Parcel {
  Socket *from;
  sockaddr_in to;
  std::string bytes;

  void send() const { (void)from->send(bytes, to); }  // a refused datagram counts as lost
};

struct Counts {
  int passed = 0, lost = 0, doubled = 0, delayed = 0, reordered = 0;
};

class BadNetwork {
 public:
  BadNetwork(unsigned seed, int delayMs)
      : random_(seed), delayMs_(static_cast<unsigned>(delayMs)) {}

  void carry(Parcel parcel) {
    const auto draw = random_() % 100;
    if (draw < 10) {
      ++counts_.lost;
    } else if (draw < 20) {
      ++counts_.doubled;
      parcel.send();
      pass(std::move(parcel));
    } else if (draw < 30) {
      ++counts_.delayed;
      const auto delay = std::chrono::milliseconds(1 + random_() % delayMs_);
      late_.emplace(Clock::now() + delay, std::move(parcel));
    } else if (draw < 40 && !held_) {
      ++counts_.reordered;
      held_ = std::move(parcel);
    } else {
      ++counts_.passed;
      pass(std::move(parcel));
    }
  }

  // Sends the late datagrams that are due. Returns the milliseconds until the next is due, or -1.
  int deliver() {
    while (!late_.empty() && late_.begin()->first <= Clock::now()) {
      late_.begin()->second.send();
      late_.erase(late_.begin());
    }
    if (late_.empty()) return -1;
    const auto rest = late_.begin()->first - Clock::now();
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(rest).count());
  }

  [[nodiscard]] const Counts &counts() const { return counts_; }

 private:
  void pass(Parcel parcel) {
    parcel.send();
    if (const auto held = std::exchange(held_, std::nullopt)) held->send();
  }

  std::mt19937 random_;
  unsigned delayMs_;
  std::multimap<Clock::time_point, Parcel> late_;
  std::optional<Parcel> held_;  // sent after the next datagram
  Counts counts_;
};

// Receives one datagram and stores its sender in `source`. Returns nothing if none has arrived.
std::optional<std::string> take(Socket &socket, sockaddr_in &source) {
  static std::array<char, 65536> buffer;
  const std::ptrdiff_t count = socket.receive(buffer, source);
  if (count < 0) return std::nullopt;
  return std::string(buffer.data(), static_cast<std::size_t>(count));
}

void relay(Socket &front, Socket &back, const sockaddr_in &server, BadNetwork &network) {
  sockaddr_in client{};
  for (;;) {
    std::array<pollfd, 3> waiting{{{front.descriptor(), POLLIN, 0},
                                   {back.descriptor(), POLLIN, 0},
                                   {STDIN_FILENO, POLLIN, 0}}};
    // On an error, such as a signal, the sockets are simply tried.
    (void)::poll(waiting.data(), waiting.size(), network.deliver());
    if (waiting[2].revents != 0) return;
    while (auto bytes = take(front, client)) {
      network.carry({&back, server, std::move(*bytes)});
    }
    sockaddr_in source{};
    while (auto bytes = take(back, source)) {
      network.carry({&front, client, std::move(*bytes)});
    }
  }
}

}  // namespace
}  // namespace kt::test

int main(int count, char **arguments) {
  using namespace kt::test;
  const Options options(count, arguments);
  BadNetwork network(static_cast<unsigned>(options.number("--seed", 1)),
                     options.number("--delay", 15));
  kt::Socket front = kt::Socket::open();
  kt::Socket back = kt::Socket::open();
  require(front.bind(static_cast<std::uint16_t>(options.number("--port", 4798))), "bind");
  std::puts("relaying");
  std::fflush(stdout);
  const auto serverPort = static_cast<std::uint16_t>(options.number("--server", 9000));
  relay(front, back, loopback(serverPort), network);
  const Counts &counts = network.counts();
  std::printf("passed %d\nlost %d\ndoubled %d\ndelayed %d\nreordered %d\n", counts.passed,
              counts.lost, counts.doubled, counts.delayed, counts.reordered);
  return 0;
}
