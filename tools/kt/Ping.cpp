// SPDX-License-Identifier: MIT

// kt ping: round trips of Echo, until their number is reached or Ctrl-C.
#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <limits>
#include <memory>
#include <thread>

#include "kt/udp/KtMessage.h"
#include "tools/common/DirectedClient.h"
#include "tools/common/Numbers.h"
#include "tools/common/TerminalLog.h"
#include "tools/kt/Command.h"
#include "tools/kt/Connection.h"
#include "tools/kt/PingReport.h"

namespace kt::tools {

namespace {

constexpr std::string_view sequenceKey = "Sequence";

struct Arguments {
  std::optional<std::int32_t> count;          // round trips; nothing means until Ctrl-C
  std::chrono::duration<double> interval{1};  // between the starts of two of them
};

// Tells answers to different round trips apart. Their handshakes are random and few enough to come
// again, so that a late answer could be taken for that of a later request.
class PingClient : public DirectedClient {
 public:
  using DirectedClient::DirectedClient;

  bool isValidReplyForMessage(const Dictionary &reply, const Dictionary &message) const override {
    if (!DirectedClient::isValidReplyForMessage(reply, message)) return false;
    const std::optional<std::int32_t> answered = sequenceOf(reply);
    return !answered || answered == sequenceOf(message);
  }

  // The number of the round trip that an envelope belongs to, if it says.
  static std::optional<std::int32_t> sequenceOf(const Dictionary &envelope) {
    const Dictionary *packet = dataPacketOf(envelope);
    const PropertyList *sequence = packet != nullptr ? packet->find(sequenceKey) : nullptr;
    if (sequence == nullptr) return std::nullopt;
    return sequence->intValue();
  }
};

// Makes one round trip. Throws Failure when the server answers, but not with an echo.
void pingOnce(PingClient &client, std::int32_t sequence, PingReport &report) {
  const Dictionary request{{std::string(keywordKey), "Echo"}, {std::string(sequenceKey), sequence}};
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

// Ends the process with the summary when Ctrl-C comes, on a thread of its own and at once, however
// long an answer is being waited for: a round trip that is under way then counts for nothing.
void endOnInterrupt(const std::shared_ptr<PingReport> &report) {
  sigset_t interrupt;
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
  std::thread([interrupt, report] {
    int signal = 0;
    while (sigwait(&interrupt, &signal) != 0) {
    }
    int status = exitFailed;
    try {
      status = report->finish();
    } catch (const Failure &failure) {
      std::cerr << "kt ping: " << failure.what() << '\n';
    }
    endProcess(status);
  }).detach();
}

int ping(const Arguments &arguments, Options options) {
  // A lost datagram is to show, unless resends are asked for.
  if (!options.retries) options.retries = 0;
  PingClient client(options.broadcast);
  connect(client, options);
  const auto report = std::make_shared<PingReport>(options, endpoint(client.sin()));
  endOnInterrupt(report);
  pingAll(client, arguments, *report);
  return report->finish();
}

}  // namespace

Action declarePing(CLI::App &app) {
  const auto arguments = std::make_shared<Arguments>();
  addOption(app, "-c,--count", arguments->count, readPositive, "a number of round trips from 1 up",
            "How many round trips to make (default: until Ctrl-C)")
      ->type_name("COUNT");
  addOption(app, "-i,--interval", arguments->interval, readSeconds,
            "a number of seconds from 0 to 86400",
            "The time between the starts of two round trips (default: 1)")
      ->type_name("SECONDS");
  app.footer(
      "Sends each request once, so that a lost datagram shows, unless --retries asks for more.\n"
      "With --quiet only the summary is printed. As JSON each line has sequence and roundTripMs\n"
      "(null when no answer came), the last one sent, received, lost, minMs, medianMs, p99Ms,\n"
      "maxMs. Ends with status 0 when there was any answer, else with 1.");
  return [arguments](const Options &options) { return ping(*arguments, options); };
}

}  // namespace kt::tools
