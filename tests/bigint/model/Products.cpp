// SPDX-License-Identifier: MIT

// The model's products, one word of the multiplier at a time, and quotients, one bit at a time.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tests/bigint/model/Steps.h"

namespace kt::test::model {

namespace {

constexpr const char *unit = "_KtArithmetic";

Int allocUnlimited() {
  Int scratch = alloc(0);
  scratch.unlimited = true;
  return scratch;
}

// Sets c to |multiplicand| * |multiplier|: the whole product first, then truncated to the words
// that its length can count. Requires: c is neither operand.
void product(const Int *multiplicand, const Int *multiplier, Int *c) {
  Int partial = allocUnlimited();
  c->unlimited = true;
  setValue(c, 0);
  for (std::int64_t i = 0; i < multiplier->length; ++i) {
    const Word word = multiplier->digits[static_cast<std::size_t>(i)];
    if (word == 0) continue;
    abs(multiplicand, &partial);
    mulS(&partial, word);
    blockShiftLeft(&partial, static_cast<std::int32_t>(i));
    add(&partial, c, c);
  }
  c->unlimited = false;
  c->capacity = std::min(c->capacity, maxLength);
  (void)setLength(c, c->length);
  shorten(c);
}

}  // namespace

void mulS(Int *a, Word s) {
  require(a != nullptr, unit, 193, "a != NULL");
  setMinLengthToSpare(a, a->length + 1);
  std::uint32_t carry = 0;
  for (std::int64_t i = 0; i < a->length; ++i) {
    Word &word = a->digits[static_cast<std::size_t>(i)];
    const std::uint32_t p = std::uint32_t{word} * s + carry;
    word = static_cast<Word>(p);
    carry = p >> 16;
  }
  a->digits[static_cast<std::size_t>(a->length)] = static_cast<Word>(carry);
  (void)setLength(a, a->length + 1);
  shorten(a);
}

void mul(const Int *a, const Int *b, Int *c) {
  require((a != nullptr) && (b != nullptr) && (c != nullptr), unit, 450,
          "a != NULL && b != NULL && c != NULL");
  if (c != a && c != b) {
    product(a, b, c);
  } else {
    Int accumulator = alloc(0);
    product(a, b, &accumulator);
    copy(&accumulator, c);
  }
  // The signs are read last: if c is an operand, its sign is already the product's.
  c->negative = (a->negative != 0) != (b->negative != 0) ? 1 : 0;
  shorten(c);
}

void mod(const Int *a, Int *b, Int *c) {
  require((a != nullptr) && (b != nullptr) && (c != nullptr), unit, 483,
          "a != NULL && b != NULL && c != NULL");
  require(!zero(b), unit, 484, "!_KtIntZero(b)");
  Int t = allocUnlimited();
  abs(b, &t);
  abs(a, c);
  std::int32_t rounds = 1;
  for (; gt(c, &t); rounds += 16) {
    blockShiftLeft(&t, 1);
  }
  for (; rounds > 0; --rounds) {
    if (le(&t, c)) sub(c, &t, c);
    shiftRight(&t, 1);
  }
}

void div(const Int *dividend, Int *divisor, Int *quotient, Int *remainder) {
  require((dividend != nullptr) && (divisor != nullptr), unit, 497,
          "dividend != NULL && divisor != NULL");
  require((quotient != nullptr) && (remainder != nullptr), unit, 498,
          "quotient != NULL && remainder != NULL");
  require(quotient != remainder, unit, 499, "quotient != remainder");
  require(!zero(divisor), unit, 500, "!_KtIntZero(divisor)");
  Int t = allocUnlimited();
  abs(divisor, &t);
  abs(dividend, remainder);
  setValue(quotient, 0);
  std::int32_t rounds = 1;
  for (; gt(remainder, &t); rounds += 16) {
    blockShiftLeft(&t, 1);
  }
  for (; rounds > 0; --rounds) {
    shiftLeft(quotient, 1);
    if (le(&t, remainder)) {
      addS(quotient, 1);
      sub(remainder, &t, remainder);
    }
    shiftRight(&t, 1);
  }
  // The signs are read last: if an operand is also a result, its sign is already the result's.
  if ((dividend->negative != 0) == (divisor->negative != 0)) return;
  quotient->negative = 1;
  if (!zero(remainder)) subS(quotient, 1);
}

void powS(Int *a, Word e) {
  require(a != nullptr, unit, 215, "a != NULL");
  const bool negativePower = a->negative && e % 2 == 1;
  Int base = alloc(0);
  Int accumulator = alloc(0);
  copy(a, &base);
  setValue(a, 1);
  while (e != 0) {
    if (e % 2 == 1) {
      product(a, &base, &accumulator);
      copy(&accumulator, a);
      e = static_cast<Word>(e - 1);
    } else {
      product(&base, &base, &accumulator);
      copy(&accumulator, &base);
      e = static_cast<Word>(e >> 1);
    }
  }
  a->negative = negativePower ? 1 : 0;
  shorten(a);  // clears the sign of a power of a negative zero
}

}  // namespace kt::test::model
