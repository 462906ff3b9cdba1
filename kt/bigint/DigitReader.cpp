// SPDX-License-Identifier: MIT

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "kt/bigint/Digits.h"

namespace kt::bigint {

namespace {

// ---- Alphabets ----

// The value of each byte as a digit, and what follows from the base.
class DigitValues {
 public:
  static constexpr Word none = 0xffff;

  constexpr explicit DigitValues(std::string_view alphabet,
                                 LetterCase letterCase = LetterCase::exact)
      : base_(static_cast<Word>(alphabet.size())),
        bits_(bitsPerDigit(alphabet.size())),
        chunk_(largestChunk(base_)),
        eighthPower_(eighthPowerOf(base_)) {
    values_.fill(none);
    for (std::size_t i = alphabet.size(); i-- > 0;) {
      const auto digit = static_cast<unsigned char>(alphabet[i]);
      values_[digit] = static_cast<Word>(i);
      if (letterCase == LetterCase::either && digit >= 'a' && digit <= 'z') {
        values_[digit - 'a' + std::size_t{'A'}] = static_cast<Word>(i);
      }
    }
  }

  [[nodiscard]] Word base() const { return base_; }
  [[nodiscard]] unsigned bits() const { return bits_; }
  [[nodiscard]] const Chunk &chunk() const { return chunk_; }

  Word operator[](char digit) const { return values_[static_cast<unsigned char>(digit)]; }

  // Returns the value of eight characters if all are digits. Three steps deep, while digit by digit
  // each would wait for the one before: two thirds of the time for 120 words. Requires:
  // chunk().digits >= 8.
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
  // The base to the power of 8. Requires: chunk().digits >= 8.
  [[nodiscard]] Limb eighthPower() const { return eighthPower_; }

 private:
  static constexpr Limb eighthPowerOf(Limb base) {
    const Limb square = base * base;
    return (square * square) * (square * square);
  }

  Word base_;                       // modulo 65,536
  unsigned bits_;                   // of a digit; 0 if that is not a whole number
  Chunk chunk_;                     // the largest
  Limb eighthPower_;                // modulo B
  std::array<Word, 256> values_{};  // `none` for a byte outside the alphabet
};

// ---- Bases that are powers of two ----

// Collects bits into limbs, least significant first.
class BitCollector {
 public:
  explicit BitCollector(Magnitude &value) : value_(value) {}

  // Takes the next `count` bits. Requires: 1 <= count <= limbBits.
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
  Limb limb_ = 0;        // the next one to push
  unsigned filled_ = 0;  // bits of limb_ that are set, < limbBits
};

// Reads from the last digit to the first. Requires: text.size() * bits <= maxWords * wordBits.
Reading readBits(std::string_view text, const DigitValues &digits, Magnitude &value) {
  Reading reading;
  BitCollector bits(value);
  while (digits.chunk().digits >= 8 && text.size() >= 8) {
    const std::optional<Limb> eight = digits.eight(text.data() + text.size() - 8);
    if (!eight) break;
    bits.add(*eight, 8 * digits.bits());
    text.remove_suffix(8);
  }
  for (; !text.empty(); text.remove_suffix(1)) {
    const Word digit = digits[text.back()];
    if (digit == DigitValues::none) {
      reading.onlyDigits = false;
    } else {
      bits.add(digit, digits.bits());
    }
  }
  bits.finish();
  return reading;
}

// ---- Other bases ----

// Some digits as a number, and the base to the power of their count.
struct Group {
  Limb value = 0;
  Limb power = 1;
};

// Takes up to a chunk of digits from the beginning of `text`. Clears `onlyDigits` if it skips a
// character.
Group takeGroup(std::string_view &text, const DigitValues &digits, bool &onlyDigits) {
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
    if (digit == DigitValues::none) {
      onlyDigits = false;
      continue;
    }
    group.value = group.value * digits.base() + digit;
    group.power *= digits.base();
    ++count;
  }
  return group;
}

// Reads digit by digit and truncates twice for each: after multiplying and after adding the digit.
void readTruncated(std::string_view text, const DigitValues &digits, Magnitude &value) {
  Magnitude next;
  for (const char character : text) {
    const Word digit = digits[character];
    if (digit == DigitValues::none) continue;
    next.setMultiple(value, digits.base(), 0);
    next.truncate();
    value.setMultiple(next, 1, digit);
    value.truncate();
  }
}

Reading readChunks(std::string_view text, const DigitValues &digits, Magnitude &value) {
  Reading reading;
  Magnitude other;
  Magnitude *current = &value, *next = &other;
  while (!text.empty()) {
    const std::string_view begin = text;
    const Group group = takeGroup(text, digits, reading.onlyDigits);
    next->setMultiple(*current, group.power, group.value);
    if (next->isTooLong()) {
      reading.fits = false;
      readTruncated(begin.substr(0, begin.size() - text.size()), digits, *current);
    } else {
      std::swap(current, next);
    }
  }
  if (current != &value) value = *current;
  return reading;
}

Reading read(std::string_view text, const DigitValues &digits, Magnitude &value) {
  if (digits.bits() != 0 && text.size() * digits.bits() <= maxWords * wordBits) {
    return readBits(text, digits, value);
  }
  return readChunks(text, digits, value);
}

}  // namespace

Reading readDigits(std::string_view text, std::string_view alphabet, LetterCase letterCase,
                   Magnitude &value) {
  // Making a table takes as long as reading 16 digits.
  static constexpr DigitValues binary(binaryAlphabet), decimal(decimalAlphabet),
      hexadecimal(hexadecimalAlphabet), eitherHexadecimal(hexadecimalAlphabet, LetterCase::either);
  if (alphabet == decimalAlphabet) return read(text, decimal, value);
  if (alphabet == hexadecimalAlphabet) {
    return read(text, letterCase == LetterCase::exact ? hexadecimal : eitherHexadecimal, value);
  }
  if (alphabet == binaryAlphabet) return read(text, binary, value);
  return read(text, DigitValues(alphabet, letterCase), value);
}

}  // namespace kt::bigint
