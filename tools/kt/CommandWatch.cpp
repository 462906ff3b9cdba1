// SPDX-License-Identifier: MIT

// kt watch: asks every server for its state again and again, and shows the answers live.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <deque>
#include <span>
#include <utility>

#include "kt/udp/KtUDPClient.h"
#include "tools/common/Arguments.h"
#include "tools/common/Output.h"
#include "tools/common/Requests.h"
#include "tools/common/Signals.h"
#include "tools/kt/Asker.h"
#include "tools/kt/Connection.h"
#include "tools/kt/PollSet.h"
#include "tools/kt/PromptOutput.h"
#include "tools/kt/Request.h"
#include "tools/kt/Search.h"
#include "tools/kt/Terminal.h"
#include "tools/kt/WatchScreen.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
Shows a row for each server: its name and address, the round trips of its last 60 requests on
a linear scale from 0 to the longest of them (x: lost), the last round trip, how many of the 60
were lost, and the requests per second that it serves, this program's included ("-" if it does
not tell). Servers that come later are added; those that fall silent stay. Ends with status 0
on q, Ctrl-C or SIGTERM.

Each request, a Status, is sent once, so that a lost datagram shows, unless --retries asks for
more. A server is asked again once its last request is answered or lost.

With --json, prints a line for each request instead, until a signal or until nobody reads any
more: time (seconds since 1970), name, address, port, roundTripMs (null if lost), lost (of the
last 60), requestsPerSecond (null if not known).
)";

struct Arguments {
  std::optional<std::int32_t> count;          // rounds; nothing means until the user ends it
  std::chrono::duration<double> interval{1};  // between the starts of two rounds
};

// Reads decimal seconds, 0.01 <= seconds <= 86400. Shorter intervals would only keep busy.
std::optional<std::chrono::duration<double>> readInterval(std::string_view text) {
  const std::optional<std::chrono::duration<double>> interval = readSeconds(text);
  if (!interval || interval->count() < 0.01) return std::nullopt;
  return interval;
}

constexpr std::chrono::seconds searchInterval{3};

// Each server takes a descriptor, of which a process usually has 1,024.
constexpr std::size_t mostServers = 512;

// The signals that end the program, and all those that concern a program with a screen.
constexpr std::array endSignals{SIGINT, SIGTERM};
constexpr std::array screenSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH, SIGTSTP, SIGCONT};

class Watch {
 public:
  // Watches the servers at `addresses`. `signals` must outlive it.
  Watch(Options options, const Arguments &arguments, Addresses addresses, const Signals &signals)
      : options_(std::move(options)),
        arguments_(arguments),
        addresses_(std::move(addresses)),
        signals_(signals),
        search_(options_) {
    applyOptions(settings_, options_);
    if (!options_.json && !options_.quiet) terminal_.emplace();
  }

  // Watches until the user ends it or all rounds are over. Returns the signal that the program is
  // to die of, if any, once the terminal is given back. Throws Failure if no server was found in
  // all rounds, and as printText does.
  std::optional<int> run() {
    while (!isOver_) {
      awaitEvents();
      startSearchIfDue();
      startRoundIfDue();
      endIfComplete();
      refresh();
    }
    return deadlySignal_;
  }

 private:
  // ---- Asking ----

  void startSearchIfDue() {
    if (Clock::now() < nextSearch_) return;
    nextSearch_ = Clock::now() + searchInterval;
    search_.ask(addresses_);
  }

  void startRoundIfDue() {
    if (Clock::now() < nextRound_) return;
    if (arguments_.count == rounds_++) {
      nextRound_ = never;
      return;
    }
    const auto interval = std::chrono::duration_cast<Clock::duration>(arguments_.interval);
    nextRound_ = std::max(nextRound_ + interval, Clock::now());
    for (std::size_t index = 0; index < servers_.size(); ++index) {
      if (askers_[index].client().pending() == 0) ask(index);
    }
  }

  // Ends once all rounds are over and each of their requests is answered or lost.
  void endIfComplete() {
    const bool isComplete =
        std::ranges::all_of(askers_, [](Asker &asker) { return asker.client().pending() == 0; });
    if (nextRound_ != never || !isComplete) return;
    if (servers_.empty()) throw noServer(options_, addresses_, Clock::now() - start_);
    isOver_ = true;
  }

  void ask(std::size_t index) {
    askers_[index].ask(requestOfKind(statusKind),
                       [this, index](std::optional<Dictionary> answer, Milliseconds elapsed) {
                         ServerHistory &history = servers_[index].history;
                         if (answer) {
                           history.addAnswer(elapsed, answer->integer(servedKey), Clock::now());
                         } else {
                           history.addLoss();
                         }
                         report(servers_[index]);
                       });
  }

  // ---- Showing ----

  // Reports the last request to `server`: now as JSON, or with the next refresh().
  void report(const WatchedServer &server) {
    isChanged_ = true;
    if (terminal_ || options_.quiet) return;
    using std::chrono::milliseconds;
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    const std::int64_t unixMs = std::chrono::duration_cast<milliseconds>(time).count();
    print(jsonFor(server, static_cast<double>(unixMs) / 1000) + '\n');
  }

  // Prints a line, or as much of it as standard output takes before a signal ends the program.
  void print(std::string_view line) const {
    while (!line.empty() && awaitOutput()) {
      line.remove_prefix(output_.write(line));
    }
  }

