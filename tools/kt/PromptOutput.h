// SPDX-License-Identifier: MIT

// Standard output without waiting, for programs that must go on if nobody reads: a terminal that
// hangs, a pipe whose reader sleeps. One thread at a time.
#ifndef KT_TOOLS_KT_PROMPTOUTPUT_H
#define KT_TOOLS_KT_PROMPTOUTPUT_H

#include <cstddef>
#include <optional>
#include <string_view>

#include "kt/foundation/File.h"

namespace kt::tools {

class PromptOutput {
 public:
  // Opens what standard output is connected to once more: other programs share the first opening
  // and must not find it changed. If the system refuses, or if standard output is a file, which
  // never makes a writer wait, the object uses standard output as it is.
  PromptOutput();

  // Returns the descriptor to poll for writing. The object remains its owner.
  [[nodiscard]] int descriptor() const;

  // Writes the beginning of `text`, as much as there is room for. Returns how many bytes; 0 if
  // it takes none now. Throws ClosedOutput or Failure if it never will.
  std::size_t write(std::string_view text) const;

 private:
  std::optional<file::Descriptor> own_;
};

}  // namespace kt::tools

#endif
