// SPDX-License-Identifier: MIT

#include "kt/bigint/Radix.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "kt/bigint/Assertion.h"
#include "kt/bigint/_KtEncoding.h"

namespace kt::bigint {

namespace {

// ---- What is known of a base ----

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

constexpr bool isPowerOfTwo(std::size_t base) {
  return base >= 2 && std::has_single_bit(base);
}

unsigned bitsOf(std::size_t base) {
  return static_cast<unsigned>(std::countr_zero(base));
}

// ---- Writing in a base that is a power of two ----

// Digit by digit; one may have bits of two limbs.
char *writeBits(Limbs value, char *output, std::string_view alphabet) {
  const unsigned bits = bitsOf(alphabet.size());
  const Limb mask = alphabet.size() - 1;
  const auto bitCount =
      value.size() * limbBits - static_cast<unsigned>(std::countl_zero(value.back()));
  for (std::size_t digit = (bitCount + bits - 1) / bits; digit-- > 0;) {
    const std::size_t index = digit * bits / limbBits;
    const unsigned offset = digit * bits % limbBits;
    Limb found = value[index] >> offset;
    if (offset + bits > limbBits && index + 1 < value.size()) {
      found |= value[index + 1] << (limbBits - offset);
    }
    *output++ = alphabet[found & mask];
  }
  return output;
}

// The same where limbs are whole numbers of digits, of so many bits: a third of the time.
template <unsigned bits>
char *writeLimbs(Limbs value, char *output, const char *alphabet) {
  std::array<char, std::size_t{1} << bits> digits;  // of which it is clear that output is elsewhere
  std::memcpy(digits.data(), alphabet, digits.size());
  const auto topBits = static_cast<unsigned>(std::bit_width(value.back()));
  unsigned shift = (topBits + bits - 1) / bits * bits;
  while (shift > 0) {
    shift -= bits;
    *output++ = digits[value.back() >> shift & (digits.size() - 1)];
  }
  for (std::size_t i = value.size() - 1; i-- > 0; output += limbBits / bits) {
    for (unsigned digit = 0; digit < limbBits / bits; ++digit) {
      output[digit] = digits[value[i] >> (limbBits - bits * (digit + 1)) & (digits.size() - 1)];
    }
  }
  return output;
}

// ---- Writing in any other base ----

// Takes a value apart into chunks, the lowest first. Long values are divided in halves, by the
// chunk's power raised to a power of two, until they are short: of 255 words three fifths of the
// time of dividing all of them by the chunk's power again and again, of 64 words none is gained.
class Splitter {
 public:
  // As a chunk's power is at least the root of what a limb can hold.
  static constexpr std::size_t maxChunks = 2 * maxLimbs;

  Splitter(const LimbDivisor &divisor, Limb chunkPower, std::size_t valueSize) : divisor_(divisor) {
    std::array<Limb, 2 * maxLimbs> power, squared;
    power[0] = chunkPower;
    for (std::size_t size = 1; valueSize > shortLimbs && divides(2 * size, valueSize);) {
      square(squared.data(), Limbs(power).first(size));
      size = significant(Limbs(squared).first(2 * size)).size();
      std::copy_n(squared.begin(), size, power.begin());
      powers_[powerCount_++] = Divisor(Limbs(power).first(size));
    }
  }

  // The value, which is used up, as chunks without zeros at the top. Their number.
  std::size_t split(std::span<Limb> value, Limb *chunks) const {
    value = significant(value);
    const std::size_t level = levelOf(value.size());
    if (level == 0) return splitShort(value, chunks);
    const Divisor &power = powers_[level - 1];
    std::array<Limb, maxLimbs> quotient;
    power.divide(quotient.data(), value);
    const std::size_t found = split(value.first(power.size()), chunks);
    Limb *const upper = chunks + (std::size_t{1} << level);
    std::fill(chunks + found, upper, Limb{0});
    const auto upperValue = std::span(quotient).first(value.size() - power.size() + 1);
    return static_cast<std::size_t>(upper - chunks) + split(upperValue, upper);
  }

