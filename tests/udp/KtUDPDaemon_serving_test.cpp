// SPDX-License-Identifier: MIT

// The serving loop of a server, tested by the datagrams that it sends back.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include "kt/foundation/HostName.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tests/support/Addresses.h"
#include "tests/support/EchoDelegate.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/Messages.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/RawSocket.h"
#include "tests/udp/support/ServedDaemon.h"

namespace kt::test {
namespace {

// An echo server at a port that the system chose.
class KtUDPDaemonServing : public testing::Test {
 protected:
  void SetUp() override {
    daemon_.setDelegate(&delegate_).setPorts({0});
    ASSERT_TRUE(daemon_.registerPort());
  }

  // Expects no reply to `bytes`: the first datagram to come back must answer the request sent after
  // them.
  void expectSilence(const std::string &bytes) {
    const RawSocket socket;
    socket.send(bytes, daemon_.port());
    EXPECT_EQ(answerTo(socket, daemon_.port(), request(1)), reply(1)) << bytes;
  }

  EchoDelegate delegate_;
  KtUDPDaemon daemon_;
};

TEST_F(KtUDPDaemonServing, SendsAnswerToSenderOfRequest) {
  const ServedDaemon served(daemon_);
  const RawSocket first;
  const RawSocket second;
  first.send(request(1), daemon_.port());
  second.send(request(3), daemon_.port());
  const auto answer = second.receive();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->bytes, reply(3));
  EXPECT_EQ(ntohs(answer->source.sin_port), daemon_.port());
  EXPECT_EQ(first.receive().value_or(Datagram{}).bytes, reply(1));
  EXPECT_FALSE(second.receiveAtOnce());
}

TEST_F(KtUDPDaemonServing, EndsAnswerWithOneNul) {
  const ServedDaemon served(daemon_);
  const std::string answer = answerTo(RawSocket(), daemon_.port(), request(33));
  const std::string text = replyEnvelope("KtUDP", 33, statusPacket).description();
  EXPECT_EQ(answer.size(), text.size() + 1);
  EXPECT_EQ(answer.find('\0'), answer.size() - 1);
}

TEST_F(KtUDPDaemonServing, AnswersRequestWithoutKeywordWithEmptyDictionary) {
  const ServedDaemon served(daemon_);
  const std::string bare("{}\0", 3);
  const RawSocket socket;
  const auto without = requestEnvelope("KtUDP", 33, std::nullopt);
  EXPECT_EQ(answerTo(socket, daemon_.port(), bytesOf(without)), bare);
  EXPECT_EQ(answerTo(socket, daemon_.port(), request(33, {})), bare);
  EXPECT_EQ(answerTo(socket, daemon_.port(), request(33, {{"Other", "key"}})), bare);
}

TEST_F(KtUDPDaemonServing, IgnoresUnacceptableRequest) {
  const ServedDaemon served(daemon_);
  for (const std::string &bytes :
       {std::string(), std::string("\0", 1), std::string("junk"), std::string("{ broken"),
        std::string("( a, b )"), std::string("word\0", 5), std::string("{}"),
        bytesOf({{"_Signature", "KtUDP"}, {"_DataPacket", statusPacket}}),
        bytesOf({{"_Handshake", 33}, {"_DataPacket", statusPacket}}),
        bytesOf(requestEnvelope("KtUDp", 33, statusPacket))}) {
    expectSilence(bytes);
  }
}

TEST_F(KtUDPDaemonServing, ReportsBoundPortInDiscovery) {
  const RawSocket taken(4798);
  KtUDPDaemon daemon;
  ASSERT_TRUE(daemon.registerPort());
  const ServedDaemon served(daemon);
  EXPECT_EQ(answerTo(RawSocket(), 4711, request(33, discoveryPacket())),
            reply(33, serverIdPacket(hostName(), 4711)));
}

TEST_F(KtUDPDaemonServing, ServesRequestsInOrderOfArrival) {
  const RawSocket socket;
  for (std::int32_t handshake = 1; handshake < 100; handshake += 2) {
    socket.send(request(handshake), daemon_.port());
  }
  const ServedDaemon served(daemon_);
  for (std::int32_t handshake = 1; handshake < 100; handshake += 2) {
    EXPECT_EQ(socket.receive().value_or(Datagram{}).bytes, reply(handshake));
  }
}

TEST_F(KtUDPDaemonServing, CountsDatagramsAndAnswers) {
  ServedDaemon served(daemon_);
  expectSilence("");
  expectSilence("junk");
  (void)answerTo(RawSocket(), daemon_.port(), request(33, {}));
  served.stop();
  // The two in addition ended the serving: a discovery, and a request without an answer.
  EXPECT_EQ(daemon_.received(), 5U + 2U);
  EXPECT_EQ(daemon_.answered(), 3U + 1U);
}

// ---- Log ----

TEST_F(KtUDPDaemonServing, LogsEachStepExactly) {
  LogCapture log;
  const ServedDaemon served(daemon_);
  expectSilence("( a, b )");
  const auto text = [](const std::string &bytes) { return bytes.substr(0, bytes.size() - 1); };
  EXPECT_EQ(
      log.lines(),
      (Lines{"Registered and waiting.", "Received request\n( a, b ) 8", "No reply specified.",
             "Received request\n" + text(request(1)) + " " + std::to_string(request(1).size()),
             "Sending reply " + text(reply(1))}));
}

TEST_F(KtUDPDaemonServing, LogsAndIgnoresEmptyDatagram) {
  LogCapture log;
  const ServedDaemon served(daemon_);
  expectSilence("");
  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1], "Received request\n 0");
  EXPECT_EQ(log.count("No reply specified."), 0U);
}

