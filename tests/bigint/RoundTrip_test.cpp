// SPDX-License-Identifier: MIT

// `_KtInt` records written as text and read back: the same value in any alphabet, the same text,
// the right digits, and nothing written after the NUL.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/bigint/Gmp.h"
#include "tests/bigint/RandomOperands.h"

namespace kt::test {
namespace {

constexpr int roundCount = KT_BIGINT_STEPS / 50;

// Normalises the record and returns its value.
Value shortened(const Record &i) {
  _KtIntShorten(i.get());
  return valueOf(i);
}

TEST(RoundTrip, PreservesValuesInRandomAlphabets) {
  RandomOperands random(seed());
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

TEST(RoundTrip, PreservesWrittenTextsInRandomAlphabets) {
  RandomOperands random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  for (int round = 0; round < roundCount; ++round) {
    const std::string alphabet = random.alphabet(2 + random.below(253));
    std::string digits;
    for (std::uint32_t count = 1 + random.below(500); count > 0; --count) {
      digits += alphabet[random.below(static_cast<std::uint32_t>(alphabet.size()))];
    }
    digits[0] = alphabet[1];  // no leading zero
    const std::string text = (random.oneIn(2) ? "-" : "") + digits;
    const Record value = number(0);
    _KtIntDecode(text.c_str(), value.get(), alphabet.c_str());
    ASSERT_EQ(encoded(value.get(), alphabet), text) << "in base " << alphabet.size();
  }
}

TEST(RoundTrip, PreservesEveryLengthInNamedAlphabets) {
  for (std::size_t length = 1; length <= 255; ++length) {
    for (const char *alphabet : {_KTINT_BIN_VECTOR, _KTINT_DEC_VECTOR, _KTINT_HEX_VECTOR}) {
      const Record value = record(allOnes(length), true);
      const Record back = number(0);
      _KtIntDecode(encoded(value.get(), alphabet).c_str(), back.get(), alphabet);
      ASSERT_EQ(valueOf(back), valueOf(value)) << length << " words in " << alphabet;
    }
  }
}

TEST(RoundTrip, EncodeWritesNothingAfterNul) {
  RandomOperands random(seed());
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

// The bound that the header states: 16, 5 or 4 digits per word, a sign and the NUL.
TEST(RoundTrip, EncodeStaysWithinDocumentedSize) {
  for (std::size_t length = 1; length <= 255; ++length) {
    const Record value = record(allOnes(length), true);
    EXPECT_EQ(encoded(value.get(), _KTINT_BIN_VECTOR).size(), 16 * length + 1);
    EXPECT_LE(encoded(value.get(), _KTINT_DEC_VECTOR).size(), 5 * length + 1);
    EXPECT_EQ(encoded(value.get(), _KTINT_HEX_VECTOR).size(), 4 * length + 1);
  }
}

// ---- Digits ----

// Returns the digits of a magnitude by long division: one pass over all words for each digit.
std::string digitsByLongDivision(Words words, std::uint32_t base) {
  std::string digits;
  do {
    std::uint32_t remainder = 0;
    for (std::size_t k = words.size(); k-- > 0;) {
      const std::uint32_t dividend = remainder << 16 | words[k];
      words[k] = static_cast<std::uint16_t>(dividend / base);
      remainder = dividend % base;
    }
    digits += "0123456789abcdef"[remainder];
    while (!words.empty() && words.back() == 0) {
      words.pop_back();
    }
  } while (!words.empty());
  std::reverse(digits.begin(), digits.end());
  return digits;
}

// The library may choose its way of writing by the alphabet's address or by its characters.
void expectDigits(const Record &value, const char *namedVector, const std::string &digits) {
  const std::string copy = namedVector;
  const std::string text = (value->negative != 0 ? "-" : "") + digits;
  ASSERT_EQ(encoded(value.get(), namedVector), text) << value->length << " words";
  ASSERT_EQ(encoded(value.get(), copy), text) << value->length << " words";
  const Record back = number(5);
  _KtIntDecode(text.c_str(), back.get(), namedVector);
  ASSERT_EQ(valueOf(back), valueOf(value));
  _KtIntDecode(text.c_str(), back.get(), copy.c_str());
  ASSERT_EQ(valueOf(back), valueOf(value));
}

TEST(RoundTrip, NamedAlphabetsMatchLongDivisionAtEveryLength) {
  RandomOperands random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  for (std::size_t length = 1; length <= 255 && !HasFatalFailure(); ++length) {
    for (const Words &words : {random.words(length), allOnes(length)}) {
      const Record value = record(words, random.oneIn(2));
      const Words magnitude = shortened(value).words;
      expectDigits(value, _KTINT_DEC_VECTOR, digitsByLongDivision(magnitude, 10));
      expectDigits(value, _KTINT_HEX_VECTOR, digitsByLongDivision(magnitude, 16));
    }
  }
}

TEST(RoundTrip, DecimalIsExactForEveryGroupOfFourDigits) {
  for (std::int64_t group = 0; group < 10'000 && !HasFatalFailure(); ++group) {
    const std::int64_t all = (std::int64_t{10'000} + group) * 10'000 + (9'999 - group);
    expectDigits(record(normal(all).words), _KTINT_DEC_VECTOR, std::to_string(all));
  }
}

TEST(RoundTrip, DecimalIsExactAtEveryPowerOfTen) {
  const Record power = number(1);
  const Record one = number(1);
  const Record before = number(0);
  for (std::size_t zeros = 0; zeros <= 1'228 && !HasFatalFailure(); ++zeros) {
    expectDigits(power, _KTINT_DEC_VECTOR, '1' + std::string(zeros, '0'));
    _KtIntSub(power.get(), one.get(), before.get());
    expectDigits(before, _KTINT_DEC_VECTOR, zeros == 0 ? "0" : std::string(zeros, '9'));
    _KtIntMulS(power.get(), 10);
  }
}

#ifdef KT_HAVE_GMP

TEST(RoundTrip, DigitsMatchGmpInEveryBaseUpTo62) {
  RandomOperands random(seed());
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
}  // namespace kt::test
