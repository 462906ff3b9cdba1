// SPDX-License-Identifier: MIT

// Property lists: values made of strings, numbers, data, arrays and dictionaries, with a text form
// that people can read and write. They are ordinary values: copied, moved, compared, owned by
// whoever holds them. Distinct values may be used by distinct threads; one value by several threads
// only while none of them changes it.
//
// Depth is bounded only where text is read (512 containers in each other). A program may nest
// values deeper; writing, comparing, copying and destroying them uses a constant amount of stack.
#ifndef KT_FOUNDATION_PROPERTYLIST_H
#define KT_FOUNDATION_PROPERTYLIST_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// Friends, named here because what is first named below is visible outside the library.
namespace kt {
class PropertyListParser;
class PropertyListTree;
class PropertyListWriter;
}  // namespace kt

#pragma GCC visibility push(default)

namespace kt {

class PropertyList;

using Array = std::vector<PropertyList>;
using Data = std::vector<std::byte>;

// Says why a text is no property list: what() reads "line 2, column 7: expected ...".
class PropertyListError : public std::runtime_error {
 public:
  // `text` is the whole text, `offset` the byte in it where reading stopped (at most text.size()),
  // `problem` what was expected there and what was found.
  PropertyListError(std::string_view text, std::size_t offset, std::string_view problem);

