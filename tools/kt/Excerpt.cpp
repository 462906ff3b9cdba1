// SPDX-License-Identifier: MIT

#include "tools/kt/Excerpt.h"

#include <algorithm>

#include "tools/common/Visible.h"

namespace kt::tools {

namespace {

// Columns shown before the caret and from it on; together they fit a terminal of 80.
constexpr std::size_t columnsBefore = 48;
constexpr std::size_t columnsBehind = 30;
constexpr std::string_view lineEnds = "\r\n";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view ellipsis = "...";

// No character has more bytes, so that this many bytes per column are enough to look at.
constexpr std::size_t bytesPerColumn = 4;

std::string withoutTabs(std::string_view text) {
  std::string spaced(text);
  std::ranges::replace(spaced, '\t', ' ');
  return spaced;
}

std::string before(std::string_view text) {
  const std::size_t enough = std::min(text.size(), (columnsBefore + 1) * bytesPerColumn);
  std::string shown = visible(withoutTabs(text.substr(text.size() - enough)));
  if (shown.size() <= columnsBefore) return shown;
  shown.erase(0, shown.size() - (columnsBefore - ellipsis.size()));
  return std::string(ellipsis) + shown;
}

std::string behind(std::string_view text) {
  std::string shown = visible(withoutTabs(text.substr(0, (columnsBehind + 1) * bytesPerColumn)));
  if (shown.size() <= columnsBehind) return shown;
  shown.resize(columnsBehind - ellipsis.size());
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
  return left + behind(rest.substr(0, rest.find_first_of(lineEnds))) + '\n' +
         std::string(left.size(), ' ') + '^';
}

}  // namespace kt::tools
