// SPDX-License-Identifier: MIT

// kt::Integer as text: reading, writing, streams and literals.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <ostream>
#include <stdexcept>

#include "kt/bigint/Integer.h"
#include "kt/bigint/_KtEncoding.h"

namespace kt {

namespace {

constexpr std::string_view letterDigits = "0123456789abcdefghijklmnopqrstuvwxyz";

std::invalid_argument invalid(const char *what, const char *operation) {
  return std::invalid_argument(std::string("kt::Integer: ") + what + " in " + operation);
}

std::overflow_error tooLarge() {
  return std::overflow_error("kt::Integer: more than 4080 bits in Integer(text)");
}

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

// Bits that every digit adds at least, but for the first one.
std::size_t leastBits(std::string_view alphabet) {
  return static_cast<std::size_t>(std::bit_width(alphabet.size())) - 1;
}

// Whether all numbers of so many digits fit, as far as floating-point numbers can tell.
bool surelyFits(std::size_t digitCount, std::string_view alphabet) {
  constexpr double margin = 0.001;  // bits; far more than the error of the product
  const double bits = static_cast<double>(digitCount) * std::log2(alphabet.size());
  return bits + margin < Integer::maximumBits;
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

}  // namespace

// ---- Reading ----

Integer Integer::read(std::string_view text, std::string_view alphabet) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || text.find_first_not_of(alphabet) != std::string_view::npos) {
    throw invalid("no number of that base", "Integer(text)");
  }
  text.remove_prefix(std::min(text.find_first_not_of(alphabet.front()), text.size()));
  if (text.empty()) return {};
  if (text.size() - 1 > maximumBits / leastBits(alphabet)) throw tooLarge();
  Integer number(makeRecord());
  _KtIntDecode(std::string(text).c_str(), number.record_.get(), std::string(alphabet).c_str());
  number.dropIfZero();
  // A number that did not fit has lost words by now, so that its text is another.
  if (!surelyFits(text.size(), alphabet) && number.write(alphabet) != text) throw tooLarge();
  number.record_->negative = static_cast<std::uint8_t>(negative);
  return number;
}

Integer::Integer(std::string_view text, int base)
    : Integer(read(lowerCase(text), alphabetOf(base, "Integer(text, base)"))) {}

Integer::Integer(std::string_view text, std::string_view alphabet) {
  requireAlphabet(alphabet, "Integer(text, alphabet)");
  *this = read(text, alphabet);
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
  if (!record_) return std::string(1, alphabet.front());
  const std::size_t mostDigits = static_cast<std::size_t>(bitLength()) / leastBits(alphabet) + 1;
  std::string text(1 + mostDigits + 1, '\0');  // the sign in front and the NUL behind
  _KtIntEncode(record_.get(), text.data(), std::string(alphabet).c_str());
  text.resize(std::strlen(text.c_str()));
  return text;
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
    if (isOct) digits.insert(0, "0");  // to the language it is a digit: internal fills before it
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
  return stream << front + digits;  // which fills up on the other sides
}

}  // namespace kt
