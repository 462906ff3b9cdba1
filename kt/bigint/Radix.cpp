#include "kt/bigint/Radix.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

namespace kt::bigint {

namespace {

constexpr std::size_t maxBits = maxWords * wordBits;  // and digits, in base 2

// ---- What is known of a base --------------------------------------------------------------------

// The largest power of a base that fits a limb, and its exponent. For the bases 0 and 1, which only
// reading can meet, any exponent would do.
struct Chunk {
  Limb power = 1;
  unsigned digits = 0;
};

constexpr Chunk largestChunk(Limb base) {
  const Limb limit = base < 2 ? 1 : std::numeric_limits<Limb>::max() / base;
  Chunk chunk;
  while (chunk.power <= limit && chunk.digits < limbBits) {
    chunk.power *= base;
    ++chunk.digits;
  }
  return chunk;
}

// Known when we are compiled: a sixth of the time of encoding 4 words in decimal.
constexpr Limb ten = 10;
constexpr Chunk decimalChunk = largestChunk(ten);
constexpr LimbDivisor decimalDivisor(decimalChunk.power);

constexpr bool isPowerOfTwo(std::size_t base) {
  return base >= 2 && std::has_single_bit(base);
}

unsigned bitsOf(std::size_t base) {
  return static_cast<unsigned>(std::countr_zero(base));
}

// ---- Writing ------------------------------------------------------------------------------------

// A base that is a power of two: each digit is some bits of the value.
char *writeBits(Limbs value, char *output, std::string_view alphabet) {
  const unsigned bits = bitsOf(alphabet.size());
  const Limb mask = alphabet.size() - 1;
  const std::size_t bitCount =
      value.size() * limbBits - static_cast<unsigned>(std::countl_zero(value.back()));
  for (std::size_t digit = (bitCount + bits - 1) / bits; digit-- > 0;) {
    const std::size_t position = digit * bits;
    const std::size_t index = position / limbBits;
    const unsigned offset = position % limbBits;
    Limb found = value[index] >> offset;
    if (offset + bits > limbBits && index + 1 < value.size())
      found |= value[index + 1] << (limbBits - offset);
    *output++ = alphabet[found & mask];
  }
  return output;
}

// Writes backwards, so that the digits come as divisions give them.
class BackwardWriter {
 public:
  BackwardWriter(std::string_view alphabet, Chunk chunk, const LimbDivisor &divisor)
      : alphabet_(alphabet), chunk_(chunk), divisor_(divisor) {}

  // Writes the digits of a value, which is used up; at least `count` of them, with zeros in front.
  void write(std::span<Limb> value, std::size_t count) {
    const char *const end = begin_;
    for (value = significant(value); !value.empty(); value = significant(value)) {
      const Limb chunk = divisor_.divide(value);
      const auto written = static_cast<std::size_t>(end - begin_);
      const bool isLast = value.size() == 1 && value[0] == 0;
      const std::size_t missing = count > written ? count - written : 0;
      writeLimb(chunk, isLast ? std::min<std::size_t>(missing, chunk_.digits) : chunk_.digits);
    }
    while (static_cast<std::size_t>(end - begin_) < count)
      *--begin_ = alphabet_[0];
  }

  [[nodiscard]] std::string_view text() const {
    return {begin_, static_cast<std::size_t>(text_.data() + text_.size() - begin_)};
  }

 private:
  void writeLimb(Limb value, std::size_t count) {
    for (; count > 0 || value != 0; count -= count > 0) {
      *--begin_ = alphabet_[value % alphabet_.size()];
      value /= alphabet_.size();
    }
  }

  std::string_view alphabet_;
  Chunk chunk_;
  LimbDivisor divisor_;                        // by the chunk's power
  std::array<char, maxBits> text_;             // filled from its end
  char *begin_ = text_.data() + text_.size();  // of what is written
};

char *writeChunks(std::span<Limb> value, char *output, std::string_view alphabet) {
  const bool isDecimal = alphabet.size() == ten;
  const Chunk chunk = isDecimal ? decimalChunk : largestChunk(static_cast<Limb>(alphabet.size()));
  BackwardWriter writer(alphabet, chunk, isDecimal ? decimalDivisor : LimbDivisor(chunk.power));
  writer.write(value, 0);
  return std::ranges::copy(writer.text(), output).out;
}

// ---- Reading ------------------------------------------------------------------------------------

// The value of each byte as a digit, the first one where an alphabet has it twice.
class DigitValues {
 public:
  static constexpr Word none = 0xffff;

  explicit DigitValues(std::string_view alphabet) {
    values_.fill(none);
    for (std::size_t i = alphabet.size(); i-- > 0;)
      values_[static_cast<unsigned char>(alphabet[i])] = static_cast<Word>(i);
  }

  Word operator[](char digit) const { return values_[static_cast<unsigned char>(digit)]; }

 private:
  std::array<Word, 256> values_;
};

// value = value * factor + addend, cut once.
void multiplyAdd(Magnitude &value, Limb factor, Limb addend) {
  Limb carry = addend;
  for (Limb &limb : value.mutableLimbs()) {
    const DoubleLimb product = DoubleLimb{limb} * factor + carry;
    limb = low(product);
    carry = high(product);
  }
  value.append(carry);
  value.settle();
  value.cut();
}

}  // namespace

char *writeDigits(Magnitude &value, char *output, std::string_view alphabet) {
  if (isPowerOfTwo(alphabet.size())) return writeBits(value.limbs(), output, alphabet);
  return writeChunks(value.mutableLimbs(), output, alphabet);
}

Magnitude readDigits(const char *text, std::string_view alphabet) {
  const DigitValues values(alphabet);
  const Word base = static_cast<Word>(alphabet.size());
  Magnitude value;
  for (; *text != '\0'; ++text) {
    const Word digit = values[*text];
    if (digit == DigitValues::none) continue;
    multiplyAdd(value, base, 0);
    multiplyAdd(value, 1, digit);
  }
  return value;
}

}  // namespace kt::bigint
