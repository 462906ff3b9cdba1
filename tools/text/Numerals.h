// SPDX-License-Identifier: MIT

// Writes numbers for people. A function without state.
#ifndef KT_TOOLS_TEXT_NUMERALS_H
#define KT_TOOLS_TEXT_NUMERALS_H

#include <cstdint>
#include <string>

namespace kt::tools {

// Returns `number` with a comma between groups of three digits: "65,507".
[[nodiscard]] std::string withCommas(std::uint64_t number);

}  // namespace kt::tools

#endif