 private:
  static constexpr std::size_t shortLimbs = 16;

  // A power divides values that are at least half as long again, so that neither quotient nor
  // remainder is much the longer one.
  static bool divides(std::size_t powerSize, std::size_t valueSize) {
    return 3 * powerSize <= 2 * valueSize;
  }

  // How many powers are short enough to divide a value.
  [[nodiscard]] std::size_t levelOf(std::size_t valueSize) const {
    if (valueSize <= shortLimbs) return 0;
    std::size_t level = powerCount_;
    while (level > 0 && !divides(powers_[level - 1].size(), valueSize)) {
      --level;
    }
    return level;
  }

  std::size_t splitShort(std::span<Limb> value, Limb *chunks) const {
    std::size_t count = 0;
    for (; !value.empty(); value = significant(value)) {
      chunks[count++] = divisor_.divide(value);
    }
    return count;
  }

  LimbDivisor divisor_;            // by the chunk's power
  std::array<Divisor, 8> powers_;  // by the chunk's power ^2, ^4, ^8, ...: so many are set
  std::size_t powerCount_ = 0;
};

// How a chunk becomes digits.
class AnyDigits {
 public:
  explicit AnyDigits(std::string_view alphabet)
      : alphabet_(alphabet), chunk_(largestChunk(static_cast<Limb>(alphabet.size()))) {}

  [[nodiscard]] const Chunk &chunk() const { return chunk_; }
  [[nodiscard]] LimbDivisor divisor() const { return LimbDivisor(chunk_.power); }

  // How many digits a value has.
  [[nodiscard]] unsigned count(Limb value) const {
    unsigned digits = 0;
    for (; value != 0; value /= alphabet_.size()) {
      ++digits;
    }
    return digits;
  }

  // Writes the low `count` digits.
  void put(char *output, Limb value, unsigned count) const {
    for (; count > 0; value /= alphabet_.size()) {
      output[--count] = alphabet_[value % alphabet_.size()];
    }
  }

 private:
  std::string_view alphabet_;
  Chunk chunk_;
};

// The same for 0 to 9, with constants for variables and eight digits at a time: a third of the time
// for 64 words.
class DecimalDigits {
 public:
  [[nodiscard]] static const Chunk &chunk() { return decimalChunk; }
  [[nodiscard]] static const LimbDivisor &divisor() { return decimalDivisor; }

  [[nodiscard]] static unsigned count(Limb value) {
    // 1233 / 4096 is a little more than the logarithm of 2.
    const auto digits = static_cast<unsigned>(std::bit_width(value)) * 1233 >> 12;
    return digits + (value >= powersOfTen[digits]);
  }

  static void put(char *output, Limb value, unsigned count) {
    for (; count >= 8; value /= powersOfTen[8]) {
      const std::uint64_t eight = eightDigits(static_cast<std::uint32_t>(value % powersOfTen[8]));
      std::memcpy(output + (count -= 8), &eight, sizeof eight);
    }
    for (; count > 0; value /= 10) {
      output[--count] = static_cast<char>('0' + value % 10);
    }
  }

 private:
  static constexpr Chunk decimalChunk = largestChunk(10);
  static constexpr LimbDivisor decimalDivisor = LimbDivisor(decimalChunk.power);
  static constexpr auto powersOfTen = [] {
    std::array<Limb, decimalChunk.digits + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) {
      powers[i] = 10 * powers[i - 1];
    }
    return powers;
  }();

  // Eight digits, the first one in the lowest byte: halves of four digits, then quarters of two,
  // then single ones, all of a kind in one multiplication.
  static std::uint64_t eightDigits(std::uint32_t value) {
    const std::uint64_t fours = value / 10'000 | std::uint64_t{value % 10'000} << 32;
    const std::uint64_t hundreds = fours * 10'486 >> 20 & 0x7f'0000'007f;  // of each, below 10,000
    const std::uint64_t twos = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = twos * 103 >> 10 & 0xf'000f'000f'000f;  // of each, below 100
    return (tens | (twos - 10 * tens) << 8) + 0x3030'3030'3030'3030;
  }
};