  // The byte at which reading stopped, from 0; the text's length when the text ended too soon.
  [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

  // The same place for people: both count from 1, columns in characters. A line ends with a line
  // feed, a carriage return or both.
  [[nodiscard]] std::size_t line() const noexcept { return line_; }
  [[nodiscard]] std::size_t column() const noexcept { return column_; }

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

// Values by key. Entries are held, walked through and written in the order of their keys' bytes, so
// that equal dictionaries have equal text whatever order they were filled in. Made for the few
// entries of a message: a look-up searches them, an insertion moves the entries behind it.
class Dictionary {
 public:
  using value_type = std::pair<std::string, PropertyList>;
  using const_iterator = std::vector<value_type>::const_iterator;

  Dictionary() noexcept;
  // Of entries with the same key the last one stays.
  Dictionary(std::initializer_list<value_type> entries);
  Dictionary(const Dictionary &other);
  Dictionary(Dictionary &&other) noexcept;
  Dictionary &operator=(const Dictionary &other);
  Dictionary &operator=(Dictionary &&other) noexcept;
  ~Dictionary();

  // The value under `key`, or null when there is none. Valid until the dictionary changes.
  [[nodiscard]] const PropertyList *find(std::string_view key) const;

  // The value under `key`, which is first made an empty string when there is none. Valid until
  // another entry is inserted or erased, which a single line may do: where "a" is new,
  // `d["a"] = d["b"]` moves the entry under "b" before it is read. Copy it first:
  // `d["a"] = PropertyList(d["b"])`.
  PropertyList &operator[](std::string_view key);

  [[nodiscard]] bool contains(std::string_view key) const;

  // Takes the entry away; false when there was none.
  bool erase(std::string_view key);

  [[nodiscard]] std::size_t size() const noexcept;
  [[nodiscard]] bool empty() const noexcept;

  // The entries in key order: .first is the key, .second the value.
  [[nodiscard]] const_iterator begin() const noexcept;
  [[nodiscard]] const_iterator end() const noexcept;

  // The text form, for example `{ key = value; }`; an empty dictionary is `{}`.
  [[nodiscard]] std::string description() const;

  friend bool operator==(const Dictionary &left, const Dictionary &right);

 private:
  friend class PropertyListParser;
  friend class PropertyListTree;

  // Where the entry with this key stands, or would be inserted.
  [[nodiscard]] const_iterator lowerBound(std::string_view key) const;

  // Adds an entry at the end, whatever its place would be.
  value_type &append(std::string_view key);

  // Puts entries that stand in any order into key order; of equal keys the last entry stays.
  void normalise();

  std::vector<value_type> entries_;  // sorted by key, each key once
};

// The types that a number can be made from: every built-in integer.
template <typename T>
concept NumberType = std::integral<T> && sizeof(T) <= sizeof(std::uint64_t);

// One value: a string, a number, data, an array or a dictionary.
class PropertyList {
 public:
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
  // A value that was moved from may be assigned to and destroyed, nothing else.
  PropertyList(PropertyList &&other) noexcept = default;
  // Either assignment may be given the value itself or one inside it.
  PropertyList &operator=(const PropertyList &other);
  PropertyList &operator=(PropertyList &&other) noexcept;
  ~PropertyList() {
    if (value_.index() >= firstContainer) removeChildren();
  }

  // Reads text, which may hold comments and white space around one value and nothing else.
  // Throws PropertyListError. Takes time linear in the text's length, but for sorting the keys of a
  // dictionary that do not come in order.
  [[nodiscard]] static PropertyList parse(std::string_view text);

  // The value as the kind asked for, or null when it is of another kind. A number is no string.
  // Valid until the value changes.
  [[nodiscard]] const std::string *asString() const { return std::get_if<std::string>(&value_); }
  [[nodiscard]] const Array *asArray() const { return std::get_if<Array>(&value_); }
  [[nodiscard]] const Data *asData() const { return std::get_if<Data>(&value_); }
  [[nodiscard]] const Dictionary *asDictionary() const { return std::get_if<Dictionary>(&value_); }

  // The same for changing the value in place, or moving out of it.
  [[nodiscard]] Dictionary *asDictionary() { return std::get_if<Dictionary>(&value_); }

  // The integer that a number is or that a string begins with: white space is skipped, then come an
  // optional sign and digits. No digits, or a value of another kind, count as 0. What does not fit
  // saturates.
  [[nodiscard]] std::int32_t intValue() const noexcept;

  // The text form, which parse() reads back; numbers come back as strings. Pure ASCII without NUL.
  [[nodiscard]] std::string description() const;

  // A number is not equal to a string, even one with its digits.
  friend bool operator==(const PropertyList &left, const PropertyList &right);

 private:
  friend class PropertyListParser;
  friend class PropertyListTree;
  friend class PropertyListWriter;

  // Sign and magnitude, so that equal integers are equal whatever type they came from.
  struct Number {
    template <NumberType Integer>
    explicit constexpr Number(Integer number) noexcept
        : magnitude(number < Integer{} ? std::uint64_t{} - static_cast<std::uint64_t>(number)
                                       : static_cast<std::uint64_t>(number)),
          negative(number < Integer{}) {}
    friend bool operator==(const Number &, const Number &) = default;

    std::uint64_t magnitude;
    bool negative;  // never of zero
  };

  using Value = std::variant<std::string, Number, Data, Array, Dictionary>;

  // The index in Value from which on the kinds have children.
  static constexpr std::size_t firstContainer = 3;
  static_assert(std::is_same_v<std::variant_alternative_t<firstContainer, Value>, Array>);

  // Empties an array or a dictionary.
  void removeChildren() noexcept;

  Value value_;
};

// Friends are visible outside a shared library only where they are named again.
bool operator==(const Dictionary &left, const Dictionary &right);
bool operator==(const PropertyList &left, const PropertyList &right);

inline Dictionary::Dictionary() noexcept = default;
inline Dictionary::Dictionary(Dictionary &&other) noexcept = default;
inline Dictionary::~Dictionary() = default;
inline std::size_t Dictionary::size() const noexcept {
  return entries_.size();
}
inline bool Dictionary::empty() const noexcept {
  return entries_.empty();
}
inline Dictionary::const_iterator Dictionary::begin() const noexcept {
  return entries_.begin();
}
inline Dictionary::const_iterator Dictionary::end() const noexcept {
  return entries_.end();
}

}  // namespace kt

#pragma GCC visibility pop

#endif
