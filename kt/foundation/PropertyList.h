// SPDX-License-Identifier: MIT

// Property lists: values made of strings, numbers, data, arrays and dictionaries, with a text form
// that people can read and write. They are ordinary values: copied, moved, compared, and owned by
// their holder. Different threads may use different values, and may share one value while none of
// them changes it.
//
// Text may nest at most 512 containers. Values built by a program may nest deeper: writing,
// comparing, copying and destroying them takes a constant amount of stack.
#ifndef KT_FOUNDATION_PROPERTYLIST_H
#define KT_FOUNDATION_PROPERTYLIST_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kt::plist {
class Parser;
class Tree;
class Writer;
}  // namespace kt::plist

namespace kt {

class PropertyList;

using Array = std::vector<PropertyList>;
using Data = std::vector<std::byte>;

// Says why a text is not a property list: what() reads "line 2, column 7: expected ...".
class PropertyListError : public std::runtime_error {
 public:
  // `text` is the whole text. `offset` is the byte in it at which reading stopped (<= text.size()).
  // `problem` says what was expected there and what was found.
  PropertyListError(std::string_view text, std::size_t offset, std::string_view problem);

  // Returns the byte at which reading stopped, counted from 0; the text's length if it ended early.
  [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

  // Return the same place for people, counted from 1; columns are in characters. A line ends with a
  // line feed, a carriage return, or both.
  [[nodiscard]] std::size_t line() const noexcept { return line_; }
  [[nodiscard]] std::size_t column() const noexcept { return column_; }

  // Returns the same error in the file `path`: what() reads "path: line 2, column 7: expected ...".
  [[nodiscard]] PropertyListError inFile(const std::string &path) const;

 private:
  struct Place {
    std::size_t line;
    std::size_t column;
  };

  PropertyListError(std::size_t offset, Place place, std::string_view problem);

  static Place placeOf(std::string_view text, std::size_t offset);

  std::size_t offset_;  // bytes from the start of the text
  std::size_t line_;    // from 1
  std::size_t column_;  // from 1, in characters
};

// Values by key, kept and written in the order of their keys' bytes. Equal dictionaries therefore
// have equal text, whatever the order they were filled in.
//
// Costs for n entries, in key comparisons and moves of entries:
//
//     find, contains                    O(log n)
//     operator[], erase                 O(log n) amortised; O(1) for a key after the last
//     begin, end, size, empty           O(1)
//     a step of an iterator             O(1) amortised
//     copying, comparing, description   O(n)
//     initialiser list, parsing         O(n log n); O(n) if the keys come in order
class Dictionary {
 public:
  using value_type = std::pair<std::string, PropertyList>;
  class const_iterator;  // bidirectional; valid until the dictionary changes

  Dictionary() noexcept;
  // Keeps the last of several entries with the same key.
  Dictionary(std::initializer_list<value_type> entries);
  Dictionary(const Dictionary &other);
  Dictionary(Dictionary &&other) noexcept;
  // Either assignment may be given the dictionary itself or one inside it.
  Dictionary &operator=(const Dictionary &other);
  Dictionary &operator=(Dictionary &&other) noexcept;
  ~Dictionary();

  // Returns the value for `key`, or null if there is none. Valid until the dictionary changes.
  [[nodiscard]] const PropertyList *find(std::string_view key) const;

  // Returns the value for `key`; inserts an empty string first if there is none. The reference is
  // valid until another entry is inserted or erased, even within one expression: if "a" is new,
  // `d["a"] = d["b"]` may move the entry of "b" before it is read. Write
  // `d["a"] = PropertyList(d["b"])` instead.
  PropertyList &operator[](std::string_view key);

  [[nodiscard]] bool contains(std::string_view key) const;

