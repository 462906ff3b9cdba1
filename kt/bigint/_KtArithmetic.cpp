// SPDX-License-Identifier: MIT

// The signs of the C functions, over the arithmetic of magnitudes.
#include "kt/bigint/_KtArithmetic.h"

#include <bit>
#include <cstring>
#include <utility>

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Record.h"
#include "kt/bigint/_KtComparison.h"

namespace {

using kt::bigint::append;
using kt::bigint::Limb;
using kt::bigint::Magnitude;
using kt::bigint::magnitudeOf;
using kt::bigint::maxWords;
using kt::bigint::mutableWordsOf;
using kt::bigint::normalise;
using kt::bigint::require;
using kt::bigint::reserve;
using kt::bigint::setZero;
using kt::bigint::store;
using kt::bigint::Word;
using kt::bigint::wordBits;
using kt::bigint::wordsOf;

constexpr const char *unit = "_KtArithmetic";
constexpr const char *aNotNull = "a != NULL";
constexpr const char *bothNotNull = "a != NULL && b != NULL";
constexpr const char *allNotNull = "a != NULL && b != NULL && c != NULL";

// ---- Sums ----

// Computes c = |x| + |y| with the given sign, which is set last: a zero can be negative.
void sumOfMagnitudes(const _KtInt *x, const _KtInt *y, _KtInt *c, bool negative) {
  if (x->length < y->length) std::swap(x, y);
  const std::uint8_t length = x->length;
  reserve(*c, length + 1U);
  const Word carry = kt::bigint::add(c->digits, wordsOf(*x), wordsOf(*y));
  c->length = length;
  if (carry != 0 && length == maxWords) return setZero(*c);
  append(*c, carry);
  normalise(*c);
  c->negative = negative;
}

// Computes c = |larger| - |smaller| with the given sign. Requires: both are in normal form.
void differenceOfMagnitudes(const _KtInt *larger, const _KtInt *smaller, _KtInt *c, bool negative) {
  const std::uint8_t length = larger->length;
  reserve(*c, length);
  kt::bigint::subtract(c->digits, wordsOf(*larger), wordsOf(*smaller));
  c->length = length;
  normalise(*c);
  c->negative = negative;
}

// Computes c = |minuend| - |subtrahend|. Normalises both.
void subtractMagnitudes(_KtInt *minuend, _KtInt *subtrahend, _KtInt *c) {
  normalise(*minuend);
  normalise(*subtrahend);
  if (kt::bigint::compare(wordsOf(*minuend), wordsOf(*subtrahend)) >= 0) {
    differenceOfMagnitudes(minuend, subtrahend, c, false);
  } else {
    differenceOfMagnitudes(subtrahend, minuend, c, true);
  }
}

// Computes |a| = |a| + s.
void addToMagnitude(_KtInt *a, Word s) {
  reserve(*a, a->length + 1U);
  append(*a, kt::bigint::add(mutableWordsOf(*a), s));
  normalise(*a);
}

// Computes |a| = |a| - s. Requires: |a| >= s.
void subtractFromMagnitude(_KtInt *a, Word s) {
  kt::bigint::subtract(mutableWordsOf(*a), s);
  normalise(*a);
}

// Computes |a| = s - |a| with the given sign. Requires: |a| <= s, in one word.
void subtractMagnitudeFrom(Word s, _KtInt *a, bool negative) {
  a->negative = negative;
  a->digits[0] = static_cast<Word>(s - a->digits[0]);
}

}  // namespace

void _KtIntAddS(_KtInt *a, uint16_t s) {
  require(a != nullptr, {unit, 149, aNotNull});
  if (!a->negative) return addToMagnitude(a, s);
  normalise(*a);
  if (a->length <= 1 && a->digits[0] <= s) return subtractMagnitudeFrom(s, a, false);
  subtractFromMagnitude(a, s);
}

void _KtIntSubS(_KtInt *a, uint16_t s) {
  require(a != nullptr, {unit, 170, aNotNull});
  if (a->negative) return addToMagnitude(a, s);
  normalise(*a);
  // a == s is left to the general case: here the zero would become negative.
  if (a->length <= 1 && a->digits[0] < s) return subtractMagnitudeFrom(s, a, true);
  subtractFromMagnitude(a, s);
}

