// SPDX-License-Identifier: MIT

// Asks ktd's dispatcher as clients do, but without a network.
#ifndef KT_TESTS_TOOLS_FAKECLIENT_H
#define KT_TESTS_TOOLS_FAKECLIENT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "kt/udp/KtMessage.h"
#include "kt/udp/Reply.h"
#include "kt/udp/Socket.h"
#include "tools/common/Requests.h"
#include "tools/ktd/Dispatcher.h"

namespace kt::test {

// An answer that may come later.
class PendingAnswer {
 public:
  // Returns the reply that this object waits for.
  [[nodiscard]] Reply reply(const sockaddr_in &sender, std::size_t requestSize) {
    const auto promise = std::make_shared<std::promise<Dictionary>>();
    answer_ = promise->get_future();
    return {sender, requestSize, [promise](const Dictionary &answer) {
              promise->set_value(answer);
              return true;
            }};
  }

  // Waits for the answer; nothing if the reply is destroyed unsent.
  [[nodiscard]] std::optional<Dictionary> get() {
    try {
      return answer_.get();
    } catch (const std::future_error &) {
      return std::nullopt;
    }
  }

 private:
  std::future<Dictionary> answer_;
};

// A client with an address of its own.
class FakeClient {
 public:
  explicit FakeClient(tools::Dispatcher &dispatcher, std::uint8_t host = 1,
                      std::uint16_t port = 5000)
      : dispatcher_(dispatcher), address_(ipv4(htonl(0x0a000000U + host), port)) {}

  [[nodiscard]] const sockaddr_in &address() const { return address_; }

  // Asks once.
  PendingAnswer begin(Dictionary request, std::size_t requestSize = largestDatagram) {
    PendingAnswer answer;
    dispatcher_.replyForRequest(std::move(request), answer.reply(address_, requestSize));
    return answer;
  }

  // Asks once and returns the answer.
  Dictionary askOnce(Dictionary request, std::size_t requestSize = largestDatagram) {
    std::optional<Dictionary> answer = begin(std::move(request), requestSize).get();
    EXPECT_TRUE(answer.has_value()) << "no answer was sent";
    return answer.value_or(Dictionary());
  }

  // Returns the token of this client.
  Data token() {
    const Dictionary answer = askOnce({{std::string(keywordKey), tools::filesKind}});
    const Data *token = answer.data(tools::tokenKey);
    EXPECT_NE(token, nullptr) << answer.description();
    return token != nullptr ? *token : Data();
  }

  // Asks with the token.
  Dictionary ask(Dictionary request) { return beginWithToken(std::move(request)).get().value(); }
  PendingAnswer beginWithToken(Dictionary request) {
    request[tools::tokenKey] = token();
    return begin(std::move(request));
  }

 private:
  tools::Dispatcher &dispatcher_;
  sockaddr_in address_;
};

}  // namespace kt::test

#endif
