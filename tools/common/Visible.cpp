// SPDX-License-Identifier: MIT

#include "tools/common/Visible.h"

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

std::string inQuotes(std::string_view text) {
  const std::string written = PropertyList(text).description();
  return written.starts_with('"') ? written : '"' + written + '"';
}

std::string visible(std::string_view text) {
  const std::string escaped = inQuotes(text);
  std::string shown;
  for (std::size_t position = 1; position + 1 < escaped.size(); ++position) {
    const char next = escaped[position + 1];
    if (escaped[position] == '\\' && (next == '"' || next == '\\')) ++position;
    shown += escaped[position];
  }
  return shown;
}

}  // namespace kt::tools
