// SPDX-License-Identifier: MIT

// A server that is stopped, and one that is served by an event loop.
#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tests/support/EchoDelegate.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/Messages.h"
#include "tests/udp/support/RawSocket.h"
#include "tests/udp/support/ServedDaemon.h"

namespace kt::test {
namespace {

// Limits the loopback interface to 1,000 bytes per second after the first 70,000.
class SlowNetwork {
 public:
  SlowNetwork() : isSlow_(tc("add", "tbf rate 8kbit burst 70000 limit 10000000")) {}
  SlowNetwork(const SlowNetwork &) = delete;
  SlowNetwork &operator=(const SlowNetwork &) = delete;
  ~SlowNetwork() {
    if (isSlow_) {
      EXPECT_TRUE(tc("delete", ""));
    }
  }

  [[nodiscard]] bool isSlow() const { return isSlow_; }

 private:
  static bool tc(const std::string &command, const std::string &arguments) {
    return std::system(
               ("PATH=$PATH:/usr/sbin:/sbin tc qdisc " + command + " dev lo root " + arguments)
                   .c_str()) == 0;
  }

  bool isSlow_;
};

class KtUDPDaemonHosting : public testing::Test {
 protected:
  void SetUp() override {
    daemon_.setDelegate(&delegate_).setPorts({0});
    ASSERT_TRUE(daemon_.registerPort());
  }

  // Waits until the server's socket can be read. Returns false after 10 s.
  [[nodiscard]] bool waitForDatagram() const {
    pollfd watched{daemon_.socketIn(), POLLIN, 0};
    return ::poll(&watched, 1, 10'000) == 1;
  }

  EchoDelegate delegate_;
  KtUDPDaemon daemon_;
};

// ---- Stopping ----

TEST_F(KtUDPDaemonHosting, ServesUntilStopIsRequested) {
  std::jthread server([this](std::stop_token stop) { daemon_.processQueries(std::move(stop)); });
  const RawSocket socket;
  EXPECT_EQ(answerTo(socket, daemon_.port(), request(1)), reply(1));
  server.request_stop();
  server.join();
  EXPECT_EQ(daemon_.answered(), 1U);
}

TEST_F(KtUDPDaemonHosting, StopsWithoutAnyDatagram) {
  for (int i = 0; i < 100; ++i) {
    const std::jthread server(
        [this](std::stop_token stop) { daemon_.processQueries(std::move(stop)); });
  }
  EXPECT_EQ(daemon_.received(), 0U);
}

TEST_F(KtUDPDaemonHosting, ReturnsAtOnceIfStopCameFirst) {
  const RawSocket socket;
  socket.send(request(1), daemon_.port());
  ASSERT_TRUE(waitForDatagram());
  std::stop_source source;
  source.request_stop();
  daemon_.processQueries(source.get_token());
  EXPECT_EQ(daemon_.received(), 0U);
}

TEST_F(KtUDPDaemonHosting, CanBeServedAgainAfterStop) {
  const RawSocket socket;
  for (std::int32_t handshake = 1; handshake < 7; handshake += 2) {
    const std::jthread server(
        [this](std::stop_token stop) { daemon_.processQueries(std::move(stop)); });
    EXPECT_EQ(answerTo(socket, daemon_.port(), request(handshake)), reply(handshake));
  }
}

TEST_F(KtUDPDaemonHosting, StopsUnderLoad) {
  std::atomic<bool> isOver = false;
  std::jthread load([&] {
    const RawSocket socket;
    while (!isOver) {
      socket.send(request(1), daemon_.port());
    }
  });
  {
    const std::jthread server(
        [this](std::stop_token stop) { daemon_.processQueries(std::move(stop)); });
    const RawSocket socket;
    socket.send(request(3), daemon_.port());
  }
  isOver = true;
}

TEST_F(KtUDPDaemonHosting, ReturnsAtOnceWithoutPort) {
  KtUDPDaemon daemon;
  daemon.processQueries(std::stop_token());
  EXPECT_EQ(daemon.processPending(), 0U);
}

TEST_F(KtUDPDaemonHosting, LogsSameLinesAsServingWithoutStop) {
  LogCapture log;
  std::jthread server([this](std::stop_token stop) { daemon_.processQueries(std::move(stop)); });
  const RawSocket socket;
  (void)answerTo(socket, daemon_.port(), request(1));
  server = {};
  EXPECT_EQ(log.lines().front(), "Registered and waiting.");
  EXPECT_EQ(log.count("Sending reply " + reply(1).substr(0, reply(1).size() - 1)), 1U);
}

// ---- An event loop ----

TEST_F(KtUDPDaemonHosting, ProcessesWhatHasArrived) {
  EXPECT_EQ(daemon_.processPending(), 0U);
  const RawSocket socket;
  socket.send(request(1), daemon_.port());
  socket.send("", daemon_.port());
  socket.send("nonsense", daemon_.port());
  ASSERT_TRUE(waitForDatagram());
  EXPECT_EQ(daemon_.processPending(), 3U);
  EXPECT_EQ(daemon_.processPending(), 0U);
  EXPECT_EQ(socket.receive()->bytes, reply(1));
}

TEST_F(KtUDPDaemonHosting, ProcessesAtMostLimit) {
  const RawSocket socket;
  for (std::int32_t i = 0; i < 100; ++i) {
    socket.send(request(2 * i + 1), daemon_.port());
  }
  EXPECT_EQ(daemon_.processPending(0), 0U);
  EXPECT_EQ(daemon_.processPending(1), 1U);
  EXPECT_EQ(daemon_.processPending(), 64U);
  EXPECT_EQ(daemon_.processPending(1000), 35U);
}

TEST_F(KtUDPDaemonHosting, ProcessingDoesNotWaitForSlowNetwork) {
  const SlowNetwork network;
  if (!network.isSlow()) GTEST_SKIP() << "the system cannot slow a network down";
  const std::string large(60'000, 'x');
  struct {
    Dictionary replyForRequest(const Dictionary &) const { return {{"Ballast", text}}; }
    const std::string &text;
  } verbose{large};
  daemon_.setDelegate(&verbose);
  const RawSocket socket;
  for (std::int32_t handshake = 1; handshake < 40; handshake += 2) {
    socket.send(request(handshake), daemon_.port());
  }
  ASSERT_TRUE(waitForDatagram());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(daemon_.processPending(), 20U);
  // The answers take 20 minutes on this network.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(KtUDPDaemonHosting, ExceptionConsumesItsDatagramOnly) {
  struct Refusing {
    Dictionary replyForRequest(const Dictionary &packet) {
      if (packet.contains("bad")) throw std::runtime_error("refused");
      return packet;
    }
  } refusing;
  daemon_.setDelegate(&refusing);
  const RawSocket socket;
  socket.send(bytesOf(requestEnvelope("KtUDP", 1, Dictionary{{"KtUDPKeyword", "K"}, {"bad", 1}})),
              daemon_.port());
  socket.send(request(3), daemon_.port());
  EXPECT_THROW(daemon_.processPending(), std::runtime_error);
  EXPECT_EQ(daemon_.processPending(), 1U);
  EXPECT_EQ(socket.receive()->bytes, reply(3));
}

}  // namespace
}  // namespace kt::test
