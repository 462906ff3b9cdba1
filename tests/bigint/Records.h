// SPDX-License-Identifier: MIT

// Helpers for tests of `_KtInt` records: an owning pointer, records made field by field, and Value,
// a record's fields as one object to compare and print.
#ifndef KT_TESTS_BIGINT_RECORDS_H
#define KT_TESTS_BIGINT_RECORDS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "kt/bigint.h"

namespace kt::test {

using Words = std::vector<std::uint16_t>;

struct FreeRecord {
  void operator()(_KtInt *record) const { _KtIntFree(record); }
};
using Record = std::unique_ptr<_KtInt, FreeRecord>;

// Returns a new record of this value, in normal form.
inline Record number(std::int32_t value) {
  return Record(_KtIntAlloc(value));
}

// Returns a record of these words, least significant first, without normalising it.
inline Record record(const Words &words, bool negative = false) {
  Record made = number(0);
  _KtIntSetMinLength(made.get(), static_cast<std::int32_t>(words.size()));
  std::copy(words.begin(), words.end(), made->digits);
  made->length = static_cast<std::uint8_t>(words.size());
  made->negative = negative ? 1 : 0;
  return made;
}

// Returns a zero with the sign set, which is not in normal form.
inline Record negativeZero(std::size_t length = 1) {
  return record(Words(length, 0), true);
}

// A record's value without its capacity: words.size() is the length.
struct Value {
  Words words;
  bool negative = false;
  bool operator==(const Value &) const = default;
};

inline Value valueOf(const Record &record) {
  return {Words(record->digits, record->digits + record->length), record->negative != 0};
}

// Returns the normal form of a small number.
inline Value normal(std::int64_t number) {
  const bool negative = number < 0;
  auto magnitude = static_cast<std::uint64_t>(number);
  if (negative) magnitude = 0 - magnitude;
  Words words{static_cast<std::uint16_t>(magnitude)};
  while (magnitude >>= 16) {
    words.push_back(static_cast<std::uint16_t>(magnitude));
  }
  return {words, negative};
}

inline void PrintTo(const Value &value, std::ostream *stream) {
  *stream << (value.negative ? "-" : "+") << value.words.size()
          << " words, least significant first:";
  for (const std::uint16_t word : value.words) {
    *stream << ' ' << word;
  }
}

// Returns what _KtIntEncode writes with this alphabet, passed on by the same pointer.
inline std::string encoded(const _KtInt *value, const char *alphabet) {
  std::string text(std::size_t{16} * value->length + 2, '?');
  _KtIntEncode(value, text.data(), alphabet);
  return text.substr(0, text.find('\0'));
}

inline std::string encoded(const _KtInt *value, const std::string &alphabet) {
  return encoded(value, alphabet.c_str());
}

inline std::string decimal(const Record &record) {
  return encoded(record.get(), _KTINT_DEC_VECTOR);
}

// Returns the words of the largest value of this length.
inline Words allOnes(std::size_t length) {
  return Words(length, 0xFFFF);
}

}  // namespace kt::test

#endif
