// SPDX-License-Identifier: MIT

#include "tools/calculator/Tokens.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kt::test {
namespace {

using namespace tools;

// Returns each token as its kind's letter, its offset and its text: "n0:12"
std::vector<std::string> tokensOf(std::string_view expression) {
  std::vector<std::string> all;
  for (Tokens tokens(expression); tokens.next().kind != Token::Kind::end;) {
    const Token token = tokens.take();
    const char kind = token.kind == Token::Kind::number ? 'n'
                      : token.kind == Token::Kind::name ? 'a'
                                                        : 's';
    all.push_back(kind + std::to_string(token.offset) + ':' + std::string(token.text));
  }
  return all;
}

using Texts = std::vector<std::string>;

TEST(Tokens, DistinguishNumbersNamesAndSymbols) {
  EXPECT_EQ(tokensOf("12+gcd(0xFf, b2)"),
            (Texts{"n0:12", "s2:+", "a3:gcd", "s6:(", "n7:0xFf", "s11:,", "a13:b2", "s15:)"}));
}

TEST(Tokens, KeepShiftAsOneSymbol) {
  EXPECT_EQ(tokensOf("1<<2>>3"), (Texts{"n0:1", "s1:<<", "n3:2", "s4:>>", "n6:3"}));
  EXPECT_EQ(tokensOf("<>"), (Texts{"s0:<", "s1:>"}));
  EXPECT_EQ(tokensOf("<<<"), (Texts{"s0:<<", "s2:<"}));
}

TEST(Tokens, AreSeparatedByBlanks) {
  EXPECT_EQ(tokensOf(" 1\t\r\n2 "), (Texts{"n1:1", "n5:2"}));
  EXPECT_EQ(tokensOf("  "), Texts());
}

TEST(Tokens, KeepCharacterBeyondAsciiAsOneSymbol) {
  EXPECT_EQ(tokensOf("\u00fc\xff"), (Texts{"s0:\u00fc", "s2:\xff"}));
}

TEST(Tokens, RepeatEnd) {
  Tokens tokens("1 ");
  (void)tokens.take();
  for (int round = 0; round < 2; ++round) {
    const Token end = tokens.take();
    EXPECT_EQ(end.kind, Token::Kind::end);
    EXPECT_EQ(end.offset, 2U);
    EXPECT_EQ(end.text, "");
  }
}

}  // namespace
}  // namespace kt::test
