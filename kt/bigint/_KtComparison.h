// SPDX-License-Identifier: MIT

// Order, sign and parity of the integers of kt/bigint/_KtInt.h. Functions that compare normalise
// their arguments, so a record may come back shorter and a zero without its sign. Functions that
// take `const` records only read. Nothing allocates. A null argument fails an assertion. One record
// serves one thread at a time.
#ifndef KT_BIGINT__KTCOMPARISON_H
#define KT_BIGINT__KTCOMPARISON_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// Returns -1 if a < b, 0 if they are equal, 1 if a > b. Normalises both.
int _KtIntCmp(_KtInt *a, _KtInt *b);

// Return 1 if the relation holds, else 0. Normalise both.
int _KtIntGE(_KtInt *a, _KtInt *b);  // a >= b
int _KtIntLE(_KtInt *a, _KtInt *b);  // a <= b
int _KtIntGT(_KtInt *a, _KtInt *b);  // a > b
int _KtIntLT(_KtInt *a, _KtInt *b);  // a < b
int _KtIntEQ(_KtInt *a, _KtInt *b);  // a = b

// Returns 1 if the magnitude is 0, else 0. Normalises.
int _KtIntZero(_KtInt *a);

// Returns 1 if the field `negative` is set, else 0. In normal form that means a < 0, but a division
// can leave a zero with the sign set. Does not normalise.
int _KtIntNegative(const _KtInt *a);

// Returns 1 if a > 0, else 0. Normalises if the sign is not set.
int _KtIntPositive(_KtInt *a);

// Returns 1 if both are negative, both zero or both positive, else 0. Reads the signs before
// normalising; normalises both values if neither sign is set.
int _KtIntSameSign(_KtInt *a, _KtInt *b);

// Return 1 if the value is even or odd, else 0. Do not normalise. A record of length 0 is even.
int _KtIntEven(const _KtInt *a);
int _KtIntOdd(const _KtInt *a);

#ifdef __cplusplus
}
#endif

#endif
