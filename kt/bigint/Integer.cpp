// SPDX-License-Identifier: MIT

#include "kt/bigint/Integer.h"

#include <algorithm>
#include <bit>
#include <new>
#include <stdexcept>

#include "kt/bigint.h"

namespace kt {

namespace {

constexpr int bitsPerWord = 16;
constexpr int wordsPer64Bits = 64 / bitsPerWord;

std::overflow_error tooLarge(const char *operation) {
  return std::overflow_error(std::string("kt::Integer: more than 4080 bits in ") + operation);
}

std::domain_error divisionByZero(const char *operation) {
  return std::domain_error(std::string("kt::Integer: division by zero in ") + operation);
}

void requireNotNegative(bool negative, const char *what, const char *operation) {
  if (!negative) return;
  throw std::domain_error(std::string("kt::Integer: negative ") + what + " in " + operation);
}

}  // namespace

// ---- Values ----

void Integer::Release::operator()(_KtInt *record) const noexcept {
  _KtIntFree(record);
}

Integer::Record Integer::makeRecord() {
  Record record(_KtIntAlloc(0));
  if (!record) throw std::bad_alloc();
  return record;
}

Integer::Integer(Record record) noexcept : record_(std::move(record)) {}

Integer::Record Integer::recordOf(bool negative, std::uint64_t magnitude) {
  if (magnitude == 0) return nullptr;
  Record record = makeRecord();  // has room for five words
  for (int word = 0; word < wordsPer64Bits; ++word) {
    record->digits[word] = static_cast<std::uint16_t>(magnitude >> (word * bitsPerWord));
  }
  record->length = wordsPer64Bits;
  record->negative = static_cast<std::uint8_t>(negative);
  _KtIntShorten(record.get());
  return record;
}

Integer::Integer(const Integer &other) {
  *this = other;
}

Integer &Integer::operator=(const Integer &other) {
  if (!other.record_) {
    record_.reset();
    return *this;
  }
  if (!record_) record_ = makeRecord();
  _KtIntCopy(other.record_.get(), record_.get());
  return *this;
}

void Integer::dropIfZero() noexcept {
  if (record_->length == 1 && record_->digits[0] == 0) record_.reset();
}

int Integer::sign() const noexcept {
  if (!record_) return 0;
  return record_->negative != 0 ? -1 : 1;
}

int Integer::bitLength() const noexcept {
  if (!record_) return 0;
  const int below = record_->length - 1;
  return below * bitsPerWord + static_cast<int>(std::bit_width(record_->digits[below]));
}

std::uint64_t Integer::magnitudeUpTo(std::uint64_t most) const {
  std::uint64_t magnitude = 0;
  if (bitLength() <= 64) {
    for (int word = record_ ? record_->length : 0; word-- > 0;) {
      magnitude = magnitude << bitsPerWord | record_->digits[word];
    }
    if (magnitude <= most) return magnitude;
  }
  throw std::overflow_error("kt::Integer: the value does not fit in the conversion's type");
}

std::size_t Integer::hash() const noexcept {
  if (!record_) return 0;
  const std::u16string_view words(reinterpret_cast<const char16_t *>(record_->digits),
                                  record_->length);
  const std::size_t hashOfWords = std::hash<std::u16string_view>()(words);
  return record_->negative != 0 ? ~hashOfWords : hashOfWords;
}

bool operator==(const Integer &a, const Integer &b) noexcept {
  if (!a.record_ || !b.record_) return a.sign() == b.sign();
  return _KtIntEQ(a.record_.get(), b.record_.get()) != 0;
}

std::strong_ordering operator<=>(const Integer &a, const Integer &b) noexcept {
  if (!a.record_ || !b.record_) return a.sign() <=> b.sign();
  return _KtIntCmp(a.record_.get(), b.record_.get()) <=> 0;
}

// ---- Sums ----

// Both numbers are not zero.
Integer &Integer::addOrSubtract(const Integer &other, bool subtracts) {
  const auto compute = subtracts ? _KtIntSub : _KtIntAdd;
  const bool grows = (sign() == other.sign()) != subtracts;
  if (!grows || std::max(bitLength(), other.bitLength()) < maximumBits) {
    compute(record_.get(), other.record_.get(), record_.get());
    dropIfZero();
    return *this;
  }
  Integer sum(makeRecord());  // may need a word too many, and then this number is to stay
  compute(record_.get(), other.record_.get(), sum.record_.get());
  sum.dropIfZero();
  if (!sum) throw tooLarge(subtracts ? "operator-" : "operator+");  // all that is left of 256 words
  return *this = std::move(sum);
}

Integer &Integer::operator+=(const Integer &other) {
  if (!other) return *this;
  if (!*this) return *this = other;
  return addOrSubtract(other, false);
}

Integer &Integer::operator-=(const Integer &other) {
  if (!other) return *this;
  if (!*this) return *this = -other;
  return addOrSubtract(other, true);
}

Integer Integer::operator-() const {
  Integer opposite(*this);
  if (opposite) opposite.record_->negative = static_cast<std::uint8_t>(sign() > 0);
  return opposite;
}

Integer Integer::operator++(int) {
  Integer before(*this);
  ++*this;
  return before;
}

Integer Integer::operator--(int) {
  Integer before(*this);
  --*this;
  return before;
}

// ---- Products and quotients ----

Integer &Integer::operator*=(const Integer &other) {
  if (!*this || !other) return *this = Integer();
  // A product has as many bits as its factors together, or one less.
  if (bitLength() + other.bitLength() > maximumBits + 1) throw tooLarge("operator*");
  Integer product(makeRecord());
  _KtIntMul(record_.get(), other.record_.get(), product.record_.get());
  product.dropIfZero();
  if (!product) throw tooLarge("operator*");  // one bit too many, and so a word: 256 of them
  return *this = std::move(product);
}

Integer &Integer::operator/=(const Integer &other) {
  if (!other) throw divisionByZero("operator/");
  if (!*this) return *this;
  const bool negative = sign() != other.sign();
  Integer dividend(*this);
  dividend.record_->negative = other.record_->negative;  // equal signs: plain magnitudes
  Integer quotient(makeRecord());
  const Integer remainder(makeRecord());
  _KtIntDiv(dividend.record_.get(), other.record_.get(), quotient.record_.get(),
            remainder.record_.get());
  quotient.dropIfZero();
  if (quotient) quotient.record_->negative = static_cast<std::uint8_t>(negative);
  return *this = std::move(quotient);
}

Integer &Integer::operator%=(const Integer &other) {
  if (!other) throw divisionByZero("operator%");
  if (!*this) return *this;
  const std::uint8_t negative = record_->negative;
  _KtIntMod(record_.get(), other.record_.get(), record_.get());
  dropIfZero();
  if (record_) record_->negative = negative;
  return *this;
}

// ---- Shifts ----

Integer &Integer::operator<<=(std::int64_t count) {
  requireNotNegative(count < 0, "count", "operator<<");
  if (!*this) return *this;
  if (count > maximumBits - bitLength()) throw tooLarge("operator<<");
  _KtIntShiftLeft(record_.get(), static_cast<std::int32_t>(count));
  return *this;
}

Integer &Integer::operator>>=(std::int64_t count) {
  requireNotNegative(count < 0, "count", "operator>>");
  if (!*this) return *this;
  const bool roundsDown = sign() < 0;  // the record's own shift cuts off towards zero
  if (roundsDown) _KtIntAddS(record_.get(), 1);
  const std::int64_t enough = std::min<std::int64_t>(count, maximumBits);
  _KtIntShiftRight(record_.get(), static_cast<std::int32_t>(enough));
  if (roundsDown) _KtIntSubS(record_.get(), 1);
  dropIfZero();
  return *this;
}

// ---- Powers and the like ----

Integer abs(const Integer &a) {
  return a.sign() < 0 ? -a : a;
}

namespace {

// base^exponent from the exponent's top bit down: no product on the way is larger than the result.
Integer powerOf(const Integer &base, unsigned exponent) {
  Integer power = 1;
  for (auto bit = std::bit_floor(exponent); bit != 0; bit >>= 1) {
    power *= power;
    if ((exponent & bit) != 0) power *= base;
  }
  return power;
}

}  // namespace

Integer pow(const Integer &base, const Integer &exponent) {
  requireNotNegative(exponent.sign() < 0, "exponent", "pow");
  if (!exponent) return 1;
  if (base.bitLength() <= 1) return exponent % 2 ? base : abs(base);
  // The base's top bit alone makes a power of that many bits and one.
  if (exponent > (Integer::maximumBits - 1) / (base.bitLength() - 1)) throw tooLarge("pow");
  try {
    return powerOf(base, static_cast<unsigned>(exponent));
  } catch (const std::overflow_error &) {  // which names the product
    throw tooLarge("pow");
  }
}

Integer gcd(Integer a, Integer b) {
  while (b) {
    a %= b;
    std::swap(a, b);
  }
  return abs(a);
}

Integer sqrt(const Integer &a) {
  requireNotNegative(a.sign() < 0, "number", "sqrt");
  if (!a) return 0;
  // Newton's method from above: each step comes closer until it would go up again.
  Integer root = Integer(1) << ((a.bitLength() + 1) / 2);
  for (;;) {
    Integer next = (root + a / root) >> 1;
    if (next >= root) return root;
    root = std::move(next);
  }
}

}  // namespace kt
