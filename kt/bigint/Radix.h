// SPDX-License-Identifier: MIT

// Magnitudes as digits in any base, without signs. Knows nothing of records; keeps nothing.
#ifndef KT_BIGINT_RADIX_H
#define KT_BIGINT_RADIX_H

#include "kt/bigint/Record.h"

namespace kt::bigint {

// Writes the digits of a value, which is used up, without leading zeros and without a NUL. The end
// of what was written. Requires: the value is not 0; the alphabet has two characters or more (an
// assertion).
char *writeDigits(Magnitude &value, char *output, const char *alphabet);

// The value of the digits in a text that ends with a NUL. What is no digit is skipped; each digit
// that makes the value too long for a record cuts it.
Magnitude readDigits(const char *text, const char *alphabet);

}  // namespace kt::bigint

#endif
