// SPDX-License-Identifier: MIT

// The model's comparisons: order, signs and parity.
#include <cstddef>

#include "tests/bigint/model/Steps.h"

namespace kt::test::model {

namespace {

constexpr const char *unit = "_KtComparison";
constexpr const char *one = "a != NULL";
constexpr const char *both = "a != NULL && b != NULL";

}  // namespace

int cmp(Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 94, both);
  shorten(a);
  shorten(b);
  if (a->negative && !b->negative) return -1;
  if (b->negative && !a->negative) return 1;
  const int s = a->negative ? -1 : 1;
  if (a->length > b->length) return s;
  if (a->length < b->length) return -s;
  auto k = static_cast<std::size_t>(a->length) - 1;
  while (k > 0 && a->digits[k] == b->digits[k]) {
    --k;
  }
  if (a->digits[k] < b->digits[k]) return -s;
  return a->digits[k] == b->digits[k] ? 0 : s;
}

int ge(Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 6, both);
  return cmp(a, b) >= 0;
}

int le(Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 13, both);
  return cmp(a, b) <= 0;
}

int gt(Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 20, both);
  return cmp(a, b) > 0;
}

int lt(Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 27, both);
  return cmp(a, b) < 0;
}

int eq(Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 34, both);
  return cmp(a, b) == 0;
}

int zero(Int *a) {
  require(a != nullptr, unit, 42, one);
  shorten(a);
  return a->length == 1 && a->digits[0] == 0;
}

int negative(const Int *a) {
  require(a != nullptr, unit, 50, one);
  return a->negative != 0;
}

int positive(Int *a) {
  require(a != nullptr, unit, 57, one);
  return a->negative ? 0 : !zero(a);
}

int sameSign(Int *a, Int *b) {
  require((a != nullptr) && (b != nullptr), unit, 65, both);
  if (a->negative) return b->negative != 0;
  if (b->negative) return 0;
  const int aIsZero = zero(a);
  return aIsZero == zero(b);
}

int even(const Int *a) {
  require(a != nullptr, unit, 76, one);
  return a->length == 0 || a->digits[0] % 2 == 0;
}

int odd(const Int *a) {
  require(a != nullptr, unit, 83, one);
  return a->length != 0 && a->digits[0] % 2 == 1;
}

}  // namespace kt::test::model
