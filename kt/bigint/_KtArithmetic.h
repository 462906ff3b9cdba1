// SPDX-License-Identifier: MIT

// Sums, shifts, products, quotients and powers of the integers of kt/bigint/_KtInt.h. Operands come
// first and results last; functions with the suffix S take one unsigned word and, like the shifts,
// work in place. Null records, divisors of zero, and one record for both results of a division fail
// an assertion before anything is changed. One record serves one thread at a time, operands
// included.
//
// Results are in normal form but for two zeros with the sign set: the sum of two such zeros, and
// the one that _KtIntDiv names. They grow as they need to, up to 255 words; beyond them see
// _KtInt.h.
#ifndef KT_BIGINT__KTARITHMETIC_H
#define KT_BIGINT__KTARITHMETIC_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// c = a + b. Any of the three may be one record. Operands whose signs differ are normalised on the
// way; those of one sign are left alone.
void _KtIntAdd(_KtInt *a, _KtInt *b, _KtInt *c);

// c = a - b. Any of the three may be one record. Operands whose signs agree are normalised on the
// way; others are left alone.
void _KtIntSub(_KtInt *a, _KtInt *b, _KtInt *c);

// a = a + s and a = a - s. As long as a carry does not ask for it, higher words are not touched.
void _KtIntAddS(_KtInt *a, uint16_t s);
void _KtIntSubS(_KtInt *a, uint16_t s);

// b = -a and b = |a|; b may be a. The negated value is normalised only when it is zero, the
// absolute one not at all.
void _KtIntNeg(const _KtInt *a, _KtInt *b);
void _KtIntAbs(const _KtInt *a, _KtInt *b);

// -1, 0 or 1: the sign of a. Normalises.
int32_t _KtIntSign(_KtInt *a);

// |a| times or divided by 65536 to the power n, in place. The sign stays, and what is shifted out
// is cut off: -5 divided by 2 is -2. A negative n shifts the other way; the smallest one shifts
// everything out.
void _KtIntBlockShiftLeft(_KtInt *a, int32_t n);
void _KtIntBlockShiftRight(_KtInt *a, int32_t n);

// |a| times or divided by 2 to the power n, in place; otherwise as the shifts by words.
void _KtIntShiftLeft(_KtInt *a, int32_t n);
void _KtIntShiftRight(_KtInt *a, int32_t n);

// a = a * s, in place.
void _KtIntMulS(_KtInt *a, uint16_t s);

// c = a * b. c may be a or b, but the signs are read when the magnitude of the product, which is
// not negative, already stands in c: with c = a the result has the sign of b, with c = b that of a.
// For the true sign pass a c of its own.
void _KtIntMul(const _KtInt *a, const _KtInt *b, _KtInt *c);

// c = |a| modulo |b|, never negative. c may be a or b. Normalises b. Requires: b is not zero.
void _KtIntMod(const _KtInt *a, _KtInt *b, _KtInt *c);

// The quotient rounded down (7 / -2 is -4), and beside it |dividend| modulo |divisor|, which is
// never negative, whatever the signs: so dividend = quotient * divisor + remainder holds where the
// signs agree or the division leaves nothing, not elsewhere.
//
// Either result may be the dividend or the divisor; the signs are read when the magnitudes of the
// results, which are not negative, already stand there. Zero divided by a negative number gives a
// zero with the sign set: _KtIntNegative then says 1, until something normalises it.
//
// Normalises the divisor. Requires: it is not zero; the two results are not one record.
void _KtIntDiv(const _KtInt *dividend, _KtInt *divisor, _KtInt *quotient, _KtInt *remainder);

// a = a to the power e, in place; 1 for e = 0, also of a zero.
void _KtIntPowS(_KtInt *a, uint16_t e);

#ifdef __cplusplus
}
#endif

#endif
