// SPDX-License-Identifier: MIT

// A whole number that behaves as C++'s own do and holds up to 4,080 bits: copied, compared,
// printed, hashed and computed with operators. It owns its digits. A move takes them along and
// allocates nothing; what was moved from is zero. Any number of threads may read one value; a
// thread that changes it must be alone with it.
//
// What cannot be done throws, and then no operand has changed: std::overflow_error for a result of
// more than 4,080 bits, std::domain_error for an operand without a result (a divisor of 0),
// std::invalid_argument for text that is no number. Each message names the operation:
// "kt::Integer: division by zero in operator/". What is plainly too large is refused before work
// begins: kt::pow(2, 1'000'000'000) at once.
#ifndef KT_BIGINT_INTEGER_H
#define KT_BIGINT_INTEGER_H

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

struct _KtInt;  // the record of kt/bigint/_KtInt.h

#pragma GCC visibility push(default)
namespace kt {

class Integer {
 public:
  // The most bits that a magnitude may have.
  static constexpr int maximumBits = 4080;

  // Zero. Allocates nothing, and neither does any other zero.
  Integer() noexcept = default;

  // The value of any built-in integer of up to 64 bits, a bool or a character too.
  template <std::integral Number>
  requires(sizeof(Number) <= sizeof(std::uint64_t)) Integer(Number value)
      : record_(recordOf(isNegative(value), magnitudeOf(value))) {}

  // The number that `text` is in `base`, 2 to 36: an optional sign, + or -, and one digit or more.
  // The digits are 0-9 and then letters, in either case: Integer("-fF", 16) is -255. Nothing else
  // may stand in it, no blank and no prefix; such a text, or another base, is
  // std::invalid_argument.
  explicit Integer(std::string_view text, int base = 10);

  // The same with digits of one's own: the k-th byte of `alphabet`, counted from 0, is the digit k.
  // Integer("-baa", "ab") is -4. The alphabet needs two bytes or more, all different and none of
  // them a sign or NUL, else it is std::invalid_argument.
  Integer(std::string_view text, std::string_view alphabet);

  Integer(const Integer &other);
  Integer(Integer &&other) noexcept = default;
  Integer &operator=(const Integer &other);
  Integer &operator=(Integer &&other) noexcept = default;
  ~Integer() = default;

  // -1, 0 or 1.
  [[nodiscard]] int sign() const noexcept;

  // The bits of the magnitude: 0 for 0, 1 for 1 and -1, 8 for 255.
  [[nodiscard]] int bitLength() const noexcept;

  // Whether the value is not 0.
  explicit operator bool() const noexcept { return record_ != nullptr; }

  // The value as a built-in integer. Throws std::overflow_error when that cannot hold it.
  template <std::integral Number>
  requires(sizeof(Number) <= sizeof(std::uint64_t) && !std::same_as<Number, bool>) explicit
  operator Number() const {
    const auto most = static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
    if (sign() >= 0) return static_cast<Number>(magnitudeUpTo(most));
    const std::uint64_t magnitude = magnitudeUpTo(std::is_signed_v<Number> ? most + 1 : 0);
    return static_cast<Number>(std::uint64_t{0} - magnitude);
  }

  // The number as text, with a - in front where it is negative and without leading zeros:
  // Integer(-255).toString(16) is "-ff". A base outside 2 to 36 is std::invalid_argument.
  [[nodiscard]] std::string toString(int base = 10) const;

  // The same with digits of one's own, as the constructor has them.
  [[nodiscard]] std::string toString(std::string_view alphabet) const;

  // As C++'s integers: a quotient is cut off towards zero, a remainder has the dividend's sign or
  // is 0, so that a == a / b * b + a % b. The right-hand side may be the number itself.
  Integer &operator+=(const Integer &other);
  Integer &operator-=(const Integer &other);
  Integer &operator*=(const Integer &other);
  Integer &operator/=(const Integer &other);
  Integer &operator%=(const Integer &other);

  // a * 2^count, and a / 2^count rounded down: -5 >> 1 is -3 and -1 >> 1000 is -1, as C++20 has it
  // for its own. A negative count is std::domain_error.
  Integer &operator<<=(std::int64_t count);
  Integer &operator>>=(std::int64_t count);

  Integer &operator++() { return *this += 1; }
  Integer &operator--() { return *this -= 1; }
  Integer operator++(int);  // the value before, as C++'s own
  Integer operator--(int);

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

  // Prints as the stream prints numbers: hex, oct and dec, showbase, showpos, uppercase, width,
  // fill, and left, right or internal. Where C++ prints the bits of a negative number, in hex and
  // oct, this prints the sign and the magnitude: -0xff. showpos counts in every base.
  friend std::ostream &operator<<(std::ostream &stream, const Integer &value);

 private:
  friend struct std::hash<Integer>;
  friend Integer powmod(const Integer &base, const Integer &exponent, const Integer &modulus);

  struct Release {
    void operator()(_KtInt *record) const noexcept;
  };
  using Record = std::unique_ptr<_KtInt, Release>;

  template <std::integral Number>
  static constexpr bool isNegative(Number value) {
    if constexpr (std::is_signed_v<Number>) return value < 0;
    return false;
  }

  template <std::integral Number>
  static constexpr std::uint64_t magnitudeOf(Number value) {
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a character's sign is to count
    const auto bits = static_cast<std::uint64_t>(value);
    return isNegative(value) ? std::uint64_t{0} - bits : bits;
  }

  explicit Integer(Record record) noexcept;
  static Record makeRecord();
  static Record recordOf(bool negative, std::uint64_t magnitude);
  static Integer read(std::string_view text, std::string_view alphabet);

  [[nodiscard]] std::uint64_t magnitudeUpTo(std::uint64_t most) const;
  [[nodiscard]] std::size_t hash() const noexcept;
  [[nodiscard]] std::string write(std::string_view alphabet) const;
  Integer &addOrSubtract(const Integer &other, bool subtracts);
  void dropIfZero() noexcept;

  Record record_;  // in normal form; null means zero, and zero is always null
};

// Friends are visible outside a shared library only where they are named again.
bool operator==(const Integer &a, const Integer &b) noexcept;
std::strong_ordering operator<=>(const Integer &a, const Integer &b) noexcept;
std::ostream &operator<<(std::ostream &stream, const Integer &value);

// |a|
[[nodiscard]] Integer abs(const Integer &a);

// base^exponent; 1 for the exponent 0. A negative exponent is std::domain_error.
[[nodiscard]] Integer pow(const Integer &base, const Integer &exponent);

// base^exponent modulo |modulus|, from 0 to |modulus| - 1 whatever the signs. A negative exponent
// and the modulus 0 are std::domain_error. Takes time in proportion to the exponent's bits.
[[nodiscard]] Integer powmod(const Integer &base, const Integer &exponent, const Integer &modulus);

// The greatest common divisor, never negative; that of 0 and a is |a|.
[[nodiscard]] Integer gcd(Integer a, Integer b);

// The square root rounded down: sqrt(8) is 2. A negative number is std::domain_error.
[[nodiscard]] Integer sqrt(const Integer &a);

inline namespace literals {

// A number as in C++ source, of any length: 1'000'000'000'000'000'000'000_kt, 0xff_kt, 0b101_kt,
// 0377_kt. A fraction or an exponent is std::invalid_argument.
Integer operator""_kt(const char *text);

}  // namespace literals

}  // namespace kt

// Equal numbers have equal hashes.
template <>
struct std::hash<kt::Integer> {
  std::size_t operator()(const kt::Integer &value) const noexcept { return value.hash(); }
};
#pragma GCC visibility pop

#endif
