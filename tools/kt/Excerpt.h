// SPDX-License-Identifier: MIT

// Shows people where reading stopped. A function without state.
#ifndef KT_TOOLS_KT_EXCERPT_H
#define KT_TOOLS_KT_EXCERPT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kt::tools {

// The line of `text` that holds the byte at `offset`, and a caret under that byte:
//
//     key = ;
//           ^
//
// Two lines, without a line feed at the end. Printable ASCII stays, a tab is shown as a space, all
// else as an escape; of a long line the part around the place is shown, "..." for the rest.
[[nodiscard]] std::string excerpt(std::string_view text, std::size_t offset);

}  // namespace kt::tools

#endif
