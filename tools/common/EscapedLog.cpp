// SPDX-License-Identifier: MIT

#include "tools/common/EscapedLog.h"

#include <unistd.h>

#include <string>
#include <string_view>

#include "kt/foundation/LogLine.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// `line` ends with a line feed.
std::string escapedLines(std::string_view line) {
  std::string shown;
  for (std::size_t end; (end = line.find('\n')) != std::string_view::npos;) {
    shown += escaped(line.substr(0, end)) + '\n';
    line.remove_prefix(end + 1);
  }
  return shown;
}

void writeEscaped(std::string_view line) {
  const std::string shown = escapedLines(line);
  for (std::string_view rest = shown; !rest.empty();) {
    const ssize_t count = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (count <= 0) return;  // there is no better place to report a failure
    rest.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

void escapeLogOnTerminal() {
  if (::isatty(STDERR_FILENO) == 1) setLogLineWriter(writeEscaped);
}

}  // namespace kt::tools
