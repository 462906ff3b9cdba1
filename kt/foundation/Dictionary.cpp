// SPDX-License-Identifier: MIT

#include <algorithm>
#include <tuple>
#include <utility>

#include "kt/foundation/PropertyList.h"

namespace kt {

namespace {

// An ordinary packet has at most this many entries: the vector starts with room for them, and a
// look-up compares them one after another.
constexpr std::size_t fewEntries = 8;

// With more entries than this, an insertion into the middle of the vector costs more than one into
// a tree. Measured: at 40 entries the vector is slightly faster, at 80 the tree takes half the
// time.
constexpr std::size_t manyEntries = 32;

}  // namespace

// ---- Construction and assignment ----

// A copy is a vector even if the original is a tree.
Dictionary::Dictionary(const Dictionary &other) : entries_(other.begin(), other.end()) {}

Dictionary::Dictionary(std::initializer_list<value_type> entries) : entries_(entries) {
  normalise();
}

// Both assignments build the new entries before they drop the old ones, which may hold `other`.

Dictionary &Dictionary::operator=(const Dictionary &other) {
  return *this = Dictionary(other);
}

Dictionary &Dictionary::operator=(Dictionary &&other) noexcept {
  Dictionary taken(std::move(other));
  entries_.swap(taken.entries_);
  tree_.swap(taken.tree_);
  return *this;
}

// ---- Entries in a vector ----

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

std::vector<Dictionary::value_type>::iterator Dictionary::lowerBound(std::string_view key) {
  return std::lower_bound(entries_.begin(), entries_.end(), key, KeyOrder());
}

Dictionary::value_type &Dictionary::append(std::string_view key) {
  if (entries_.empty()) entries_.reserve(fewEntries);
  return entries_.emplace_back(std::piecewise_construct, std::forward_as_tuple(key),
                               std::forward_as_tuple());
}

// ---- Entries in a tree ----

void Dictionary::growTree() {
  std::unique_ptr<EntryTree, TreeDeleter> tree(new EntryTree);
  try {
    for (; !entries_.empty(); entries_.pop_back()) {
      tree->insert(tree->begin(), std::move(entries_.back()));
    }
  } catch (...) {  // out of memory: the vector still has room for the entries it gave away
    for (const value_type &entry : *tree) {
      entries_.push_back(std::move(const_cast<value_type &>(entry)));
    }
    throw;
  }
  std::vector<value_type>().swap(entries_);
  tree_ = std::move(tree);
}

// Erases one entry at a time: the tree's own destructor recurses, once for each level, and the
// values of the entries may hold further trees.
void Dictionary::TreeDeleter::operator()(EntryTree *tree) const noexcept {
  while (!tree->empty()) {
    tree->erase(tree->begin());
  }
  delete tree;
}

PropertyList &Dictionary::valueInTree(std::string_view key) {
  auto place = tree_->lower_bound(key);
  if (place == tree_->end() || place->first != key) {
    place = tree_->emplace_hint(place, key, PropertyList());
  }
  return const_cast<PropertyList &>(place->second);  // only the key is in the tree's order
}

bool Dictionary::eraseInTree(std::string_view key) {
  const auto place = tree_->find(key);
  if (place == tree_->end()) return false;
  tree_->erase(place);
  if (tree_->empty()) tree_.reset();
  return true;
}

// ---- Look-up, insertion, removal ----

const PropertyList *Dictionary::find(std::string_view key) const {
  // Comparing a few keys one by one is faster: most differ in size.
  if (entries_.size() <= fewEntries) {
    const auto found = std::ranges::find(entries_, key, &value_type::first);
    if (found != entries_.end()) return &found->second;
    if (tree_ == nullptr) return nullptr;
    const auto place = tree_->find(key);
    return place != tree_->end() ? &place->second : nullptr;
  }
  const auto found = std::lower_bound(entries_.begin(), entries_.end(), key, KeyOrder());
  return found != entries_.end() && found->first == key ? &found->second : nullptr;
}

bool Dictionary::contains(std::string_view key) const {
  return find(key) != nullptr;
}

std::optional<std::string_view> Dictionary::string(std::string_view key) const {
  const PropertyList *value = find(key);
  const std::string *text = value != nullptr ? value->asString() : nullptr;
  return text != nullptr ? std::optional<std::string_view>(*text) : std::nullopt;
}

std::optional<std::int64_t> Dictionary::integer(std::string_view key) const {
  const PropertyList *value = find(key);
  return value != nullptr ? value->asInteger() : std::nullopt;
}

const Array *Dictionary::array(std::string_view key) const {
  const PropertyList *value = find(key);
  return value != nullptr ? value->asArray() : nullptr;
}

const Dictionary *Dictionary::dictionary(std::string_view key) const {
  const PropertyList *value = find(key);
  return value != nullptr ? value->asDictionary() : nullptr;
}

const Data *Dictionary::data(std::string_view key) const {
  const PropertyList *value = find(key);
  return value != nullptr ? value->asData() : nullptr;
}

PropertyList &Dictionary::operator[](std::string_view key) {
  if (tree_ != nullptr) return valueInTree(key);
  // Most dictionaries are filled in key order: the new entry is the last.
  if (entries_.empty() || entries_.back().first < key) return append(key).second;
  const auto found = lowerBound(key);
  if (found->first == key) return found->second;
  std::string newKey(key);  // `key` may be part of a key that is about to move
  if (entries_.size() > manyEntries) {
    growTree();
    return valueInTree(newKey);
  }
  return entries_.emplace(found, std::move(newKey), PropertyList())->second;
}

bool Dictionary::erase(std::string_view key) {
  if (tree_ != nullptr) return eraseInTree(key);
  const auto found = lowerBound(key);
  if (found == entries_.end() || found->first != key) return false;
  const bool isLast = std::next(found) == entries_.end();
  if (isLast || entries_.size() <= manyEntries) {
    entries_.erase(found);
    return true;
  }
  const std::string oldKey(key);  // `key` may be the key that is about to move
  growTree();
  return eraseInTree(oldKey);
}

// ---- The first and the last entry ----

PropertyList &Dictionary::firstValue() noexcept {
  return const_cast<PropertyList &>(begin()->second);
}

PropertyList &Dictionary::lastValue() noexcept {
  return const_cast<PropertyList &>(std::prev(end())->second);
}

void Dictionary::removeLast() noexcept {
  if (tree_ == nullptr) {
    entries_.pop_back();
    return;
  }
  tree_->erase(std::prev(tree_->end()));
  if (tree_->empty()) tree_.reset();
}

void Dictionary::clear() noexcept {
  entries_.clear();
  tree_.reset();
}

}  // namespace kt
