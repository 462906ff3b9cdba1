// SPDX-License-Identifier: MIT

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

#include "kt/bigint/Digits.h"
#include "kt/bigint/Division.h"

namespace kt::bigint {

namespace {

// ---- Bases that are powers of two ----

// Writes any such base digit by digit. A digit may have bits of two limbs.
char *writeBits(Limbs value, char *output, std::string_view alphabet) {
  const unsigned bits = bitsPerDigit(alphabet.size());
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

// Writes a base whose digits do not cross limbs, in a third of writeBits' time. Requires:
// alphabet.size() == 2^bits, and limbBits is a multiple of `bits`.
template <unsigned bits>
char *writeLimbs(Limbs value, char *output, std::string_view alphabet) {
  // A copy, so that the compiler knows that `output` does not alias it.
  std::array<char, std::size_t{1} << bits> digits;
  std::memcpy(digits.data(), alphabet.data(), digits.size());
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

// ---- Other bases ----

// Splits a value into chunks, least significant first. Long values are divided in halves, by the
// chunk's power to the 2, 4, 8 and so on, until they are short. For 255 words this takes three
// fifths of the time of dividing the whole value once per chunk; for 64 words it gains nothing.
class Splitter {
 public:
  // A chunk's power is at least sqrt(2^limbBits), so a limb has at most two chunks.
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

  // Stores the chunks of a value without leading zeros and returns their number. Destroys the
  // value.
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

  // Returns whether to divide a value of that size by that power: only if the value is at least 1.5
  // times as long as the power, so that quotient and remainder have similar lengths.
  static bool divides(std::size_t powerSize, std::size_t valueSize) {
    return 3 * powerSize <= 2 * valueSize;
  }

  // Returns how many powers are short enough to divide a value.
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
  std::array<Divisor, 8> powers_;  // by the chunk's power to the 2, 4, 8, ...
  std::size_t powerCount_ = 0;     // of powers_ that are set
};

// Writes the chunks of any base.
class AnyDigits {
 public:
  explicit AnyDigits(std::string_view alphabet)
      : alphabet_(alphabet), chunk_(largestChunk(static_cast<Limb>(alphabet.size()))) {}

  [[nodiscard]] const Chunk &chunk() const { return chunk_; }
  [[nodiscard]] LimbDivisor divisor() const { return LimbDivisor(chunk_.power); }

  // Returns how many digits a value has.
  [[nodiscard]] unsigned count(Limb value) const {
    unsigned digits = 0;
    for (; value != 0; value /= alphabet_.size()) {
      ++digits;
    }
    return digits;
  }

  // Writes the lowest `count` digits.
  void put(char *output, Limb value, unsigned count) const {
    for (; count > 0; value /= alphabet_.size()) {
      output[--count] = alphabet_[value % alphabet_.size()];
    }
  }

 private:
  std::string_view alphabet_;
  Chunk chunk_;
};

// Writes decimal chunks, with constants instead of variables and eight digits at a time: a third of
// AnyDigits' time for 64 words.
class DecimalDigits {
 public:
  [[nodiscard]] static const Chunk &chunk() { return decimalChunk; }
  [[nodiscard]] static const LimbDivisor &divisor() { return decimalDivisor; }

  [[nodiscard]] static unsigned count(Limb value) {
    // 1,233 / 4,096 is a little more than log10(2).
    const auto digits = static_cast<unsigned>(std::bit_width(value)) * 1'233 >> 12;
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

  // Returns eight digits, the first one in the lowest byte. Splits the value into two numbers of
  // four digits, these into four of two and these into digits, with one multiplication per step.
  static std::uint64_t eightDigits(std::uint32_t value) {
    const std::uint64_t fours = value / 10'000 | std::uint64_t{value % 10'000} << 32;
    const std::uint64_t hundreds = fours * 10'486 >> 20 & 0x7f'0000'007f;  // each below 10,000
    const std::uint64_t twos = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = twos * 103 >> 10 & 0xf'000f'000f'000f;  // each below 100
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

}  // namespace

char *writeDigits(Magnitude &value, char *output, std::string_view alphabet) {
  if (alphabet == decimalAlphabet) {
    return writeChunks(DecimalDigits(), value.mutableLimbs(), output);
  }
  if (alphabet.size() == 16) return writeLimbs<4>(value.limbs(), output, alphabet);
  if (alphabet.size() == 2) return writeLimbs<1>(value.limbs(), output, alphabet);
  if (bitsPerDigit(alphabet.size()) != 0) return writeBits(value.limbs(), output, alphabet);
  return writeChunks(AnyDigits(alphabet), value.mutableLimbs(), output);
}

}  // namespace kt::bigint
