// SPDX-License-Identifier: MIT

// What a terminal can show. Plain values.
#ifndef KT_TOOLS_KT_SCREEN_H
#define KT_TOOLS_KT_SCREEN_H

#include <cstddef>

namespace kt::tools {

struct ScreenSize {
  std::size_t width;   // columns
  std::size_t height;  // lines
};

// The characters that it shows.
enum class Charset { ascii, utf8 };

}  // namespace kt::tools

#endif
