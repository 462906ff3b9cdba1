// SPDX-License-Identifier: MIT

// Makes text from elsewhere safe for a terminal. The result is printable ASCII whatever the input,
// so no name or message from the network can move the cursor, change colours or forge a line. The
// escapes are those of property-list text. Functions without state; any thread may call them.
#ifndef KT_TOOLS_TEXT_ESCAPE_H
#define KT_TOOLS_TEXT_ESCAPE_H

#include <string>
#include <string_view>

namespace kt::tools {

// Returns `text` between double quotes, unambiguously: build-host becomes "build-host", a line feed
// \n, a quote \", a backslash \\, a character beyond ASCII \Uxxxx.
[[nodiscard]] std::string inQuotes(std::string_view text);

// Returns `text` with the same escapes but without the quotes. Printable ASCII is unchanged, quotes
// and backslashes included.
[[nodiscard]] std::string escaped(std::string_view text);

}  // namespace kt::tools

#endif
