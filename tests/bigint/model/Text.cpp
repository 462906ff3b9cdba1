// SPDX-License-Identifier: MIT

// The model's reading and writing of text, one digit at a time.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tests/bigint/model/Steps.h"

namespace kt::test::model {

std::string encode(const Int *v, const std::string &alphabet) {
  require(v != nullptr, "_KtEncoding", 38, "v != NULL");
  Int magnitude = alloc(0);
  Int remainder = alloc(0);
  abs(v, &magnitude);
  std::string text;
  if (v->negative) text += '-';
  const std::size_t start = text.size();
  while (!zero(&magnitude)) {
    setValue(&remainder, static_cast<std::int32_t>(alphabet.size()));
    div(&magnitude, &remainder, &magnitude, &remainder);
    text += alphabet[static_cast<std::size_t>(value(&remainder))];
  }
  if (text.empty()) text += alphabet[0];  // a negative zero has its sign and no digit
  std::reverse(text.begin() + static_cast<std::ptrdiff_t>(start), text.end());
  return text;
}

void decode(const std::string &text, Int *result, const std::string &alphabet) {
  setValue(result, 0);
  const bool startsNegative = !text.empty() && text[0] == '-';
  for (std::size_t k = startsNegative ? 1 : 0; k < text.size(); ++k) {
    const std::size_t digit = alphabet.find(text[k]);
    if (digit == std::string::npos) continue;
    mulS(result, static_cast<Word>(alphabet.size()));
    addS(result, static_cast<Word>(digit));
  }
  if (startsNegative) neg(result, result);
}

}  // namespace kt::test::model
