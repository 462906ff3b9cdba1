// SPDX-License-Identifier: MIT

// Helpers for the tests of property lists: parsing in one call, and random values.
#ifndef KT_TESTS_FOUNDATION_PROPERTYLISTSUPPORT_H
#define KT_TESTS_FOUNDATION_PROPERTYLISTSUPPORT_H

#include <cstdint>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt {

// GoogleTest prints values by these.
inline void PrintTo(const PropertyList &value, std::ostream *stream) {
  *stream << value.description();
}
inline void PrintTo(const Dictionary &value, std::ostream *stream) {
  *stream << value.description();
}

}  // namespace kt

namespace kt::test {

// Returns the error of parsing `text`, or nothing if it is a property list.
inline std::optional<PropertyListError> errorOf(std::string_view text) {
  try {
    (void)PropertyList::parse(text);
    return std::nullopt;
  } catch (const PropertyListError &error) {
    return error;
  }
}

// Returns the string that parsing `text` returns. If that fails or returns another kind of value,
// returns a text in brackets that says so.
inline std::string stringOf(std::string_view text) {
  if (const auto error = errorOf(text)) return std::string("[error] ") + error->what();
  const PropertyList value = PropertyList::parse(text);
  return value.asString() != nullptr ? *value.asString() : "[not a string] " + value.description();
}

inline std::string inQuotes(std::string_view content) {
  return '"' + std::string(content) + '"';
}

inline std::string repeated(std::string_view part, std::size_t count) {
  std::string text;
  text.reserve(part.size() * count);
  for (std::size_t i = 0; i < count; ++i) {
    text += part;
  }
  return text;
}

// Random values from a seed. Strings are valid UTF-8 with characters from all planes, including NUL
// and other control characters. There are no numbers, because they are read back as strings.
class RandomValues {
 public:
  explicit RandomValues(std::uint32_t seed) : engine_(seed) {}

  // Returns a value with at most `depth` containers around its innermost values.
  PropertyList value(int depth) {
    switch (below(depth > 0 ? 6 : 3)) {
      case 0:
      case 1:
        return string();
      case 2:
        return data();
      case 3:
        return array(depth - 1);
      default:
        return dictionary(depth - 1);
    }
  }

  Array array(int depth) {
    Array array(below(5));
    for (PropertyList &element : array) {
      element = value(depth);
    }
    return array;
  }

  Dictionary dictionary(int depth) {
    Dictionary dictionary;
    for (std::uint32_t count = below(5); count > 0; --count) {
      dictionary[string()] = value(depth);
    }
    return dictionary;
  }

  Data data() {
    Data data(below(9));
    for (std::byte &byte : data) {
      byte = static_cast<std::byte>(below(256));
    }
    return data;
  }

  std::string string() {
    std::string text;
    const std::uint32_t alphabet = below(4);
    for (std::uint32_t count = below(12); count > 0; --count) {
      appendCharacter(text, alphabet);
    }
    return text;
  }

  // Returns a number n with n < bound.
  std::uint32_t below(std::uint32_t bound) {
    return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(engine_);
  }

  // Appends the character in UTF-8. Requires: 0x80 <= code && code <= 0x10FFFF.
  static void appendEncoded(std::string &text, std::uint32_t code) {
    const auto byte = [&text](std::uint32_t bits) { text += static_cast<char>(bits); };
    if (code < 0x800) {
      byte(0xC0 + (code >> 6));
    } else if (code < 0x10000) {
      byte(0xE0 + (code >> 12));
      byte(0x80 + ((code >> 6) & 63));
    } else {
      byte(0xF0 + (code >> 18));
      byte(0x80 + ((code >> 12) & 63));
      byte(0x80 + ((code >> 6) & 63));
    }
    byte(0x80 + (code & 63));
  }

 private:
  void appendCharacter(std::string &text, std::uint32_t alphabet) {
    static constexpr std::string_view bare = "abcxyzABCXYZ0189_.";
    if (alphabet == 0) {
      text += bare[below(static_cast<std::uint32_t>(bare.size()))];
    } else if (alphabet == 1) {
      text += static_cast<char>(below(128));
    } else {
      appendEncoded(text, nonAsciiCode());
    }
  }

  std::uint32_t nonAsciiCode() {
    static constexpr std::uint32_t planes[] = {0x800, 0xD800, 0x10000, 0x110000};
    const std::uint32_t code = 0x80 + below(planes[below(4)] - 0x80);
    return code >= 0xD800 && code <= 0xDFFF ? 0xFFFD : code;
  }

  std::mt19937 engine_;
};

}  // namespace kt::test

#endif
