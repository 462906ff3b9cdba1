// SPDX-License-Identifier: MIT

// The model's shifts by words and by bits, and its functions on the highest bit.
#include <array>
#include <cstddef>
#include <cstdint>

#include "tests/bigint/model/Steps.h"

namespace kt::test::model {

namespace {

constexpr const char *unit = "_KtArithmetic";
constexpr const char *logUnit = "_KtLog";
constexpr const char *one = "a != NULL";

std::array<std::int8_t, 256> makeMsbTable() {
  std::array<std::int8_t, 256> table{};
  for (std::size_t x = 2; x < table.size(); ++x) {
    table[x] = static_cast<std::int8_t>(table[x / 2] + 1);
  }
  return table;
}

// Moves the words up by n places and fills the low places with zeros.
void moveUp(Int *a, std::int64_t n) {
  haveWords(a, a->length + n);
  for (std::int64_t k = a->length - 1; k >= 0; --k) {
    a->digits[static_cast<std::size_t>(k + n)] = a->digits[static_cast<std::size_t>(k)];
  }
  for (std::int64_t k = 0; k < n; ++k) {
    a->digits[static_cast<std::size_t>(k)] = 0;
  }
}

// The shifts take 64-bit counts, so that every 32-bit count can be negated.
void blocksRight(Int *a, std::int64_t n);
void bitsRight(Int *a, std::int64_t n);

void blocksLeft(Int *a, std::int64_t n) {
  if (n == 0) return;
  if (n < 0) return blocksRight(a, -n);
  const std::int64_t words = a->length + n;
  setMinLength(a, words);
  if (a->unlimited || words <= maxLength) {
    moveUp(a, n);
    a->length = words;
  } else {
    setToZero(a);  // the words that a truncated length keeps are among the n zeros
  }
  shorten(a);
}

void blocksRight(Int *a, std::int64_t n) {
  if (n == 0) return;
  if (n < 0) return blocksLeft(a, -n);
  shorten(a);
  if (a->length <= n) return setToZero(a);
  a->length -= n;
  for (std::int64_t k = 0; k < a->length; ++k) {
    a->digits[static_cast<std::size_t>(k)] = a->digits[static_cast<std::size_t>(k + n)];
  }
}

void bitsLeft(Int *a, std::int64_t n) {
  if (n < 0) return bitsRight(a, -n);
  blocksLeft(a, n / 16);
  const auto r = static_cast<unsigned>(n % 16);
  if (r == 0) return;
  setMinLengthToSpare(a, a->length + 1);
  std::uint32_t carry = 0;
  for (std::int64_t i = 0; i < a->length; ++i) {
    Word &word = a->digits[static_cast<std::size_t>(i)];
    carry += std::uint32_t{word} << r;
    word = static_cast<Word>(carry);
    carry >>= 16;
  }
  a->digits[static_cast<std::size_t>(a->length)] = static_cast<Word>(carry);
  (void)setLength(a, a->length + 1);
  shorten(a);
}

void bitsRight(Int *a, std::int64_t n) {
  if (n < 0) return bitsLeft(a, -n);
  blocksRight(a, n / 16);
  const auto r = static_cast<unsigned>(n % 16);
  if (r == 0) return;
  std::uint32_t window = 0;  // two words; the upper one has already been written
  for (std::int64_t i = a->length - 1; i >= 0; --i) {
    Word &word = a->digits[static_cast<std::size_t>(i)];
    window = (window << 16) + word;
    word = static_cast<Word>(window >> r);
  }
  shorten(a);
}

}  // namespace

std::int32_t highestBit(Word word) {
  static const std::array<std::int8_t, 256> msbTable = makeMsbTable();
  return word <= 255 ? msbTable[word] : msbTable[static_cast<std::size_t>(word >> 8)] + 8;
}

void blockShiftLeft(Int *a, std::int32_t n) {
  require(a != nullptr, unit, 276, one);
  blocksLeft(a, n);
}

void blockShiftRight(Int *a, std::int32_t n) {
  require(a != nullptr, unit, 296, one);
  blocksRight(a, n);
}

void shiftLeft(Int *a, std::int32_t n) {
  require(a != nullptr, unit, 324, one);
  bitsLeft(a, n);
}

void shiftRight(Int *a, std::int32_t n) {
  require(a != nullptr, unit, 354, one);
  bitsRight(a, n);
}

std::int32_t log2(Int *a) {
  require(a != nullptr, logUnit, 30, one);
  shorten(a);
  const Word top = a->digits[static_cast<std::size_t>(a->length) - 1];
  return static_cast<std::int32_t>(16 * (a->length - 1)) + highestBit(top);
}

void exp2(Int *a, std::uint32_t n) {
  require(a != nullptr, logUnit, 40, one);
  const std::int64_t w = n >> 4;
  setMinLength(a, w + 1);
  const std::int64_t words = w + 1 <= maxLength ? w + 1 : (w + 1) % 256;
  if (words == 0) return setToZero(a);
  haveWords(a, words);
  for (std::int64_t k = 0; k < words; ++k) {
    a->digits[static_cast<std::size_t>(k)] = static_cast<Word>(k == w ? 1U << (n % 16) : 0);
  }
  a->length = words;
}

void clearHighBit(Int *a) {
  require(a != nullptr, logUnit, 55, one);
  shorten(a);
  Word &top = a->digits[static_cast<std::size_t>(a->length) - 1];
  top = static_cast<Word>(top & ~(1U << highestBit(top)));
  shorten(a);
}

}  // namespace kt::test::model
