// SPDX-License-Identifier: MIT

#include "kt/bigint/_KtArithmetic.h"

#include <utility>

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Record.h"
#include "kt/bigint/_KtComparison.h"

namespace {

using kt::bigint::Limb;
using kt::bigint::Limbs;
using kt::bigint::Magnitude;
using kt::bigint::maxWords;
using kt::bigint::require;
using kt::bigint::Word;
using kt::bigint::wordBits;
using kt::bigint::Words;

constexpr const char *unit = "_KtArithmetic";
constexpr const char *aNotNull = "a != NULL";
constexpr const char *bothNotNull = "a != NULL && b != NULL";
constexpr const char *allNotNull = "a != NULL && b != NULL && c != NULL";

Words wordsOf(const _KtInt *i) {
  return kt::bigint::words(*i);
}

// ---- Sums ----

// c = |x| + |y| with the given sign. The sign is set last: a zero can be negative.
void sumOfMagnitudes(const _KtInt *x, const _KtInt *y, _KtInt *c, bool negative) {
  if (x->length < y->length) std::swap(x, y);
  const std::uint8_t length = x->length;
  kt::bigint::reserve(*c, length + 1U);
  const Word carry = kt::bigint::add(c->digits, wordsOf(x), wordsOf(y));
  c->length = length;
  if (carry != 0 && length == maxWords) return kt::bigint::setZero(*c);
  kt::bigint::append(*c, carry);
  kt::bigint::normalize(*c);
  c->negative = negative;
}

// c = |larger| - |smaller| with the given sign; both are in normal form.
void differenceOfMagnitudes(const _KtInt *larger, const _KtInt *smaller, _KtInt *c, bool negative) {
  const std::uint8_t length = larger->length;
  kt::bigint::reserve(*c, length);
  kt::bigint::subtract(c->digits, wordsOf(larger), wordsOf(smaller));
  c->length = length;
  kt::bigint::normalize(*c);
  c->negative = negative;
}

// c = |minuend| - |subtrahend|, once both are in normal form.
void subtractMagnitudes(_KtInt *minuend, _KtInt *subtrahend, _KtInt *c) {
  kt::bigint::normalize(*minuend);
  kt::bigint::normalize(*subtrahend);
  const int order = minuend->length != subtrahend->length
                        ? minuend->length - subtrahend->length
                        : kt::bigint::compare(wordsOf(minuend), wordsOf(subtrahend));
  if (order >= 0) {
    differenceOfMagnitudes(minuend, subtrahend, c, false);
  } else {
    differenceOfMagnitudes(subtrahend, minuend, c, true);
  }
}

// |a| = |a| + s.
void addToMagnitude(_KtInt *a, Word s) {
  kt::bigint::reserve(*a, a->length + 1U);
  std::uint32_t carry = s;
  for (std::size_t i = 0; i < a->length && carry != 0; ++i, carry >>= wordBits) {
    carry += a->digits[i];
    a->digits[i] = static_cast<Word>(carry);
  }
  kt::bigint::append(*a, static_cast<Word>(carry));
  kt::bigint::normalize(*a);
}

// |a| = |a| - s, which is not negative.
void subtractFromMagnitude(_KtInt *a, Word s) {
  std::uint32_t borrow = s;
  for (std::size_t i = 0; i < a->length && borrow != 0; ++i) {
    const std::uint32_t word = a->digits[i];
    a->digits[i] = static_cast<Word>(word - borrow);
    borrow = word < borrow;
  }
  kt::bigint::normalize(*a);
}

// The sign changes: |a| = s - |a|, where a has one word that is not larger than s.
void subtractMagnitudeFrom(Word s, _KtInt *a, bool negative) {
  a->negative = negative;
  a->digits[0] = static_cast<Word>(s - a->digits[0]);
}

}  // namespace