template <class Digits>
char *writeChunks(const Digits &digits, std::span<Limb> value, char *output) {
  std::array<Limb, Splitter::maxChunks> chunks;
  const Splitter splitter(digits.divisor(), digits.chunk().power, value.size());
  std::size_t i = splitter.split(value, chunks.data()) - 1;
  unsigned count = digits.count(chunks[i]);
  for (;; --i, count = digits.chunk().digits) {
    digits.put(output, chunks[i], count);
    output += count;
    if (i == 0) return output;
  }
}

// ---- Reading ----

// An alphabet made ready for reading: the value of each byte as a digit, the first one where the
// alphabet has it twice.
class DigitValues {
 public:
  static constexpr Word none = 0xffff;

  constexpr explicit DigitValues(std::string_view alphabet)
      : base_(static_cast<Word>(alphabet.size())),
        bits_(isPowerOfTwo(alphabet.size())
                  ? static_cast<unsigned>(std::countr_zero(alphabet.size()))
                  : 0),
        chunk_(largestChunk(base_)),
        eighthPower_(eighthPowerOf(base_)) {
    values_.fill(none);
    for (std::size_t i = alphabet.size(); i-- > 0;) {
      values_[static_cast<unsigned char>(alphabet[i])] = static_cast<Word>(i);
    }
  }

  [[nodiscard]] Word base() const { return base_; }
  [[nodiscard]] unsigned bits() const {
    return bits_;
  }  // of a digit; 0 if they are no whole number
  [[nodiscard]] const Chunk &chunk() const { return chunk_; }

  Word operator[](char digit) const { return values_[static_cast<unsigned char>(digit)]; }

  // The value of eight characters, if all of them are digits: in three steps, where digit by digit
  // each would wait for the one before. Two thirds of the time for 120 words. Requires: a chunk has
  // eight digits or more.
  [[nodiscard]] std::optional<Limb> eight(const char *text) const {
    const Word a = (*this)[text[0]], b = (*this)[text[1]], c = (*this)[text[2]];
    const Word d = (*this)[text[3]], e = (*this)[text[4]], f = (*this)[text[5]];
    const Word g = (*this)[text[6]], h = (*this)[text[7]];
    if (((a | b | c | d | e | f | g | h) & 0x8000) != 0) return std::nullopt;
    const Limb base = base_, square = base * base;
    const Limb upper = (a * base + b) * square + (c * base + d);
    const Limb lower = (e * base + f) * square + (g * base + h);
    return upper * (square * square) + lower;
  }
  [[nodiscard]] Limb eighthPower() const { return eighthPower_; }

 private:
  static constexpr Limb eighthPowerOf(Limb base) {
    const Limb square = base * base;
    return (square * square) * (square * square);
  }

  Word base_;
  unsigned bits_;
  Chunk chunk_;
  Limb eighthPower_;  // of the base, as long as it fits
  std::array<Word, 256> values_{};
};

// Collects bits, the lowest first.
class BitCollector {
 public:
  explicit BitCollector(Magnitude &value) : value_(value) {}

  // Takes the next `count` bits, at least one and at most a limb's.
  void add(Limb bits, unsigned count) {
    limb_ |= bits << filled_;
    filled_ += count;
    if (filled_ < limbBits) return;
    value_.push(limb_);
    filled_ -= limbBits;
    limb_ = filled_ == 0 ? 0 : bits >> (count - filled_);
  }

  void finish() {
    value_.push(limb_);
    value_.settle();
  }

 private:
  Magnitude &value_;
  Limb limb_ = 0;
  unsigned filled_ = 0;  // bits of limb_, fewer than it has
};

// From the last digit to the first. Requires: the value can't be too long for a record.
void readBits(std::string_view text, const DigitValues &digits, Magnitude &value) {
  BitCollector bits(value);
  while (digits.chunk().digits >= 8 && text.size() >= 8) {
    const std::optional<Limb> eight = digits.eight(text.data() + text.size() - 8);
    if (!eight) break;
    bits.add(*eight, 8 * digits.bits());
    text.remove_suffix(8);
  }
  for (; !text.empty(); text.remove_suffix(1)) {
    const Word digit = digits[text.back()];
    if (digit != DigitValues::none) bits.add(digit, digits.bits());
  }
  bits.finish();
}

