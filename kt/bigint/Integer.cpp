// SPDX-License-Identifier: MIT

// The signs of kt::Integer and its limit, over the arithmetic of magnitudes.
#include "kt/bigint/Integer.h"

#include <algorithm>
#include <array>
#include <bit>

#include "kt/bigint/Errors.h"
#include "kt/bigint/Limb.h"
#include "kt/bigint/Limbs.h"
#include "kt/bigint/Magnitude.h"

namespace kt {

using bigint::divisionByZero;
using bigint::Magnitude;
using bigint::requireNotNegative;
using bigint::tooLarge;
using bigint::Word;
using bigint::wordBits;
using bigint::Words;

static_assert(Integer::maximumBits == bigint::maxWords * wordBits);

// ---- Values ----

Integer::Integer(std::uint64_t magnitude, bool negative) : negative_(negative) {
  if (magnitude == 0) return;
  constexpr std::size_t mostWords = 64 / wordBits;
  std::array<Word, mostWords> words{};
  std::size_t count = 0;
  for (; magnitude != 0; magnitude >>= wordBits) {
    words[count++] = static_cast<Word>(magnitude);
  }
  words_.assign(words.begin(), words.begin() + count);
}

Integer::Integer(const Magnitude &magnitude, bool negative) {
  assign(magnitude, negative);
}

// Requires: !magnitude.isTooLong().
void Integer::assign(const Magnitude &magnitude, bool negative) {
  const std::size_t count = magnitude.wordCount();
  words_.resize(count);
  magnitude.storeWords(words_.data(), count);
  negative_ = negative && count != 0;
}

// Drops leading zeros.
void Integer::settle() noexcept {
  words_.resize(bigint::significant(Words(words_)).size());
  if (words_.empty()) negative_ = false;
}

int Integer::sign() const noexcept {
  if (words_.empty()) return 0;
  return negative_ ? -1 : 1;
}

int Integer::bitLength() const noexcept {
  if (words_.empty()) return 0;
  return static_cast<int>((words_.size() - 1) * wordBits) + std::bit_width(words_.back());
}

Magnitude Integer::magnitude() const {
  return Magnitude(words_);
}

std::uint64_t Integer::magnitudeUpTo(std::uint64_t most) const {
  if (bitLength() > 64) throw bigint::conversionOverflow();
  std::uint64_t magnitude = 0;
  for (std::size_t i = words_.size(); i-- > 0;) {
    magnitude = magnitude << wordBits | words_[i];
  }
  if (magnitude > most) throw bigint::conversionOverflow();
  return magnitude;
}

std::size_t Integer::hash() const noexcept {
  const std::string_view bytes(reinterpret_cast<const char *>(words_.data()),
                               words_.size() * sizeof(Word));
  const std::size_t hashOfBytes = std::hash<std::string_view>()(bytes);
  return negative_ ? ~hashOfBytes : hashOfBytes;
}

bool operator==(const Integer &a, const Integer &b) noexcept {
  return a.negative_ == b.negative_ && bigint::compare(a.words_, b.words_) == 0;
}

std::strong_ordering operator<=>(const Integer &a, const Integer &b) noexcept {
  if (a.negative_ != b.negative_) return b.negative_ <=> a.negative_;
  const int order = bigint::compare(a.words_, b.words_);
  return a.negative_ ? 0 <=> order : order <=> 0;
}

// ---- Sums ----

namespace {

// Returns whether a + b needs more than maxWords words.
bool overflows(Words a, Words b) {
  if (a.size() < b.size()) std::swap(a, b);
  std::array<Word, bigint::maxWords> sum;
  return bigint::add(sum.data(), a, b) != 0 && a.size() == bigint::maxWords;
}

}  // namespace

// Requires: both have the same sign.
void Integer::addMagnitude(const Integer &other, const char *operation) {
  const int bits = std::max(bitLength(), other.bitLength());  // the sum has at most one more
  if (bits == maximumBits && overflows(words_, other.words_)) throw tooLarge(operation);
  words_.reserve(static_cast<unsigned>(bits) / wordBits + 1);
  words_.resize(std::max(words_.size(), other.words_.size()));
  const Word carry = bigint::add(words_.data(), words_, other.words_);
  if (carry != 0) words_.push_back(carry);
}

// Requires: the signs differ.
void Integer::subtractMagnitude(const Integer &other) {
  if (bigint::compare(words_, other.words_) >= 0) {
    bigint::subtract(words_.data(), words_, other.words_);
  } else {
    const std::size_t size = words_.size();
    words_.resize(other.words_.size());
    bigint::subtract(words_.data(), other.words_, Words(words_).first(size));
    negative_ = !negative_;
  }
  settle();
}

Integer &Integer::add(const Integer &other, bool otherIsNegative, const char *operation) {
  if (words_.empty()) {
    words_ = other.words_;
    negative_ = otherIsNegative && !words_.empty();
  } else if (negative_ == otherIsNegative) {
    addMagnitude(other, operation);
  } else {
    subtractMagnitude(other);
  }
  return *this;
}

Integer &Integer::operator+=(const Integer &other) {
  return add(other, other.negative_, "operator+");
}

Integer &Integer::operator-=(const Integer &other) {
  return add(other, !other.negative_, "operator-");
}

Integer Integer::operator-() const {
  Integer opposite(*this);
  opposite.negative_ = sign() > 0;
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
  // A product has as many bits as its factors together, or one less.
  if (bitLength() + other.bitLength() > maximumBits + 1) throw tooLarge("operator*");
  Magnitude product;
  product.setProduct(magnitude(), other.magnitude());
  if (product.isTooLong()) throw tooLarge("operator*");
  assign(product, negative_ != other.negative_);
  return *this;
}

Integer &Integer::operator/=(const Integer &other) {
  if (!other) throw divisionByZero("operator/");
  Magnitude rest = magnitude(), quotient;
  divide(rest, other.magnitude(), quotient);
  assign(quotient, negative_ != other.negative_);
  return *this;
}

Integer &Integer::operator%=(const Integer &other) {
  if (!other) throw divisionByZero("operator%");
  Magnitude rest = magnitude(), quotient;
  divide(rest, other.magnitude(), quotient);
  assign(rest, negative_);
  return *this;
}

// ---- Shifts ----

Integer &Integer::operator<<=(std::int64_t count) {
  requireNotNegative(count < 0, "count", "operator<<");
  if (words_.empty()) return *this;
  if (count > maximumBits - bitLength()) throw tooLarge("operator<<");
  const auto bits = static_cast<unsigned>(count % wordBits);
  const auto words = static_cast<std::size_t>(count / wordBits);
  words_.reserve(words_.size() + words + 1);
  words_.insert(words_.begin(), words, Word{0});
  if (bits == 0) return *this;
  const Word carry = bigint::shiftLeft(words_, bits);
  if (carry != 0) words_.push_back(carry);
  return *this;
}

Integer &Integer::operator>>=(std::int64_t count) {
  requireNotNegative(count < 0, "count", "operator>>");
  if (count == 0 || words_.empty()) return *this;
  const bool roundsDown = negative_;  // then the result is -((|a| - 1) >> count) - 1
  if (roundsDown) bigint::subtract(words_, 1);
  const std::int64_t enough = std::min<std::int64_t>(count, maximumBits);
  const auto words = std::min(static_cast<std::size_t>(enough) / wordBits, words_.size());
  words_.erase(words_.begin(), words_.begin() + static_cast<std::ptrdiff_t>(words));
  const auto bits = static_cast<unsigned>(enough % wordBits);
  if (bits != 0) bigint::shiftRight(words_, bits);
  settle();
  if (roundsDown) {
    if (bigint::add(words_, 1) != 0) words_.push_back(1);
    negative_ = true;
  }
  return *this;
}

// ---- Powers and the like ----

Integer abs(const Integer &a) {
  return a.sign() < 0 ? -a : a;
}

namespace {

// Takes the exponent's bits from the highest, so that no product on the way is larger than the
// result.
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
  // base >= 2^(bitLength - 1), so the power has more than (bitLength - 1) * exponent bits.
  if (exponent > (Integer::maximumBits - 1) / (base.bitLength() - 1)) throw tooLarge("pow");
  try {
    return powerOf(base, static_cast<unsigned>(exponent));
  } catch (const std::overflow_error &) {  // names operator*
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
  // Newton's method from above: the root is reached when a step no longer decreases the value.
  Integer root = Integer(1) << ((a.bitLength() + 1) / 2);
  for (;;) {
    Integer next = (root + a / root) >> 1;
    if (next >= root) return root;
    root = std::move(next);
  }
}

}  // namespace kt
