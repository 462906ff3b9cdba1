// SPDX-License-Identifier: MIT

#include "tools/kt/Connection.h"

#include <algorithm>
#include <utility>

#include "kt/foundation/Format.h"
#include "kt/udp/KtMessage.h"
#include "tools/common/Addresses.h"
#include "tools/common/Paths.h"
#include "tools/common/Requests.h"
#include "tools/kt/Discovery.h"
#include "tools/kt/Request.h"
#include "tools/kt/Token.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// Returns the failure that the request was not answered; `attempts` says how it was sent.
Failure unanswered(const KtUDPClient &client, const std::string &attempts, const char *remedy) {
  return Failure(
      kt::format("the server at %s left the request unanswered: %s\n"
                 "Check that the server still runs, and whether %s.",
                 endpoint(client.sin()), attempts, remedy));
}

// Returns the time until `deadline`, at least 1 ms, rounded up.
std::int32_t millisecondsUntil(Clock::time_point deadline) {
  const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return std::max(1, static_cast<std::int32_t>(rest.count()));
}

}  // namespace

// ---- One server ----

void applyOptions(KtUDPClient &client, const Options &options) {
  client.setSignature(options.signature);
  client.setPorts(options.ports);
  client.setBaseReplyTimeout(options.timeoutMs.value_or(usualTimeoutMs));
  if (options.retries) client.setNumberOfRetries(*options.retries);
}

void connect(KtUDPClient &client, const Options &options) {
  applyOptions(client, options);
  const std::optional<Addresses> given = givenAddresses(options);
  const Clock::time_point start = Clock::now();
  if (!(given ? client.connectToServerAt(*given) : client.connectToServer())) {
    const Milliseconds elapsed = Clock::now() - start;
    throw noServer(options, given.value_or(Addresses{client.sin().sin_addr.s_addr}), elapsed);
  }
  if (client.port() < 0) {
    throw Failure(
        kt::format("the server at %s says that its port is %d, which no request can be sent to",
                   endpoint(client.sin()), client.port()));
  }
}

void requireNoError(const Dictionary &answer) {
  const PropertyList *error = answer.find(errorKey);
  if (error == nullptr) return;
  const std::string text = pathBytes(*error).value_or(error->description());
  throw Failure("the server answers with an error: " + escaped(text));
}

// ---- Requests ----

// Returns what `ask` returns for `packet`, with the server's token in it once it is known. Gives up
// and returns the answer if the server asks for a token yet again: no server needs more, and none
// can keep a client asking forever.
template <typename Ask>
Dictionary Connection::answerWithToken(const Dictionary &packet, const Ask &ask) {
  constexpr int repeats = 2;
  const auto askWith = [&](const Data &token) {
    const Dictionary request = withToken(packet, token);
    requireDatagram(client_.signature(), request);
    return ask(request);
  };
  Dictionary answer = token_ ? askWith(*token_) : ask(packet);
  for (int count = 0; count < repeats; ++count) {
    const Data *const token = tokenAskedFor(answer);
    if (token == nullptr) break;
    token_ = *token;
    answer = askWith(*token_);
  }
  return answer;
}

Dictionary Connection::answerTo(const Dictionary &packet) {
  return answerWithToken(packet, [this](const Dictionary &request) {
    const Clock::time_point start = Clock::now();
    std::optional<Dictionary> answer = client_.replyForRequest(request);
    if (answer) return *std::move(answer);
    const std::int64_t sends = std::int64_t{client_.retries()} + 1;
    throw unanswered(client_,
                     kt::format("sent %d %s within %s", sends, sends == 1 ? "time" : "times",
                                wholeMilliseconds(Clock::now() - start)),
                     "a longer --timeout or more --retries help");
  });
}

Dictionary Connection::answerWithin(std::chrono::duration<double> time, const Dictionary &packet) {
  const Clock::time_point start = Clock::now();
  const Clock::time_point deadline = start + std::chrono::ceil<Clock::duration>(time);
  return answerWithToken(packet, [&](const Dictionary &request) {
    std::optional<Dictionary> answer = answerBefore(deadline, request);
    if (answer) return *std::move(answer);
    throw unanswered(client_, "sent again and again for " + wholeMilliseconds(Clock::now() - start),
                     "a longer --wait helps");
  });
}

std::optional<Dictionary> Connection::answerBefore(Clock::time_point deadline,
                                                   const Dictionary &packet) {
  constexpr std::chrono::milliseconds longestPause{2000};
  // The same for each send, handshake included: a server knows a resend by its bytes.
  const Dictionary envelope = requestEnvelope(client_.signature(), freshHandshake(), packet);
  std::chrono::milliseconds pause{client_.timeout()};
  std::optional<Dictionary> reply;
  do {
    pause = std::min(pause, longestPause);
    client_.sendMessage(envelope);
    reply = replyBefore(std::min(deadline, Clock::now() + pause), envelope);
    pause *= 2;
  } while (!reply && Clock::now() < deadline);
  if (!reply) return std::nullopt;
  return takeDataPacket(*std::move(reply));
}

// Returns the reply to `envelope`, or nothing if none comes before `deadline`.
std::optional<Dictionary> Connection::replyBefore(Clock::time_point deadline,
                                                  const Dictionary &envelope) {
  const std::int32_t timeout = client_.timeout();
  client_.setBaseReplyTimeout(0);  // a call below then ends after one wait or one datagram
  std::optional<Dictionary> reply;
  do {
    client_.setRcvTimeout(millisecondsUntil(deadline));
    reply = client_.validateReplyForMessage(envelope);
  } while (!reply && Clock::now() < deadline);
  client_.setBaseReplyTimeout(timeout);
  return reply;
}

}  // namespace kt::tools