// Some digits as one limb, with the power of the base that they count.
struct Group {
  Limb value = 0;
  Limb power = 1;
};

// Takes up to a chunk of digits from the front of a text.
Group takeGroup(std::string_view &text, const DigitValues &digits) {
  Group group;
  unsigned count = 0;
  for (; count + 8 <= digits.chunk().digits && text.size() >= 8; count += 8) {
    const std::optional<Limb> eight = digits.eight(text.data());
    if (!eight) break;
    group.value = group.value * digits.eighthPower() + *eight;
    group.power *= digits.eighthPower();
    text.remove_prefix(8);
  }
  for (; !text.empty() && count < digits.chunk().digits; text.remove_prefix(1)) {
    const Word digit = digits[text.front()];
    if (digit == DigitValues::none) continue;
    group.value = group.value * digits.base() + digit;
    group.power *= digits.base();
    ++count;
  }
  return group;
}

// Each digit for itself, cut twice: when the value is multiplied, and when the digit is added.
void readOneByOne(std::string_view text, const DigitValues &digits, Magnitude &value) {
  Magnitude next;
  for (const char character : text) {
    const Word digit = digits[character];
    if (digit == DigitValues::none) continue;
    next.setMultiple(value, digits.base(), 0);
    next.cut();
    value.setMultiple(next, 1, digit);
    value.cut();
  }
}

void readChunks(std::string_view text, const DigitValues &digits, Magnitude &value) {
  Magnitude first, second;
  Magnitude *current = &first, *next = &second;
  while (!text.empty()) {
    const std::string_view begin = text;
    const Group group = takeGroup(text, digits);
    next->setMultiple(*current, group.power, group.value);
    if (next->isTooLong()) {
      readOneByOne(begin.substr(0, begin.size() - text.size()), digits, *current);
    } else {
      std::swap(current, next);
    }
  }
  value = *current;
}

Magnitude read(std::string_view text, const DigitValues &digits) {
  Magnitude value;
  if (digits.bits() != 0 && text.size() * digits.bits() <= maxWords * wordBits) {
    readBits(text, digits, value);
  } else {
    readChunks(text, digits, value);
  }
  return value;
}

}  // namespace

char *writeDigits(Magnitude &value, char *output, const char *alphabet) {
  if (alphabet == _KTINT_DEC_VECTOR) {
    return writeChunks(DecimalDigits(), value.mutableLimbs(), output);
  }
  if (alphabet == _KTINT_HEX_VECTOR) return writeLimbs<4>(value.limbs(), output, alphabet);
  const std::string_view digits(alphabet);
  // What a division by the base would say; by a base of 1 it would never end.
  require(digits.size() > 1, {"_KtArithmetic", 500, "!_KtIntZero(divisor)"});
  if (digits.size() == 2) return writeLimbs<1>(value.limbs(), output, alphabet);
  if (digits.size() == 16) return writeLimbs<4>(value.limbs(), output, alphabet);
  if (isPowerOfTwo(digits.size())) return writeBits(value.limbs(), output, digits);
  return writeChunks(AnyDigits(digits), value.mutableLimbs(), output);
}

// Alphabets that are ours are ready: of 16 digits that saves half of the time.
Magnitude readDigits(const char *text, const char *alphabet) {
  static constexpr DigitValues binary("01"), decimal("0123456789"), hexadecimal("0123456789abcdef");
  if (alphabet == _KTINT_BIN_VECTOR) return read(text, binary);
  if (alphabet == _KTINT_DEC_VECTOR) return read(text, decimal);
  if (alphabet == _KTINT_HEX_VECTOR) return read(text, hexadecimal);
  return read(text, DigitValues(alphabet));
}

}  // namespace kt::bigint
