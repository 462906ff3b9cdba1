// SPDX-License-Identifier: MIT

#include "tools/text/Numerals.h"

namespace kt::tools {

std::string withCommas(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t end = text.size(); end > 3; end -= 3) {
    text.insert(end - 3, 1, ',');
  }
  return text;
}

}  // namespace kt::tools
