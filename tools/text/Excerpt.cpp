// SPDX-License-Identifier: MIT

#include "tools/text/Excerpt.h"

#include <algorithm>

#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// Columns shown before the caret and from it on; together they fit a terminal of 80 columns.
constexpr std::size_t columnsBefore = 48;
constexpr std::size_t columnsAfter = 30;
constexpr std::string_view lineEnds = "\r\n";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view ellipsis = "...";

// The most bytes that a character has: reading this many bytes per column is enough.
constexpr std::size_t bytesPerColumn = 4;

std::string withoutTabs(std::string_view text) {
  std::string spaced(text);
  std::replace(spaced.begin(), spaced.end(), '\t', ' ');
  return spaced;
}

std::string before(std::string_view text) {
  const std::size_t enough = std::min(text.size(), (columnsBefore + 1) * bytesPerColumn);
  std::string shown = escaped(withoutTabs(text.substr(text.size() - enough)));
  if (shown.size() <= columnsBefore) return shown;
  shown.erase(0, shown.size() - (columnsBefore - ellipsis.size()));
  return std::string(ellipsis) + shown;
}

std::string after(std::string_view text) {
  std::string shown = escaped(withoutTabs(text.substr(0, (columnsAfter + 1) * bytesPerColumn)));
  if (shown.size() <= columnsAfter) return shown;
  shown.resize(columnsAfter - ellipsis.size());
  return shown.append(ellipsis);
}

}  // namespace

std::string excerpt(std::string_view text, std::size_t offset) {
  const std::string_view head = text.substr(0, offset);
  const std::string_view rest = text.substr(offset);
  const std::size_t lineStart = head.find_last_of(lineEnds) + 1;  // npos wraps to 0
  std::string_view lineHead = head.substr(lineStart);
  if (lineStart == 0 && lineHead.starts_with(byteOrderMark)) {
    lineHead.remove_prefix(byteOrderMark.size());
  }
  const std::string left = before(lineHead);
  return left + after(rest.substr(0, rest.find_first_of(lineEnds))) + '\n' +
         std::string(left.size(), ' ') + '^';
}

}  // namespace kt::tools
