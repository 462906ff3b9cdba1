// SPDX-License-Identifier: MIT

// Signed integers of up to 255 words of 16 bits: the record that all functions of this folder use,
// and the functions that make, free, copy, size and load it. C and C++ may call them.
//
// A record belongs to the caller of _KtIntAlloc until _KtIntFree. The functions keep no state and
// no pointers, so any thread may call them. One record serves one thread at a time, even in
// comparisons, because many functions normalise their operands.
//
// Normal form: no leading zero words (zero has one word), and zero is not negative. Every function
// also takes values that are not in normal form.
//
// A null record fails an assertion unless a function says otherwise. A failed assertion prints one
// line on standard error, such as ``_KtInt:34: failed assertion `i != NULL'``, and aborts. A failed
// allocation of words prints a line of its own and aborts.
//
// A result of n > 255 words keeps its low n mod 256 words; if n mod 256 is 0, it is a normalised
// zero. No call on records made here reads or writes outside their blocks, whatever the lengths.
#ifndef KT_BIGINT__KTINT_H
#define KT_BIGINT__KTINT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// One integer: sign and magnitude.
// NOLINTNEXTLINE(modernize-use-using): C has no other way
typedef struct _KtInt {
  // The magnitude in base 65,536, least significant word first: a block from malloc of
  // max(capacity, length, 1) words, which the record owns.
  uint16_t *digits;
  uint8_t length;    // words of the value, 1 to 255; the words after them may hold anything
  uint8_t capacity;  // words that may be used without a new block
  uint8_t negative;  // not 0 if the value is negative
} _KtInt;

// Returns a new record of capacity 5 with this value, or null if there is no memory. The caller
// frees it with _KtIntFree.
_KtInt *_KtIntAlloc(int32_t value);

// Frees the record and its words. Requires: `i` came from _KtIntAlloc.
void _KtIntFree(_KtInt *i);

// Makes `dst` an exact copy of `src`, without normalising. `dst` keeps its block if that is large
// enough. Does nothing if both are the same record.
void _KtIntCopy(const _KtInt *src, _KtInt *dst);

// Exchanges all fields of two records, which may be the same. Copies no words. Requires: neither is
// null; this is not checked.
void _KtIntSwap(_KtInt *a, _KtInt *b);

// Loads a value, in normal form. Ensures capacity for 2 words.
void _KtIntSetValue(_KtInt *i, int32_t value);

// Returns the low 32 bits of the magnitude with the sign applied. Does not report an overflow.
int32_t _KtIntValue(const _KtInt *i);

// Brings the record to normal form. The block stays.
void _KtIntShorten(_KtInt *i);

// Ensures capacity for `n` words and keeps the value. Does nothing if capacity >= n; otherwise
// capacity becomes n mod 256 (300 gives 44). New words are not initialised.
void _KtIntSetMinLength(_KtInt *i, int32_t n);

#ifdef __cplusplus
}
#endif

#endif
