// SPDX-License-Identifier: MIT

// The model's sums, differences and signs.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tests/bigint/model/Steps.h"

namespace kt::test::model {

namespace {

constexpr const char *unit = "_KtArithmetic";

std::uint32_t wordAt(const Int *x, std::int64_t k) {
  return k < x->length ? x->digits[static_cast<std::size_t>(k)] : 0;
}

// Sets c to |x| + |y| with this sign. The sign is set after the normalisation, so that the sum of
// two negative zeros is a negative zero.
void magnitudeSum(const Int *x, const Int *y, Int *c, std::uint8_t sign) {
  const std::int64_t longer = std::max(x->length, y->length);
  setMinLengthToSpare(c, longer + 1);
  std::uint32_t carry = 0;
  for (std::int64_t i = 0; i < longer; ++i) {
    const std::uint32_t sum = wordAt(x, i) + wordAt(y, i) + carry;
    c->digits[static_cast<std::size_t>(i)] = static_cast<Word>(sum);
    carry = sum >> 16;
  }
  c->digits[static_cast<std::size_t>(longer)] = static_cast<Word>(carry);
  const bool fits = setLength(c, longer + 1);
  shorten(c);
  if (fits) c->negative = sign;
}

// Sets c to |larger| - |smaller| with this sign.
void magnitudeDifference(const Int *larger, const Int *smaller, Int *c, std::uint8_t sign) {
  const std::int64_t words = larger->length;
  setMinLength(c, words);
  haveWords(c, words);
  std::uint32_t borrow = 0;
  for (std::int64_t i = 0; i < words; ++i) {
    const std::uint32_t taken = wordAt(smaller, i) + borrow;
    const std::uint32_t from = wordAt(larger, i);
    c->digits[static_cast<std::size_t>(i)] = static_cast<Word>(from - taken);
    borrow = from < taken ? 1 : 0;
  }
  c->length = words;
  shorten(c);
  c->negative = sign;
}

bool magnitudeAtLeast(const Int *x, const Int *y) {
  if (x->length != y->length) return x->length > y->length;
  std::int64_t k = x->length - 1;
  while (k > 0 && wordAt(x, k) == wordAt(y, k)) {
    --k;
  }
  return k < 0 || wordAt(x, k) >= wordAt(y, k);
}

// Sets c to |x| - |y|, which may be negative.
void signedDifference(Int *x, Int *y, Int *c) {
  shorten(x);
  shorten(y);
  if (magnitudeAtLeast(x, y)) {
    magnitudeDifference(x, y, c, 0);
  } else {
    magnitudeDifference(y, x, c, 1);
  }
}

// Adds s to |a|.
void addToMagnitude(Int *a, Word s) {
  setMinLengthToSpare(a, a->length + 1);
  std::uint32_t carry = s;
  std::int64_t i = 0;
  for (; i < a->length && carry != 0; ++i) {
    const std::uint32_t sum = wordAt(a, i) + carry;
    a->digits[static_cast<std::size_t>(i)] = static_cast<Word>(sum);
    carry = sum > 65535 ? 1 : 0;
  }
  if (i == a->length && carry != 0) {
    a->digits[static_cast<std::size_t>(i)] = static_cast<Word>(carry);
    (void)setLength(a, i + 1);
  }
  shorten(a);
}

// Subtracts s from |a|. Requires: |a| >= s.
void subtractFromMagnitude(Int *a, Word s) {
  std::int32_t borrow = s;
  for (std::int64_t i = 0; i < a->length && borrow != 0; ++i) {
    const std::int32_t difference = static_cast<std::int32_t>(wordAt(a, i)) - borrow;
    a->digits[static_cast<std::size_t>(i)] = static_cast<Word>(difference);
    borrow = difference < 0 ? 1 : 0;
  }
  shorten(a);
}

// Sets a, of one word, to s - |a| with this sign.
void flip(Int *a, Word s, std::uint8_t sign) {
  a->negative = sign;
  a->digits[0] = static_cast<Word>(s - a->digits[0]);
}

}  // namespace

void add(Int *a, Int *b, Int *c) {
  require((a != nullptr) && (b != nullptr) && (c != nullptr), unit, 378,
          "a != NULL && b != NULL && c != NULL");
  if (a->negative && b->negative) return magnitudeSum(a, b, c, 1);
  if (!a->negative && !b->negative) return magnitudeSum(a, b, c, 0);
  if (a->negative) return signedDifference(b, a, c);
  signedDifference(a, b, c);
}

void sub(Int *a, Int *b, Int *c) {
  require((a != nullptr) && (b != nullptr) && (c != nullptr), unit, 413,
          "a != NULL && b != NULL && c != NULL");
  if (a->negative && !b->negative) return magnitudeSum(a, b, c, 1);
  if (!a->negative && b->negative) return magnitudeSum(a, b, c, 0);
  if (a->negative) return signedDifference(b, a, c);
  signedDifference(a, b, c);
}

void addS(Int *a, Word s) {
  require(a != nullptr, unit, 149, "a != NULL");
  if (!a->negative) return addToMagnitude(a, s);
  shorten(a);
  if (a->length <= 1 && a->digits[0] <= s) return flip(a, s, 0);
  subtractFromMagnitude(a, s);
}

void subS(Int *a, Word s) {
  require(a != nullptr, unit, 170, "a != NULL");
  if (a->negative) return addToMagnitude(a, s);
  shorten(a);
  if (a->length <= 1 && a->digits[0] < s) return flip(a, s, 1);
  subtractFromMagnitude(a, s);
}

void neg(const Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 250, "a != NULL && b != NULL");
  copy(a, b);
  if (zero(b)) return;
  b->negative = b->negative ? 0 : 1;
}

void abs(const Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 259, "a != NULL && b != NULL");
  copy(a, b);
  b->negative = 0;
}

std::int32_t sign(Int *a) {
  require(a != nullptr, unit, 267, "a != NULL");
  if (zero(a)) return 0;
  return a->negative ? -1 : 1;
}

}  // namespace kt::test::model
