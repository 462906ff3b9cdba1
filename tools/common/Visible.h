// SPDX-License-Identifier: MIT

// Text from elsewhere made fit for a terminal: what comes out is printable ASCII, whatever went in,
// so that no name or message from the network can move the cursor, change colours or forge a line.
// The escapes are those of property-list text. Functions without state; any thread may call them.
#ifndef KT_TOOLS_COMMON_VISIBLE_H
#define KT_TOOLS_COMMON_VISIBLE_H

#include <string>
#include <string_view>

namespace kt::tools {

// `text` between double quotes, unambiguous: build-host gives "build-host", a line feed gives \n,
// a quote \", a backslash \\, a character beyond ASCII \Uxxxx.
[[nodiscard]] std::string inQuotes(std::string_view text);

// `text` as it stands but for what is not printable ASCII: the same escapes without the quotes, and
// quotes and backslashes are left alone.
[[nodiscard]] std::string visible(std::string_view text);

}  // namespace kt::tools

#endif
