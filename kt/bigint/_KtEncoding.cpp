// SPDX-License-Identifier: MIT

#include "kt/bigint/_KtEncoding.h"

#include <string_view>

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Digits.h"
#include "kt/bigint/Record.h"

const char *const _KTINT_BIN_VECTOR = kt::bigint::binaryAlphabet.data();
const char *const _KTINT_DEC_VECTOR = kt::bigint::decimalAlphabet.data();
const char *const _KTINT_HEX_VECTOR = kt::bigint::hexadecimalAlphabet.data();

namespace {

using kt::bigint::LetterCase;
using kt::bigint::Magnitude;
using kt::bigint::require;

constexpr char negativeSign = '-';

}  // namespace

void _KtIntEncode(const _KtInt *v, char *output, const char *alphabet) {
  require(v != nullptr, {"_KtEncoding", 38, "v != NULL"});
  Magnitude magnitude = kt::bigint::magnitudeOf(*v);
  if (v->negative) *output++ = negativeSign;
  if (magnitude.isZero()) {
    // A negative zero is written as its sign alone: kept as part of the contract.
    if (!v->negative) *output++ = alphabet[0];
  } else {
    const std::string_view digits(alphabet);
    // The assertion of the division by the base. It covers the base 1 too, whose division would
    // never end.
    require(digits.size() > 1, {"_KtArithmetic", 500, "!_KtIntZero(divisor)"});
    output = kt::bigint::writeDigits(magnitude, output, digits);
  }
  *output = '\0';
}

void _KtIntDecode(const char *text, _KtInt *result, const char *alphabet) {
  _KtIntSetValue(result, 0);
  const bool negative = *text == negativeSign;
  Magnitude magnitude;
  kt::bigint::readDigits(negative ? text + 1 : text, alphabet, LetterCase::exact, magnitude);
  kt::bigint::store(magnitude, *result);
  result->negative = negative && !magnitude.isZero();
}