void _KtIntNeg(const _KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 250, bothNotNull});
  _KtIntCopy(a, b);
  if (!_KtIntZero(b)) b->negative = !b->negative;
}

void _KtIntAbs(const _KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 259, bothNotNull});
  _KtIntCopy(a, b);
  b->negative = 0;
}

int32_t _KtIntSign(_KtInt *a) {
  require(a != nullptr, {unit, 267, aNotNull});
  if (_KtIntZero(a)) return 0;
  return a->negative ? -1 : 1;
}

void _KtIntAdd(_KtInt *a, _KtInt *b, _KtInt *c) {
  require(a != nullptr && b != nullptr && c != nullptr, {unit, 378, allNotNull});
  if (a->negative && b->negative) return sumOfMagnitudes(a, b, c, true);
  if (a->negative) return subtractMagnitudes(b, a, c);
  if (b->negative) return subtractMagnitudes(a, b, c);
  sumOfMagnitudes(a, b, c, false);
}

void _KtIntSub(_KtInt *a, _KtInt *b, _KtInt *c) {
  require(a != nullptr && b != nullptr && c != nullptr, {unit, 413, allNotNull});
  if (a->negative && b->negative) return subtractMagnitudes(b, a, c);
  if (a->negative) return sumOfMagnitudes(a, b, c, true);
  if (b->negative) return sumOfMagnitudes(a, b, c, false);
  subtractMagnitudes(a, b, c);
}

// ---- Shifts ----

namespace {

// Computes |a| = |a| * 65,536^n. Requires: n > 0. Past 255 words, every word that survives the
// truncation is a shifted-in zero.
void shiftWordsLeft(_KtInt *a, std::int64_t n) {
  const std::int64_t length = a->length + n;
  const auto kept = static_cast<std::uint8_t>(length);
  if (length > std::int64_t{maxWords}) {
    _KtIntSetMinLength(a, static_cast<int32_t>(maxWords + 1 + kept));
    return setZero(*a);
  }
  _KtIntSetMinLength(a, kept);
  std::memmove(a->digits + n, a->digits, a->length * sizeof(Word));
  std::memset(a->digits, 0, static_cast<std::size_t>(n) * sizeof(Word));
  a->length = kept;
  normalise(*a);
}

// Computes |a| = |a| / 65,536^n, truncated. Requires: n > 0.
void shiftWordsRight(_KtInt *a, std::int64_t n) {
  normalise(*a);
  if (a->length <= n) return setZero(*a);
  a->length = static_cast<std::uint8_t>(a->length - n);
  std::memmove(a->digits, a->digits + n, a->length * sizeof(Word));
}

// Shifts by words: to the left if n > 0, to the right if n < 0.
void shiftWords(_KtInt *a, std::int64_t n) {
  if (n > 0) shiftWordsLeft(a, n);
  if (n < 0) shiftWordsRight(a, -n);
}

void shiftBitsLeft(_KtInt *a, std::int64_t n) {
  shiftWords(a, n / wordBits);
  const auto bits = static_cast<unsigned>(n % wordBits);
  if (bits == 0) return;
  reserve(*a, a->length + 1U);
  append(*a, kt::bigint::shiftLeft(mutableWordsOf(*a), bits));
  normalise(*a);
}

void shiftBitsRight(_KtInt *a, std::int64_t n) {
  shiftWords(a, -(n / wordBits));
  const auto bits = static_cast<unsigned>(n % wordBits);
  if (bits == 0) return;
  kt::bigint::shiftRight(mutableWordsOf(*a), bits);
  normalise(*a);
}

// Shifts by bits: to the left if n > 0, to the right if n < 0.
void shiftBits(_KtInt *a, std::int64_t n) {
  if (n < 0) {
    shiftBitsRight(a, -n);
  } else {
    shiftBitsLeft(a, n);
  }
}

}  // namespace

void _KtIntBlockShiftLeft(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 276, aNotNull});
  shiftWords(a, n);
}

void _KtIntBlockShiftRight(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 296, aNotNull});
  shiftWords(a, -std::int64_t{n});
}

void _KtIntShiftLeft(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 324, aNotNull});
  shiftBits(a, n);
}

