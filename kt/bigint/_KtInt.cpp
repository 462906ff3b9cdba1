// SPDX-License-Identifier: MIT

#include "kt/bigint/_KtInt.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Record.h"

namespace {

using kt::bigint::require;

constexpr const char *unit = "_KtInt";
constexpr std::uint8_t firstCapacity = 5;  // words of a new record

[[noreturn, gnu::cold]] void failResize(std::size_t wordCount) {
  std::fprintf(stderr, "%s: no memory for %zu words\n", unit, wordCount);
  std::fflush(stderr);
  std::abort();
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc): C programs own records

// Sets the capacity and resizes the block. The block keeps the value's words even if the capacity,
// truncated to 8 bits, is less than the length.
void setCapacity(_KtInt &i, std::uint8_t capacity) {
  const std::size_t wordCount = std::max<std::size_t>({capacity, i.length, 1});
  void *const block = std::realloc(i.digits, wordCount * sizeof *i.digits);
  if (block == nullptr) failResize(wordCount);
  i.digits = static_cast<std::uint16_t *>(block);
  i.capacity = capacity;
}

}  // namespace

_KtInt *_KtIntAlloc(int32_t value) {
  auto *const i = static_cast<_KtInt *>(std::malloc(sizeof(_KtInt)));
  if (i == nullptr) return nullptr;
  i->capacity = firstCapacity;
  i->length = 0;
  i->negative = 0;
  i->digits = static_cast<std::uint16_t *>(std::calloc(firstCapacity, sizeof *i->digits));
  if (i->digits == nullptr) {
    std::free(i);
    return nullptr;
  }
  _KtIntSetValue(i, value);
  return i;
}

void _KtIntFree(_KtInt *i) {
  require(i != nullptr, {unit, 34, "i != NULL"});
  std::free(i->digits);
  std::free(i);
}

// NOLINTEND(cppcoreguidelines-no-malloc)

void _KtIntCopy(const _KtInt *src, _KtInt *dst) {
  require(src != nullptr && dst != nullptr, {unit, 43, "src != NULL && dst != NULL"});
  if (src == dst) return;
  _KtIntSetMinLength(dst, src->length);
  dst->length = src->length;
  dst->negative = src->negative;
  std::memmove(dst->digits, src->digits, src->length * sizeof *src->digits);
}

void _KtIntSwap(_KtInt *a, _KtInt *b) {
  std::swap(*a, *b);
}

void _KtIntSetValue(_KtInt *i, int32_t value) {
  require(i != nullptr, {unit, 80, "i != NULL"});
  _KtIntSetMinLength(i, 2);
  const auto bits = static_cast<std::uint32_t>(value);
  const std::uint32_t magnitude = value < 0 ? 0 - bits : bits;
  i->digits[0] = static_cast<std::uint16_t>(magnitude);
  i->digits[1] = static_cast<std::uint16_t>(magnitude >> kt::bigint::wordBits);
  i->negative = value < 0;
  i->length = 2;
  _KtIntShorten(i);
}

int32_t _KtIntValue(const _KtInt *i) {
  require(i != nullptr, {unit, 96, "i != NULL"});
  std::uint32_t magnitude = i->digits[0];
  if (i->length > 1) magnitude |= std::uint32_t{i->digits[1]} << kt::bigint::wordBits;
  return static_cast<int32_t>(i->negative ? 0 - magnitude : magnitude);
}

void _KtIntShorten(_KtInt *i) {
  require(i != nullptr, {unit, 109, "i != NULL"});
  kt::bigint::normalise(*i);
}

void _KtIntSetMinLength(_KtInt *i, int32_t n) {
  require(i != nullptr, {unit, 120, "i != NULL"});
  if (i->capacity < n) setCapacity(*i, static_cast<std::uint8_t>(n));
}
