// SPDX-License-Identifier: MIT

// Measures how long ktd takes to answer Echo, a thousand times a second, while other clients give
// it work that takes long: eight that ask for the files below /usr, and eight that let it run a
// program. Everything stays on the loopback interface.
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "kt/udp/AsyncClient.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/support/Require.h"
#include "tools/common/Requests.h"
#include "tools/common/Statistics.h"

namespace {

using namespace kt::tools;

using Clock = std::chrono::steady_clock;
using kt::test::require;

constexpr const char *port = "47980";
constexpr std::chrono::microseconds interval{1000};  // between two requests

// A child process that ends with this object.
class Child {
 public:
  template <typename Run>
  explicit Child(Run run) : id_(::fork()) {
    require(id_ >= 0, "fork");
    if (id_ != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    run();
    std::_Exit(1);
  }
  Child(Child &&other) noexcept : id_(std::exchange(other.id_, -1)) {}
  Child &operator=(Child &&) = delete;
  ~Child() {
    if (id_ < 0) return;
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
  }

 private:
  pid_t id_;
};

// Connects to ktd, which may not be ready yet.
void connect(KtUDPClient &client) {
  client.setPorts({std::atoi(port)});
  client.setBaseReplyTimeout(10'000);
  client.setNumberOfRetries(0);
  for (int tries = 0; tries < 100; ++tries) {
    if (client.connectToServer("127.0.0.1")) return;
  }
  require(false, "ktd does not serve");
}

// Sends one request after another, with the token that the server asks for.
void askForEver(const char *kind) {
  KtUDPClient client;
  connect(client);
  kt::Dictionary request{{"KtUDPKeyword", kind}, {typesKey, kt::Array{"h", "so"}}};
  for (;;) {
    const std::optional<kt::Dictionary> answer = client.replyForRequest(request);
    const kt::Data *token = answer ? answer->data(tokenKey) : nullptr;
    if (token != nullptr) request[tokenKey] = *token;
  }
}

// Returns the milliseconds that each of `count` requests took.
std::vector<double> echo(kt::AsyncClient &client, std::size_t count) {
  std::vector<double> tookMs;
  std::size_t lost = 0;
  Clock::time_point next = Clock::now();
  for (std::size_t sent = 0; tookMs.size() + lost < count;) {
    const Clock::time_point now = Clock::now();
    if (sent < count && now >= next) {
      client.request({{"KtUDPKeyword", echoKind}, {"a", "b"}}, [&, now](const auto &answer) {
        if (!answer) {
          ++lost;
          return;
        }
        tookMs.push_back(std::chrono::duration<double, std::milli>(Clock::now() - now).count());
      });
      ++sent;
      next += interval;
    }
    const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(
        (sent < count ? next : now + interval) - Clock::now());
    const timespec pause{0, std::max<long>(rest.count(), 0)};
    pollfd watched{client.descriptor(), POLLIN, 0};
    (void)::ppoll(&watched, 1, &pause, nullptr);  // process() looks for itself
    client.process();
  }
  require(lost == 0, "an Echo was lost");
  return tookMs;
}

void measure(const char *name, kt::AsyncClient &client, std::size_t count) {
  const Statistics ms = statisticsOf(echo(client, count));
  std::printf("%-28s %10.3f %10.3f %10.3f\n", name, ms.median, ms.p99, ms.max);
}

void measureBeside(const char *name, const char *kind, kt::AsyncClient &client, std::size_t count) {
  constexpr int clients = 8;
  std::vector<Child> load;
  load.reserve(clients);
  for (int number = 0; number < clients; ++number) {
    load.emplace_back([kind] { askForEver(kind); });
  }
  (void)echo(client, 500);  // until the load has begun
  measure(name, client, count);
}

void serve() {
  const std::array arguments{"ktd",
                             "--ports",
                             port,
                             "--files",
                             "/usr",
                             "--handle",
                             "Count=/usr/bin/wc -c /usr/bin/cmake",
                             "--workers",
                             "8",
                             static_cast<const char *>(nullptr)};
  ::execv(KTD, const_cast<char *const *>(arguments.data()));
}

}  // namespace

int main(int argc, char **argv) {
  const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 5000;
  const Child server(serve);
  KtUDPClient settings;
  connect(settings);
  kt::AsyncClient client(settings);
  std::printf("%zu Echo requests, one per ms; ms until the answer\n", count);
  std::printf("%-28s %10s %10s %10s\n", "", "median", "p99", "max");
  measure("alone", client, count);
  measureBeside("beside 8 clients of Files", filesKind, client, count);
  measureBeside("beside 8 clients of handlers", "Count", client, count);
}