void _KtIntShiftRight(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 354, aNotNull});
  shiftBits(a, -std::int64_t{n});
}

// ---- Products ----

namespace {

// Computes |a| = |a|^exponent. Takes the exponent's bits from the lowest, because the order of the
// products decides what their truncations keep.
void power(_KtInt &a, unsigned exponent) {
  Magnitude first(Limb{1}), second = magnitudeOf(a), third;
  Magnitude *result = &first, *base = &second, *next = &third;
  for (; exponent != 0; exponent /= 2) {
    if (exponent % 2 != 0) {
      next->setProduct(*result, *base);
      next->truncate();
      std::swap(next, result);
    }
    if (exponent == 1) break;
    next->setSquare(*base);
    next->truncate();
    std::swap(next, base);
  }
  store(*result, a);
}

// Does the same if all products fit a limb, in a third of the time for 4 words. Otherwise does
// nothing and returns false.
bool powerOfLimb(_KtInt &a, unsigned exponent) {
  const Magnitude magnitude = magnitudeOf(a);
  if (magnitude.limbs().size() != 1) return false;
  const auto bits = static_cast<unsigned>(std::bit_width(magnitude.limbs()[0]));
  if (bits * exponent > kt::bigint::limbBits) return false;
  Limb result = 1;
  for (Limb base = magnitude.limbs()[0]; exponent != 0; exponent /= 2, base *= base) {
    if (exponent % 2 != 0) result *= base;
  }
  store(Magnitude(result), a);
  return true;
}

}  // namespace

void _KtIntMulS(_KtInt *a, uint16_t s) {
  require(a != nullptr, {unit, 193, aNotNull});
  reserve(*a, a->length + 1U);
  append(*a, kt::bigint::multiply(mutableWordsOf(*a), s));
  normalise(*a);
}

void _KtIntPowS(_KtInt *a, uint16_t e) {
  require(a != nullptr, {unit, 215, aNotNull});
  const bool negative = a->negative && e % 2 != 0;
  if (!powerOfLimb(*a, e)) power(*a, e);
  a->negative = negative;
  normalise(*a);
}

void _KtIntMul(const _KtInt *a, const _KtInt *b, _KtInt *c) {
  require(a != nullptr && b != nullptr && c != nullptr, {unit, 450, allNotNull});
  Magnitude product;
  product.setProduct(magnitudeOf(*a), magnitudeOf(*b));
  product.truncate();
  store(product, *c);
  // Reads the signs after storing, when an operand that is also the result has lost its own. Kept
  // as part of the contract.
  c->negative = (a->negative != 0) != (b->negative != 0);
  normalise(*c);
}

// ---- Quotients ----

void _KtIntMod(const _KtInt *a, _KtInt *b, _KtInt *c) {
  require(a != nullptr && b != nullptr && c != nullptr, {unit, 483, allNotNull});
  require(!_KtIntZero(b), {unit, 484, "!_KtIntZero(b)"});
  Magnitude rest = magnitudeOf(*a), quotient;
  divide(rest, magnitudeOf(*b), quotient);
  store(rest, *c);
}

void _KtIntDiv(const _KtInt *dividend, _KtInt *divisor, _KtInt *quotient, _KtInt *remainder) {
  require(dividend != nullptr && divisor != nullptr,
          {unit, 497, "dividend != NULL && divisor != NULL"});
  require(quotient != nullptr && remainder != nullptr,
          {unit, 498, "quotient != NULL && remainder != NULL"});
  require(quotient != remainder, {unit, 499, "quotient != remainder"});
  require(!_KtIntZero(divisor), {unit, 500, "!_KtIntZero(divisor)"});
  Magnitude rest = magnitudeOf(*dividend), magnitude;
  divide(rest, magnitudeOf(*divisor), magnitude);
  store(rest, *remainder);
  store(magnitude, *quotient);
  // As in _KtIntMul, an operand that is also a result has lost its sign: kept as well.
  if ((dividend->negative != 0) == (divisor->negative != 0)) return;
  quotient->negative = 1;  // also for a zero: kept as part of the contract
  if (!_KtIntZero(remainder)) _KtIntSubS(quotient, 1);
}
