// SPDX-License-Identifier: MIT

// A server whose delegate answers with a kt::Reply: later, from other threads, or not at all.
#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"
#include "kt/udp/RequestMemory.h"
#include "tests/support/Addresses.h"
#include "tests/udp/support/RawSocket.h"
#include "tests/udp/support/ServedDaemon.h"

namespace kt::test {
namespace {

const Dictionary yes{{"Answer", "yes"}};
const Dictionary no{{"Answer", "no"}};

Dictionary packetOf(std::size_t number, std::size_t size = 0) {
  return {{"KtUDPKeyword", "Work"}, {"Number", number}, {"Ballast", std::string(size, 'x')}};
}

std::string request(std::size_t number, std::size_t size = 0) {
  return bytesOf(requestEnvelope("KtUDP", 33, packetOf(number, size)));
}

std::string reply(const Dictionary &packet) {
  return bytesOf(replyEnvelope("KtUDP", 33, packet));
}

// Keeps the replies that it is given.
struct Keeper {
  void replyForRequest(Dictionary packet, Reply reply) {
    packets.push_back(std::move(packet));
    replies.push_back(std::move(reply));
  }
  std::vector<Dictionary> packets;
  std::vector<Reply> replies;
};

class KtUDPDaemonDeferred : public testing::Test {
 protected:
  void SetUp() override {
    daemon_->setDelegate(&keeper_).setPorts({0});
    ASSERT_TRUE(daemon_->registerPort());
  }

