// SPDX-License-Identifier: MIT

// kt::Integer as text: reading, writing, streams and literals.
#include <algorithm>
#include <array>
#include <bit>
#include <ostream>

#include "kt/bigint/Digits.h"
#include "kt/bigint/Errors.h"
#include "kt/bigint/Integer.h"
#include "kt/bigint/Magnitude.h"

namespace kt {

using bigint::invalid;
using bigint::LetterCase;
using bigint::Magnitude;

namespace {

constexpr const char *fromText = "Integer(text)";
constexpr const char *notANumber = "not a number of that base";
constexpr std::string_view letterDigits = "0123456789abcdefghijklmnopqrstuvwxyz";

std::string_view alphabetOf(int base, const char *operation) {
  if (base >= 2 && base <= static_cast<int>(letterDigits.size())) {
    return letterDigits.substr(0, static_cast<std::size_t>(base));
  }
  throw invalid("a base outside 2 to 36", operation);
}

void requireAlphabet(std::string_view alphabet, const char *operation) {
  std::string sorted(alphabet);
  std::ranges::sort(sorted);
  const bool repeats = std::ranges::adjacent_find(sorted) != sorted.end();
  const bool ambiguous =
      alphabet.find_first_of(std::string_view("+-\0", 3)) != std::string_view::npos;
  if (alphabet.size() < 2 || repeats || ambiguous) {
    throw invalid("no alphabet of digits", operation);
  }
}

// The most digits that a number can have. Each digit after the first adds at least
// bit_width(base) - 1 bits.
std::size_t mostDigits(std::string_view alphabet) {
  const auto leastBits = static_cast<std::size_t>(std::bit_width(alphabet.size())) - 1;
  return std::size_t{Integer::maximumBits} / leastBits + 1;
}

std::string withCase(std::string_view text, char first, char last, int shift) {
  std::string changed(text);
  for (char &character : changed) {
    if (character >= first && character <= last) character = static_cast<char>(character + shift);
  }
  return changed;
}

std::string lowerCase(std::string_view text) {
  return withCase(text, 'A', 'Z', 'a' - 'A');
}

std::string upperCase(std::string_view text) {
  return withCase(text, 'a', 'z', 'A' - 'a');
}

// Returns whether all characters are digits.
bool isNumber(std::string_view text, std::string_view alphabet, LetterCase letterCase) {
  const std::string digits = letterCase == LetterCase::either ? lowerCase(text) : std::string(text);
  return digits.find_first_not_of(alphabet) == std::string::npos;
}

// Reads digits without a sign.
Magnitude readNumber(std::string_view text, std::string_view alphabet, LetterCase letterCase) {
  Magnitude value;
  if (text.empty()) throw invalid(notANumber, fromText);
  text.remove_prefix(std::min(text.find_first_not_of(alphabet.front()), text.size()));
  if (text.size() > mostDigits(alphabet)) {
    if (!isNumber(text, alphabet, letterCase)) throw invalid(notANumber, fromText);
    throw bigint::tooLarge(fromText);
  }
  const bigint::Reading reading = readDigits(text, alphabet, letterCase, value);
  if (!reading.onlyDigits) throw invalid(notANumber, fromText);
  if (!reading.fits) throw bigint::tooLarge(fromText);
  return value;
}

// Removes a sign from the beginning of `text` and returns whether it is a minus.
bool takeSign(std::string_view &text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  return negative;
}

}  // namespace

// ---- Reading ----

Integer::Integer(std::string_view text, int base) {
  const std::string_view alphabet = alphabetOf(base, "Integer(text, base)");
  const bool negative = takeSign(text);
  assign(readNumber(text, alphabet, LetterCase::either), negative);
}

Integer::Integer(std::string_view text, std::string_view alphabet) {
  requireAlphabet(alphabet, "Integer(text, alphabet)");
  const bool negative = takeSign(text);
  assign(readNumber(text, alphabet, LetterCase::exact), negative);
}

inline namespace literals {

Integer operator""_kt(const char *text) {
  std::string digits = lowerCase(text);
  std::erase(digits, '\'');
  if (digits.starts_with("0x")) return Integer(digits.substr(2), 16);
  if (digits.starts_with("0b")) return Integer(digits.substr(2), 2);
  return Integer(digits, digits.starts_with('0') ? 8 : 10);
}

}  // namespace literals

// ---- Writing ----

std::string Integer::write(std::string_view alphabet) const {
  if (words_.empty()) return std::string(1, alphabet.front());
  std::array<char, 1 + maximumBits> text;  // a sign and, in binary, a digit for each bit
  char *end = text.data();
  if (negative_) *end++ = '-';
  Magnitude rest = magnitude();
  end = writeDigits(rest, end, alphabet);
  return {text.data(), end};
}

std::string Integer::toString(int base) const {
  return write(alphabetOf(base, "toString(base)"));
}

std::string Integer::toString(std::string_view alphabet) const {
  requireAlphabet(alphabet, "toString(alphabet)");
  return write(alphabet);
}

std::ostream &operator<<(std::ostream &stream, const Integer &value) {
  const std::ios_base::fmtflags format = stream.flags();
  const bool isHex = (format & std::ios_base::basefield) == std::ios_base::hex;
  const bool isOct = (format & std::ios_base::basefield) == std::ios_base::oct;
  std::string digits = abs(value).toString(isHex ? 16 : isOct ? 8 : 10);
  std::string front;
  if (value.sign() < 0) front = "-";
  if (value.sign() >= 0 && (format & std::ios_base::showpos) != 0) front = "+";
  if (value && (format & std::ios_base::showbase) != 0) {
    if (isHex) front += "0x";
    if (isOct) digits.insert(0, "0");  // a digit to the language: `internal` fills before it
  }
  if ((format & std::ios_base::uppercase) != 0) {
    front = upperCase(front);
    digits = upperCase(digits);
  }
  const auto width = static_cast<std::size_t>(std::max<std::streamsize>(stream.width(), 0));
  const std::size_t size = front.size() + digits.size();
  if ((format & std::ios_base::adjustfield) == std::ios_base::internal && size < width) {
    front.append(width - size, stream.fill());
  }
  return stream << front + digits;  // the stream fills for left and right
}

}  // namespace kt
