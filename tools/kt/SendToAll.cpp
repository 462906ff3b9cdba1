// SPDX-License-Identifier: MIT

#include "tools/kt/SendToAll.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "kt/foundation/Format.h"
#include "kt/udp/KtUDPClient.h"
#include "tools/common/Addresses.h"
#include "tools/common/Json.h"
#include "tools/kt/Asker.h"
#include "tools/kt/Connection.h"
#include "tools/kt/EveryServer.h"
#include "tools/kt/PollSet.h"
#include "tools/kt/Results.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// The servers that are asked at the same time. Each takes a descriptor, of which a process usually
// has 1,024.
constexpr std::size_t mostAtOnce = 256;

// What a server answered.
struct Answer {
  std::optional<Dictionary> packet;  // nothing: it left the request unanswered
  Milliseconds elapsed{};            // the round trip; without a packet the time of waiting
};

// ---- Asking ----

// Waits until all requests are done with.
void finish(std::deque<Asker> &askers) {
  for (;;) {
    PollSet events;
    std::optional<Clock::time_point> next;
    for (Asker &asker : askers) {
      const std::optional<Clock::time_point> deadline = asker.client().deadline();
      if (!deadline) continue;
      next = std::min(next.value_or(*deadline), *deadline);
      events.add(asker.client().descriptor());
    }
    if (!next) return;
    events.wait(next);
    for (Asker &asker : askers) {
      asker.client().process();
    }
  }
}

std::vector<Answer> answersOf(std::span<const FoundServer> servers, const Dictionary &request,
                              const KtUDPClient &settings) {
  std::vector<Answer> answers(servers.size());
  std::deque<Asker> askers;
  for (std::size_t index = 0; index < servers.size(); ++index) {
    Answer &answer = answers[index];
    askers.emplace_back(settings, servers[index].source)
        .ask(request, [&answer](std::optional<Dictionary> packet, Milliseconds elapsed) {
          answer = {std::move(packet), elapsed};
        });
  }
  finish(askers);
  return answers;
}

// ---- Printing ----

std::string lineFor(const FoundServer &server, const Answer &answer) {
  return kt::format("%s at %s: %s", inQuotes(server.id.name), endpoint(server.source),
                    answer.packet ? answer.packet->description() : "no answer");
}

std::string jsonFor(const FoundServer &server, const Answer &answer) {
  JsonObject object;
  object.addText("name", server.id.name)
      .addText("address", dotted(server.source.sin_addr.s_addr))
      .addNumber("port", std::int64_t{ntohs(server.source.sin_port)});
  if (answer.packet) {
    object.addNumber("roundTripMs", answer.elapsed.count()).addValue("answer", *answer.packet);
  } else {
    object.addNull("roundTripMs").addNull("answer");
  }
  return object.text();
}

Failure noAnswer(std::size_t serverCount, const KtUDPClient &settings) {
  const std::int64_t sends = std::int64_t{settings.retries()} + 1;
  return Failure(
      kt::format("none of the servers found (%d) answered: sent %d %s to each\n"
                 "Check whether a longer --timeout or more --retries help.",
                 serverCount, sends, sends == 1 ? "time" : "times"));
}

// Prints the answers of the servers. Returns whether there was one.
bool printAll(std::span<const FoundServer> servers, const std::vector<Answer> &answers,
              Results &results) {
  bool isAnswered = false;
  for (std::size_t index = 0; index < servers.size(); ++index) {
    const Answer &answer = answers[index];
    isAnswered |= answer.packet.has_value();
    results.print([&] { return lineFor(servers[index], answer); },
                  [&] { return jsonFor(servers[index], answer); });
  }
  return isAnswered;
}

}  // namespace

void sendToAll(const Dictionary &request, const Options &options) {
  const std::vector<FoundServer> servers = everyServer(options);
  KtUDPClient settings;
  applyOptions(settings, options);
  Results results(options);
  bool isAnswered = false;
  for (std::span<const FoundServer> rest = servers; !rest.empty();) {
    const auto group = rest.first(std::min(rest.size(), mostAtOnce));
    isAnswered |= printAll(group, answersOf(group, request, settings), results);
    rest = rest.subspan(group.size());
  }
  if (!isAnswered) throw noAnswer(servers.size(), settings);
}

}  // namespace kt::tools