  // Return the value for `key` as the kind asked for; nothing or null if there is none, or if it is
  // of another kind. An integer is a number or a string that is one: see PropertyList::asInteger.
  // Views and pointers are valid until the dictionary changes.
  [[nodiscard]] std::optional<std::string_view> string(std::string_view key) const;
  [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const;
  [[nodiscard]] const Array *array(std::string_view key) const;
  [[nodiscard]] const Dictionary *dictionary(std::string_view key) const;
  [[nodiscard]] const Data *data(std::string_view key) const;

  // Removes the entry with this key; returns false if there is none. May allocate; if memory fails,
  // it throws std::bad_alloc and changes nothing.
  bool erase(std::string_view key);

  [[nodiscard]] std::size_t size() const noexcept;
  [[nodiscard]] bool empty() const noexcept;

  // The entries in key order: .first is the key, .second the value.
  [[nodiscard]] const_iterator begin() const noexcept;
  [[nodiscard]] const_iterator end() const noexcept;

  // Returns the text form, for example `{ key = value; }`; an empty dictionary is `{}`.
  [[nodiscard]] std::string description() const;

  friend bool operator==(const Dictionary &left, const Dictionary &right);

 private:
  friend class plist::Parser;
  friend class plist::Tree;

  struct KeyOrder;
  using EntryTree = std::set<value_type, KeyOrder>;
  struct TreeDeleter {
    void operator()(EntryTree *tree) const noexcept;
  };

  // Returns the first of entries_ whose key is not less than `key`.
  [[nodiscard]] std::vector<value_type>::iterator lowerBound(std::string_view key);

  // Adds an entry at the end of entries_ even if its key belongs elsewhere; see normalise().
  value_type &append(std::string_view key);

  // Sorts entries_ by key; keeps the last of several entries with the same key.
  void normalise();

  // Moves all entries from entries_ to tree_.
  void growTree();
  PropertyList &valueInTree(std::string_view key);
  bool eraseInTree(std::string_view key);

  // Requires: !empty().
  PropertyList &firstValue() noexcept;
  PropertyList &lastValue() noexcept;
  void removeLast() noexcept;

  void clear() noexcept;

  // entries_ holds the entries until one is inserted into or erased from the middle of many. From
  // then on tree_ holds them and entries_ is empty. tree_ is null while it is not used.
  std::vector<value_type> entries_;  // sorted by key, each key once
  std::unique_ptr<EntryTree, TreeDeleter> tree_;
};

// The types that a number can be made from: every built-in integer.
template <typename T>
concept NumberType = std::integral<T> && sizeof(T) <= sizeof(std::uint64_t);

// One value: a string, a number, data, an array or a dictionary.
class PropertyList {
 public:
  // What a value is. Handle it in a `switch` without `default`: the compiler then reports each
  // place that does not know a new kind.
  enum class Kind : std::uint8_t { string, number, data, array, dictionary };

  PropertyList() noexcept;  // the empty string
  PropertyList(std::string text);
  PropertyList(std::string_view text);
  PropertyList(const char *text);
  // A number. A bool is 1 or 0; every 64-bit integer is kept and written exactly.
  template <NumberType Integer>
  PropertyList(Integer number) noexcept : value_(Number(number)) {}
  PropertyList(Array array) noexcept;
  PropertyList(Data data) noexcept;
  PropertyList(Dictionary dictionary) noexcept;
  PropertyList(const PropertyList &other);
  // A moved-from value may only be assigned to or destroyed.
  PropertyList(PropertyList &&other) noexcept = default;
  // Either assignment may be given the value itself or one inside it.
  PropertyList &operator=(const PropertyList &other);
  PropertyList &operator=(PropertyList &&other) noexcept;
  ~PropertyList() {
    if (isContainer(kind())) removeChildren();
  }

  // Reads text, which may hold comments and white space around one value and nothing else. Throws
  // PropertyListError. Takes time linear in the text's length, except for sorting the keys of a
  // dictionary that are not in order.
  [[nodiscard]] static PropertyList parse(std::string_view text);

  // Reads the value in the file `path`. Throws PropertyListError, which names the file, if its
  // contents are not a property list, and std::system_error if it can't be read.
  [[nodiscard]] static PropertyList fromFile(const std::string &path);

  [[nodiscard]] Kind kind() const noexcept { return static_cast<Kind>(value_.index()); }

  // Return the value as the kind asked for, or null if it is of another kind. A number is not a
  // string. Valid until the value changes.
  [[nodiscard]] const std::string *asString() const { return std::get_if<std::string>(&value_); }
  [[nodiscard]] const Array *asArray() const { return std::get_if<Array>(&value_); }
  [[nodiscard]] const Data *asData() const { return std::get_if<Data>(&value_); }
  [[nodiscard]] const Dictionary *asDictionary() const { return std::get_if<Dictionary>(&value_); }

  // The same, for changing the value in place or moving it out.
  [[nodiscard]] std::string *asString() { return std::get_if<std::string>(&value_); }
  [[nodiscard]] Array *asArray() { return std::get_if<Array>(&value_); }
  [[nodiscard]] Data *asData() { return std::get_if<Data>(&value_); }
  [[nodiscard]] Dictionary *asDictionary() { return std::get_if<Dictionary>(&value_); }

  // Returns the number, or the integer at the start of a string: white space, an optional sign,
  // digits. Returns 0 for no digits and for other kinds. Saturates at 32 bits.
  [[nodiscard]] std::int32_t intValue() const noexcept;

  // Returns the integer that the value is: a number, or a string of an optional sign and digits and
  // nothing else, so that it does not matter whether a program set the value or a text did. Returns
  // nothing for other values, and for integers that do not fit into 64 bits with a sign.
  [[nodiscard]] std::optional<std::int64_t> asInteger() const noexcept;

  // Returns the text form, pure ASCII without NUL. parse() reads it back; numbers become strings.
  [[nodiscard]] std::string description() const;