void _KtIntAddS(_KtInt *a, uint16_t s) {
  require(a != nullptr, {unit, 149, aNotNull});
  if (!a->negative) return addToMagnitude(a, s);
  kt::bigint::normalize(*a);
  if (a->length <= 1 && a->digits[0] <= s) return subtractMagnitudeFrom(s, a, false);
  subtractFromMagnitude(a, s);
}

void _KtIntSubS(_KtInt *a, uint16_t s) {
  require(a != nullptr, {unit, 170, aNotNull});
  if (a->negative) return addToMagnitude(a, s);
  kt::bigint::normalize(*a);
  // Equal values go the other way: a zero from here would be negative.
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

// |a| = |a| * 65536^n, n > 0. Past 255 words none of the words that are kept is one of a's.
void moveUp(_KtInt *a, std::int64_t n) {
  const std::int64_t length = a->length + n;
  const auto kept = static_cast<std::uint8_t>(length);
  if (length > std::int64_t{maxWords}) {
    _KtIntSetMinLength(a, static_cast<int32_t>(maxWords + 1 + kept));
    return kt::bigint::setZero(*a);
  }
  _KtIntSetMinLength(a, kept);
  std::memmove(a->digits + n, a->digits, a->length * sizeof(Word));
  std::memset(a->digits, 0, static_cast<std::size_t>(n) * sizeof(Word));
  a->length = kept;
  kt::bigint::normalize(*a);
}

// |a| = |a| / 65536^n, n > 0.
void moveDown(_KtInt *a, std::int64_t n) {
  kt::bigint::normalize(*a);
  if (a->length <= n) return kt::bigint::setZero(*a);
  a->length = static_cast<std::uint8_t>(a->length - n);
  std::memmove(a->digits, a->digits + n, a->length * sizeof(Word));
}

// By words; negative counts go down.
void moveBy(_KtInt *a, std::int64_t n) {
  if (n > 0) moveUp(a, n);
  if (n < 0) moveDown(a, -n);
}

void shiftUp(_KtInt *a, std::int64_t n) {
  moveBy(a, n / wordBits);
  const auto bits = static_cast<unsigned>(n % wordBits);
  if (bits == 0) return;
  kt::bigint::reserve(*a, a->length + 1U);
  kt::bigint::append(*a, kt::bigint::shiftLeft(kt::bigint::mutableWords(*a), bits));
  kt::bigint::normalize(*a);
}

void shiftDown(_KtInt *a, std::int64_t n) {
  moveBy(a, -(n / wordBits));
  const auto bits = static_cast<unsigned>(n % wordBits);
  if (bits == 0) return;
  kt::bigint::shiftRight(kt::bigint::mutableWords(*a), bits);
  kt::bigint::normalize(*a);
}

// By bits; negative counts go down.
void shiftBy(_KtInt *a, std::int64_t n) {
  if (n < 0) {
    shiftDown(a, -n);
  } else {
    shiftUp(a, n);
  }
}

}  // namespace

void _KtIntBlockShiftLeft(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 276, aNotNull});
  moveBy(a, n);
}

void _KtIntBlockShiftRight(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 296, aNotNull});
  moveBy(a, -std::int64_t{n});
}

void _KtIntShiftLeft(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 324, aNotNull});
  shiftBy(a, n);
}

void _KtIntShiftRight(_KtInt *a, int32_t n) {
  require(a != nullptr, {unit, 354, aNotNull});
  shiftBy(a, -std::int64_t{n});
}

// ---- Products ----

