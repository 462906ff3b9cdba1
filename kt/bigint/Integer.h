// SPDX-License-Identifier: MIT

// kt::Integer: a whole number of up to 4,080 bits that behaves like C++'s own integers. It is
// copied, compared, printed, hashed and computed with operators. It owns its memory; moving
// allocates nothing and leaves zero. Any number of threads may read one value; a thread that
// changes it needs it alone.
//
// Errors are exceptions and leave the operands unchanged:
//
//   std::overflow_error     a result of more than 4,080 bits
//   std::domain_error       an operand without a result, such as a divisor of 0
//   std::invalid_argument   text that is not a number
//   std::bad_alloc          no memory
//
// A message names the operation: "kt::Integer: division by zero in operator/". Results that are
// plainly too large are refused before the work begins: kt::pow(2, 1'000'000'000) throws at once.
#ifndef KT_BIGINT_INTEGER_H
#define KT_BIGINT_INTEGER_H

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace kt {

namespace bigint {
class Magnitude;
}  // namespace bigint

class Integer {
 public:
  // The largest bitLength() of a value.
  static constexpr int maximumBits = 4080;

  // Makes zero. A zero allocates nothing.
  Integer() noexcept = default;

  // The value of any built-in integer of up to 64 bits, including bool and the character types.
  template <std::integral Number>
  requires(sizeof(Number) <= sizeof(std::uint64_t)) Integer(Number value)
      : Integer(magnitudeOf(value), isBelowZero(value)) {}

  // Reads `text` in `base`: an optional sign, + or -, and one or more digits. Digits are 0-9 and
  // then letters of either case: Integer("-fF", 16) is -255. Throws std::invalid_argument for any
  // other text, which includes blanks and prefixes. Requires: 2 <= base <= 36
  // (std::invalid_argument).
  explicit Integer(std::string_view text, int base = 10);

  // Reads `text` with the caller's digits: byte k of `alphabet` is the digit k, so that
  // Integer("-baa", "ab") is -4. Requires: at least two bytes, all different, none of them +, - or
  // NUL (std::invalid_argument).
  Integer(std::string_view text, std::string_view alphabet);

  Integer(const Integer &other) = default;
  Integer(Integer &&other) noexcept
      : words_(std::exchange(other.words_, {})), negative_(std::exchange(other.negative_, false)) {}
  Integer &operator=(const Integer &other) = default;
  Integer &operator=(Integer &&other) noexcept {
    words_ = std::exchange(other.words_, {});
    negative_ = std::exchange(other.negative_, false);
    return *this;
  }
  ~Integer() = default;

  // Returns -1, 0 or 1.
  [[nodiscard]] int sign() const noexcept;

  // Returns the number of bits of the magnitude: 0 for 0, 1 for 1 and -1, 8 for 255.
  [[nodiscard]] int bitLength() const noexcept;

  // Returns whether the value is not 0.
  explicit operator bool() const noexcept { return !words_.empty(); }

  // Returns the value as a built-in integer. Throws std::overflow_error if it does not fit.
  template <std::integral Number>
  requires(sizeof(Number) <= sizeof(std::uint64_t) && !std::same_as<Number, bool>) explicit
  operator Number() const {
    const auto most = static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
    if (sign() >= 0) return static_cast<Number>(magnitudeUpTo(most));
    const std::uint64_t magnitude = magnitudeUpTo(std::is_signed_v<Number> ? most + 1 : 0);
    return static_cast<Number>(std::uint64_t{0} - magnitude);
  }

  // Returns the number as text, without leading zeros and with a leading - if it is negative:
  // Integer(-255).toString(16) is "-ff". Requires: 2 <= base <= 36 (std::invalid_argument).
  [[nodiscard]] std::string toString(int base = 10) const;

  // Returns the number as text with the caller's digits. Requires of the alphabet what the
  // constructor requires.
  [[nodiscard]] std::string toString(std::string_view alphabet) const;

  // Arithmetic as on C++'s integers. A quotient is truncated towards zero; a remainder has the
  // dividend's sign or is 0; a == a / b * b + a % b. Both sides may be the same object.
  Integer &operator+=(const Integer &other);
  Integer &operator-=(const Integer &other);
  Integer &operator*=(const Integer &other);
  Integer &operator/=(const Integer &other);
  Integer &operator%=(const Integer &other);

  // Compute a * 2^count, and a / 2^count rounded down, as in C++20: -5 >> 1 is -3, -1 >> 1000 is
  // -1. Requires: count >= 0 (std::domain_error).
  Integer &operator<<=(std::int64_t count);
  Integer &operator>>=(std::int64_t count);

  Integer &operator++() { return *this += 1; }
  Integer &operator--() { return *this -= 1; }
  Integer operator++(int);  // returns the old value
  Integer operator--(int);  // returns the old value

  Integer operator+() const { return *this; }
  Integer operator-() const;

  friend Integer operator+(Integer a, const Integer &b) { return std::move(a += b); }
  friend Integer operator-(Integer a, const Integer &b) { return std::move(a -= b); }
  friend Integer operator*(Integer a, const Integer &b) { return std::move(a *= b); }
  friend Integer operator/(Integer a, const Integer &b) { return std::move(a /= b); }
  friend Integer operator%(Integer a, const Integer &b) { return std::move(a %= b); }
  friend Integer operator<<(Integer a, std::int64_t count) { return std::move(a <<= count); }
  friend Integer operator>>(Integer a, std::int64_t count) { return std::move(a >>= count); }

  friend bool operator==(const Integer &a, const Integer &b) noexcept;
  friend std::strong_ordering operator<=>(const Integer &a, const Integer &b) noexcept;

  // Prints the number in the stream's format: hex, oct or dec, showbase, showpos, uppercase, width,
  // fill, and left, right or internal. Two things differ from built-in integers: in hex and oct a
  // negative number is printed as sign and magnitude (-0xff), and showpos applies to every base.
  friend std::ostream &operator<<(std::ostream &stream, const Integer &value);

 private:
  friend struct std::hash<Integer>;
  friend Integer powmod(const Integer &base, const Integer &exponent, const Integer &modulus);

  template <std::integral Number>
  static constexpr bool isBelowZero(Number value) {
    if constexpr (std::is_signed_v<Number>) return value < 0;
    return false;
  }

  template <std::integral Number>
  static constexpr std::uint64_t magnitudeOf(Number value) {
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a character's sign counts
    const auto bits = static_cast<std::uint64_t>(value);
    return isBelowZero(value) ? std::uint64_t{0} - bits : bits;
  }

  Integer(std::uint64_t magnitude, bool negative);
  Integer(const bigint::Magnitude &magnitude, bool negative);

  [[nodiscard]] bigint::Magnitude magnitude() const;
  [[nodiscard]] std::uint64_t magnitudeUpTo(std::uint64_t most) const;
  [[nodiscard]] std::size_t hash() const noexcept;
  [[nodiscard]] std::string write(std::string_view alphabet) const;
  Integer &add(const Integer &other, bool otherIsNegative, const char *operation);
  void addMagnitude(const Integer &other, const char *operation);
  void subtractMagnitude(const Integer &other);
  void assign(const bigint::Magnitude &magnitude, bool negative);
  void settle() noexcept;

  // The magnitude in base 65,536, least significant word first, without leading zeros: empty for 0.
  // It is the first member, so a copy that throws has changed nothing.
  std::vector<std::uint16_t> words_;
  bool negative_ = false;  // false for 0
};

// Returns |a|.
[[nodiscard]] Integer abs(const Integer &a);

// Returns base^exponent; 1 if the exponent is 0. Requires: exponent >= 0 (std::domain_error).
[[nodiscard]] Integer pow(const Integer &base, const Integer &exponent);

// Returns base^exponent modulo |modulus|: 0 to |modulus| - 1, whatever the signs. Requires:
// exponent >= 0 and modulus != 0 (std::domain_error). Takes time in proportion to the exponent's
// bits.
[[nodiscard]] Integer powmod(const Integer &base, const Integer &exponent, const Integer &modulus);

// Returns the greatest common divisor, which is never negative; that of 0 and a is |a|.
[[nodiscard]] Integer gcd(Integer a, Integer b);

// Returns the square root rounded down: sqrt(8) is 2. Requires: a >= 0 (std::domain_error).
[[nodiscard]] Integer sqrt(const Integer &a);

inline namespace literals {

// Reads an integer literal of any length: 1'000'000'000'000'000'000'000_kt, 0xff_kt, 0b101_kt,
// 0377_kt. Throws std::invalid_argument for a fraction or an exponent.
Integer operator""_kt(const char *text);

}  // namespace literals

}  // namespace kt

// Equal numbers have equal hashes.
template <>
struct std::hash<kt::Integer> {
  std::size_t operator()(const kt::Integer &value) const noexcept { return value.hash(); }
};

#endif
