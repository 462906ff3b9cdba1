// SPDX-License-Identifier: MIT

#include "kt/foundation/PropertyList.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

#include "kt/foundation/PropertyListText.h"

namespace kt {

// ---- Dictionary ----

namespace {

// As many entries as an ordinary packet has: made room for at once, and looked through in turn.
constexpr std::size_t fewEntries = 8;

}  // namespace

Dictionary::Dictionary(const Dictionary &other) = default;

Dictionary::Dictionary(std::initializer_list<value_type> entries) : entries_(entries) {
  normalise();
}

// Both assignments build the new entries before they drop the old ones, which may hold `other`.

Dictionary &Dictionary::operator=(const Dictionary &other) {
  std::vector<value_type> entries = other.entries_;
  entries_.swap(entries);
  return *this;
}

Dictionary &Dictionary::operator=(Dictionary &&other) noexcept {
  std::vector<value_type> entries = std::move(other.entries_);
  entries_.swap(entries);
  return *this;
}

void Dictionary::normalise() {
  const auto isBefore = [](const value_type &left, const value_type &right) {
    return left.first < right.first;
  };
  const auto isNotBefore = [](const value_type &left, const value_type &right) {
    return left.first >= right.first;
  };
  if (std::adjacent_find(entries_.begin(), entries_.end(), isNotBefore) == entries_.end()) return;
  std::stable_sort(entries_.begin(), entries_.end(), isBefore);
  auto kept = entries_.begin();
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    const auto next = std::next(entry);
    if (next != entries_.end() && next->first == entry->first) continue;
    if (kept != entry) *kept = std::move(*entry);
    ++kept;
  }
  entries_.erase(kept, entries_.end());
}

Dictionary::const_iterator Dictionary::lowerBound(std::string_view key) const {
  return std::lower_bound(
      entries_.begin(), entries_.end(), key,
      [](const value_type &entry, std::string_view wanted) { return entry.first < wanted; });
}

const PropertyList *Dictionary::find(std::string_view key) const {
  // In a few entries looking at each is faster: most keys differ in their size already.
  if (entries_.size() <= fewEntries) {
    const auto found = std::ranges::find(entries_, key, &value_type::first);
    return found != entries_.end() ? &found->second : nullptr;
  }
  const auto found = lowerBound(key);
  return found != entries_.end() && found->first == key ? &found->second : nullptr;
}

PropertyList &Dictionary::operator[](std::string_view key) {
  // Most are filled in key order, so that the place is the end.
  if (entries_.empty() || entries_.back().first < key) return append(key).second;
  const auto found = entries_.begin() + (lowerBound(key) - begin());
  if (found->first == key) return found->second;
  return entries_.emplace(found, std::string(key), PropertyList())->second;
}

Dictionary::value_type &Dictionary::append(std::string_view key) {
  if (entries_.empty()) entries_.reserve(fewEntries);
  return entries_.emplace_back(std::piecewise_construct, std::forward_as_tuple(key),
                               std::forward_as_tuple());
}

bool Dictionary::contains(std::string_view key) const {
  return find(key) != nullptr;
}

bool Dictionary::erase(std::string_view key) {
  const auto found = lowerBound(key);
  if (found == entries_.end() || found->first != key) return false;
  entries_.erase(found);
  return true;
}

// ---- Making, reading and assigning one value ----

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
  text.remove_prefix(runOf(blank, text));
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

}  // namespace

std::int32_t PropertyList::intValue() const noexcept {
  if (const auto *number = std::get_if<Number>(&value_)) {
    return saturated(number->negative, number->magnitude);
  }
  if (const auto *text = std::get_if<std::string>(&value_)) return leadingInteger(*text);
  return 0;
}

PropertyList &PropertyList::operator=(const PropertyList &other) {
  return *this = PropertyList(other);
}

PropertyList &PropertyList::operator=(PropertyList &&other) noexcept {
  // A string, the value of a new entry, holds no other value that would have to outlive it.
  if (std::holds_alternative<std::string>(value_)) {
    if (this != &other) value_ = std::move(other.value_);
    return *this;
  }
  // The old value goes last, since it may hold `other`.
  PropertyList taken(std::move(other));
  std::swap(value_, taken.value_);
  return *this;
}

}  // namespace kt
