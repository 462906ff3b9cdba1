// SPDX-License-Identifier: MIT

// The integers of kt/bigint/_KtInt.h as text, in any base. A base is given by its digits: an
// alphabet is a string whose character k is the digit of value k, and the base is its length.
// Nothing is kept between calls; any thread may call, with a record of its own.
#ifndef KT_BIGINT__KTENCODING_H
#define KT_BIGINT__KTENCODING_H

#include "kt/bigint/_KtInt.h"

#ifdef __cplusplus
extern "C" {
#endif

// Alphabets: "01", "0123456789" and "0123456789abcdef".
extern const char *const _KTINT_BIN_VECTOR;
extern const char *const _KTINT_DEC_VECTOR;
extern const char *const _KTINT_HEX_VECTOR;

// Writes the value into `output`: '-' where the sign is set, the digits without leading zeros, a
// NUL. Zero is the one digit alphabet[0]; a zero with the sign set, which is not in normal form, is
// '-' alone. The value is not changed.
//
// Requires: `v` is not null (an assertion). For a value other than 0 the alphabet has two
// characters or more (with fewer the assertion of a division by zero fails). `output` has room for
// a sign, all digits and the NUL: at most 16 digits a word in binary, 5 in decimal, 4 in
// hexadecimal.
void _KtIntEncode(const _KtInt *v, char *output, const char *alphabet);

// Reads a value: a '-' in front makes it negative, and every other character that is not in the
// alphabet is skipped ('+', spaces, capitals where the alphabet has small letters, a second '-').
// So it can't fail; a text without digits is 0. A character that the alphabet has twice counts as
// the first one.
//
// Requires: no argument is null; this is not checked. Digits and base count modulo 65,536.
void _KtIntDecode(const char *text, _KtInt *result, const char *alphabet);

#ifdef __cplusplus
}
#endif

#endif
