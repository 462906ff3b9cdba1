// SPDX-License-Identifier: MIT

// Order, sign and parity of the integers of kt/bigint/_KtInt.h. Functions that compare bring their
// arguments to normal form first, so that a record may come back shorter, and a zero without its
// sign; those that take `const` only read. Nothing is allocated. A null argument fails an
// assertion. One record serves one thread at a time.
#ifndef KT_BIGINT__KTCOMPARISON_H
#define KT_BIGINT__KTCOMPARISON_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// -1 when a < b, 0 when they are equal, 1 when a > b. Normalises both.
int _KtIntCmp(_KtInt *a, _KtInt *b);

// The relations: 1 when they hold, else 0. Each normalises both.
int _KtIntGE(_KtInt *a, _KtInt *b);  // a >= b
int _KtIntLE(_KtInt *a, _KtInt *b);  // a <= b
int _KtIntGT(_KtInt *a, _KtInt *b);  // a > b
int _KtIntLT(_KtInt *a, _KtInt *b);  // a < b
int _KtIntEQ(_KtInt *a, _KtInt *b);  // a = b

// 1 when the magnitude is 0, else 0. Normalises.
int _KtIntZero(_KtInt *a);

// Whether the field `negative` is set: for a value in normal form, whether a < 0. It is of a zero
// with the sign set too, which division can give. Does not normalise.
int _KtIntNegative(const _KtInt *a);

// 1 when a > 0, else 0. Normalises where the sign is not set.
int _KtIntPositive(_KtInt *a);

// Whether both are negative, both zero or both positive: zero is a class of its own. The signs are
// read as they stand; where neither is set, both values are normalised.
int _KtIntSameSign(_KtInt *a, _KtInt *b);

// Parity of the value, 1 or 0. Neither normalises; a record of length 0 counts as even.
int _KtIntEven(const _KtInt *a);
int _KtIntOdd(const _KtInt *a);

#ifdef __cplusplus
}
#endif

#endif
