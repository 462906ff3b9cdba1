// SPDX-License-Identifier: MIT

// The kinds of value that a key may hold where another one belongs.
#ifndef KT_TESTS_UDP_SUPPORT_KINDS_H
#define KT_TESTS_UDP_SUPPORT_KINDS_H

#include <array>
#include <cstddef>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace test {

enum class Kind { missing, string, number, data, array, dictionary };

inline constexpr std::array allKinds{Kind::missing, Kind::string, Kind::number,
                                     Kind::data,    Kind::array,  Kind::dictionary};

[[nodiscard]] inline const char *name(Kind kind) {
  constexpr std::array names{"missing", "string", "number", "data", "array", "dictionary"};
  return names[static_cast<std::size_t>(kind)];
}

// `dictionary` with a value of that kind, or none, under `key`. It is never the value that is right
// there.
[[nodiscard]] inline kt::Dictionary with(kt::Dictionary dictionary, std::string_view key,
                                         Kind kind) {
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
      dictionary[key] = kt::Data{std::byte{0x31}, std::byte{0x32}};
      break;
    case Kind::array:
      dictionary[key] = kt::Array{"any", "words"};
      break;
    case Kind::dictionary:
      dictionary[key] = kt::Dictionary{{"any", "word"}};
      break;
  }
  return dictionary;
}

}  // namespace test

#endif
