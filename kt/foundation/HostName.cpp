// SPDX-License-Identifier: MIT

#include "kt/foundation/HostName.h"

#include <unistd.h>

#include <array>

namespace kt {

std::string hostName() noexcept {
  // POSIX host names have <= 255 bytes. The last byte stays 0: the system need not terminate a name
  // that it truncates.
  std::array<char, 256> name{};
  if (::gethostname(name.data(), name.size() - 1) != 0) return "localhost";
  return name.data();
}

}  // namespace kt
