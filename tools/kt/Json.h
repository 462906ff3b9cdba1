// SPDX-License-Identifier: MIT

// Property lists as JSON, for programs that read kt's output. Functions without state.
#ifndef KT_TOOLS_KT_JSON_H
#define KT_TOOLS_KT_JSON_H

#include <nlohmann/json.hpp>
#include <string>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

using Json = nlohmann::ordered_json;

// Strings as strings, arrays as arrays, dictionaries as objects in key order, data as
// {"data": "0fbd77"}, numbers as strings of digits, as they arrive from the network. Recursive: for
// values from a reader, which limits their depth.
[[nodiscard]] Json jsonOf(const PropertyList &value);
[[nodiscard]] Json jsonOf(const Dictionary &dictionary);

// `value` as one line of ASCII, without the line feed.
[[nodiscard]] std::string lineOf(const Json &value);

// Prints `value` as one line of ASCII on standard output and flushes. Throws as printLine.
void printJson(const Json &value);

}  // namespace kt::tools

#endif
