// SPDX-License-Identifier: MIT

// The C functions at and past the limit of 255 words. A result of n <= 255 words is exact, even if
// the word for its carry would be the 256th. A longer result keeps its low n mod 256 words; if n
// mod 256 is 0, it is a normalised zero. Under the address sanitizer these tests also show that no
// call reads or writes outside a block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/bigint/RandomOperands.h"
#include "tests/bigint/Records.h"
#include "tests/bigint/Twins.h"

namespace kt::test {
namespace {

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

// Returns a record of the largest magnitude of this length.
Record ones(std::size_t length, bool negative = false) {
  return record(allOnes(length), negative);
}

// Returns 65536^words * top.
Words shiftedUp(std::size_t words, std::uint16_t top = 1) {
  Words result(words, 0);
  result.push_back(top);
  return result;
}

TEST(KtIntLimit, SumOf255WordsIsExactWithCapacity255) {
  const Record c = number(0);
  _KtIntAdd(record(shiftedUp(254, 0x7FFF)).get(), record(shiftedUp(254, 0x8000)).get(), c.get());
  EXPECT_EQ(valueOf(c), (Value{shiftedUp(254, 0xFFFF), false}));
  EXPECT_EQ(c->capacity, 255);
}

TEST(KtIntLimit, SumOf256WordsBecomesNormalisedZero) {
  const Record c = number(-1);
  _KtIntAdd(ones(255).get(), number(1).get(), c.get());
  EXPECT_EQ(valueOf(c), normal(0));
  EXPECT_EQ(c->capacity, 255);
  _KtIntAdd(ones(255, true).get(), ones(255, true).get(), c.get());
  EXPECT_EQ(valueOf(c), normal(0));
  _KtIntSub(ones(255, true).get(), number(1).get(), c.get());
  EXPECT_EQ(valueOf(c), normal(0));
}

TEST(KtIntLimit, SumOf256WordsIntoOperandBecomesNormalisedZero) {
  const Record a = ones(255, true);
  _KtIntAdd(a.get(), a.get(), a.get());
  EXPECT_EQ(valueOf(a), normal(0));
}

TEST(KtIntLimit, DifferenceOf255WordsIsExact) {
  const Record c = number(0);
  _KtIntSub(ones(255).get(), ones(255).get(), c.get());
  EXPECT_EQ(valueOf(c), normal(0));
  _KtIntAdd(ones(255, true).get(), number(0xFFFF).get(), c.get());
  Words words = allOnes(255);
  words[0] = 0;
  EXPECT_EQ(valueOf(c), (Value{words, true}));
  EXPECT_EQ(c->capacity, 255);
}

TEST(KtIntLimit, AddSAndSubSBecomeZeroOnlyWithCarry) {
  const Record a = record(Words(255, 0xFFFE));
  _KtIntAddS(a.get(), 1);
  EXPECT_EQ(a->digits[0], 0xFFFF);
  EXPECT_EQ(a->length, 255);
  EXPECT_EQ(a->capacity, 255);
  const Record up = ones(255);
  _KtIntAddS(up.get(), 1);
  EXPECT_EQ(valueOf(up), normal(0));
  const Record down = ones(255, true);
  _KtIntSubS(down.get(), 65535);
  EXPECT_EQ(valueOf(down), normal(0));
  EXPECT_EQ(down->capacity, 255);
}

TEST(KtIntLimit, MulSBecomesZeroOnlyWithCarry) {
  const Record a = ones(255, true);
  _KtIntMulS(a.get(), 1);
  EXPECT_EQ(valueOf(a), (Value{allOnes(255), true}));
  EXPECT_EQ(a->capacity, 255);
  _KtIntMulS(a.get(), 2);
  EXPECT_EQ(valueOf(a), normal(0));
}

TEST(KtIntLimit, ShiftLeftBecomesZeroOnceBitPassesLimit) {
  const Record a = record(shiftedUp(254, 0x3FFF), true);
  _KtIntShiftLeft(a.get(), 1);
  _KtIntShiftLeft(a.get(), 1);
  EXPECT_EQ(valueOf(a), (Value{shiftedUp(254, 0xFFFC), true}));
  EXPECT_EQ(a->capacity, 255);
  _KtIntShiftLeft(a.get(), 1);
  EXPECT_EQ(valueOf(a), normal(0));
}

TEST(KtIntLimit, BlockShiftLeftTo255WordsIsExact) {
  const Record a = number(-7);
  _KtIntBlockShiftLeft(a.get(), 254);
  EXPECT_EQ(valueOf(a), (Value{shiftedUp(254, 7), true}));
  EXPECT_EQ(a->capacity, 255);
}

TEST(KtIntLimit, BlockShiftLeftPastLimitTruncatesCapacityTo8Bits) {
  const Record to256 = number(-7);
  _KtIntBlockShiftLeft(to256.get(), 255);
  EXPECT_EQ(valueOf(to256), normal(0));
  EXPECT_EQ(to256->capacity, 0);
  const Record to300 = number(-7);
  _KtIntBlockShiftLeft(to300.get(), 299);
  EXPECT_EQ(valueOf(to300), normal(0));
  EXPECT_EQ(to300->capacity, 44);
}

TEST(KtIntLimit, RecordWithTruncatedCapacityGrowsAgain) {
  const Record a = ones(255);
  _KtIntBlockShiftLeft(a.get(), 1);
  ASSERT_EQ(a->capacity, 0);
  _KtIntAddS(a.get(), 9);
  EXPECT_EQ(valueOf(a), normal(9));
  EXPECT_EQ(a->capacity, 2);
  _KtIntShiftLeft(a.get(), 4000);
  EXPECT_EQ(_KtIntLog2(a.get()), 4003);
}

TEST(KtIntLimit, LargestCountsShiftEverythingOut) {
  for (const std::int32_t n : {largest, largest - 15, 65536 * 16, 4080}) {
    const Record bits = ones(255, true);
    _KtIntShiftLeft(bits.get(), n);
    EXPECT_EQ(valueOf(bits), normal(0)) << n;
    const Record words = ones(255, true);
    _KtIntBlockShiftLeft(words.get(), n);
    EXPECT_EQ(valueOf(words), normal(0)) << n;
  }
}

TEST(KtIntLimit, Exp2IsExactUpToLastBit) {
  const Record a = number(-7);
  _KtIntExp2(a.get(), 4079);
  EXPECT_EQ(valueOf(a), (Value{shiftedUp(254, 0x8000), true}));
}

TEST(KtIntLimit, Exp2OneBitPastLimitBecomesNormalisedZero) {
  const Record a = number(-7);
  _KtIntExp2(a.get(), 4080);
  EXPECT_EQ(valueOf(a), normal(0));
  EXPECT_EQ(a->capacity, 0);
  const Record b = number(-7);
  _KtIntExp2(b.get(), 0xFFFFFFFF);  // 2^28 words
  EXPECT_EQ(valueOf(b), normal(0));
}

TEST(KtIntLimit, Exp2FurtherPastLimitKeepsSignAndTruncatedLength) {
  const Record a = number(-7);
  _KtIntExp2(a.get(), 4096);
  EXPECT_EQ(valueOf(a), (Value{{0}, true}));
  _KtIntExp2(a.get(), 5000);
  EXPECT_EQ(valueOf(a), (Value{Words(57, 0), true}));
  EXPECT_EQ(a->capacity, 57);
}

TEST(KtIntLimit, ProductOf255WordsIsExact) {
  const Record c = number(0);
  _KtIntMul(ones(128).get(), ones(127, true).get(), c.get());
  Words words(255, 0xFFFF);  // with B = 65536: B^255 - B^128 - B^127 + 1
  std::fill(words.begin(), words.begin() + 127, 0);
  words[0] = 1;
  words[127] = 0xFFFF;
  words[128] = 0xFFFE;
  EXPECT_EQ(valueOf(c), (Value{words, true}));
  EXPECT_EQ(c->capacity, 255);
}

TEST(KtIntLimit, ProductOf256WordsBecomesNormalisedZero) {
  const Record c = number(-1);
  _KtIntMul(ones(128).get(), ones(128, true).get(), c.get());
  EXPECT_EQ(valueOf(c), normal(0));
}

TEST(KtIntLimit, ProductOf300WordsKeepsLow44) {
  // With B = 65536: (B^200 + 3 B^43 + 5)(B^99 + 7). Terms up to B^43 remain.
  Words factor(201, 0);
  factor[200] = 1;
  factor[43] = 3;
  factor[0] = 5;
  const Record c = number(0);
  Words other(100, 0);
  other[99] = 1;
  other[0] = 7;
  _KtIntMul(record(factor, true).get(), record(other).get(), c.get());
  Words low(44, 0);
  low[0] = 35;
  low[43] = 21;
  EXPECT_EQ(valueOf(c), (Value{low, true}));
}

TEST(KtIntLimit, ProductOfLongRecordsWithShortValuesIsExact) {
  Words seven(255, 0);
  seven[0] = 7;
  const Record a = record(seven, true);
  const Record c = number(0);
  _KtIntMul(a.get(), a.get(), c.get());
  EXPECT_EQ(valueOf(c), normal(49));
}

TEST(KtIntLimit, DivOf255WordsByOneReturnsDividend) {
  const Record quotient = number(0);
  const Record remainder = number(0);
  _KtIntDiv(ones(255).get(), number(1).get(), quotient.get(), remainder.get());
  EXPECT_EQ(valueOf(quotient), (Value{allOnes(255), false}));
  EXPECT_EQ(valueOf(remainder), normal(0));
  EXPECT_LE(quotient->capacity, 255);
}

TEST(KtIntLimit, DivOf255WordsByShortDivisorsIsExact) {
  const Record quotient = number(0);
  const Record remainder = number(0);
  _KtIntDiv(ones(255).get(), number(65535).get(), quotient.get(), remainder.get());
  EXPECT_EQ(valueOf(quotient), (Value{Words(255, 1), false}));
  EXPECT_EQ(valueOf(remainder), normal(0));
  // With B = 65536: B^255 - 1 = (B^254 - 1) B + (B - 1), divided by B.
  _KtIntDiv(ones(255).get(), number(65536).get(), quotient.get(), remainder.get());
  EXPECT_EQ(valueOf(quotient), (Value{allOnes(254), false}));
  EXPECT_EQ(valueOf(remainder), normal(65535));
}

TEST(KtIntLimit, DivOf255WordsBy255WordsIsExact) {
  const Record quotient = number(0);
  const Record remainder = number(0);
  _KtIntDiv(ones(255).get(), record(shiftedUp(254)).get(), quotient.get(), remainder.get());
  EXPECT_EQ(valueOf(quotient), normal(65535));
  EXPECT_EQ(valueOf(remainder), (Value{allOnes(254), false}));
}

TEST(KtIntLimit, ModOf255WordsIsExact) {
  const Record c = number(0);
  _KtIntMod(ones(255, true).get(), number(1).get(), c.get());
  EXPECT_EQ(valueOf(c), normal(0));
  _KtIntMod(ones(255, true).get(), ones(2).get(), c.get());  // 255 is odd: one word remains
  EXPECT_EQ(valueOf(c), normal(65535));
}

TEST(KtIntLimit, PowSIsExactUpToLastBitThenZero) {
  const Record a = number(-2);
  _KtIntPowS(a.get(), 4079);
  EXPECT_EQ(valueOf(a), (Value{shiftedUp(254, 0x8000), true}));
  const Record b = number(-2);
  _KtIntPowS(b.get(), 4081);
  EXPECT_EQ(valueOf(b), normal(0));
}

TEST(KtIntLimit, DecodeTruncatesAtEachDigitPastLimit) {
  const Record a = number(0);
  _KtIntDecode(('-' + std::string(4080, '1')).c_str(), a.get(), _KTINT_BIN_VECTOR);
  EXPECT_EQ(valueOf(a), (Value{allOnes(255), true}));
  _KtIntDecode(std::string(1020, 'f').c_str(), a.get(), _KTINT_HEX_VECTOR);
  EXPECT_EQ(valueOf(a), (Value{allOnes(255), false}));
  // The 4,081st digit makes the value zero; reading continues from there.
  _KtIntDecode(('-' + std::string(4081, '1') + "01").c_str(), a.get(), _KTINT_BIN_VECTOR);
  EXPECT_EQ(valueOf(a), normal(-5));
}

TEST(KtIntLimit, EncodeWritesEveryDigitOf255Words) {
  EXPECT_EQ(encoded(ones(255, true).get(), _KTINT_BIN_VECTOR), '-' + std::string(4080, '1'));
  EXPECT_EQ(encoded(ones(255).get(), _KTINT_HEX_VECTOR), std::string(1020, 'f'));
  EXPECT_EQ(encoded(record(shiftedUp(254, 0x1000)).get(), _KTINT_HEX_VECTOR),
            '1' + std::string(1019, '0'));
  EXPECT_EQ(decimal(ones(255)).size(), 1229U);
}

// Returns approximately how many digits of a base make 4,080 bits.
std::size_t digitsAtLimit(std::size_t base) {
  return static_cast<std::size_t>(4080 / std::log2(static_cast<double>(base)));
}

TEST(KtIntLimit, DecodeMatchesModelOnLongTexts) {
  RandomOperands random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  Twins pool(1);
  for (int round = 0; round < KT_BIGINT_STEPS / 2000; ++round) {
    const std::size_t base = 2 + random.below(random.oneIn(2) ? 15 : 253);
    const std::string alphabet = random.alphabet(base);
    const std::size_t size = digitsAtLimit(base) * (random.oneIn(5) ? 2 : 1) + random.below(80);
    std::string text = random.text(alphabet, size);
    if (random.oneIn(3)) text.insert(0, random.below(300), alphabet[0]);
    ASSERT_EQ(pool.decode(0, text, alphabet), "") << "in base " << base << ": " << text.size();
    const std::string digits = alphabet.substr(1);  // no leading zeros, nothing to skip
    text.assign(size - random.below(60),
                digits[random.below(static_cast<std::uint32_t>(base - 1))]);
    ASSERT_EQ(pool.decode(0, text, alphabet), "") << "in base " << base << ": " << text.size();
  }
}

// Calls every function on records of about 255 words, in every form and aliasing, with numbers on
// both sides of every limit.
TEST(KtIntLimit, EveryFunctionMatchesModelOnLongestRecords) {
  Words leadingZeros(255, 0);
  leadingZeros[1] = 3;
  const std::vector<Words> forms{allOnes(255), allOnes(254), shiftedUp(254, 0x8000), leadingZeros,
                                 Words(255, 0)};
  const std::vector<std::int32_t> numbers{
      0,   1,   2,    15,   16,   17,   254,   255,        256,      257,
      300, 511, 4079, 4080, 4081, 4096, 65535, 1 << 20,    largest,  -1,
      -16, -17, -255, -256, -257, -300, -4080, -(1 << 20), smallest, smallest + 1};
  Twins pool(3);
  for (const Operation &operation : operations()) {
    std::size_t count = 0;
    for (const std::int32_t n : numbers) {
      // The model's powers of 4,080 bits are too slow for every exponent.
      if (operation.name == "PowS" && (n < 0 || n > 300)) continue;
      for (std::size_t combination = 0; combination < 27; ++combination, ++count) {
        for (std::size_t index = 0; index < 3; ++index) {
          pool.load(index, forms[(count + index * 2) % forms.size()], count % 2 == index % 2);
        }
        const Step step{&operation,
                        {combination % 3, combination / 3 % 3, combination / 9, (count + 1) % 3},
                        n};
        ASSERT_EQ(pool.perform(step), "") << operation.name << ' ' << n << ' ' << combination;
        if (operation.name == "Div" && count > 200) break;  // the model takes milliseconds for each
      }
    }
  }
}

}  // namespace
}  // namespace kt::test
