// SPDX-License-Identifier: MIT

// The highest bit of the integers of kt/bigint/_KtInt.h: where it is, making a value of it alone,
// and clearing it. A null record fails an assertion. One record serves one thread at a time.
#ifndef KT_BIGINT__KTLOG_H
#define KT_BIGINT__KTLOG_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// The index of the highest bit that is set in |a|: the logarithm to base 2, rounded down. 0 for 0
// and for 1. Normalises.
int32_t _KtIntLog2(_KtInt *a);

// |a| = 2 to the power n. The sign stays: a record that was negative becomes -(2 to the power n).
// From n = 4,080 on the result does not fit (kt/bigint/_KtInt.h): all its words are 0, and it is
// not brought to normal form unless the low 8 bits of its length are 0.
void _KtIntExp2(_KtInt *a, uint32_t n);

// Clears the highest bit that is set in |a|; zero stays zero. The result is in normal form.
void _KtIntClearHighBit(_KtInt *a);

#ifdef __cplusplus
}
#endif

#endif
