// SPDX-License-Identifier: MIT

// Signed integers of up to 255 words of 16 bits: the record that all functions of this folder work
// on, and the functions that make, free, copy, size and load it. C and C++ alike may call them.
//
// A record belongs to whoever made it with _KtIntAlloc, until _KtIntFree. No function keeps a
// pointer to a record, there is no state besides the records, and any thread may call; one record
// serves one thread at a time, comparisons included, for many functions bring their operands to
// normal form on the way.
//
// Normal form: the top word is not 0 unless it is the only one, and zero is not negative. Every
// function takes values that are not in normal form too.
//
// A null record where none is allowed is an error of the program: one line on standard error, such
// as ``_KtInt:34: failed assertion `i != NULL'``, and the process aborts. So does a block of words
// that can't be had, with a line of its own.
//
// A result of more than 255 words keeps the low 8 bits of its number of words, and of its words
// those that these bits count; where they are 0 it is a zero in normal form. No call on records
// made here reads or writes outside their blocks, whatever the lengths.
#ifndef KT_BIGINT__KTINT_H
#define KT_BIGINT__KTINT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// One integer: sign and magnitude.
// NOLINTNEXTLINE(modernize-use-using): C knows no other way
typedef struct _KtInt {
  // The magnitude in base 65536, least significant word first: a block of max(capacity, length, 1)
  // words from malloc that the record owns.
  uint16_t *digits;
  uint8_t length;    // words that belong to the value, 1 to 255; those behind may hold anything
  uint8_t capacity;  // words that may be used without a new block
  uint8_t negative;  // not 0 when the value is negative
} _KtInt;

// A new record of capacity 5 with this value; free it with _KtIntFree. Null when there is no
// memory.
_KtInt *_KtIntAlloc(int32_t value);

// Frees the record and its words. Requires: `i` is not null, and came from _KtIntAlloc.
void _KtIntFree(_KtInt *i);

// Makes `dst` a copy of `src`, as normal or not as that is. `dst` keeps its block where it is large
// enough. One record on both sides stays as it is. Requires: neither is null.
void _KtIntCopy(const _KtInt *src, _KtInt *dst);

// Exchanges two records, which may be one, field by field: no word is copied. Requires: neither is
// null; this is not checked.
void _KtIntSwap(_KtInt *a, _KtInt *b);

// Loads a value, in normal form, with a capacity of at least 2. Requires: `i` is not null.
void _KtIntSetValue(_KtInt *i, int32_t value);

// The low 32 bits of the magnitude, with the sign applied: a value that does not fit is cut without
// notice. Requires: `i` is not null.
int32_t _KtIntValue(const _KtInt *i);

// Brings the record to normal form; its block stays. Requires: `i` is not null.
void _KtIntShorten(_KtInt *i);

// Sees to a capacity of at least `n` words; the value stays, and nothing ever shrinks for an `n`
// that the capacity has already. Of a larger `n` the low 8 bits are the new capacity: 300 makes it
// 44. Words that the value does not use are not set. Requires: `i` is not null.
void _KtIntSetMinLength(_KtInt *i, int32_t n);

#ifdef __cplusplus
}
#endif

#endif
