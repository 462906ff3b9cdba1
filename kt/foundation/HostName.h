// SPDX-License-Identifier: MIT

// The name of the machine. Any thread may call this function; it has no state.
#ifndef KT_FOUNDATION_HOSTNAME_H
#define KT_FOUNDATION_HOSTNAME_H

#include <string>

namespace kt {

// Returns the host name as the system has it, with or without a domain; asks no name service.
// Returns "localhost" if the system call fails.
[[nodiscard]] std::string hostName() noexcept;

}  // namespace kt

#endif
