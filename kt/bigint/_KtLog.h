// SPDX-License-Identifier: MIT

// The most significant bit of the integers of kt/bigint/_KtInt.h: finding it, setting it alone and
// clearing it. A null record fails an assertion. One record serves one thread at a time.
#ifndef KT_BIGINT__KTLOG_H
#define KT_BIGINT__KTLOG_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// Returns the index of the most significant bit of |a|, which is its logarithm to base 2 rounded
// down. Returns 0 for 0 and for 1. Normalises.
int32_t _KtIntLog2(_KtInt *a);

// Computes |a| = 2^n. The sign stays: a negative record becomes -(2^n). For n >= 4,080 the result
// is truncated (_KtInt.h) and all words kept are 0. It is then normalised only if no word is kept.
void _KtIntExp2(_KtInt *a, uint32_t n);

// Clears the most significant bit of |a|; zero stays zero. The result is in normal form.
void _KtIntClearHighBit(_KtInt *a);

#ifdef __cplusplus
}
#endif

#endif
