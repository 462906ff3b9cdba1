// SPDX-License-Identifier: MIT

#include <string>

#include "kt/foundation/PropertyList.h"
#include "kt/foundation/Utf8.h"

namespace kt {

PropertyListError::Place PropertyListError::placeOf(std::string_view text, std::size_t offset) {
  std::string_view before = text.substr(0, offset);
  if (before.starts_with("\xEF\xBB\xBF")) before.remove_prefix(3);
  Place place{1, 1};
  while (!before.empty()) {
    const Utf8Character character = firstUtf8Character(before);
    before.remove_prefix(character.byteCount);
    ++place.column;
    if (character.codePoint == '\n' || (character.codePoint == '\r' && !before.starts_with('\n'))) {
      ++place.line;
      place.column = 1;
    }
  }
  return place;
}

PropertyListError::PropertyListError(std::string_view text, std::size_t offset,
                                     std::string_view problem)
    : PropertyListError(offset, placeOf(text, offset), problem) {}

PropertyListError::PropertyListError(std::size_t offset, Place place, std::string_view problem)
    : std::runtime_error("line " + std::to_string(place.line) + ", column " +
                         std::to_string(place.column) + ": " + std::string(problem)),
      offset_(offset),
      line_(place.line),
      column_(place.column) {}

PropertyListError PropertyListError::inFile(const std::string &path) const {
  PropertyListError error = *this;
  static_cast<std::runtime_error &>(error) = std::runtime_error(path + ": " + what());
  return error;
}

}  // namespace kt
