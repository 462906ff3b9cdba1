// SPDX-License-Identifier: MIT

// Shows people where reading stopped. A function without state.
#ifndef KT_TOOLS_TEXT_EXCERPT_H
#define KT_TOOLS_TEXT_EXCERPT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kt::tools {

// Returns the line of `text` that holds the byte at `offset`, and a caret under that byte:
//
//     key = ;
//           ^
//
// Two lines, without a final line feed. Printable ASCII is unchanged, a tab becomes a space,
// anything else an escape. A long line is shortened to the part around the caret, with "..." for
// the rest.
[[nodiscard]] std::string excerpt(std::string_view text, std::size_t offset);

}  // namespace kt::tools

#endif
