// SPDX-License-Identifier: MIT

// Reads whole files. Functions without state.
#ifndef KT_TOOLS_COMMON_INPUT_H
#define KT_TOOLS_COMMON_INPUT_H

#include <string>

namespace kt::tools {

// Returns the contents of the file `path`. Throws Failure: "/x: can't read it: Permission denied"
[[nodiscard]] std::string contentsOfFile(const std::string &path);

// Returns the rest of standard input, which stays open. Throws Failure as contentsOfFile does.
[[nodiscard]] std::string contentsOfStandardInput();

}  // namespace kt::tools

#endif