namespace {

// |a| = |a|^exponent, of which each product is cut as a record's length cuts it: so the exponent's
// bits are taken from the lowest.
void power(_KtInt &a, unsigned exponent) {
  Magnitude first(Limb{1}), second(a), third;
  Magnitude *result = &first, *base = &second, *next = &third;
  for (; exponent != 0; exponent /= 2) {
    if (exponent % 2 != 0) {
      next->setProduct(*result, *base);
      std::swap(next, result);
    }
    if (exponent == 1) break;
    next->setSquare(*base);
    std::swap(next, base);
  }
  result->store(a);
}

// The same as long as all products fit a limb: a third of the time for 4 words. False, with nothing
// done, when they do not.
bool powerOfLimb(_KtInt &a, unsigned exponent) {
  const Magnitude magnitude(a);
  if (magnitude.limbs().size() != 1) return false;
  const auto bits = static_cast<unsigned>(std::bit_width(magnitude.limbs()[0]));
  if (bits * exponent > kt::bigint::limbBits) return false;
  Limb result = 1;
  for (Limb base = magnitude.limbs()[0]; exponent != 0; exponent /= 2, base *= base) {
    if (exponent % 2 != 0) result *= base;
  }
  Magnitude(result).store(a);
  return true;
}

}  // namespace

void _KtIntMulS(_KtInt *a, uint16_t s) {
  require(a != nullptr, {unit, 193, aNotNull});
  kt::bigint::reserve(*a, a->length + 1U);
  kt::bigint::append(*a, kt::bigint::multiply(kt::bigint::mutableWords(*a), s));
  kt::bigint::normalize(*a);
}

void _KtIntPowS(_KtInt *a, uint16_t e) {
  require(a != nullptr, {unit, 215, aNotNull});
  const bool negative = a->negative && e % 2 != 0;
  if (!powerOfLimb(*a, e)) power(*a, e);
  a->negative = negative;
  kt::bigint::normalize(*a);
}

void _KtIntMul(const _KtInt *a, const _KtInt *b, _KtInt *c) {
  require(a != nullptr && b != nullptr && c != nullptr, {unit, 450, allNotNull});
  Magnitude product;
  product.setProduct(Magnitude(*a), Magnitude(*b));
  product.store(*c);
  // The signs are read now: an operand that is also the result has lost its own. Kept.
  c->negative = (a->negative != 0) != (b->negative != 0);
  kt::bigint::normalize(*c);
}

// ---- Quotients ----

namespace {

// Divides: `dividend` becomes the remainder.
void divide(Magnitude &dividend, const Magnitude &divisor, Magnitude &quotient) {
  const std::size_t size = dividend.limbs().size();
  if (size < divisor.limbs().size()) return;
  std::array<Limb, kt::bigint::maxLimbs> limbs;
  const kt::bigint::Divisor prepared(divisor.limbs());
  prepared.divide(limbs.data(), dividend.mutableLimbs());
  dividend.settle();
  quotient.cut(Limbs(limbs).first(size - prepared.size() + 1));
}

}  // namespace

void _KtIntMod(const _KtInt *a, _KtInt *b, _KtInt *c) {
  require(a != nullptr && b != nullptr && c != nullptr, {unit, 483, allNotNull});
  require(!_KtIntZero(b), {unit, 484, "!_KtIntZero(b)"});
  Magnitude rest(*a), quotient;
  divide(rest, Magnitude(*b), quotient);
  rest.store(*c);
}

void _KtIntDiv(const _KtInt *dividend, _KtInt *divisor, _KtInt *quotient, _KtInt *remainder) {
  require(dividend != nullptr && divisor != nullptr,
          {unit, 497, "dividend != NULL && divisor != NULL"});
  require(quotient != nullptr && remainder != nullptr,
          {unit, 498, "quotient != NULL && remainder != NULL"});
  require(quotient != remainder, {unit, 499, "quotient != remainder"});
  require(!_KtIntZero(divisor), {unit, 500, "!_KtIntZero(divisor)"});
  Magnitude rest(*dividend), magnitude;
  divide(rest, Magnitude(*divisor), magnitude);
  rest.store(*remainder);
  magnitude.store(*quotient);
  // As after a product, an operand that is also a result has lost its sign. Kept.
  if ((dividend->negative != 0) == (divisor->negative != 0)) return;
  quotient->negative = 1;  // a zero stays so: kept
  if (!_KtIntZero(remainder)) _KtIntSubS(quotient, 1);
}
