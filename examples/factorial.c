// SPDX-License-Identifier: MIT

/* Prints the factorial of 50. */
#include <kt/bigint.h>
#include <stdio.h>

int main(void) {
  char text[5 * 255 + 2]; /* at most five digits per word, a sign and a NUL */
  _KtInt *product = _KtIntAlloc(1);
  if (product == NULL) return 1;
  for (uint16_t factor = 2; factor <= 50; ++factor) _KtIntMulS(product, factor);
  _KtIntEncode(product, text, _KTINT_DEC_VECTOR);
  puts(text);
  _KtIntFree(product);
  return 0;
}
