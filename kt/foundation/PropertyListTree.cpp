// SPDX-License-Identifier: MIT

// Copying, comparing and destroying values. A program may nest values deeper than a stack could
// follow, so nothing here recurses: pending work is kept on the heap or, where nothing may fail, in
// the values themselves.
#include <algorithm>

#include "kt/foundation/PropertyList.h"

namespace kt::plist {

class Tree {
 public:
  static void copy(const PropertyList &source, PropertyList &target);
  static bool areEqual(const PropertyList &left, const PropertyList &right);
  static void clear(PropertyList &container) noexcept;
  static void takeApart(PropertyList &container) noexcept;

 private:
  using Kind = PropertyList::Kind;

  // A container and its copy, which has no children yet.
  struct Copying {
    const PropertyList *source;
    PropertyList *target;
  };

  // Two containers of one kind and size whose children are still to be compared.
  struct Comparing {
    const PropertyList *left;
    const PropertyList *right;
  };

  template <class Alternative>
  static const Alternative &get(const PropertyList &value) {
    return *std::get_if<Alternative>(&value.value_);
  }
  template <class Alternative>
  static Alternative &get(PropertyList &value) {
    return *std::get_if<Alternative>(&value.value_);
  }

  static void copyWithoutChildren(const PropertyList &source, PropertyList &target,
                                  std::vector<Copying> &pending);
  static void copyChildren(const Array &source, Array &target, std::vector<Copying> &pending);
  static void copyChildren(const Dictionary &source, Dictionary &target,
                           std::vector<Copying> &pending);

  static bool areEqualWithoutChildren(const PropertyList &left, const PropertyList &right,
                                      std::vector<Comparing> &pending);
  static bool areChildrenEqual(const Array &left, const Array &right,
                               std::vector<Comparing> &pending);
  static bool areChildrenEqual(const Dictionary &left, const Dictionary &right,
                               std::vector<Comparing> &pending);

  // Calls `use` with the array or the dictionary that `container` is and returns its result.
  // Requires: `container` is one of them.
  template <class Value, class Use>
  static decltype(auto) withContainer(Value &container, Use use);

  static bool hasChildren(const PropertyList &value) noexcept;

