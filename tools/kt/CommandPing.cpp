// SPDX-License-Identifier: MIT

// kt ping: measures round trips of Echo requests until their number is reached or Ctrl-C is
// pressed.
#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <thread>

#include "kt/udp/KtMessage.h"
#include "tools/common/Addresses.h"
#include "tools/common/Arguments.h"
#include "tools/common/Requests.h"
#include "tools/kt/Connection.h"
#include "tools/kt/PingReport.h"
#include "tools/kt/Request.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
Sends each request once, so that a lost datagram shows, unless --retries asks for more. With
--quiet only the summary is printed. As JSON, each line has sequence and roundTripMs (null if
no answer came), and the last line has sent, received, lost, minMs, medianMs, p99Ms, maxMs.
Ends with status 0 if there was any answer, else with 1.
)";

struct Arguments {
  std::optional<std::int32_t> count;          // round trips; nothing means until Ctrl-C
  std::chrono::duration<double> interval{1};  // between the starts of two round trips
};

// Tells answers to different round trips apart. Handshakes are random and few enough to repeat, so
// a late answer could otherwise be taken for the answer to a later request.
class PingClient : public KtUDPClient {
 public:
  bool isValidReplyForMessage(const Dictionary &reply, const Dictionary &message) const override {
    if (!KtUDPClient::isValidReplyForMessage(reply, message)) return false;
    const std::optional<std::int32_t> answered = sequenceOf(reply);
    return !answered || answered == sequenceOf(message);
  }

  // Returns the number of the round trip that an envelope belongs to, if it has one.
  static std::optional<std::int32_t> sequenceOf(const Dictionary &envelope) {
    const Dictionary *packet = dataPacketOf(envelope);
    const PropertyList *sequence = packet != nullptr ? packet->find(sequenceKey) : nullptr;
    if (sequence == nullptr) return std::nullopt;
    return sequence->intValue();
  }
};

// Makes one round trip. Throws Failure if the server answers, but not with an echo.
void pingOnce(PingClient &client, std::int32_t sequence, PingReport &report) {
  Dictionary request = requestOfKind(echoKind);
  request[sequenceKey] = sequence;
  const Clock::time_point start = Clock::now();
  const std::optional<Dictionary> answer = client.replyForRequest(request);
  const Clock::time_point end = Clock::now();
  if (answer && !answer->contains(sequenceKey)) {
    throw Failure("the server at " + endpoint(client.sin()) + " does not echo but answers " +
                  answer->description());
  }
  report.add(sequence, answer.has_value(), end - start);
}

void pingAll(PingClient &client, const Arguments &arguments, PingReport &report) {
  const auto interval = std::chrono::duration_cast<Clock::duration>(arguments.interval);
  const std::int32_t last = arguments.count.value_or(std::numeric_limits<std::int32_t>::max());
  Clock::time_point next = Clock::now();
  for (std::int32_t sequence = 1;; ++sequence) {
    pingOnce(client, sequence, report);
    if (sequence == last) return;
    next = std::max(next + interval, Clock::now());
    std::this_thread::sleep_until(next);
  }
}

// On Ctrl-C, prints the summary and ends the process at once, on a thread of its own, even while an
// answer is awaited. A round trip in progress then does not count.
void endOnInterrupt(const std::shared_ptr<PingReport> &report) {
  sigset_t interrupt;
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  ::pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
  std::thread([interrupt, report] {
    int signal = 0;
    while (::sigwait(&interrupt, &signal) != 0) {
    }
    int status = exitFailed;
    try {
      status = report->finish();
    } catch (const Failure &failure) {
      std::fprintf(stderr, "kt ping: %s\n", failure.what());
    }
    std::_Exit(status);
  }).detach();
}

class Ping : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addOption<readPositive>(
        {"-c,--count", "COUNT", "How many round trips to make (default: until Ctrl-C)"},
        arguments_.count, "a number of round trips from 1 up");
    line.addOption<readSeconds>(
        {"-i,--interval", "SECONDS", "The time between the starts of two round trips (default: 1)"},
        arguments_.interval, "a number of seconds from 0 to 86400");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    Options once = options;
    if (!once.retries) once.retries = 0;  // a lost datagram is to show
    PingClient client;
    connect(client, once);
    const auto report = std::make_shared<PingReport>(once, endpoint(client.sin()));
    endOnInterrupt(report);
    pingAll(client, arguments_, *report);
    return report->finish();
  }

 private:
  Arguments arguments_;
};

}  // namespace

Command &pingCommand() {
  static Ping command;
  return command;
}

}  // namespace kt::tools
