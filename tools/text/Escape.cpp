// SPDX-License-Identifier: MIT

#include "tools/text/Escape.h"

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

std::string inQuotes(std::string_view text) {
  const std::string written = PropertyList(text).description();
  return written.starts_with('"') ? written : '"' + written + '"';
}

std::string escaped(std::string_view text) {
  const std::string quoted = inQuotes(text);
  std::string result;
  for (std::size_t position = 1; position + 1 < quoted.size(); ++position) {
    const char next = quoted[position + 1];
    if (quoted[position] == '\\' && (next == '"' || next == '\\')) ++position;
    result += quoted[position];
  }
  return result;
}

}  // namespace kt::tools
