// SPDX-License-Identifier: MIT

#include "kt/bigint/_KtComparison.h"

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Record.h"

namespace {

using kt::bigint::normalise;
using kt::bigint::require;
using kt::bigint::wordsOf;

constexpr const char *unit = "_KtComparison";
constexpr const char *bothNotNull = "a != NULL && b != NULL";

}  // namespace

int _KtIntGE(_KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 6, bothNotNull});
  return _KtIntCmp(a, b) >= 0;
}

int _KtIntLE(_KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 13, bothNotNull});
  return _KtIntCmp(a, b) <= 0;
}

int _KtIntGT(_KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 20, bothNotNull});
  return _KtIntCmp(a, b) > 0;
}

int _KtIntLT(_KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 27, bothNotNull});
  return _KtIntCmp(a, b) < 0;
}

int _KtIntEQ(_KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 34, bothNotNull});
  return _KtIntCmp(a, b) == 0;
}

int _KtIntZero(_KtInt *a) {
  require(a != nullptr, {unit, 42, "a != NULL"});
  normalise(*a);
  return a->length == 1 && a->digits[0] == 0;
}

int _KtIntNegative(const _KtInt *a) {
  require(a != nullptr, {unit, 50, "a != NULL"});
  return a->negative != 0;
}

int _KtIntPositive(_KtInt *a) {
  require(a != nullptr, {unit, 57, "a != NULL"});
  return !a->negative && !_KtIntZero(a);
}

int _KtIntSameSign(_KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 65, bothNotNull});
  if (a->negative) return b->negative != 0;
  if (b->negative) return 0;
  const int aIsZero = _KtIntZero(a);
  return aIsZero == _KtIntZero(b);
}

int _KtIntEven(const _KtInt *a) {
  require(a != nullptr, {unit, 76, "a != NULL"});
  return a->length == 0 || (a->digits[0] & 1) == 0;
}

int _KtIntOdd(const _KtInt *a) {
  require(a != nullptr, {unit, 83, "a != NULL"});
  return a->length != 0 && (a->digits[0] & 1) != 0;
}

int _KtIntCmp(_KtInt *a, _KtInt *b) {
  require(a != nullptr && b != nullptr, {unit, 94, bothNotNull});
  normalise(*a);
  normalise(*b);
  if (a->negative && !b->negative) return -1;
  if (!a->negative && b->negative) return 1;
  const int sign = a->negative ? -1 : 1;
  return sign * kt::bigint::compare(wordsOf(*a), wordsOf(*b));
}
