// SPDX-License-Identifier: MIT

// Sums, shifts, products, quotients and powers of the integers of kt/bigint/_KtInt.h. Operands come
// first and results last. Functions with the suffix S take one unsigned word and, like the shifts,
// work in place. Null records, divisors of zero, and one record for both results of a division fail
// an assertion before anything changes. One record serves one thread at a time, operands included.
//
// Results grow as needed up to 255 words; _KtInt.h describes longer results. All results are in
// normal form, except for the sum of two zeros with the sign set and a zero that _KtIntDiv
// describes.
#ifndef KT_BIGINT__KTARITHMETIC_H
#define KT_BIGINT__KTARITHMETIC_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// Computes c = a + b. Any of the three may be the same record. Normalises the operands if their
// signs differ; otherwise does not change them.
void _KtIntAdd(_KtInt *a, _KtInt *b, _KtInt *c);

// Computes c = a - b. Any of the three may be the same record. Normalises the operands if their
// signs agree; otherwise does not change them.
void _KtIntSub(_KtInt *a, _KtInt *b, _KtInt *c);

// Compute a = a + s and a = a - s. Stop at the first word without a carry; higher words are not
// touched.
void _KtIntAddS(_KtInt *a, uint16_t s);
void _KtIntSubS(_KtInt *a, uint16_t s);

// Compute b = -a and b = |a|; b may be a. _KtIntNeg normalises the result only if it is zero,
// _KtIntAbs never does.
void _KtIntNeg(const _KtInt *a, _KtInt *b);
void _KtIntAbs(const _KtInt *a, _KtInt *b);

// Returns the sign of a: -1, 0 or 1. Normalises.
int32_t _KtIntSign(_KtInt *a);

// Multiply or divide |a| by 65,536^n in place. The sign stays, and a quotient is truncated: -5
// divided by 2 is -2. A negative n shifts the other way; INT32_MIN shifts everything out.
void _KtIntBlockShiftLeft(_KtInt *a, int32_t n);
void _KtIntBlockShiftRight(_KtInt *a, int32_t n);

// Multiply or divide |a| by 2^n in place, otherwise like the shifts by words.
void _KtIntShiftLeft(_KtInt *a, int32_t n);
void _KtIntShiftRight(_KtInt *a, int32_t n);

// Computes a = a * s.
void _KtIntMulS(_KtInt *a, uint16_t s);

// Computes c = a * b. If c is also an operand, the result has the sign of the other operand: the
// signs are read after the magnitude is stored, which clears the sign of c. Pass a separate c for
// the true sign.
void _KtIntMul(const _KtInt *a, const _KtInt *b, _KtInt *c);

// Computes c = |a| modulo |b|, which is never negative. c may be a or b. Normalises b. Requires:
// b != 0.
void _KtIntMod(const _KtInt *a, _KtInt *b, _KtInt *c);

// Computes the quotient, rounded towards minus infinity (7 / -2 is -4), and the remainder. The
// remainder is |dividend| modulo |divisor|, whatever the signs, and never negative. Therefore
// dividend = quotient * divisor + remainder holds if and only if the signs agree or the remainder
// is 0.
//
// Either result may be the dividend or the divisor; as in _KtIntMul, the signs are read after the
// magnitudes are stored. Zero divided by a negative number is a zero with the sign set:
// _KtIntNegative returns 1 for it until something normalises it.
//
// Normalises the divisor. Requires: divisor != 0, and quotient and remainder are different records.
void _KtIntDiv(const _KtInt *dividend, _KtInt *divisor, _KtInt *quotient, _KtInt *remainder);

// Computes a = a^e. Any value to the power of 0 is 1.
void _KtIntPowS(_KtInt *a, uint16_t e);

#ifdef __cplusplus
}
#endif

#endif
