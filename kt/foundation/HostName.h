// SPDX-License-Identifier: MIT

// The name of the machine. A function without state; any thread may call it.
#ifndef KT_FOUNDATION_HOSTNAME_H
#define KT_FOUNDATION_HOSTNAME_H

#include <string>

namespace kt {

// The name that the host reports for itself, as it was set: with a domain or without. No name
// service is asked. "localhost" where the system does not tell.
[[nodiscard, gnu::visibility("default")]] std::string hostName() noexcept;

}  // namespace kt

#endif
