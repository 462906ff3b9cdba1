// SPDX-License-Identifier: MIT

// The kinds of value that a key may have when it should have another one.
#ifndef KT_TESTS_UDP_SUPPORT_KINDS_H
#define KT_TESTS_UDP_SUPPORT_KINDS_H

#include <array>
#include <cstddef>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt::test {

enum class Kind { missing, string, number, data, array, dictionary };

inline constexpr std::array allKinds{Kind::missing, Kind::string, Kind::number,
                                     Kind::data,    Kind::array,  Kind::dictionary};

static_assert(allKinds.size() == 2 + static_cast<std::size_t>(PropertyList::Kind::dictionary),
              "add the new kind of value here");

[[nodiscard]] inline const char *name(Kind kind) {
  constexpr std::array names{"missing", "string", "number", "data", "array", "dictionary"};
  static_assert(names.size() == allKinds.size());
  return names[static_cast<std::size_t>(kind)];
}

// Returns `dictionary` with a value of that kind for `key`, or without `key`. The value is never
// the right one.
[[nodiscard]] inline Dictionary with(Dictionary dictionary, std::string_view key, Kind kind) {
  switch (kind) {
    case Kind::missing:
      dictionary.erase(key);
      break;
    case Kind::string:
      dictionary[key] = "any word";
      break;
    case Kind::number:
      dictionary[key] = 12;
      break;
    case Kind::data:
      dictionary[key] = Data{std::byte{0x31}, std::byte{0x32}};
      break;
    case Kind::array:
      dictionary[key] = Array{"any", "words"};
      break;
    case Kind::dictionary:
      dictionary[key] = Dictionary{{"any", "word"}};
      break;
  }
  return dictionary;
}

}  // namespace kt::test

#endif
