// SPDX-License-Identifier: MIT

#include "tools/ktd/SenderTokens.h"

#include <gtest/gtest.h>

#include "kt/udp/Socket.h"

namespace kt::test {
namespace {

using tools::SenderTokens;

const sockaddr_in sender = ipv4(htonl(0x0a000007), 4798);

TEST(SenderTokens, HaveSixteenBytes) {
  EXPECT_EQ(SenderTokens().tokenOf(sender).size(), 16U);
}

TEST(SenderTokens, ProveSenderTheyWereGivenTo) {
  const SenderTokens tokens;
  EXPECT_TRUE(tokens.isProven({{"Token", tokens.tokenOf(sender)}}, sender));
}

TEST(SenderTokens, DoNotProveOtherAddressOrPort) {
  const SenderTokens tokens;
  const Dictionary request{{"Token", tokens.tokenOf(sender)}};
  EXPECT_FALSE(tokens.isProven(request, ipv4(htonl(0x0a000008), 4798)));
  EXPECT_FALSE(tokens.isProven(request, ipv4(htonl(0x0a000007), 4799)));
}

TEST(SenderTokens, DifferFromRunToRun) {
  EXPECT_NE(SenderTokens().tokenOf(sender), SenderTokens().tokenOf(sender));
}

TEST(SenderTokens, DoNotProveIfAnyBitDiffers) {
  const SenderTokens tokens;
  const Data token = tokens.tokenOf(sender);
  for (std::size_t bit = 0; bit < 8 * token.size(); ++bit) {
    Data wrong = token;
    wrong[bit / 8] ^= std::byte{1} << (bit % 8);
    EXPECT_FALSE(tokens.isProven({{"Token", wrong}}, sender)) << bit;
  }
}

TEST(SenderTokens, DoNotProveIfTokenIsMissingOrOfAnotherKindOrSize) {
  const SenderTokens tokens;
  Data token = tokens.tokenOf(sender);
  EXPECT_FALSE(tokens.isProven({}, sender));
  EXPECT_FALSE(tokens.isProven({{"Token", std::string(16, 'x')}}, sender));
  EXPECT_FALSE(tokens.isProven({{"Token", Data()}}, sender));
  token.push_back(std::byte{0});
  EXPECT_FALSE(tokens.isProven({{"Token", token}}, sender));
  token.resize(15);
  EXPECT_FALSE(tokens.isProven({{"Token", token}}, sender));
}

}  // namespace
}  // namespace kt::test
