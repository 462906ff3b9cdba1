// SPDX-License-Identifier: MIT

#include "kt/udp/AsyncClient.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "tests/support/Addresses.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/Messages.h"
#include "tests/udp/support/RawSocket.h"
#include "tests/udp/support/ScriptedPeer.h"

namespace kt::test {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using Answer = std::optional<Dictionary>;

constexpr std::size_t mostInFlight = 4096;

Dictionary numbered(std::size_t number) {
  return {{"KtUDPKeyword", "Count"}, {"Number", std::to_string(number)}};
}

// Returns the number of the request in `datagram`.
std::int64_t numberOf(const Datagram &datagram) {
  const Dictionary message = datagram.message();
  return dataPacketOf(message)->integer("Number").value_or(-1);
}

// Waits until `client` can be read. Returns false after 10 s.
bool waitForDatagram(const AsyncClient &client) {
  pollfd watched{client.descriptor(), POLLIN, 0};
  return ::poll(&watched, 1, 10'000) == 1;
}

// Waits until the deadline of `client` has passed. Requires: there is one, and no datagram comes.
void waitForDeadline(const AsyncClient &client) {
  const auto deadline = client.deadline();
  ASSERT_TRUE(deadline);
  while (Clock::now() <= *deadline) {
    const auto rest = std::chrono::ceil<milliseconds>(*deadline - Clock::now());
    pollfd watched{client.descriptor(), POLLIN, 0};
    ASSERT_LE(::poll(&watched, 1, std::max(0, static_cast<int>(rest.count()))), 0);
  }
}

// A client that asks this process's own socket. Its requests wait long for an answer, unless a test
// sets another timeout before it makes the client.
class AsyncClientTest : public testing::Test {
 protected:
  AsyncClientTest() { settings_.setBaseReplyTimeout(600'000); }

  AsyncClient &client() {
    if (!client_) client_.emplace(settings_, loopback(server_.port()));
    return *client_;
  }

  // Requests `packet` and keeps what the completion is called with.
  void request(const Dictionary &packet, AsyncClient::Acceptance acceptance = {}) {
    client().request(
        packet, [this](Answer answer) { answers_.push_back(std::move(answer)); },
        std::move(acceptance));
  }
  void request(std::size_t number) { request(numbered(number)); }

  // Returns the next datagram that the server receives. Fails the test if none comes.
  Datagram received() {
    std::optional<Datagram> datagram = server_.receive();
    EXPECT_TRUE(datagram) << "no datagram";
    return datagram.value_or(Datagram());
  }

  // Sends `bytes` to the client and lets it process them.
  void answer(const Datagram &request, const std::string &bytes) {
    server_.send(bytes, request.source);
    ASSERT_TRUE(waitForDatagram(client()));
    client().process();
  }
  void answer(const Datagram &request, const Dictionary &packet) {
    answer(request, reply(handshakeOf(request.message()), packet));
  }

  RawSocket server_;
  KtUDPClient settings_;
  std::optional<AsyncClient> client_;
  std::vector<Answer> answers_;  // what request() asked for, in the order of completion
};

// ---- Format and settings ----

TEST_F(AsyncClientTest, SendsEnvelopeOfItsSettings) {
  settings_.setSignature("Office");
  request(1);
  const Dictionary message = received().message();
  EXPECT_EQ(message, (Dictionary{{"_Signature", "Office"},
                                 {"_Handshake", std::to_string(handshakeOf(message))},
                                 {"_DataPacket", numbered(1)}}));
}

TEST_F(AsyncClientTest, EndsDatagramWithNul) {
  request(1);
  const Datagram datagram = received();
  EXPECT_EQ(datagram.bytes, bytesOf(datagram.message()));
}

TEST_F(AsyncClientTest, KeepsSettingsThatItWasMadeWith) {
  request(1);
  (void)received();  // only the second request matters
  settings_.setSignature("Another");
  request(2);
  EXPECT_EQ(received().message()["_Signature"], "KtUDP");
}

TEST_F(AsyncClientTest, AsksServerOfConnectedClient) {
  ScriptedPeer peer(4798, {identify(), right(), right({{"Answer", "seventeen"}})});
  KtUDPClient connected;
  ASSERT_TRUE(connected.connectToServer());
  client_.emplace(connected);
  request(1);
  ASSERT_TRUE(waitForDatagram(client()));
  client().process();
  EXPECT_EQ(answers_, std::vector<Answer>{(Dictionary{{"Answer", "seventeen"}})});
}

TEST_F(AsyncClientTest, OfUnconnectedClientCompletesWithNothing) {
  client_.emplace(KtUDPClient());
  request(1);
  EXPECT_TRUE(answers_.empty());
  EXPECT_EQ(client().pending(), 1U);
  EXPECT_LE(client().deadline(), Clock::now());
  client().process();
  EXPECT_EQ(answers_, std::vector<Answer>{std::nullopt});
  EXPECT_EQ(client().deadline(), std::nullopt);
}

TEST_F(AsyncClientTest, AsksGivenServerWhateverItsSettingsKnow) {
  EXPECT_LT(settings_.port(), 0);
  request(1);
  EXPECT_EQ(numberOf(received()), 1);
}

// ---- Handshakes ----

TEST_F(AsyncClientTest, DrawsOddDistinct31BitHandshakes) {
  std::set<std::int32_t> seen;
  for (std::size_t number = 0; number < mostInFlight; ++number) {
    request(number);
    const std::int32_t handshake = handshakeOf(received().message());
    EXPECT_GT(handshake, 0);
    EXPECT_EQ(handshake % 2, 1);
    seen.insert(handshake);
  }
  EXPECT_EQ(seen.size(), mostInFlight);
  EXPECT_GT(*seen.rbegin(), std::numeric_limits<std::int32_t>::max() / 2);
}

TEST_F(AsyncClientTest, GivesNoRequestLateAnswerToAnother) {
  settings_.setBaseReplyTimeout(1);
  settings_.setNumberOfRetries(0);
  request(1);
  const Datagram given = received();
  waitForDeadline(client());
  client().process();
  ASSERT_EQ(answers_, std::vector<Answer>{std::nullopt});
  request(2);
  answer(given, numbered(1));
  for (const Answer &answer : answers_) {
    EXPECT_EQ(answer, std::nullopt);
  }
}

// ---- Answers ----

TEST_F(AsyncClientTest, CompletesWithDataPacketOfAnswer) {
  request(1);
  answer(received(), Dictionary{{"Answer", "yes"}});
  EXPECT_EQ(answers_, std::vector<Answer>{(Dictionary{{"Answer", "yes"}})});
  EXPECT_EQ(client().pending(), 0U);
}

TEST_F(AsyncClientTest, CompletesOnlyInsideProcess) {
  request(1);
  const Datagram datagram = received();
  server_.send(reply(handshakeOf(datagram.message())), datagram.source);
  ASSERT_TRUE(waitForDatagram(client()));
  request(2);
  EXPECT_TRUE(answers_.empty());
  client().process();
  EXPECT_EQ(answers_.size(), 1U);
}

TEST_F(AsyncClientTest, TakesAnswersInAnyOrder) {
  for (std::size_t number = 0; number < 3; ++number) {
    request(number);
  }
  const std::vector<Datagram> requests{received(), received(), received()};
  for (const int index : {1, 2, 0}) {
    answer(requests[static_cast<std::size_t>(index)], Dictionary{{"Answer", index}});
  }
  EXPECT_EQ(answers_, (std::vector<Answer>{Dictionary{{"Answer", "1"}}, Dictionary{{"Answer", "2"}},
                                           Dictionary{{"Answer", "0"}}}));
}

TEST_F(AsyncClientTest, TakesAllAnswersThatHaveArrived) {
  std::vector<Datagram> requests;
  for (std::size_t number = 0; number < 50; ++number) {
    request(number);
    requests.push_back(received());
  }
  for (const Datagram &datagram : requests) {
    server_.send(reply(handshakeOf(datagram.message())), datagram.source);
  }
  client().process();  // on loopback a datagram has arrived once it is sent
  EXPECT_EQ(answers_.size(), 50U);
}

TEST_F(AsyncClientTest, TakesDoubledAnswerOnce) {
  request(1);
  const Datagram datagram = received();
  answer(datagram, statusPacket);
  answer(datagram, statusPacket);
  EXPECT_EQ(answers_.size(), 1U);
}

TEST_F(AsyncClientTest, TakesAnswerFromAnotherPort) {
  request(1);
  const Datagram datagram = received();
  const RawSocket other;
  other.send(reply(handshakeOf(datagram.message())), datagram.source);
  ASSERT_TRUE(waitForDatagram(client()));
  client().process();
  EXPECT_EQ(answers_, std::vector<Answer>{statusPacket});
}

TEST_F(AsyncClientTest, DropsDatagramsThatAreNotItsReplies) {
  request(1);
  const Datagram datagram = received();
  const std::int32_t handshake = handshakeOf(datagram.message());
  const std::vector<std::string> foreign{"",
                                         "nonsense",
                                         "( a, b )",
                                         "{}",
                                         datagram.bytes,
                                         reply(handshake + 2),
                                         bytesOf(replyEnvelope("Another", handshake, statusPacket)),
                                         bytesOf(Dictionary{{"_Handshake", handshake + 1}})};
  for (const std::string &bytes : foreign) {
    answer(datagram, bytes);
    EXPECT_EQ(client().pending(), 1U) << bytes;
  }
  answer(datagram, statusPacket);
  EXPECT_EQ(answers_, std::vector<Answer>{statusPacket});
}

TEST_F(AsyncClientTest, CompletesWithNothingIfAnswerHasNoDictionary) {
  request(1);
  const Datagram first = received();
  Dictionary envelope = replyEnvelope("KtUDP", handshakeOf(first.message()), {});
  envelope["_DataPacket"] = "text";
  answer(first, bytesOf(envelope));
  request(2);
  const Datagram second = received();
  envelope = replyEnvelope("KtUDP", handshakeOf(second.message()), {});
  envelope.erase("_DataPacket");
  answer(second, bytesOf(envelope));
  EXPECT_EQ(answers_, (std::vector<Answer>{std::nullopt, std::nullopt}));
}

TEST_F(AsyncClientTest, DropsReplyThatAcceptanceRefuses) {
  std::vector<Dictionary> shown;
  request(statusPacket, [&](const Dictionary &reply) {
    shown.push_back(reply);
    return dataPacketOf(reply)->contains("Answer");
  });
  const Datagram datagram = received();
  answer(datagram, Dictionary{{"Error", "busy"}});
  EXPECT_TRUE(answers_.empty());
  EXPECT_EQ(client().pending(), 1U);
  answer(datagram, Dictionary{{"Answer", "yes"}});
  EXPECT_EQ(answers_, std::vector<Answer>{(Dictionary{{"Answer", "yes"}})});
  ASSERT_EQ(shown.size(), 2U);
  EXPECT_EQ(shown[0], *parseMessage(reply(handshakeOf(datagram.message()), {{"Error", "busy"}})));
}

TEST_F(AsyncClientTest, AsksAcceptanceAboutFittingRepliesOnly) {
  int asked = 0;
  request(statusPacket, [&](const Dictionary &) { return ++asked > 0; });
  const Datagram datagram = received();
  answer(datagram, reply(handshakeOf(datagram.message()) + 2));
  answer(datagram, "nonsense");
  EXPECT_EQ(asked, 0);
}

TEST_F(AsyncClientTest, NeedsNoCompletion) {
  client().request(statusPacket, {});
  answer(received(), statusPacket);
  EXPECT_EQ(client().pending(), 0U);
}

// ---- Waits and retries ----

TEST_F(AsyncClientTest, SendsSameBytesAtMostRetriesTimesAgain) {
  settings_.setBaseReplyTimeout(1);
  settings_.setNumberOfRetries(3);
  request(1);
  for (int send = 0; send < 4; ++send) {
    EXPECT_TRUE(answers_.empty());
    waitForDeadline(client());
    client().process();
  }
  EXPECT_EQ(answers_, std::vector<Answer>{std::nullopt});
  EXPECT_EQ(client().deadline(), std::nullopt);
  const std::string first = received().bytes;
  for (int send = 1; send < 4; ++send) {
    EXPECT_EQ(received().bytes, first);
  }
  EXPECT_FALSE(server_.receiveAtOnce());
}

TEST_F(AsyncClientTest, DoublesWaits) {
  settings_.setBaseReplyTimeout(20);
  client();
  Clock::time_point before = Clock::now();
  request(1);
  for (const int waitMs : {20, 40, 80}) {
    const auto deadline = client().deadline();
    EXPECT_GE(deadline, before + milliseconds(waitMs));
    EXPECT_LE(deadline, Clock::now() + milliseconds(waitMs));
    waitForDeadline(client());
    before = Clock::now();
    client().process();
  }
}

TEST_F(AsyncClientTest, Waits100MsInsteadOfZero) {
  settings_.setBaseReplyTimeout(0);
  client();
  const Clock::time_point before = Clock::now();
  request(1);
  EXPECT_GE(client().deadline(), before + milliseconds(100));
  EXPECT_LE(client().deadline(), Clock::now() + milliseconds(100));
}

TEST_F(AsyncClientTest, ListensNoTimeIfWaitIsNegative) {
  settings_.setBaseReplyTimeout(-1);
  request(1);
  while (client().pending() > 0) {
    EXPECT_LE(client().deadline(), Clock::now());
    client().process();
  }
  for (int send = 0; send < 4; ++send) {
    EXPECT_EQ(numberOf(received()), 1);
  }
  EXPECT_FALSE(server_.receiveAtOnce());
  EXPECT_EQ(answers_, std::vector<Answer>{std::nullopt});
}

TEST_F(AsyncClientTest, SendsNothingAgainBeforeDeadline) {
  request(1);
  (void)received();  // the first send
  for (int i = 0; i < 100; ++i) {
    client().process();
  }
  EXPECT_FALSE(server_.receiveAtOnce());
  EXPECT_TRUE(answers_.empty());
}

TEST_F(AsyncClientTest, TakesAnswerThatWaitsWhenDeadlineHasPassed) {
  settings_.setBaseReplyTimeout(20);
  settings_.setNumberOfRetries(0);
  request(1);
  waitForDeadline(client());
  answer(received(), statusPacket);
  EXPECT_EQ(answers_, std::vector<Answer>{statusPacket});
}

TEST_F(AsyncClientTest, TakesAnswersThatArriveDuringProcessBeforeItGivesUp) {
  constexpr std::size_t total = 1000;
  constexpr std::size_t atOnce = 100;  // fits into any receive buffer
  settings_.setBaseReplyTimeout(-1);   // the wait of every request has passed
  settings_.setNumberOfRetries(0);
  std::vector<Datagram> requests;
  const auto answerRequest = [&](std::size_t number) {
    const Datagram &datagram = requests.at(number);
    server_.send(reply(handshakeOf(datagram.message())), datagram.source);
  };
  std::size_t answered = 0;
  for (std::size_t number = 0; number < total; ++number) {
    client().request(numbered(number), [&, number](const Answer &answer) {
      if (!answer) return;
      ++answered;
      if (number + atOnce < total) answerRequest(number + atOnce);
    });
    requests.push_back(received());
  }
  for (std::size_t number = 0; number < atOnce; ++number) {
    answerRequest(number);
  }
  client().process();
  EXPECT_EQ(answered, total);
}

TEST_F(AsyncClientTest, TakesAnswerToAnySend) {
  settings_.setBaseReplyTimeout(1);
  settings_.setNumberOfRetries(20);
  request(1);
  waitForDeadline(client());
  client().process();
  answer(received(), statusPacket);
  EXPECT_EQ(answers_, std::vector<Answer>{statusPacket});
}

TEST_F(AsyncClientTest, DeadlineIsThatOfFirstWaitToEnd) {
  EXPECT_EQ(client().deadline(), std::nullopt);
  request(1);
  const auto first = client().deadline();
  request(2);
  EXPECT_EQ(client().deadline(), first);
  answer(received(), statusPacket);
  EXPECT_GE(client().deadline(), first);
  answer(received(), statusPacket);
  EXPECT_EQ(client().deadline(), std::nullopt);
}

// ---- Sizes ----

TEST_F(AsyncClientTest, SendsLargestDatagramAndNotOneByteMore) {
  // Handshakes have up to ten digits: leave room for the longest, and take the number into account.
  const auto packetFor = [](std::size_t size) {
    return Dictionary{{"KtUDPKeyword", "Store"}, {"Ballast", std::string(size, 'x')}};
  };
  request(packetFor(1));
  const Datagram small = received();
  const std::size_t digits = std::to_string(handshakeOf(small.message())).size();
  const std::size_t frame = small.bytes.size() - 1 - digits;
  request(packetFor(largestDatagram - frame - 1));  // fits with a handshake of one digit only
  request(packetFor(largestDatagram - frame - 10));
  EXPECT_LE(received().bytes.size(), largestDatagram);
  EXPECT_FALSE(server_.receiveAtOnce());
  client().process();
  EXPECT_EQ(answers_, std::vector<Answer>{std::nullopt});
}

TEST_F(AsyncClientTest, CompletesWithNothingIfRequestIsTooLarge) {
  request(Dictionary{{"Ballast", std::string(largestDatagram, 'x')}});
  EXPECT_TRUE(answers_.empty());
  EXPECT_EQ(client().pending(), 1U);
  EXPECT_LE(client().deadline(), Clock::now());
  client().process();
  EXPECT_EQ(answers_, std::vector<Answer>{std::nullopt});
  EXPECT_EQ(client().pending(), 0U);
  EXPECT_FALSE(server_.receiveAtOnce());
}

// ---- Many requests ----

TEST_F(AsyncClientTest, LetsRequestsBeyond4096WaitInOrder) {
  std::vector<Datagram> requests;
  for (std::size_t number = 0; number < mostInFlight; ++number) {
    request(number);
    requests.push_back(received());
  }
  for (std::size_t number = mostInFlight; number < mostInFlight + 3; ++number) {
    request(number);
  }
  EXPECT_FALSE(server_.receiveAtOnce());
  EXPECT_EQ(client().pending(), mostInFlight + 3);
  for (const std::size_t answered : {4000U, 17U, 2U}) {
    answer(requests[answered], statusPacket);
    requests.push_back(received());
    EXPECT_EQ(numberOf(requests.back()), static_cast<std::int64_t>(requests.size() - 1));
    EXPECT_FALSE(server_.receiveAtOnce());
  }
  EXPECT_EQ(client().pending(), mostInFlight);
}

TEST_F(AsyncClientTest, SendsWaitingRequestsWhenOthersAreGivenUp) {
  settings_.setBaseReplyTimeout(-1);
  settings_.setNumberOfRetries(0);
  for (std::size_t number = 0; number < 2 * mostInFlight + 1; ++number) {
    request(number);
  }
  while (client().pending() > 0) {
    client().process();
  }
  EXPECT_EQ(answers_, std::vector<Answer>(2 * mostInFlight + 1));
}

// ---- Completions ----

TEST_F(AsyncClientTest, CompletionMayRequest) {
  client().request(numbered(1), [this](const Answer &) { request(2); });
  answer(received(), statusPacket);
  EXPECT_EQ(client().pending(), 1U);
  const Datagram second = received();
  EXPECT_EQ(numberOf(second), 2);
  answer(second, statusPacket);
  EXPECT_EQ(answers_, std::vector<Answer>{statusPacket});
}

TEST_F(AsyncClientTest, CompletionsThatRequestForeverDoNotHoldUpProcess) {
  const std::string large(largestDatagram, 'x');
  std::size_t completed = 0;
  const std::function<void()> again = [&] {
    client().request(Dictionary{{"Ballast", large}}, [&](const Answer &) {
      ++completed;
      again();
    });
  };
  again();
  for (std::size_t call = 1; call <= 3; ++call) {
    client().process();
    EXPECT_EQ(completed, call);
    EXPECT_LE(client().deadline(), Clock::now());
  }
}

TEST_F(AsyncClientTest, IsWholeAfterCompletionThatThrows) {
  client().request(numbered(1), [](const Answer &) { throw std::runtime_error("no"); });
  request(2);
  const Datagram first = received();
  const Datagram second = received();
  server_.send(reply(handshakeOf(first.message())), first.source);
  server_.send(reply(handshakeOf(second.message())), second.source);
  EXPECT_THROW(client().process(), std::runtime_error);
  EXPECT_EQ(client().pending(), 1U);
  EXPECT_LE(client().deadline(), Clock::now());
  client().process();
  EXPECT_EQ(answers_, std::vector<Answer>{statusPacket});
  EXPECT_EQ(client().deadline(), std::nullopt);
}

TEST_F(AsyncClientTest, IsWholeAfterCompletionOfTooLargeRequestThrows) {
  const Dictionary large{{"Ballast", std::string(largestDatagram, 'x')}};
  client().request(large, [](const Answer &) { throw std::runtime_error("no"); });
  request(large);
  EXPECT_THROW(client().process(), std::runtime_error);
  EXPECT_EQ(client().pending(), 1U);
  EXPECT_LE(client().deadline(), Clock::now());
  client().process();
  EXPECT_EQ(answers_, std::vector<Answer>{std::nullopt});
}

TEST_F(AsyncClientTest, IsWholeAfterCompletionOfGivenUpRequestThrows) {
  settings_.setBaseReplyTimeout(-1);
  settings_.setNumberOfRetries(0);
  client().request(numbered(1), [](const Answer &) { throw std::runtime_error("no"); });
  request(2);
  EXPECT_THROW(client().process(), std::runtime_error);
  EXPECT_LE(client().deadline(), Clock::now());
  while (client().pending() > 0) {
    client().process();
  }
  EXPECT_EQ(answers_, std::vector<Answer>{std::nullopt});
}

TEST_F(AsyncClientTest, KeepsRequestWhoseAcceptanceThrows) {
  bool fails = true;
  request(statusPacket, [&](const Dictionary &) {
    if (std::exchange(fails, false)) throw std::runtime_error("no");
    return true;
  });
  const Datagram datagram = received();
  EXPECT_THROW(answer(datagram, statusPacket), std::runtime_error);
  EXPECT_EQ(client().pending(), 1U);
  EXPECT_LE(client().deadline(), Clock::now());
  answer(datagram, statusPacket);
  EXPECT_EQ(answers_, std::vector<Answer>{statusPacket});
}

TEST_F(AsyncClientTest, DestructionDropsCompletionsUncalled) {
  const auto held = std::make_shared<int>(0);
  const auto count = [held](const Answer &) { ++*held; };
  client().request(numbered(1), count);
  client().request(Dictionary{{"Ballast", std::string(largestDatagram, 'x')}}, count);
  EXPECT_GT(held.use_count(), 2);
  client_.reset();
  EXPECT_EQ(held.use_count(), 2);  // `held` and the copy in `count`
  EXPECT_EQ(*held, 0);
}

TEST_F(AsyncClientTest, LetsGoOfCompletionOnceItWasCalled) {
  const auto held = std::make_shared<int>(0);
  client().request(numbered(1), [held](const Answer &) { ++*held; });
  answer(received(), statusPacket);
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(*held, 1);
}

// ---- Log ----

TEST_F(AsyncClientTest, LogsWhatItSendsAndReceives) {
  LogCapture log;
  request(statusPacket);
  const Datagram datagram = received();
  const std::string bytes = reply(handshakeOf(datagram.message()));
  answer(datagram, "nonsense");
  answer(datagram, bytes);
  const std::string sent = datagram.bytes.substr(0, datagram.bytes.size() - 1);
  EXPECT_EQ(log.lines(), (Lines{"sending " + sent + " len " + std::to_string(sent.size() + 1) +
                                    " to 100007f port " + std::to_string(server_.port()),
                                "Received reply nonsense", "Tossing invalid reply",
                                "Received reply " + bytes.substr(0, bytes.size() - 1)}));
}

}  // namespace
}  // namespace kt::test