  // Writes the text form and a line feed to the file `path`. Another process, or this one after a
  // crash, finds the old contents or the new ones, never a part: a new file is written beside it,
  // made durable (fsync) and renamed. Keeps the permissions of an existing file, and its owner if
  // the system permits that; writes through a symbolic link to one, and replaces a link that leads
  // nowhere. Throws std::system_error, which names the file, and leaves the old contents, unless
  // the disk fails as it notes the new name.
  void toFile(const std::string &path) const;

  // Values of different kinds are not equal: the number 1 is not the string "1".
  friend bool operator==(const PropertyList &left, const PropertyList &right);

 private:
  friend class plist::Parser;
  friend class plist::Tree;
  friend class plist::Writer;

  // Sign and magnitude, so that equal integers of different types are equal.
  struct Number {
    template <NumberType Integer>
    explicit constexpr Number(Integer number) noexcept
        : magnitude(number < Integer{} ? std::uint64_t{} - static_cast<std::uint64_t>(number)
                                       : static_cast<std::uint64_t>(number)),
          negative(number < Integer{}) {}
    friend bool operator==(const Number &, const Number &) = default;

    std::uint64_t magnitude;
    bool negative;  // false for 0
  };

  using Value = std::variant<std::string, Number, Data, Array, Dictionary>;  // in Kind's order
  static_assert(std::variant_size_v<Value> == std::size_t{1} + std::size_t(Kind::dictionary));

  static constexpr bool isContainer(Kind kind) noexcept {
    switch (kind) {
      case Kind::string:
      case Kind::number:
      case Kind::data:
        return false;
      case Kind::array:
      case Kind::dictionary:
        return true;
    }
    return false;
  }

  // Empties an array or a dictionary.
  void removeChildren() noexcept;

  Value value_;
};

// Orders the entries of a tree by key; a key alone can be looked up.
struct Dictionary::KeyOrder {
  using is_transparent = void;
  static std::string_view keyOf(const value_type &entry) noexcept { return entry.first; }
  static std::string_view keyOf(std::string_view key) noexcept { return key; }
  bool operator()(const auto &left, const auto &right) const noexcept {
    return keyOf(left) < keyOf(right);
  }
};

class Dictionary::const_iterator {
 public:
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = Dictionary::value_type;
  using difference_type = std::ptrdiff_t;
  using pointer = const value_type *;
  using reference = const value_type &;

  const_iterator() noexcept = default;

  reference operator*() const noexcept { return *entry_; }
  pointer operator->() const noexcept { return entry_; }

  const_iterator &operator++() noexcept {
    if (tree_ == nullptr) [[likely]] {
      ++entry_;
    } else {
      ++place_;
      findEntry();
    }
    return *this;
  }
  const_iterator operator++(int) noexcept {
    const const_iterator old = *this;
    ++*this;
    return old;
  }
  const_iterator &operator--() noexcept {
    if (tree_ == nullptr) [[likely]] {
      --entry_;
    } else {
      --place_;
      findEntry();
    }
    return *this;
  }
  const_iterator operator--(int) noexcept {
    const const_iterator old = *this;
    --*this;
    return old;
  }

  friend bool operator==(const const_iterator &left, const const_iterator &right) noexcept {
    return left.entry_ == right.entry_;
  }

 private:
  friend class Dictionary;

  explicit const_iterator(pointer entry) noexcept : entry_(entry) {}
  const_iterator(const EntryTree *tree, EntryTree::const_iterator place) noexcept
      : tree_(tree), place_(place) {
    findEntry();
  }

  void findEntry() noexcept { entry_ = place_ == tree_->end() ? nullptr : &*place_; }

  pointer entry_ = nullptr;          // null at the end of a tree
  const EntryTree *tree_ = nullptr;  // null for entries in a vector
  EntryTree::const_iterator place_;  // of entry_ in the tree
};

inline Dictionary::Dictionary() noexcept = default;
inline Dictionary::Dictionary(Dictionary &&other) noexcept = default;
inline Dictionary::~Dictionary() = default;
inline std::size_t Dictionary::size() const noexcept {
  return tree_ == nullptr ? entries_.size() : tree_->size();
}
inline bool Dictionary::empty() const noexcept {
  return entries_.empty() && tree_ == nullptr;
}
inline Dictionary::const_iterator Dictionary::begin() const noexcept {
  if (tree_ != nullptr) [[unlikely]] {
    return {tree_.get(), tree_->begin()};
  }
  return const_iterator(entries_.data());
}
inline Dictionary::const_iterator Dictionary::end() const noexcept {
  if (tree_ != nullptr) [[unlikely]] {
    return {tree_.get(), tree_->end()};
  }
  return const_iterator(entries_.data() + entries_.size());
}

}  // namespace kt

#endif