// The line is logged before the NUL is set, so it may show the end of an earlier datagram.
TEST_F(KtUDPDaemonServing, LoggedRequestMayShowEndOfEarlierOne) {
  LogCapture log;
  const ServedDaemon served(daemon_);
  expectSilence("0123456789");
  const std::string earlier = request(1);
  expectSilence("short");
  EXPECT_EQ(log.count("Received request\nshort" + earlier.substr(5, earlier.size() - 6) + " 5"),
            1U);
}

// The logged text ends at the NUL after an earlier datagram.
TEST_F(KtUDPDaemonServing, LoggedRequestEndsAtNulOfEarlierOne) {
  LogCapture log;
  const ServedDaemon served(daemon_);
  const RawSocket socket;
  for (const char *bytes : {"0123456789", "short", "abc"}) {
    socket.send(bytes, daemon_.port());
  }
  EXPECT_TRUE(log.waitFor("Received request\nabcrt 3"));
}

TEST_F(KtUDPDaemonServing, LogsPercentSignsOfRequestUnchanged) {
  LogCapture log;
  const ServedDaemon served(daemon_);
  expectSilence(std::string("%d %@ %s %n\0", 12));
  EXPECT_EQ(log.count("Received request\n%d %@ %s %n 12"), 1U);
}

// ---- Exceptions ----

TEST_F(KtUDPDaemonServing, ThrowsForPacketThatIsNotDictionaryThenContinues) {
  ServedDaemon served(daemon_);
  Dictionary bad = requestEnvelope("KtUDP", 33, std::nullopt);
  bad["_DataPacket"] = Array{"a"};
  expectSilence(bytesOf(bad));
  bad["_DataPacket"] = "word";
  expectSilence(bytesOf(bad));
  EXPECT_EQ(served.stop().size(), 2U);
}

TEST_F(KtUDPDaemonServing, PropagatesDelegateExceptionThenContinues) {
  struct Delegate {
    Dictionary replyForRequest(const Dictionary &packet) {
      if (packet != statusPacket) throw std::runtime_error("not for me");
      return packet;
    }
  } delegate;
  daemon_.setDelegate(&delegate);
  ServedDaemon served(daemon_);
  expectSilence(request(33, {{"KtUDPKeyword", "Other"}}));
  EXPECT_EQ(served.stop(), (std::vector<std::string>{"not for me"}));
}

TEST_F(KtUDPDaemonServing, AnswersDiscoveryWithoutDelegate) {
  daemon_.setDelegate(nullptr);
  ServedDaemon served(daemon_);
  const RawSocket socket;
  socket.send(request(33), daemon_.port());
  EXPECT_EQ(answerTo(socket, daemon_.port(), request(35, discoveryPacket())),
            reply(35, serverIdPacket(hostName(), daemon_.port())));
  EXPECT_EQ(served.stop().size(), 1U);
}

