// SPDX-License-Identifier: MIT

// One client with many numbered requests in flight. Checks that each completes once, with the
// answer to its own number or with nothing. Prints "begun" at the first answer, and at the end one
// line per result: a name, a space, a value.
//
// --server PORT     of this host
// --requests COUNT  in all
// --open COUNT      of requests that the client has at a time; all by default
// --timeout, --retries: as the client's setters
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kt/udp/AsyncClient.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/system/Options.h"

namespace kt::test {
namespace {

// Waits until `client` can be read or its deadline has passed.
void await(const AsyncClient &client) {
  using std::chrono::milliseconds;
  int waitMs = -1;
  if (const auto deadline = client.deadline()) {
    const auto rest = *deadline - std::chrono::steady_clock::now();
    waitMs = static_cast<int>(std::max(std::chrono::ceil<milliseconds>(rest), {}).count());
  }
  pollfd readable{client.descriptor(), POLLIN, 0};
  (void)::poll(&readable, 1, waitMs);  // on an error, such as a signal, the client just tries
}

class Together {
 public:
  Together(AsyncClient &client, int requests)
      : client_(client), completions_(static_cast<std::size_t>(requests)) {}

  // Requests what follows, unless it was the last.
  void requestNext() {
    if (next_ == completions_.size()) return;
    const std::size_t number = next_++;
    client_.request(
        Dictionary{{"KtUDPKeyword", "Echo"}, {"Number", number}},
        [this, number](const std::optional<Dictionary> &answer) { complete(number, answer); });
  }

  void print() const {
    const auto once = std::count(completions_.begin(), completions_.end(), 1);
    std::printf("answered %d\nlost %d\nwrong %d\nonce %td\n", answered_, lost_, wrong_, once);
  }

 private:
  void complete(std::size_t number, const std::optional<Dictionary> &answer) {
    ++completions_[number];
    if (!answer) {
      ++lost_;
    } else if (answer->integer("Number") == static_cast<std::int64_t>(number)) {
      if (++answered_ == 1) {
        std::puts("begun");
        std::fflush(stdout);
      }
    } else {
      ++wrong_;
    }
    requestNext();
  }

  AsyncClient &client_;
  std::vector<int> completions_;  // how often each request completed
  std::size_t next_ = 0;
  int answered_ = 0;
  int lost_ = 0;
  int wrong_ = 0;
};

}  // namespace
}  // namespace kt::test

int main(int count, char **arguments) {
  using namespace kt::test;
  const Options options(count, arguments);
  KtUDPClient settings;
  settings.setBaseReplyTimeout(options.number("--timeout", settings.timeout()));
  settings.setNumberOfRetries(options.number("--retries", settings.retries()));
  const auto port = static_cast<std::uint16_t>(options.number("--server", 4798));
  kt::AsyncClient client(settings, loopback(port));
  const int requests = options.number("--requests", 1);
  Together together(client, requests);
  for (int open = options.number("--open", requests); open > 0; --open) {
    together.requestNext();
  }
  while (client.pending() > 0) {
    await(client);
    client.process();
  }
  together.print();
  return 0;
}
