// SPDX-License-Identifier: MIT

/* Uses kt/bigint.h from C: calls every function and compares the values as text. At the first
   difference it prints the line and exits with status 1. */
#include <stdio.h>
#include <string.h>

#include "kt/bigint.h"

static int expectAt(int line, const _KtInt *value, const char *expected) {
  char text[100];
  _KtIntEncode(value, text, _KTINT_DEC_VECTOR);
  if (strcmp(text, expected) == 0) return 0;
  fprintf(stderr, "c_program.c:%d: %s instead of %s\n", line, text, expected);
  return 1;
}

#define EXPECT(value, text) \
  if (expectAt(__LINE__, value, text) != 0) return 1
#define EXPECT_NUMBER(number, expected)                                       \
  if ((number) != (expected)) {                                               \
    fprintf(stderr, "c_program.c:%d: not %s\n", __LINE__, #number #expected); \
    return 1;                                                                 \
  }

static int checkStorage(_KtInt *a, _KtInt *b) {
  _KtIntSetValue(a, -70000);
  _KtIntSetMinLength(a, 9);
  EXPECT_NUMBER(a->capacity, 9)
  EXPECT_NUMBER(a->length, 2)
  EXPECT_NUMBER(a->negative, 1)
  EXPECT_NUMBER(a->digits[0], 4464)
  _KtIntCopy(a, b);
  _KtIntShorten(b);
  EXPECT_NUMBER(_KtIntValue(b), -70000)
  _KtIntSetValue(b, 3);
  _KtIntSwap(a, b);
  EXPECT(a, "3");
  EXPECT(b, "-70000");
  return 0;
}

static int checkComparison(_KtInt *three, _KtInt *less) {
  EXPECT_NUMBER(_KtIntCmp(three, less), 1)
  EXPECT_NUMBER(_KtIntGE(three, less) + _KtIntGT(three, less), 2)
  EXPECT_NUMBER(_KtIntLE(three, less) + _KtIntLT(three, less) + _KtIntEQ(three, less), 0)
  EXPECT_NUMBER(_KtIntSameSign(three, less), 0)
  EXPECT_NUMBER(_KtIntZero(three) + _KtIntNegative(three) + _KtIntEven(three), 0)
  EXPECT_NUMBER(_KtIntPositive(three) + _KtIntOdd(three), 2)
  return 0;
}

static int checkArithmetic(_KtInt *a, _KtInt *b, _KtInt *c, _KtInt *d) {
  _KtIntAdd(a, b, c);
  EXPECT(c, "-69997");
  _KtIntSub(a, b, c);
  EXPECT(c, "70003");
  _KtIntAddS(c, 5);
  _KtIntSubS(c, 8);
  EXPECT(c, "70000");
  _KtIntMulS(c, 7);
  _KtIntNeg(c, d);
  EXPECT(d, "-490000");
  EXPECT_NUMBER(_KtIntSign(d), -1)
  _KtIntAbs(d, d);
  _KtIntMul(b, d, c);
  EXPECT(c, "-34300000000");
  _KtIntMod(c, a, d);
  EXPECT(d, "1");
  _KtIntDiv(c, a, b, d);
  EXPECT(b, "-11433333334");
  EXPECT(d, "1");
  _KtIntPowS(a, 4);
  EXPECT(a, "81");
  return 0;
}

static int checkBits(_KtInt *a) {
  _KtIntShiftLeft(a, 20);
  _KtIntBlockShiftLeft(a, 2);
  _KtIntShiftRight(a, 20);
  _KtIntBlockShiftRight(a, 2);
  EXPECT(a, "81");
  EXPECT_NUMBER(_KtIntLog2(a), 6)
  _KtIntClearHighBit(a);
  EXPECT(a, "17");
  _KtIntExp2(a, 64);
  EXPECT(a, "18446744073709551616");
  _KtIntDecode("-ff", a, _KTINT_HEX_VECTOR);
  EXPECT(a, "-255");
  _KtIntDecode("101", a, _KTINT_BIN_VECTOR);
  EXPECT(a, "5");
  return 0;
}

int main(void) {
  _KtInt *a = _KtIntAlloc(0);
  _KtInt *b = _KtIntAlloc(1);
  _KtInt *c = _KtIntAlloc(2);
  _KtInt *d = _KtIntAlloc(3);
  const int failed =
      checkStorage(a, b) || checkComparison(a, b) || checkArithmetic(a, b, c, d) || checkBits(a);
  _KtIntFree(a);
  _KtIntFree(b);
  _KtIntFree(c);
  _KtIntFree(d);
  return failed;
}
