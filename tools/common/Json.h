// SPDX-License-Identifier: MIT

// Writes JSON for other programs: always one line of ASCII without the line feed.
// Functions without state, and a builder of objects.
#ifndef KT_TOOLS_COMMON_JSON_H
#define KT_TOOLS_COMMON_JSON_H

#include <cstdint>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// The key of the one member of an object that stands for data, in what kt prints.
inline constexpr std::string_view printedDataKey = "data";

// Return a property list as JSON. Strings become strings, arrays arrays, dictionaries objects in
// key order, data {"data":"0fbd77"} with `dataKey` for "data". Numbers become strings of digits, as
// they arrive from the network. Recursive: for values from a parser, which limits their depth.
[[nodiscard]] std::string jsonOf(const PropertyList &value,
                                 std::string_view dataKey = printedDataKey);
[[nodiscard]] std::string jsonOf(const Dictionary &dictionary,
                                 std::string_view dataKey = printedDataKey);

// Builds an object whose members are in the order in which they are added.
class JsonObject {
 public:
  JsonObject &addText(std::string_view key, std::string_view text);
  JsonObject &addValue(std::string_view key, const PropertyList &value);
  JsonObject &addNumber(std::string_view key, std::int64_t number);
  JsonObject &addNumber(std::string_view key, double number);  // Requires: number is finite.
  JsonObject &addNull(std::string_view key);

  // Returns the object as JSON.
  [[nodiscard]] std::string text() const { return members_ + '}'; }

 private:
  JsonObject &add(std::string_view key, std::string_view json);

  std::string members_ = "{";  // the object without its closing brace
};

}  // namespace kt::tools

#endif
