// SPDX-License-Identifier: MIT

// What follows a value into its depth: copying, comparing and destroying. A program may nest values
// deeper than a stack could follow, so nothing here recurses: what is still to be done is kept on
// the heap or, where nothing may fail, in the values themselves.
#include "kt/foundation/PropertyList.h"

namespace kt {

class PropertyListTree {
 public:
  using Entry = Dictionary::value_type;

  static bool hasChildren(const PropertyList &value) noexcept {
    if (const auto *array = std::get_if<Array>(&value.value_)) return !array->empty();
    if (const auto *dictionary = std::get_if<Dictionary>(&value.value_)) {
      return !dictionary->empty();
    }
    return false;
  }

  static void copy(const PropertyList &source, PropertyList &target);
  static bool areEqual(const PropertyList &left, const PropertyList &right);
  static void clear(PropertyList &container) noexcept;
  static void takeApart(PropertyList &container) noexcept;

 private:
  // A container and the copy that is still to get its children.
  struct Copying {
    const PropertyList *source;
    PropertyList *target;
  };

  // Two containers of one kind and size, dictionaries with the same keys, whose children are still
  // to be compared.
  struct Comparing {
    const PropertyList *left;
    const PropertyList *right;
  };

  static void copyWithoutChildren(const PropertyList &source, PropertyList &target,
                                  std::vector<Copying> &pending);
  static void copyChildren(Copying parent, std::vector<Copying> &pending);
  static bool areEqualWithoutChildren(const PropertyList &left, const PropertyList &right,
                                      std::vector<Comparing> &pending);
  static bool areChildrenEqual(Comparing parents, std::vector<Comparing> &pending);
  static bool haveSameKeys(const Dictionary &left, const Dictionary &right);

