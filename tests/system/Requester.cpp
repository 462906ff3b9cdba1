// SPDX-License-Identifier: MIT

// Clients that send numbered requests to an echo server and check that each gets the answer to its
// own number. Prints "connected" once all are, and at the end one line for each thing it found out:
// a name, a space, a value.
//
// --threads COUNT (each with a client of its own), --requests COUNT (of each), --warm-up COUNT
// (before the memory of both ends is looked at; one thread only), --attempts COUNT (of connecting),
// --go 1 (waits for a line on standard input between the connecting and the requests); --signature,
// --ports, --timeout, --retries, --files, --signals as their setters and as the server's.
#include <arpa/inet.h>

#include <atomic>
#include <barrier>
#include <cstdio>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kt/diagnostics/KtDebug.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/system/Options.h"

namespace {

struct Results {
  int connected = 0;
  int answered = 0;
  int lost = 0;
  int wrong = 0;  // the answer to another request, though its handshake was not the right one
  int coincidences = 0;  // the same with the right one: two requests drew the same of 16,384 values
  std::set<std::string> servers;
  std::string address;    // where requests go
  std::int32_t port = 0;  // what the server calls its port

  void add(const Results &other) {
    connected += other.connected;
    answered += other.answered;
    lost += other.lost;
    wrong += other.wrong;
    coincidences += other.coincidences;
    servers.insert(other.servers.begin(), other.servers.end());
    address = other.address;
    port = other.port;
  }
};

class Requester : public KtUDPClient {
 public:
  explicit Requester(const test::Options &options) {
    if (const auto given = options.numbers("--ports"); !given.empty()) setPorts(given);
    setSignature(options.text("--signature", signature()));
    setBaseReplyTimeout(options.number("--timeout", timeout()));
    setNumberOfRetries(options.number("--retries", retries()));
  }

  void connect(int attempts) {
    while (attempts-- > 0 && results_.connected == 0) {
      results_.connected = connectToServer();
    }
    results_.address =
        std::string(::inet_ntoa(sin().sin_addr)) + ":" + std::to_string(ntohs(sin().sin_port));
    results_.port = port();
  }

  // Looks at handshakes by a rule of its own, to tell a wrong acceptance from a coincidence.
  bool isValidReplyForMessage(const kt::Dictionary &reply,
                              const kt::Dictionary &message) const override {
    if (!KtUDPClient::isValidReplyForMessage(reply, message)) return false;
    handshakeFits_ =
        reply.find("_Handshake")->intValue() == message.find("_Handshake")->intValue() + 1;
    return true;
  }

  void request(int number) {
    const auto answer = replyForRequest(
        kt::Dictionary{{"KtUDPKeyword", "Echo"}, {"Number", number}, {"Thread", threadNumber_}});
    if (!answer) {
      ++results_.lost;
      return;
    }
    const bool right = answer->contains("Number") && answer->find("Number")->intValue() == number &&
                       answer->find("Thread")->intValue() == threadNumber_;
    ++(right ? results_.answered : handshakeFits_ ? results_.coincidences : results_.wrong);
    if (right) results_.servers.insert(*answer->find("Server")->asString());
  }

  // The bytes that the server has in use; 0 when it doesn't say.
  std::int64_t serverBytes() {
    const auto answer = replyForRequest(kt::Dictionary{{"KtUDPKeyword", "Memory"}});
    return answer && answer->contains("Memory") ? answer->find("Memory")->intValue() : 0;
  }

  [[nodiscard]] const Results &results() const { return results_; }

 private:
  static inline std::atomic<int> threads_ = 0;

  int threadNumber_ = ++threads_;
  mutable bool handshakeFits_ = false;  // of the reply accepted last
  Results results_;
};

// Both ends' memory before and behind the requests that count, in bytes.
void requestAndWeigh(Requester &requester, int warmUp, int requests) {
  for (int number = 0; number < warmUp; ++number) {
    requester.request(number);
  }
  const std::int64_t own = test::residentBytes();
  const std::int64_t server = requester.serverBytes();
  for (int number = warmUp; number < warmUp + requests; ++number) {
    requester.request(number);
  }
  std::printf("client-growth %lld\n", static_cast<long long>(test::residentBytes() - own));
  std::printf("server-growth %lld\n", static_cast<long long>(requester.serverBytes() - server));
}

void print(const Results &results) {
  std::printf("clients %d\nanswered %d\nlost %d\nwrong %d\ncoincidences %d\n", results.connected,
              results.answered, results.lost, results.wrong, results.coincidences);
  std::printf("address %s\nport %d\n", results.address.c_str(), results.port);
  for (const std::string &server : results.servers) {
    std::printf("server %s\n", server.c_str());
  }
}

}  // namespace

int main(int count, char **arguments) {
  const test::Options options(count, arguments);
  KtAutoSetDebug();
  test::openFiles(options.number("--files", 0));
  test::interruptEvery(options.number("--signals", 0));
  const int threads = options.number("--threads", 1);
  const int requests = options.number("--requests", 1);
  const int warmUp = options.number("--warm-up", 0);
  const auto announce = [&]() noexcept {
    std::puts("connected");
    std::fflush(stdout);
    if (options.number("--go", 0) != 0) (void)std::getchar();
  };
  std::barrier allConnected(threads, announce);
  std::mutex mutex;
  Results total;
  const auto work = [&] {
    Requester requester(options);
    requester.connect(options.number("--attempts", 1));
    allConnected.arrive_and_wait();
    if (warmUp > 0) {
      requestAndWeigh(requester, warmUp, requests);
    } else {
      for (int number = 0; number < requests; ++number) {
        requester.request(number);
      }
    }
    const std::scoped_lock lock(mutex);
    total.add(requester.results());
  };
  std::vector<std::jthread> workers(static_cast<std::size_t>(threads));
  for (std::jthread &worker : workers) {
    worker = std::jthread(work);
  }
  workers.clear();
  print(total);
  return 0;
}
