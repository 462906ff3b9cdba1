// SPDX-License-Identifier: MIT

#include "kt/bigint/_KtLog.h"

#include <bit>
#include <cstring>

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Record.h"

namespace {

using kt::bigint::normalise;
using kt::bigint::require;
using kt::bigint::Word;
using kt::bigint::wordBits;

constexpr const char *unit = "_KtLog";

}  // namespace

int32_t _KtIntLog2(_KtInt *a) {
  require(a != nullptr, {unit, 30, "a != NULL"});
  normalise(*a);
  if (a->length == 0) return 0;
  const Word top = a->digits[a->length - 1] | 1;  // for 0 the result is that for 1
  return static_cast<int32_t>(wordBits) * (a->length - 1) + std::bit_width(top) - 1;
}

void _KtIntExp2(_KtInt *a, uint32_t n) {
  require(a != nullptr, {unit, 40, "a != NULL"});
  const std::uint32_t wordCount = n / wordBits + 1;
  _KtIntSetMinLength(a, static_cast<int32_t>(wordCount));
  a->length = static_cast<std::uint8_t>(wordCount);
  if (a->length == 0) return kt::bigint::setZero(*a);
  std::memset(a->digits, 0, a->length * sizeof(Word));
  if (wordCount == a->length) a->digits[a->length - 1] = static_cast<Word>(1U << n % wordBits);
}

void _KtIntClearHighBit(_KtInt *a) {
  require(a != nullptr, {unit, 55, "a != NULL"});
  normalise(*a);
  if (a->length == 0) return;
  Word &top = a->digits[a->length - 1];
  top ^= std::bit_floor(top);
  normalise(*a);
}
