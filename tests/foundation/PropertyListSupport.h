// SPDX-License-Identifier: MIT

// What the tests of property lists share: short names for reading, and random values.
#ifndef KT_TESTS_FOUNDATION_PROPERTYLISTSUPPORT_H
#define KT_TESTS_FOUNDATION_PROPERTYLISTSUPPORT_H

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>

#include "kt/foundation/PropertyList.h"

namespace kt {

// How GoogleTest prints values.
inline void PrintTo(const PropertyList &value, std::ostream *stream) {
  *stream << value.description();
}
inline void PrintTo(const Dictionary &value, std::ostream *stream) {
  *stream << value.description();
}

}  // namespace kt

namespace kt::test {

// The error that reading `text` ends with; nothing when it is a property list.
inline std::optional<PropertyListError> errorOf(std::string_view text) {
  try {
    (void)PropertyList::parse(text);
    return std::nullopt;
  } catch (const PropertyListError &error) {
    return error;
  }
}

// The string that `text` reads as; a mark when it is an error or something else.
inline std::string stringOf(std::string_view text) {
  if (const auto error = errorOf(text)) return std::string("[error] ") + error->what();
  const PropertyList value = PropertyList::parse(text);
  return value.asString() != nullptr ? *value.asString() : "[no string] " + value.description();
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

// Random values from a seed. Strings are well-formed UTF-8 of every plane, NUL and the control
// characters among them; there are no numbers, which would come back from text as strings.
class RandomValues {
 public:
  explicit RandomValues(std::uint32_t seed) : engine_(seed) {}

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

  std::uint32_t below(std::uint32_t bound) {
    return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(engine_);
  }

 private:
  void appendCharacter(std::string &text, std::uint32_t alphabet) {
    static constexpr std::string_view bare = "abcxyzABCXYZ0189_.";
    if (alphabet == 0) {
      text += bare[below(static_cast<std::uint32_t>(bare.size()))];
    } else if (alphabet == 1) {
      text += static_cast<char>(below(128));
    } else {
      appendEncoded(text, beyondAscii());
    }
  }

  std::uint32_t beyondAscii() {
    static constexpr std::uint32_t planes[] = {0x800, 0xD800, 0x10000, 0x110000};
    const std::uint32_t code = 0x80 + below(planes[below(4)] - 0x80);
    return code >= 0xD800 && code <= 0xDFFF ? 0xFFFD : code;
  }

 public:
  // Appends the character in UTF-8; `code` is beyond ASCII.
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
  std::mt19937 engine_;
};

}  // namespace kt::test

#endif
