// SPDX-License-Identifier: MIT

// What is written in any alphabet reads back as the same value, and a text of the written form is
// written again to the letter; nothing is written behind a text's NUL.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/bigint/Gmp.h"
#include "tests/bigint/RandomValues.h"

namespace {

using namespace kt::test;

constexpr int roundCount = KT_BIGINT_STEPS / 50;

Value shortened(const Record &i) {
  _KtIntShorten(i.get());
  return valueOf(i);
}

TEST(RoundTrip, ValuesComeBackFromRandomAlphabets) {
  RandomValues random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  for (int round = 0; round < roundCount; ++round) {
    const Record value = record(random.words(), random.oneIn(2));
    const Value expected = shortened(value);
    const std::string alphabet = random.alphabet(2 + random.below(253));
    const Record back = number(random.oneIn(2) ? 9 : -9);
    _KtIntDecode(encoded(value.get(), alphabet).c_str(), back.get(), alphabet.c_str());
    ASSERT_EQ(valueOf(back), expected) << "in base " << alphabet.size();
  }
}

TEST(RoundTrip, TextsOfTheWrittenFormComeBackFromRandomAlphabets) {
  RandomValues random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  for (int round = 0; round < roundCount; ++round) {
    const std::string alphabet = random.alphabet(2 + random.below(253));
    std::string digits;
    for (std::uint32_t count = 1 + random.below(500); count > 0; --count) {
      digits += alphabet[random.below(static_cast<std::uint32_t>(alphabet.size()))];
    }
    digits[0] = alphabet[1];  // neither a zero nor a sign
    const std::string text = (random.oneIn(2) ? "-" : "") + digits;
    const Record value = number(0);
    _KtIntDecode(text.c_str(), value.get(), alphabet.c_str());
    ASSERT_EQ(encoded(value.get(), alphabet), text) << "in base " << alphabet.size();
  }
}

TEST(RoundTrip, EveryLengthComesBackInTheAlphabetsThatHaveNames) {
  for (std::size_t length = 1; length <= 255; ++length) {
    for (const char *alphabet : {_KTINT_BIN_VECTOR, _KTINT_DEC_VECTOR, _KTINT_HEX_VECTOR}) {
      const Record value = record(allOnes(length), true);
      const Record back = number(0);
      _KtIntDecode(encoded(value.get(), alphabet).c_str(), back.get(), alphabet);
      ASSERT_EQ(valueOf(back), valueOf(value)) << length << " words in " << alphabet;
    }
  }
}

TEST(RoundTrip, NothingIsWrittenBehindTheNul) {
  RandomValues random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  constexpr char guard = '\x5A';
  for (std::size_t base = 2; base <= 254; ++base) {
    const std::string alphabet = random.alphabet(base);
    const Record value = record(random.words(random.oneIn(3) ? 255 : random.length()), true);
    const std::string text = encoded(value.get(), alphabet);
    std::string output(text.size() + 65, guard);
    _KtIntEncode(value.get(), output.data(), alphabet.c_str());
    ASSERT_EQ(output, text + '\0' + std::string(64, guard)) << "in base " << base;
  }
}

// What the header promises: so many digits for each word, a sign, and the NUL.
TEST(RoundTrip, TheLongestTextsAreWithinTheRoomThatTheHeaderNames) {
  for (std::size_t length = 1; length <= 255; ++length) {
    const Record value = record(allOnes(length), true);
    EXPECT_EQ(encoded(value.get(), _KTINT_BIN_VECTOR).size(), 16 * length + 1);
    EXPECT_LE(encoded(value.get(), _KTINT_DEC_VECTOR).size(), 5 * length + 1);
    EXPECT_EQ(encoded(value.get(), _KTINT_HEX_VECTOR).size(), 4 * length + 1);
  }
}

#ifdef KT_HAVE_GMP

TEST(RoundTrip, DigitsAreThoseOfGmpInEveryBaseUpTo62) {
  RandomValues random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  const std::string letters = "abcdefghijklmnopqrstuvwxyz";
  const std::string capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  for (int round = 0; round < roundCount; ++round) {
    const int base = 2 + static_cast<int>(random.below(61));
    const std::string digits =
        base <= 36 ? "0123456789" + letters : "0123456789" + capitals + letters;
    const std::string alphabet = digits.substr(0, static_cast<std::size_t>(base));
    const Record value = record(random.words(), random.oneIn(2));
    (void)shortened(value);
    std::string expected(mpz_sizeinbase(Gmp(*value).get(), base) + 2, ' ');
    mpz_get_str(expected.data(), base, Gmp(*value).get());
    ASSERT_EQ(encoded(value.get(), alphabet), expected.c_str()) << "in base " << base;
    const Record back = number(5);
    _KtIntDecode(expected.c_str(), back.get(), alphabet.c_str());
    ASSERT_EQ(valueOf(back), valueOf(value)) << "in base " << base;
  }
}

#endif

}  // namespace
