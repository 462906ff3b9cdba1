// SPDX-License-Identifier: MIT

#include "tests/udp/support/ServedDaemon.h"

#include <gtest/gtest.h>

#include <exception>

#include "kt/udp/KtMessage.h"

namespace kt::test {

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
  // Once this request is answered, all earlier ones have been served.
  const auto discovery = requestEnvelope(signature, 1, discoveryPacket());
  (void)answerTo(socket, daemon_.port(), bytesOf(discovery));
  stopping_ = true;
  // Makes processQueries throw, whatever the delegate: the data packet is a string.
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

}  // namespace kt::test
