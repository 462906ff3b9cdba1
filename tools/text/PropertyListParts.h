// SPDX-License-Identifier: MIT

// Where the parts of a property-list text are, for errors that name a line and a column. Reads text
// that is known to be a property list. Functions without state.
#ifndef KT_TOOLS_TEXT_PROPERTYLISTPARTS_H
#define KT_TOOLS_TEXT_PROPERTYLISTPARTS_H

#include <cstddef>
#include <string_view>
#include <vector>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// A key or a value in a text. Valid as long as the text.
struct Part {
  std::string_view whole;  // the text that it is a part of
  std::size_t offset;      // where it begins, in bytes
  std::size_t size;        // its length, in bytes; ends with its last bracket or quotation mark

  // Returns what is written there.
  [[nodiscard]] PropertyList value() const;
};

// An entry of a dictionary.
struct EntryParts {
  Part key;
  Part value;
};

// Returns the outermost value, without what is around it. Throws PropertyListError if `text` is not
// a property list.
[[nodiscard]] Part outermostPart(std::string_view text);

// Returns the elements of an array in order. Requires: array.value().asArray() != nullptr.
[[nodiscard]] std::vector<Part> elementsOf(const Part &array);

// Returns the entries of a dictionary in the text's order, repeated keys included. Requires:
// dictionary.value().asDictionary() != nullptr.
[[nodiscard]] std::vector<EntryParts> entriesOf(const Part &dictionary);

}  // namespace kt::tools

#endif
