// SPDX-License-Identifier: MIT

#include "kt/udp/RequestMemory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/support/Addresses.h"

namespace kt::test {
namespace {

using std::chrono::seconds;
using udp::RequestIdentity;
using udp::RequestMemory;

constexpr RequestMemory::Time start{seconds(1000)};

// Returns the identity of the request number `number`, of `size` bytes.
RequestIdentity request(std::size_t number, std::size_t size = 100) {
  std::string datagram = std::to_string(number);
  datagram.resize(size);
  return {loopback(4000), datagram};
}

class RequestMemoryTest : public testing::Test {
 protected:
  void answer(const RequestIdentity &identity, std::size_t size, RequestMemory::Time now = start) {
    ASSERT_TRUE(memory_.open(identity));
    memory_.answer(identity, std::string(size, 'a'), now);
  }

  RequestMemory memory_;
};

// ---- Identity ----

TEST(RequestIdentity, IsThatOfBytesAddressAndPort) {
  const RequestIdentity identity(loopback(4000), "text");
  EXPECT_EQ(identity, RequestIdentity(loopback(4000), "text"));
  EXPECT_NE(identity, RequestIdentity(loopback(4001), "text"));
  EXPECT_NE(identity, RequestIdentity(ipv4(address("127.0.0.2"), 4000), "text"));
  EXPECT_NE(identity, RequestIdentity(loopback(4000), "texu"));
  EXPECT_NE(identity, RequestIdentity(loopback(4000), std::string("text\0", 5)));
}

// ---- States ----

TEST_F(RequestMemoryTest, KnowsOpenRequestWithoutAnswer) {
  EXPECT_FALSE(memory_.knows(request(1)));
  EXPECT_TRUE(memory_.open(request(1)));
  EXPECT_TRUE(memory_.knows(request(1)));
  EXPECT_EQ(memory_.answerTo(request(1)), nullptr);
}

TEST_F(RequestMemoryTest, RemembersAnswerForItsLifetime) {
  answer(request(1), 3);
  memory_.advanceTo(start + RequestMemory::lifetime);
  ASSERT_NE(memory_.answerTo(request(1)), nullptr);
  EXPECT_EQ(*memory_.answerTo(request(1)), "aaa");
  memory_.advanceTo(start + RequestMemory::lifetime + std::chrono::nanoseconds(1));
  EXPECT_FALSE(memory_.knows(request(1)));
}

TEST_F(RequestMemoryTest, KeepsOpenRequestForever) {
  ASSERT_TRUE(memory_.open(request(1)));
  memory_.advanceTo(start + seconds(1000000));
  EXPECT_TRUE(memory_.knows(request(1)));
}

TEST_F(RequestMemoryTest, ForgetsRequest) {
  ASSERT_TRUE(memory_.open(request(1)));
  memory_.forget(request(1));
  EXPECT_FALSE(memory_.knows(request(1)));
  memory_.forget(request(1));
  EXPECT_TRUE(memory_.open(request(1)));
}

TEST_F(RequestMemoryTest, IgnoresAnswerToRequestThatIsNotOpen) {
  memory_.answer(request(1), "late", start);
  EXPECT_FALSE(memory_.knows(request(1)));
}

// ---- Room ----

TEST_F(RequestMemoryTest, HoldsSoManyOpenRequests) {
  for (std::size_t i = 0; i < RequestMemory::mostEntries; ++i) {
    ASSERT_TRUE(memory_.open(request(i)));
  }
  EXPECT_FALSE(memory_.open(request(RequestMemory::mostEntries)));
  EXPECT_FALSE(memory_.knows(request(RequestMemory::mostEntries)));
  memory_.forget(request(7));
  EXPECT_TRUE(memory_.open(request(RequestMemory::mostEntries)));
}

TEST_F(RequestMemoryTest, HoldsSoManyBytesOfOpenRequests) {
  constexpr std::size_t size = 65536;
  for (std::size_t i = 0; i < RequestMemory::mostBytes / size; ++i) {
    ASSERT_TRUE(memory_.open(request(i, size)));
  }
  EXPECT_FALSE(memory_.open(request(1000)));
  memory_.forget(request(0, size));
  EXPECT_TRUE(memory_.open(request(1000)));
}

TEST_F(RequestMemoryTest, OldestAnswersMakeRoomForOpenRequest) {
  const std::size_t half = RequestMemory::mostBytes / 2;
  answer(request(1), half);
  answer(request(2), half);
  ASSERT_TRUE(memory_.open(request(3)));
  EXPECT_EQ(memory_.answerTo(request(1)), nullptr);
  EXPECT_NE(memory_.answerTo(request(2)), nullptr);
}

TEST_F(RequestMemoryTest, KeepsIdentityOfAnswerThatMadeRoom) {
  answer(request(1), RequestMemory::mostBytes);
  ASSERT_TRUE(memory_.open(request(2)));
  EXPECT_TRUE(memory_.knows(request(1)));
  memory_.advanceTo(start + RequestMemory::lifetime + seconds(1));
  EXPECT_FALSE(memory_.knows(request(1)));
}

TEST_F(RequestMemoryTest, AnswersMakeRoomForEntries) {
  for (std::size_t i = 0; i < RequestMemory::mostEntries; ++i) {
    answer(request(i), 1);
  }
  ASSERT_TRUE(memory_.open(request(RequestMemory::mostEntries)));
  EXPECT_EQ(memory_.answerTo(request(0)), nullptr);
  EXPECT_NE(memory_.answerTo(request(1)), nullptr);
}

TEST_F(RequestMemoryTest, LargestAnswersFadeBesideOpenRequests) {
  ASSERT_TRUE(memory_.open(request(1, RequestMemory::mostBytes - 10)));
  answer(request(2, 5), 20);
  EXPECT_TRUE(memory_.knows(request(2, 5)));
  EXPECT_EQ(memory_.answerTo(request(2, 5)), nullptr);
}

TEST_F(RequestMemoryTest, BoundsIdentities) {
  for (std::size_t i = 0; i <= RequestMemory::mostEntries + RequestMemory::mostIdentities; ++i) {
    answer(request(i, 10), 1);
  }
  EXPECT_FALSE(memory_.knows(request(0, 10)));
  EXPECT_TRUE(memory_.knows(request(1, 10)));
}

}  // namespace
}  // namespace kt::test
