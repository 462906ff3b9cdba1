// SPDX-License-Identifier: MIT

// The model's record: allocation, size, copies, small values and normal form.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "tests/bigint/model/Steps.h"

namespace kt::test::model {

namespace {

constexpr const char *unit = "_KtInt";
constexpr std::int64_t firstCapacity = 5;
constexpr Word neverWritten = 0xA5C3;  // the content of a word before its first write

}  // namespace

void haveWords(Int *i, std::int64_t n) {
  const auto count = static_cast<std::size_t>(std::max<std::int64_t>(n, 1));
  if (i->digits.size() < count) i->digits.resize(count, neverWritten);
}

void setMinLengthToSpare(Int *i, std::int64_t n) {
  setMinLength(i, i->unlimited ? n : std::min(n, maxLength));
  haveWords(i, n);
}

bool setLength(Int *i, std::int64_t n) {
  if (!i->unlimited) {
    while (n > maxLength && i->digits[static_cast<std::size_t>(n) - 1] == 0) {
      --n;
    }
    if (n % 256 == 0 && n > 0) {
      setToZero(i);
      return false;
    }
    n %= 256;
  }
  i->length = n;
  return true;
}

void setToZero(Int *i) {
  haveWords(i, 1);
  i->digits[0] = 0;
  i->length = 1;
  i->negative = 0;
}

Int alloc(std::int32_t value) {
  Int i;
  i.capacity = firstCapacity;
  haveWords(&i, firstCapacity);
  setValue(&i, value);
  return i;
}

void setMinLength(Int *i, std::int64_t n) {
  require(i != nullptr, unit, 120, "i != NULL");
  if (i->capacity >= n) return;
  i->capacity = i->unlimited ? n : n % 256;
  haveWords(i, i->capacity);
}

void shorten(Int *i) {
  require(i != nullptr, unit, 109, "i != NULL");
  std::int64_t k = i->length;
  while (k > 1 && i->digits[static_cast<std::size_t>(k) - 1] == 0) {
    --k;
  }
  i->length = k;
  if (i->length == 1 && i->digits[0] == 0) i->negative = 0;
}

void setValue(Int *i, std::int32_t value) {
  require(i != nullptr, unit, 80, "i != NULL");
  setMinLength(i, 2);
  const auto bits = static_cast<std::uint32_t>(value);
  const std::uint32_t magnitude = value < 0 ? 0 - bits : bits;
  i->digits[0] = static_cast<Word>(magnitude);
  i->digits[1] = static_cast<Word>(magnitude >> 16);
  i->negative = static_cast<std::uint8_t>(value < 0);
  i->length = 2;
  shorten(i);
}

std::int32_t value(const Int *i) {
  require(i != nullptr, unit, 96, "i != NULL");
  std::uint32_t magnitude = i->digits[0];
  if (i->length > 1) magnitude += std::uint32_t{i->digits[1]} << 16;
  return static_cast<std::int32_t>(i->negative ? 0 - magnitude : magnitude);
}

void copy(const Int *src, Int *dst) {
  require(src != nullptr && dst != nullptr, unit, 43, "src != NULL && dst != NULL");
  if (src == dst) return;
  setMinLength(dst, src->length);
  haveWords(dst, src->length);
  dst->length = src->length;
  dst->negative = src->negative;
  for (std::size_t k = 0; k < static_cast<std::size_t>(src->length); ++k) {
    dst->digits[k] = src->digits[k];
  }
}

void swap(Int *a, Int *b) {
  std::swap(*a, *b);
}

}  // namespace kt::test::model
