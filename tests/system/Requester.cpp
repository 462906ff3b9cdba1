// SPDX-License-Identifier: MIT

// Clients that send numbered requests to an echo server and check that each gets the answer to its
// own number. Prints "connected" once all clients are, and one line per result at the end: a name,
// a space, a value.
//
// --threads COUNT   of clients, each on its own thread
// --requests COUNT  per client
// --warm-up COUNT   of requests before the memory of both ends is measured; one thread only
// --attempts COUNT  to connect
// --go 1            waits for a line on standard input before the requests
// --signature, --ports, --timeout, --retries: as the client's setters
// --files, --signals: as in Server.cpp
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
#include "tests/support/Addresses.h"
#include "tests/system/Options.h"

namespace kt::test {
namespace {

struct Results {
  int connected = 0;
  int answered = 0;
  int lost = 0;
  int wrong = 0;         // answers to other requests, accepted although the handshake was wrong
  int coincidences = 0;  // answers to other requests with the same of 16,384 handshakes
  std::set<std::string> servers;
  std::string endpoint;   // the destination of requests
  std::int32_t port = 0;  // the port that the server announces

  void add(const Results &other) {
    connected += other.connected;
    answered += other.answered;
    lost += other.lost;
    wrong += other.wrong;
    coincidences += other.coincidences;
    servers.insert(other.servers.begin(), other.servers.end());
    endpoint = other.endpoint;
    port = other.port;
  }
};

class Requester : public KtUDPClient {
 public:
  explicit Requester(const Options &options) {
    if (const auto given = options.numbers("--ports"); !given.empty()) setPorts(given);
    setSignature(options.text("--signature", signature()));
    setBaseReplyTimeout(options.number("--timeout", timeout()));
    setNumberOfRetries(options.number("--retries", retries()));
  }

  void connect(int attempts) {
    while (attempts-- > 0 && results_.connected == 0) {
      results_.connected = connectToServer() ? 1 : 0;
    }
    results_.endpoint = text(sin());
    results_.port = port();
  }

  // Checks the handshake independently, to distinguish a wrong acceptance from a coincidence.
  bool isValidReplyForMessage(const Dictionary &reply, const Dictionary &message) const override {
    if (!KtUDPClient::isValidReplyForMessage(reply, message)) return false;
    handshakeFits_ =
        reply.find("_Handshake")->intValue() == message.find("_Handshake")->intValue() + 1;
    return true;
  }

  void request(int number) {
    const auto answer = replyForRequest(
        Dictionary{{"KtUDPKeyword", "Echo"}, {"Number", number}, {"Thread", threadNumber_}});
    if (!answer) {
      ++results_.lost;
      return;
    }
    const bool right = answer->contains("Number") && answer->find("Number")->intValue() == number &&
                       answer->find("Thread")->intValue() == threadNumber_;
    ++(right ? results_.answered : handshakeFits_ ? results_.coincidences : results_.wrong);
    if (right) results_.servers.insert(*answer->find("Server")->asString());
  }

  // Returns the bytes that the server uses, or 0 if it does not answer that.
  std::int64_t serverBytes() {
    const auto answer = replyForRequest(Dictionary{{"KtUDPKeyword", "Memory"}});
    return answer && answer->contains("Memory") ? answer->find("Memory")->intValue() : 0;
  }

  [[nodiscard]] const Results &results() const { return results_; }

 private:
  static inline std::atomic<int> threads_ = 0;

  int threadNumber_ = ++threads_;
  mutable bool handshakeFits_ = false;  // of the last accepted reply
  Results results_;
};

// Sends requests and prints by how many bytes the memory of each end grew after the warm-up.
void requestAndWeigh(Requester &requester, int warmUp, int requests) {
  for (int number = 0; number < warmUp; ++number) {
    requester.request(number);
  }
  const std::int64_t own = residentBytes();
  const std::int64_t server = requester.serverBytes();
  for (int number = warmUp; number < warmUp + requests; ++number) {
    requester.request(number);
  }
  std::printf("client-growth %lld\n", static_cast<long long>(residentBytes() - own));
  std::printf("server-growth %lld\n", static_cast<long long>(requester.serverBytes() - server));
}

void print(const Results &results) {
  std::printf("clients %d\nanswered %d\nlost %d\nwrong %d\ncoincidences %d\n", results.connected,
              results.answered, results.lost, results.wrong, results.coincidences);
  std::printf("address %s\nport %d\n", results.endpoint.c_str(), results.port);
  for (const std::string &server : results.servers) {
    std::printf("server %s\n", server.c_str());
  }
}

}  // namespace
}  // namespace kt::test

int main(int count, char **arguments) {
  using namespace kt::test;
  const Options options(count, arguments);
  KtAutoSetDebug();
  openFiles(options.number("--files", 0));
  interruptEvery(options.number("--signals", 0));
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