// ---- Sizes ----

// Returns the length of the keyword in a request of `size` bytes; 0 if no request is that short.
std::size_t keywordLength(std::size_t size, bool terminated) {
  const std::size_t others = request(33, {{"KtUDPKeyword", "x"}}).size() - (terminated ? 1 : 2);
  return size > others ? size - others : 0;
}

// Returns a request of `size` bytes; if no request is that short, just bytes.
std::string requestOfSize(std::size_t size, bool terminated) {
  const std::size_t length = keywordLength(size, terminated);
  if (length == 0) return std::string(size, 'x');
  return request(33, {{"KtUDPKeyword", std::string(length, 'x')}}).substr(0, size);
}

// Answers with the length of the keyword.
struct MeasuringDelegate {
  Dictionary replyForRequest(const Dictionary &packet) {
    const std::size_t length = packet.find("KtUDPKeyword")->asString()->size();
    return {{"Length", length}};
  }
};

TEST_F(KtUDPDaemonServing, ReadsRequestsOfEverySizeWithAndWithoutNul) {
  MeasuringDelegate delegate;
  daemon_.setDelegate(&delegate);
  const ServedDaemon served(daemon_);
  const RawSocket socket;
  std::vector<std::size_t> sizes{65505, 65506, 65507};
  for (std::size_t size = 0; size <= 300; ++size) {
    sizes.push_back(size);
  }
  for (const std::size_t size : sizes) {
    for (const bool terminated : {false, true}) {
      const std::string bytes = requestOfSize(size, terminated);
      ASSERT_EQ(bytes.size(), size);
      const std::size_t keyword = keywordLength(size, terminated);
      if (keyword == 0) {
        socket.send(bytes, daemon_.port());  // gets no answer: the next one is for the next request
        continue;
      }
      ASSERT_EQ(answerTo(socket, daemon_.port(), bytes), reply(33, {{"Length", keyword}}));
    }
  }
}

TEST_F(KtUDPDaemonServing, DropsTooLargeReplyThenContinues) {
  const ServedDaemon served(daemon_);
  // The reply's handshake has one digit more than the request's.
  const std::size_t room = largestDatagram - request(9, {{"KtUDPKeyword", ""}}).size() + 2;
  const Dictionary packet{{"KtUDPKeyword", std::string(room, 'x')}};
  ASSERT_EQ(request(9, packet).size(), largestDatagram);
  expectSilence(request(9, packet));
  EXPECT_EQ(answerTo(RawSocket(), daemon_.port(), request(11, {{"KtUDPKeyword", "x"}})),
            reply(11, {{"KtUDPKeyword", "x"}}));
}

// No IPv4 datagram is that long, so a local socket replaces the server's descriptor. It has no
// sender to answer, so the delegate records what it saw.
TEST(KtUDPDaemon, TruncatesDatagramToReceiveLimit) {
  struct Delegate {
    Dictionary replyForRequest(const Dictionary &packet) {
      if (packet.contains("Last")) throw std::runtime_error("the last request");
      lengths.push_back(packet.find("KtUDPKeyword")->asString()->size());
      return packet;
    }
    std::vector<std::size_t> lengths;
  } delegate;
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  KtUDPDaemon daemon;
  daemon.setDelegate(&delegate).setPorts({0});
  ASSERT_TRUE(daemon.registerPort());
  ASSERT_EQ(::dup2(ends[0], daemon.socketIn()), daemon.socketIn());
  const std::string whole = requestOfSize(receiveLimit, false);
  for (const std::string &bytes :
       {whole, whole + " after the limit", request(33, {{"KtUDPKeyword", "x"}, {"Last", "one"}})}) {
    ASSERT_EQ(::send(ends[1], bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }
  EXPECT_THROW(daemon.processQueries(), std::runtime_error);
  const std::size_t length = keywordLength(receiveLimit, false);
  EXPECT_EQ(delegate.lengths, (std::vector<std::size_t>{length, length}));
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
}  // namespace kt::test
