// SPDX-License-Identifier: MIT

#include "tests/udp/support/ServedDaemon.h"

#include <gtest/gtest.h>

#include <exception>

#include "kt/udp/KtMessage.h"

namespace test {

ServedDaemon::ServedDaemon(KtUDPDaemon &daemon) : daemon_(daemon) {
  server_ = std::thread([this] { serve(); });
}

ServedDaemon::~ServedDaemon() {
  (void)stop();
}

std::vector<std::string> ServedDaemon::stop() {
  if (!server_.joinable()) return exceptions_;
  const RawSocket socket;
  const std::string &signature = daemon_.signature();
  // Once this one is answered, everything that came before it has been dealt with.
  const auto discovery = kt::requestEnvelope(signature, 1, kt::discoveryPacket());
  (void)answerTo(socket, daemon_.port(), bytesOf(discovery));
  stopping_ = true;
  // Leaves processQueries, whatever the delegate is: the data packet is a string.
  socket.send(bytesOf({{"_Signature", signature}, {"_Handshake", 1}, {"_DataPacket", "stop"}}),
              daemon_.port());
  server_.join();
  exceptions_.pop_back();
  return exceptions_;
}

void ServedDaemon::serve() {
  while (!stopping_) {
    try {
      daemon_.processQueries();
      return;
    } catch (const std::exception &problem) {
      exceptions_.emplace_back(problem.what());
    }
  }
}

std::string answerTo(const RawSocket &socket, std::int32_t port, std::string_view bytes) {
  socket.send(bytes, port);
  const std::optional<Datagram> answer = socket.receive();
  EXPECT_TRUE(answer) << "no answer to " << bytes;
  return answer ? answer->bytes : std::string();
}

}  // namespace test
