// SPDX-License-Identifier: MIT

#include "kt/udp/Reply.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/Addresses.h"

namespace kt::test {
namespace {

const Dictionary yes{{"Answer", "yes"}};

TEST(Reply, CanBeMovedAndNotCopied) {
  static_assert(!std::is_copy_constructible_v<Reply> && !std::is_copy_assignable_v<Reply>);
  static_assert(std::is_nothrow_move_constructible_v<Reply>);
  static_assert(std::is_nothrow_move_assignable_v<Reply>);
}

TEST(Reply, TellsSenderAndSizeOfRequest) {
  const Reply reply(loopback(4711), 75, [](const Dictionary &) { return true; });
  EXPECT_EQ(text(reply.sender()), "127.0.0.1:4711");
  EXPECT_EQ(reply.requestSize(), 75U);
}

TEST(Reply, PassesAnswerOnce) {
  std::vector<Dictionary> sent;
  Reply reply(loopback(1), 0, [&](const Dictionary &answer) {
    sent.push_back(answer);
    return true;
  });
  EXPECT_TRUE(reply.send(yes));
  EXPECT_FALSE(reply.send(yes));
  EXPECT_EQ(sent, std::vector<Dictionary>{yes});
}

TEST(Reply, StaysOpenAfterRefusal) {
  int calls = 0;
  Reply reply(loopback(1), 0, [&](const Dictionary &) { return ++calls == 2; });
  EXPECT_FALSE(reply.send(yes));
  EXPECT_TRUE(reply.send(yes));
}

TEST(Reply, StaysOpenAfterException) {
  bool fails = true;
  Reply reply(loopback(1), 0, [&](const Dictionary &) {
    if (fails) throw std::runtime_error("no");
    return true;
  });
  EXPECT_THROW((void)reply.send(yes), std::runtime_error);
  fails = false;
  EXPECT_TRUE(reply.send(yes));
}

TEST(Reply, SendsNothingAfterMove) {
  Reply reply(loopback(1), 0, [](const Dictionary &) { return true; });
  Reply taken = std::move(reply);
  EXPECT_FALSE(reply.send(yes));  // NOLINT(bugprone-use-after-move): the state after a move
  EXPECT_TRUE(taken.send(yes));
}

TEST(Reply, LetsGoOfItsFunctionOnceSentOrDestroyed) {
  const auto held = std::make_shared<int>();
  const auto send = [held](const Dictionary &) { return true; };
  const auto count = held.use_count();
  {
    Reply reply(loopback(1), 0, send);
    EXPECT_EQ(held.use_count(), count + 1);
    (void)reply.send(yes);
    EXPECT_EQ(held.use_count(), count);
  }
  { const Reply reply(loopback(1), 0, send); }
  EXPECT_EQ(held.use_count(), count);
}

TEST(Reply, IsSentOnceByTenThreads) {
  std::atomic<int> calls = 0;
  Reply reply(loopback(1), 0, [&](const Dictionary &) { return ++calls > 0; });
  std::atomic<int> sent = 0;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 10; ++i) {
      threads.emplace_back([&] { sent += reply.send(yes) ? 1 : 0; });
    }
  }
  EXPECT_EQ(sent, 1);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace kt::test
