// SPDX-License-Identifier: MIT

// What kt takes for a request to repeat with a token; kt_token_test.py covers the repeats.
#include "tools/kt/Token.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

const Data token(16, std::byte{7});

TEST(Token, IsAskedForByErrorWithToken) {
  const Dictionary answer{{"Error", "Repeat the request with this Token."}, {"Token", token}};
  const Data *const asked = tokenAskedFor(answer);
  ASSERT_NE(asked, nullptr);
  EXPECT_EQ(*asked, token);
}

TEST(Token, IsNotAskedForByOtherAnswers) {
  const std::vector<Dictionary> answers{{},
                                        {{"Error", "busy"}},
                                        {{"Token", token}},
                                        {{"Error", "text"}, {"Token", "0707070707070707"}},
                                        {{"Error", "too short"}, {"Token", Data(15)}},
                                        {{"Error", "too long"}, {"Token", Data(17)}}};
  for (const Dictionary &answer : answers) {
    EXPECT_EQ(tokenAskedFor(answer), nullptr) << answer.description();
  }
}

TEST(Token, IsAddedToRequest) {
  EXPECT_EQ(withToken({{"a", "b"}}, token), (Dictionary{{"a", "b"}, {"Token", token}}));
}

TEST(Token, ReplacesTokenOfRequest) {
  EXPECT_EQ(withToken({{"Token", "old"}}, token), (Dictionary{{"Token", token}}));
}

}  // namespace
}  // namespace kt::test