  // These require a container that has children.
  static std::size_t childCount(const PropertyList &container) noexcept;
  static PropertyList &firstChild(PropertyList &container) noexcept;
  static PropertyList &lastChild(PropertyList &container) noexcept;
  static void removeLastChild(PropertyList &container) noexcept;
};

// ---- Copying ----

void PropertyListTree::copyWithoutChildren(const PropertyList &source, PropertyList &target,
                                           std::vector<Copying> &pending) {
  if (const auto *text = std::get_if<std::string>(&source.value_)) {
    target.value_ = *text;
  } else if (const auto *number = std::get_if<PropertyList::Number>(&source.value_)) {
    target.value_ = *number;
  } else if (const auto *data = std::get_if<Data>(&source.value_)) {
    target.value_ = *data;
  } else {
    if (std::holds_alternative<Array>(source.value_)) {
      target.value_.emplace<Array>();
    } else {
      target.value_.emplace<Dictionary>();
    }
    if (hasChildren(source)) pending.push_back({&source, &target});
  }
}

void PropertyListTree::copyChildren(Copying parent, std::vector<Copying> &pending) {
  if (const auto *array = std::get_if<Array>(&parent.source->value_)) {
    Array &copy = std::get<Array>(parent.target->value_);
    copy.resize(array->size());  // all at once: the copies' addresses are kept in `pending`
    for (std::size_t index = 0; index < copy.size(); ++index) {
      copyWithoutChildren((*array)[index], copy[index], pending);
    }
    return;
  }
  const std::vector<Entry> &entries = std::get<Dictionary>(parent.source->value_).entries_;
  std::vector<Entry> &copy = std::get<Dictionary>(parent.target->value_).entries_;
  copy.resize(entries.size());
  for (std::size_t index = 0; index < copy.size(); ++index) {
    copy[index].first = entries[index].first;
    copyWithoutChildren(entries[index].second, copy[index].second, pending);
  }
}

void PropertyListTree::copy(const PropertyList &source, PropertyList &target) {
  std::vector<Copying> pending;
  copyWithoutChildren(source, target, pending);
  while (!pending.empty()) {
    const Copying parent = pending.back();
    pending.pop_back();
    copyChildren(parent, pending);
  }
}

// The delegation makes the destructor run when a copy fails half-way.
PropertyList::PropertyList(const PropertyList &other) : PropertyList() {
  PropertyListTree::copy(other, *this);
}

// ---- Comparing ----

bool PropertyListTree::haveSameKeys(const Dictionary &left, const Dictionary &right) {
  for (std::size_t index = 0; index < left.size(); ++index) {
    if (left.entries_[index].first != right.entries_[index].first) return false;
  }
  return true;
}

bool PropertyListTree::areEqualWithoutChildren(const PropertyList &left, const PropertyList &right,
                                               std::vector<Comparing> &pending) {
  if (left.value_.index() != right.value_.index()) return false;
  if (const auto *array = std::get_if<Array>(&left.value_)) {
    if (array->size() != std::get<Array>(right.value_).size()) return false;
  } else if (const auto *dictionary = std::get_if<Dictionary>(&left.value_)) {
    const Dictionary &other = std::get<Dictionary>(right.value_);
    if (dictionary->size() != other.size() || !haveSameKeys(*dictionary, other)) return false;
  } else {
    return left.value_ == right.value_;
  }
  if (hasChildren(left)) pending.push_back({&left, &right});
  return true;
}

bool PropertyListTree::areChildrenEqual(Comparing parents, std::vector<Comparing> &pending) {
  if (const auto *left = std::get_if<Array>(&parents.left->value_)) {
    const Array &right = std::get<Array>(parents.right->value_);
    for (std::size_t index = 0; index < left->size(); ++index) {
      if (!areEqualWithoutChildren((*left)[index], right[index], pending)) return false;
    }
    return true;
  }
  const std::vector<Entry> &left = std::get<Dictionary>(parents.left->value_).entries_;
  const std::vector<Entry> &right = std::get<Dictionary>(parents.right->value_).entries_;
  for (std::size_t index = 0; index < left.size(); ++index) {
    if (!areEqualWithoutChildren(left[index].second, right[index].second, pending)) return false;
  }
  return true;
}

bool PropertyListTree::areEqual(const PropertyList &left, const PropertyList &right) {
  std::vector<Comparing> pending;
  if (!areEqualWithoutChildren(left, right, pending)) return false;
  while (!pending.empty()) {
    const Comparing parents = pending.back();
    pending.pop_back();
    if (!areChildrenEqual(parents, pending)) return false;
  }
  return true;
}

bool operator==(const PropertyList &left, const PropertyList &right) {
  return PropertyListTree::areEqual(left, right);
}

bool operator==(const Dictionary &left, const Dictionary &right) {
  return left.entries_ == right.entries_;
}

// ---- Destroying ----

std::size_t PropertyListTree::childCount(const PropertyList &container) noexcept {
  const auto *array = std::get_if<Array>(&container.value_);
  return array != nullptr ? array->size() : std::get_if<Dictionary>(&container.value_)->size();
}

PropertyList &PropertyListTree::firstChild(PropertyList &container) noexcept {
  auto *array = std::get_if<Array>(&container.value_);
  return array != nullptr ? array->front()
                          : std::get_if<Dictionary>(&container.value_)->entries_.front().second;
}

PropertyList &PropertyListTree::lastChild(PropertyList &container) noexcept {
  auto *array = std::get_if<Array>(&container.value_);
  return array != nullptr ? array->back()
                          : std::get_if<Dictionary>(&container.value_)->entries_.back().second;
}

void PropertyListTree::removeLastChild(PropertyList &container) noexcept {
  if (auto *array = std::get_if<Array>(&container.value_)) {
    array->pop_back();
  } else {
    std::get_if<Dictionary>(&container.value_)->entries_.pop_back();
  }
}

void PropertyListTree::clear(PropertyList &container) noexcept {
  if (auto *array = std::get_if<Array>(&container.value_)) {
    array->clear();
  } else {
    std::get_if<Dictionary>(&container.value_)->entries_.clear();
  }
}

// Takes children away from behind. A last child that has children itself trades places with its
// parent: its first child goes where it stood, the parent takes the place of that first child, and
// the work goes on in it. An only child, which is the parent in the end, takes its container's
// place. So each container is turned over once, and nothing is allocated.
void PropertyListTree::takeApart(PropertyList &container) noexcept {
  while (hasChildren(container)) {
    PropertyList &last = lastChild(container);
    if (!hasChildren(last)) {
      removeLastChild(container);
      continue;
    }
    PropertyList child = std::move(last);
    if (childCount(container) > 1) {
      last = std::move(firstChild(child));
      firstChild(child) = std::move(container);
    }
    container = std::move(child);
  }
}

// Destructors call each other, which is the fastest way, only down to a depth that every stack
// holds. What lies deeper is taken apart without recursion.
void PropertyList::removeChildren() noexcept {
  constexpr int recursionLimit = 32;
  constinit static thread_local int depth = 0;
  if (depth == recursionLimit) return PropertyListTree::takeApart(*this);
  ++depth;
  PropertyListTree::clear(*this);
  --depth;
}

}  // namespace kt