  // Sends `bytes` and serves them.
  void serve(const std::string &bytes) { serveFrom(socket_, bytes); }
  void serveFrom(const RawSocket &socket, const std::string &bytes) {
    socket.send(bytes, daemon_->port());
    pollfd watched{daemon_->socketIn(), POLLIN, 0};
    ASSERT_EQ(::poll(&watched, 1, 10'000), 1);
    ASSERT_EQ(daemon_->processPending(), 1U);
  }

  // Returns the bytes that came back next, or nothing if nothing has.
  std::optional<std::string> answer() {
    const std::optional<Datagram> datagram = socket_.receiveAtOnce();
    return datagram ? std::optional(datagram->bytes) : std::nullopt;
  }

  Keeper keeper_;
  RawSocket socket_;
  std::unique_ptr<KtUDPDaemon> daemon_ = std::make_unique<KtUDPDaemon>();
};

// ---- Answering ----

TEST_F(KtUDPDaemonDeferred, HandsOutPacketWithReply) {
  serve(request(1));
  ASSERT_EQ(keeper_.replies.size(), 1U);
  EXPECT_EQ(keeper_.packets[0], *dataPacketOf(*parseMessage(request(1))));
  EXPECT_EQ(text(keeper_.replies[0].sender()), text(loopback(socket_.port())));
  EXPECT_EQ(keeper_.replies[0].requestSize(), request(1).size());
  EXPECT_EQ(answer(), std::nullopt);
}

TEST_F(KtUDPDaemonDeferred, SendsAnswerWhenReplyIsSent) {
  serve(request(1));
  serve(request(2));
  EXPECT_TRUE(keeper_.replies[1].send(yes));
  EXPECT_EQ(answer(), reply(yes));
  EXPECT_TRUE(keeper_.replies[0].send(no));
  EXPECT_EQ(answer(), reply(no));
}

TEST_F(KtUDPDaemonDeferred, CountsReceivedAndAnswered) {
  serve(request(1));
  EXPECT_EQ(daemon_->received(), 1U);
  EXPECT_EQ(daemon_->answered(), 0U);
  (void)keeper_.replies[0].send(yes);
  EXPECT_EQ(daemon_->answered(), 1U);
  serve(request(1));
  EXPECT_EQ(daemon_->received(), 2U);
  EXPECT_EQ(daemon_->answered(), 2U);
}

TEST_F(KtUDPDaemonDeferred, SecondSendDoesNothing) {
  serve(request(1));
  EXPECT_TRUE(keeper_.replies[0].send(yes));
  EXPECT_FALSE(keeper_.replies[0].send(no));
  EXPECT_EQ(answer(), reply(yes));
  EXPECT_EQ(answer(), std::nullopt);
}

TEST_F(KtUDPDaemonDeferred, AnswerThatIsTooLargeLeavesReplyOpen) {
  serve(request(1));
  EXPECT_FALSE(keeper_.replies[0].send(packetOf(1, 65507)));
  serve(request(1));
  EXPECT_EQ(keeper_.replies.size(), 1U);  // still open
  EXPECT_TRUE(keeper_.replies[0].send(yes));
  EXPECT_EQ(answer(), reply(yes));
}

TEST_F(KtUDPDaemonDeferred, SendsLargestDatagramAndNotOneByteMore) {
  const std::size_t frame = reply({{"a", ""}}).size() - 2;  // the empty string has two quotes
  serve(request(1));
  EXPECT_FALSE(keeper_.replies[0].send({{"a", std::string(65508 - frame, 'x')}}));
  EXPECT_TRUE(keeper_.replies[0].send({{"a", std::string(65507 - frame, 'x')}}));
  EXPECT_EQ(answer()->size(), 65507U);
}

TEST_F(KtUDPDaemonDeferred, AnswersDiscoveryAndBadRequestsItself) {
  serve(bytesOf(requestEnvelope("KtUDP", 33, discoveryPacket())));
  EXPECT_TRUE(answer());
  serve(bytesOf(requestEnvelope("KtUDP", 33, std::nullopt)));
  EXPECT_EQ(answer(), bytesOf(Dictionary()));
  serve(bytesOf(requestEnvelope("Another", 33, packetOf(1))));
  serve("nonsense");
  EXPECT_EQ(answer(), std::nullopt);
  EXPECT_TRUE(keeper_.replies.empty());
}

TEST_F(KtUDPDaemonDeferred, ReplyForReturnsWhatIsSentAtOnce) {
  struct AtOnce {
    void replyForRequest(const Dictionary &packet, Reply reply) {
      if (packet.find("Number")->intValue() == 1) (void)reply.send(yes);
    }
  } delegate;
  daemon_->setDelegate(&delegate);
  EXPECT_EQ(daemon_->replyFor(requestEnvelope("KtUDP", 33, packetOf(1))),
            replyEnvelope("KtUDP", 33, yes));
  EXPECT_THROW((void)daemon_->replyFor(requestEnvelope("KtUDP", 33, packetOf(2))),
               std::logic_error);
}

TEST_F(KtUDPDaemonDeferred, ReplyKeptFromReplyForSendsNothingLater) {
  EXPECT_THROW((void)daemon_->replyFor(requestEnvelope("KtUDP", 33, packetOf(1))),
               std::logic_error);
  EXPECT_FALSE(keeper_.replies[0].send(yes));
}

// ---- Resends ----

TEST_F(KtUDPDaemonDeferred, ResendOfOpenRequestIsNotHandedOut) {
  serve(request(1));
  serve(request(1));
  EXPECT_EQ(keeper_.replies.size(), 1U);
  EXPECT_EQ(answer(), std::nullopt);
}

TEST_F(KtUDPDaemonDeferred, ResendOfAnsweredRequestGetsSameDatagram) {
  serve(request(1));
  EXPECT_TRUE(keeper_.replies[0].send(yes));
  serve(request(1));
  serve(request(1));
  EXPECT_EQ(keeper_.replies.size(), 1U);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(answer(), reply(yes));
  }
}

TEST_F(KtUDPDaemonDeferred, ResendOfAnswerThatIsNotRememberedAsksAgain) {
  serve(request(1));
  EXPECT_TRUE(keeper_.replies[0].send(yes, false));
  serve(request(1));
  EXPECT_EQ(keeper_.replies.size(), 2U);
  EXPECT_TRUE(keeper_.replies[1].send(no));
  EXPECT_EQ(answer(), reply(yes));
  EXPECT_EQ(answer(), reply(no));
}

TEST_F(KtUDPDaemonDeferred, ResendAfterDroppedReplyAsksAgain) {
  serve(request(1));
  keeper_.replies.clear();
  EXPECT_EQ(answer(), std::nullopt);
  serve(request(1));
  EXPECT_EQ(keeper_.replies.size(), 1U);
}

TEST_F(KtUDPDaemonDeferred, ResendAfterExceptionAsksAgain) {
  struct Failing {
    void replyForRequest(const Dictionary &, const Reply &) {
      ++calls;
      throw std::runtime_error("failed");
    }
    int calls = 0;
  } delegate;
  daemon_->setDelegate(&delegate);
  for (int i = 1; i <= 2; ++i) {
    socket_.send(request(1), daemon_->port());
    EXPECT_THROW(daemon_->processPending(), std::runtime_error);
    EXPECT_EQ(delegate.calls, i);
  }
}

TEST_F(KtUDPDaemonDeferred, SameBytesFromAnotherPortAreAnotherRequest) {
  const RawSocket other;
  serve(request(1));
  serveFrom(other, request(1));
  ASSERT_EQ(keeper_.replies.size(), 2U);
  EXPECT_TRUE(keeper_.replies[1].send(yes));
  EXPECT_EQ(other.receive()->bytes, reply(yes));
  EXPECT_EQ(answer(), std::nullopt);
}

TEST_F(KtUDPDaemonDeferred, DropsRequestsBeyondRoomForOpenOnes) {
  constexpr std::size_t size = 60000;
  const std::size_t room = udp::RequestMemory::mostBytes / request(1000, size).size();
  for (std::size_t i = 0; i < room + 5; ++i) {
    serve(request(1000 + i, size));
  }
  EXPECT_EQ(keeper_.replies.size(), room);
  keeper_.replies.pop_back();
  serve(request(999, size));
  EXPECT_EQ(keeper_.replies.size(), room);
}

// ---- Lifetime and threads ----

TEST_F(KtUDPDaemonDeferred, ReplyOutlivesServer) {
  serve(request(1));
  daemon_.reset();
  EXPECT_FALSE(keeper_.replies[0].send(yes));
  keeper_.replies.clear();
}

TEST_F(KtUDPDaemonDeferred, RepliesAreSentByTenThreads) {
  constexpr std::size_t count = 100;
  for (std::size_t i = 0; i < count; ++i) {
    serve(request(i));
  }
  std::atomic<std::size_t> next = 0;
  std::atomic<std::size_t> sent = 0;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 10; ++i) {
      threads.emplace_back([&] {
        for (std::size_t mine = next++; mine < count; mine = next++) {
          sent += keeper_.replies[mine].send(keeper_.packets[mine]) ? 1U : 0U;
        }
      });
    }
  }
  EXPECT_EQ(sent, count);
  for (std::size_t i = 0; i < count; ++i) {
    EXPECT_TRUE(answer());
  }
}

TEST_F(KtUDPDaemonDeferred, RepliesAreSentWhileServerIsDestroyed) {
  for (int round = 0; round < 20; ++round) {
    Keeper keeper;
    auto daemon = std::make_unique<KtUDPDaemon>();
    daemon->setDelegate(&keeper).setPorts({0});
    ASSERT_TRUE(daemon->registerPort());
    for (std::size_t i = 0; i < 50; ++i) {
      socket_.send(request(i), daemon->port());
    }
    while (keeper.replies.size() < 50) {
      daemon->processPending();
    }
    std::atomic<bool> go = false;
    std::jthread sender([&] {
      while (!go) {
        std::this_thread::yield();
      }
      for (Reply &open : keeper.replies) {
        (void)open.send(yes);
      }
    });
    go = true;
    daemon.reset();
  }
}

TEST_F(KtUDPDaemonDeferred, ServesOthersWhileOneIsInWork) {
  serve(request(1));
  std::jthread server([this](std::stop_token stop) { daemon_->processQueries(std::move(stop)); });
  const RawSocket other;
  EXPECT_NE(
      answerTo(other, daemon_->port(), bytesOf(requestEnvelope("KtUDP", 33, discoveryPacket()))),
      "");
  EXPECT_TRUE(keeper_.replies[0].send(yes));
  EXPECT_EQ(socket_.receive()->bytes, reply(yes));
}

// ---- Shapes ----

struct ByValue {
  Dictionary replyForRequest(Dictionary packet) { return packet; }
};
struct ByReference {
  std::optional<Dictionary> replyForRequest(const Dictionary &packet) const { return packet; }
};
struct Later {
  void replyForRequest(const Dictionary &, Reply) const {}
};
struct Misspelt {
  Dictionary replyForRequests(const Dictionary &packet) { return packet; }
};
struct WrongResult {
  int replyForRequest(const Dictionary &) { return 1; }
};
struct NotConst {
  Dictionary replyForRequest(const Dictionary &packet) { return packet; }
};
struct Both {
  Dictionary replyForRequest(const Dictionary &packet) { return packet; }
  void replyForRequest(const Dictionary &, Reply) {}
};
struct LaterWithResult {
  bool replyForRequest(const Dictionary &, Reply) { return true; }
};

TEST(DelegateShape, IsOneOfTwo) {
  static_assert(RequestResponder<ByValue> && !DeferredResponder<ByValue>);
  static_assert(RequestResponder<const ByReference>);
  static_assert(DeferredResponder<const Later> && !RequestResponder<const Later>);
  static_assert(!RequestResponder<Misspelt> && !DeferredResponder<Misspelt>);
  static_assert(!RequestResponder<WrongResult>);
  static_assert(!RequestResponder<const NotConst>);
  static_assert(RequestResponder<Both> && DeferredResponder<Both>);  // setDelegate refuses it
  static_assert(!DeferredResponder<LaterWithResult>);
}

}  // namespace
}  // namespace kt::test
