// SPDX-License-Identifier: MIT

#include "kt/foundation/HostName.h"

#include <unistd.h>

#include <array>

namespace kt {

std::string hostName() noexcept {
  // POSIX names have at most 255 bytes. The last one stays 0: a name that is cut off need not be
  // terminated.
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return "localhost";
  return name.data();
}

}  // namespace kt
