// Magnitudes as digits in any base, without signs. Knows nothing of records; keeps nothing.
#ifndef KT_BIGINT_RADIX_H
#define KT_BIGINT_RADIX_H

#include <string_view>

#include "kt/bigint/Record.h"

namespace kt::bigint {

// Writes the digits of a value, which is used up, without leading zeros and without a NUL. The end
// of what was written. Requires: the value is not 0; the alphabet is not empty, and one of a single
// character, in which the value has no digits, never ends.
char *writeDigits(Magnitude &value, char *output, std::string_view alphabet);

// The value of the digits in a text that ends with a NUL. What is no digit is skipped; each digit
// that makes the value too long for a record cuts it.
Magnitude readDigits(const char *text, std::string_view alphabet);

}  // namespace kt::bigint

#endif
