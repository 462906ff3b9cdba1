// SPDX-License-Identifier: MIT

#include "kt/foundation/PropertyList.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>
#include <utility>

#include "kt/foundation/PropertyListText.h"

namespace kt {

PropertyList::PropertyList() noexcept = default;
PropertyList::PropertyList(std::string text) : value_(std::move(text)) {}
PropertyList::PropertyList(std::string_view text) : value_(std::string(text)) {}
PropertyList::PropertyList(const char *text) : value_(std::string(text)) {}
PropertyList::PropertyList(Array array) noexcept : value_(std::move(array)) {}
PropertyList::PropertyList(Data data) noexcept : value_(std::move(data)) {}
PropertyList::PropertyList(Dictionary dictionary) noexcept : value_(std::move(dictionary)) {}

namespace {

constexpr std::uint64_t largestInt = std::numeric_limits<std::int32_t>::max();

std::int32_t saturated(bool negative, std::uint64_t magnitude) {
  if (negative) {
    return static_cast<std::int32_t>(
        -static_cast<std::int64_t>(std::min(magnitude, largestInt + 1)));
  }
  return static_cast<std::int32_t>(std::min(magnitude, largestInt));
}

std::int32_t leadingInteger(std::string_view text) {
  text.remove_prefix(plist::runOf(plist::blank, text));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  std::uint64_t magnitude = 0;
  for (const char character : text) {
    if (character < '0' || character > '9') break;
    magnitude = magnitude * 10 + static_cast<std::uint64_t>(character - '0');
    if (magnitude > largestInt) break;  // further digits change nothing
  }
  return saturated(negative, magnitude);
}

std::optional<std::int64_t> wholeInteger(std::string_view text) {
  // from_chars knows no plus sign; after one, it must not find a minus sign either.
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  std::int64_t integer = 0;
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, integer);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return integer;
}

}  // namespace

std::int32_t PropertyList::intValue() const noexcept {
  switch (kind()) {
    case Kind::string:
      return leadingInteger(*std::get_if<std::string>(&value_));
    case Kind::number: {
      const auto &number = *std::get_if<Number>(&value_);
      return saturated(number.negative, number.magnitude);
    }
    case Kind::data:
    case Kind::array:
    case Kind::dictionary:
      break;
  }
  return 0;
}

std::optional<std::int64_t> PropertyList::asInteger() const noexcept {
  switch (kind()) {
    case Kind::string:
      return wholeInteger(*std::get_if<std::string>(&value_));
    case Kind::number: {
      const auto &number = *std::get_if<Number>(&value_);
      const std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
      if (number.magnitude > largest + (number.negative ? 1 : 0)) return std::nullopt;
      return static_cast<std::int64_t>(number.negative ? 0 - number.magnitude : number.magnitude);
    }
    case Kind::data:
    case Kind::array:
    case Kind::dictionary:
      break;
  }
  return std::nullopt;
}

PropertyList &PropertyList::operator=(const PropertyList &other) {
  return *this = PropertyList(other);
}

PropertyList &PropertyList::operator=(PropertyList &&other) noexcept {
  // A new entry has a string as its value, which cannot hold `other`.
  if (kind() == Kind::string) {
    if (this != &other) value_ = std::move(other.value_);
    return *this;
  }
  // The old value is destroyed last, because it may hold `other`.
  PropertyList taken(std::move(other));
  std::swap(value_, taken.value_);
  return *this;
}

}  // namespace kt
