#include "kt/bigint/_KtEncoding.h"

#include <array>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "kt/bigint/Assertion.h"
#include "kt/bigint/Record.h"

const char *const _KTINT_BIN_VECTOR = "01";
const char *const _KTINT_DEC_VECTOR = "0123456789";
const char *const _KTINT_HEX_VECTOR = "0123456789abcdef";

namespace {

using kt::bigint::Limb;
using kt::bigint::Limbs;
using kt::bigint::Magnitude;

constexpr char negativeSign = '-';

// The largest power of a base that fits a limb, and its exponent. For the bases 0 and 1, which
// decoding can meet, any number of digits would do.
struct Chunk {
  Limb power = 1;
  unsigned digits = 0;
};

Chunk largestChunk(Limb base) {
  Chunk chunk;
  while (chunk.digits < kt::bigint::limbBits &&
         (base < 2 || chunk.power <= std::numeric_limits<Limb>::max() / base)) {
    chunk.power *= base;
    ++chunk.digits;
  }
  return chunk;
}

// The value of each byte as a digit, the first one where an alphabet has it twice.
class DigitValues {
 public:
  static constexpr std::uint32_t none = ~std::uint32_t{0};

  explicit DigitValues(std::string_view alphabet) {
    values_.fill(none);
    for (std::size_t i = alphabet.size(); i-- > 0;)
      values_[static_cast<unsigned char>(alphabet[i])] = static_cast<kt::bigint::Word>(i);
  }

  std::uint32_t operator[](char digit) const { return values_[static_cast<unsigned char>(digit)]; }

 private:
  std::array<std::uint32_t, 256> values_;
};

// The digits of one limb, backwards from `end`: at least `count` of them, with zeros in front.
char *writeDigits(char *end, Limb value, unsigned count, std::string_view alphabet) {
  for (; count > 0 || value != 0; count -= count > 0) {
    *--end = alphabet[value % alphabet.size()];
    value /= alphabet.size();
  }
  return end;
}

}  // namespace

void _KtIntEncode(const _KtInt *v, char *output, const char *alphabet) {
  using kt::bigint::require;
  require(v != nullptr, {"_KtEncoding", 38, "v != NULL"});
  const std::string_view digits(alphabet);
  Magnitude rest(*v);
  if (v->negative) *output++ = negativeSign;
  if (rest.isZero() && !v->negative) *output++ = alphabet[0];
  // What a division by a base of 0 would say.
  require(rest.isZero() || !digits.empty(), {"_KtArithmetic", 500, "!_KtIntZero(divisor)"});
  const Chunk chunk = largestChunk(static_cast<Limb>(digits.size()));
  std::array<char, kt::bigint::maxWords * kt::bigint::wordBits> text;
  char *const end = text.data() + text.size();
  char *begin = end;
  while (!rest.isZero()) {
    std::array<Limb, kt::bigint::maxLimbs> quotient;
    const std::size_t count = rest.limbs().size();
    const Limb low = kt::bigint::divide(quotient.data(), std::as_const(rest).limbs(), chunk.power);
    rest.cut(Limbs(quotient).first(count));
    begin = writeDigits(begin, low, rest.isZero() ? 0 : chunk.digits, digits);
  }
  std::memcpy(output, begin, static_cast<std::size_t>(end - begin));
  output[end - begin] = '\0';
}

void _KtIntDecode(const char *text, _KtInt *result, const char *alphabet) {
  const std::string_view digits(alphabet);
  const DigitValues values(digits);
  const bool negative = *text == negativeSign;
  if (negative) ++text;
  _KtIntSetValue(result, 0);
  Magnitude value;
  for (; *text != '\0'; ++text) {
    const std::uint32_t digit = values[*text];
    if (digit == DigitValues::none) continue;
    std::array<Limb, kt::bigint::maxLimbs + 1> limbs;
    const std::size_t count = value.limbs().size();
    std::copy_n(value.limbs().data(), count, limbs.data());
    limbs[count] = kt::bigint::multiplyAdd(std::span(limbs).first(count),
                                           static_cast<kt::bigint::Word>(digits.size()), 0);
    value.cut(Limbs(limbs).first(count + 1));
    const std::size_t kept = value.limbs().size();
    std::copy_n(value.limbs().data(), kept, limbs.data());
    limbs[kept] = kt::bigint::multiplyAdd(std::span(limbs).first(kept), 1, digit);
    value.cut(Limbs(limbs).first(kept + 1));
  }
  value.store(*result);
  result->negative = negative && !value.isZero();
}
