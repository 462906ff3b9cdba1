// SPDX-License-Identifier: MIT

// Text of the integers of kt/bigint/_KtInt.h in any base. An alphabet gives the base: character k
// of the string is the digit of value k, and the base is the string's length. Nothing is kept
// between calls; any thread may call, with a record of its own.
#ifndef KT_BIGINT__KTENCODING_H
#define KT_BIGINT__KTENCODING_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// The alphabets "01", "0123456789" and "0123456789abcdef".
extern const char *const _KTINT_BIN_VECTOR;
extern const char *const _KTINT_DEC_VECTOR;
extern const char *const _KTINT_HEX_VECTOR;

// Writes '-' if the sign is set, the digits without leading zeros, and a NUL. Zero is the single
// digit alphabet[0]; a zero with the sign set, which is not in normal form, is '-' alone. Does not
// change the value.
//
// Requires: `v` is not null (assertion). For a value other than 0 the alphabet has at least two
// characters (otherwise the assertion of a division by zero fails). `output` has room for a sign,
// the digits and the NUL: per word, <= 16 digits in binary, <= 5 in decimal, <= 4 in hexadecimal.
void _KtIntEncode(const _KtInt *v, char *output, const char *alphabet);

// Reads a value, which is negative if the text begins with '-'. Skips all other characters outside
// the alphabet: '+', spaces, a second '-', capitals if the alphabet has small letters. It cannot
// fail; a text without digits is 0. If the alphabet has a character twice, the first one counts.
//
// The base and the values of digits are taken modulo 65,536. Requires: no argument is null; only
// `result` is checked.
void _KtIntDecode(const char *text, _KtInt *result, const char *alphabet);

#ifdef __cplusplus
}
#endif

#endif
