// SPDX-License-Identifier: MIT

#include "kt/bigint/_KtEncoding.h"

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Radix.h"
#include "kt/bigint/Record.h"

const char *const _KTINT_BIN_VECTOR = "01";
const char *const _KTINT_DEC_VECTOR = "0123456789";
const char *const _KTINT_HEX_VECTOR = "0123456789abcdef";

namespace {

constexpr char negativeSign = '-';

}  // namespace

void _KtIntEncode(const _KtInt *v, char *output, const char *alphabet) {
  using kt::bigint::require;
  require(v != nullptr, {"_KtEncoding", 38, "v != NULL"});
  kt::bigint::Magnitude magnitude(*v);
  if (v->negative) *output++ = negativeSign;
  if (magnitude.isZero()) {
    // A zero with the sign set gets no digit: kept.
    if (!v->negative) *output++ = alphabet[0];
  } else {
    output = kt::bigint::writeDigits(magnitude, output, alphabet);
  }
  *output = '\0';
}

void _KtIntDecode(const char *text, _KtInt *result, const char *alphabet) {
  _KtIntSetValue(result, 0);
  const bool negative = *text == negativeSign;
  const kt::bigint::Magnitude magnitude =
      kt::bigint::readDigits(negative ? text + 1 : text, alphabet);
  magnitude.store(*result);
  result->negative = negative && !magnitude.isZero();
}