  // Waits until standard output takes more. Returns false if a signal arrives first: a reader that
  // does not read must not keep the program from ending.
  [[nodiscard]] bool awaitOutput() const {
    PollSet events;
    events.add(signals_.descriptor());
    events.add(output_.descriptor(), POLLOUT);
    events.wait(std::nullopt);
    return events.isReady(output_.descriptor());
  }

  void refresh() {
    if (!terminal_ || !isChanged_) return;
    const ScreenSize size = terminal_->size();
    if (!servers_.empty()) {
      isChanged_ = !terminal_->show(screenLines(servers_, size, terminal_->charset()));
      return;
    }
    std::string line =
        "No server of signature " + inQuotes(options_.signature) + " has answered yet.";
    line.resize(std::min(line.size(), size.width));
    isChanged_ = !terminal_->show({line});
  }

  // ---- Events ----

  void awaitEvents() {
    PollSet events;
    const int keys = terminal_ ? terminal_->keyDescriptor() : -1;
    events.add(signals_.descriptor());
    events.add(keys);
    events.add(STDOUT_FILENO, 0);
    events.add(search_.descriptor());
    const int screen = terminal_ ? terminal_->waitingDescriptor() : -1;
    events.add(screen, POLLOUT);
    Clock::time_point next = std::min(nextSearch_, nextRound_);
    for (Asker &asker : askers_) {
      events.add(asker.client().descriptor());
      next = std::min(next, asker.client().deadline().value_or(next));
    }
    events.wait(next);
    if (events.isReady(keys)) takeKeys();
    if (events.isReady(STDOUT_FILENO)) isOver_ = true;
    if (screen >= 0 && events.isReady(screen)) terminal_->writeMore();
    takeSignals();
    takeServers();
    for (Asker &asker : askers_) {
      asker.client().process();
    }
  }

  void takeKeys() {
    const std::optional<std::string> keys = terminal_->keys();
    if (!keys || keys->find_first_of("qQ") != std::string::npos) isOver_ = true;
  }

  void takeSignals() {
    while (const std::optional<int> signal = signals_.next()) {
      take(*signal);
    }
  }

  void take(int signal) {
    isChanged_ = true;
    switch (signal) {
      case SIGWINCH:
        break;
      case SIGCONT:
        terminal_->forget();
        break;
      case SIGTSTP:
        terminal_->leave();
        Signals::obey(SIGTSTP);
        break;
      case SIGHUP:
      case SIGQUIT:
        deadlySignal_ = signal;
        [[fallthrough]];
      default:
        isOver_ = true;
    }
  }

  // The answers of a few servers at a time, so that none keeps the loop here.
  void takeServers() {
    constexpr int mostAnswers = 64;
    for (int count = 0; count < mostAnswers && search_.receive(); ++count) {
    }
    const std::vector<FoundServer> &found = search_.found();
    for (std::size_t index = servers_.size(); index < std::min(found.size(), mostServers);
         ++index) {
      servers_.push_back({found[index].id.name, found[index].source, {}});
      askers_.emplace_back(settings_, found[index].source);
      ask(index);
    }
  }

  static constexpr Clock::time_point never = Clock::time_point::max();

  const Options options_;
  const Arguments arguments_;
  const Addresses addresses_;
  const Signals &signals_;
  KtUDPClient settings_;  // what requests are sent with
  Search search_;
  std::vector<WatchedServer> servers_;  // the first ones of search_.found(), in their order
  std::deque<Asker> askers_;            // one for each of them
  const PromptOutput output_;           // for --json
  std::optional<Terminal> terminal_;    // nothing with --json or --quiet

  const Clock::time_point start_ = Clock::now();
  Clock::time_point nextSearch_ = start_;
  Clock::time_point nextRound_ = start_;  // never: all rounds are over
  std::int64_t rounds_ = 0;               // started so far
  bool isChanged_ = true;                 // whether the screen differs from what there is to show
  bool isOver_ = false;                   // whether run() is to return
  std::optional<int> deadlySignal_;       // as run() returns it
};

class WatchCommand : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addOption<readPositive>(
        {"-c,--count", "COUNT", "How many rounds to make (default: until q or Ctrl-C)"},
        arguments_.count, "a number of rounds from 1 up");
    line.addOption<readInterval>(
        {"-i,--interval", "SECONDS", "The time between the starts of two rounds (default: 1)"},
        arguments_.interval, "a number of seconds from 0.01 to 86400");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    const bool isOnScreen = !options.json && !options.quiet;
    if (isOnScreen && ::isatty(STDOUT_FILENO) != 1) {
      throw Misuse("standard output is not a terminal; --json prints for a program to read");
    }
    Options once = options;
    if (!once.retries) once.retries = 0;                // a lost datagram is to show
    Addresses addresses = addressesOfAllServers(once);  // a look-up that Ctrl-C can end
    const Signals signals(isOnScreen ? std::span<const int>(screenSignals) : endSignals);
    std::optional<int> deadlySignal;
    try {
      deadlySignal = Watch(once, arguments_, std::move(addresses), signals).run();
    } catch (const ClosedOutput &) {
      return exitDone;  // nobody reads any more: as much a wish to end as a signal
    }
    if (deadlySignal) Signals::obey(*deadlySignal);
    return exitDone;
  }

 private:
  Arguments arguments_;
};

}  // namespace

Command &watchCommand() {
  static WatchCommand command;
  return command;
}

}  // namespace kt::tools