  // Require: the container has children.
  static PropertyList &firstChild(Array &array) noexcept { return array.front(); }
  static PropertyList &firstChild(Dictionary &dictionary) noexcept {
    return dictionary.firstValue();
  }
  static PropertyList &firstChild(PropertyList &container) noexcept;
  static PropertyList &lastChild(Array &array) noexcept { return array.back(); }
  static PropertyList &lastChild(Dictionary &dictionary) noexcept { return dictionary.lastValue(); }
  static PropertyList &lastChild(PropertyList &container) noexcept;
  static void removeLastChild(Array &array) noexcept { array.pop_back(); }
  static void removeLastChild(Dictionary &dictionary) noexcept { dictionary.removeLast(); }
  static void removeLastChild(PropertyList &container) noexcept;
};

template <class Value, class Use>
decltype(auto) Tree::withContainer(Value &container, Use use) {
  switch (container.kind()) {
    case Kind::array:
      return use(get<Array>(container));
    case Kind::dictionary:
      return use(get<Dictionary>(container));
    case Kind::string:
    case Kind::number:
    case Kind::data:
      break;
  }
  __builtin_unreachable();
}

bool Tree::hasChildren(const PropertyList &value) noexcept {
  if (!PropertyList::isContainer(value.kind())) return false;
  return withContainer(value, [](const auto &children) { return !children.empty(); });
}

// ---- Copying ----

void Tree::copyWithoutChildren(const PropertyList &source, PropertyList &target,
                               std::vector<Copying> &pending) {
  switch (source.kind()) {
    case Kind::string:
      target.value_ = get<std::string>(source);
      return;
    case Kind::number:
      target.value_ = get<PropertyList::Number>(source);
      return;
    case Kind::data:
      target.value_ = get<Data>(source);
      return;
    case Kind::array:
      target.value_.emplace<Array>();
      break;
    case Kind::dictionary:
      target.value_.emplace<Dictionary>();
      break;
  }
  if (hasChildren(source)) pending.push_back({&source, &target});
}

void Tree::copyChildren(const Array &source, Array &target, std::vector<Copying> &pending) {
  target.resize(source.size());  // all at once: `pending` keeps the addresses of the copies
  auto copy = target.begin();
  for (const PropertyList &element : source) {
    copyWithoutChildren(element, *copy++, pending);
  }
}

void Tree::copyChildren(const Dictionary &source, Dictionary &target,
                        std::vector<Copying> &pending) {
  target.entries_.resize(source.size());
  auto copy = target.entries_.begin();
  for (const auto &[key, value] : source) {
    copy->first = key;
    copyWithoutChildren(value, copy->second, pending);
    ++copy;
  }
}

void Tree::copy(const PropertyList &source, PropertyList &target) {
  std::vector<Copying> pending;
  copyWithoutChildren(source, target, pending);
  while (!pending.empty()) {
    const Copying parent = pending.back();
    pending.pop_back();
    withContainer(*parent.source, [&]<class Container>(const Container &children) {
      copyChildren(children, get<Container>(*parent.target), pending);
    });
  }
}

// ---- Comparing ----

bool Tree::areEqualWithoutChildren(const PropertyList &left, const PropertyList &right,
                                   std::vector<Comparing> &pending) {
  if (left.kind() != right.kind()) return false;
  switch (left.kind()) {
    case Kind::string:
      return get<std::string>(left) == get<std::string>(right);
    case Kind::number:
      return get<PropertyList::Number>(left) == get<PropertyList::Number>(right);
    case Kind::data:
      return get<Data>(left) == get<Data>(right);
    case Kind::array:
      if (get<Array>(left).size() != get<Array>(right).size()) return false;
      break;
    case Kind::dictionary:
      if (get<Dictionary>(left).size() != get<Dictionary>(right).size()) return false;
      break;
  }
  if (hasChildren(left)) pending.push_back({&left, &right});
  return true;
}

bool Tree::areChildrenEqual(const Array &left, const Array &right,
                            std::vector<Comparing> &pending) {
  auto other = right.begin();
  for (const PropertyList &element : left) {
    if (!areEqualWithoutChildren(element, *other++, pending)) return false;
  }
  return true;
}

bool Tree::areChildrenEqual(const Dictionary &left, const Dictionary &right,
                            std::vector<Comparing> &pending) {
  auto other = right.begin();
  for (const auto &[key, value] : left) {
    if (key != other->first) return false;
    if (!areEqualWithoutChildren(value, other->second, pending)) return false;
    ++other;
  }
  return true;
}

bool Tree::areEqual(const PropertyList &left, const PropertyList &right) {
  std::vector<Comparing> pending;
  if (!areEqualWithoutChildren(left, right, pending)) return false;
  while (!pending.empty()) {
    const Comparing parents = pending.back();
    pending.pop_back();
    const bool areEqual =
        withContainer(*parents.left, [&]<class Container>(const Container &children) {
          return areChildrenEqual(children, get<Container>(*parents.right), pending);
        });
    if (!areEqual) return false;
  }
  return true;
}

// ---- Destroying ----

PropertyList &Tree::firstChild(PropertyList &container) noexcept {
  return withContainer(
      container, [](auto &children) -> auto & { return firstChild(children); });
}

PropertyList &Tree::lastChild(PropertyList &container) noexcept {
  return withContainer(
      container, [](auto &children) -> auto & { return lastChild(children); });
}

void Tree::removeLastChild(PropertyList &container) noexcept {
  withContainer(container, [](auto &children) { removeLastChild(children); });
}

void Tree::clear(PropertyList &container) noexcept {
  withContainer(container, [](auto &children) { children.clear(); });
}

// Removes children from the last to the first. If the last child has children itself, it trades
// places with its parent: its first child goes where it was, and the parent goes where that first
// child was. An only child, as the parent becomes in the end, simply replaces its container. So
// each container is turned over once, and nothing is allocated.
void Tree::takeApart(PropertyList &container) noexcept {
  while (hasChildren(container)) {
    PropertyList &last = lastChild(container);
    if (!hasChildren(last)) {
      removeLastChild(container);
      continue;
    }
    const bool isOnlyChild = &firstChild(container) == &last;
    PropertyList child = std::move(last);
    if (!isOnlyChild) {
      last = std::move(firstChild(child));
      firstChild(child) = std::move(container);
    }
    container = std::move(child);
  }
}

}  // namespace kt::plist

namespace kt {

// The delegation makes the destructor run if copying fails half-way.
PropertyList::PropertyList(const PropertyList &other) : PropertyList() {
  plist::Tree::copy(other, *this);
}

bool operator==(const PropertyList &left, const PropertyList &right) {
  return plist::Tree::areEqual(left, right);
}

bool operator==(const Dictionary &left, const Dictionary &right) {
  return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin());
}

// Lets destructors call each other, which is fastest, down to a depth that any stack holds. Deeper
// values are taken apart without recursion.
void PropertyList::removeChildren() noexcept {
  constexpr int recursionLimit = 32;
  constinit static thread_local int depth = 0;
  if (depth == recursionLimit) return plist::Tree::takeApart(*this);
  ++depth;
  plist::Tree::clear(*this);
  --depth;
}

}  // namespace kt
