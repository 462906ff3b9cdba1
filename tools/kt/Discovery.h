// SPDX-License-Identifier: MIT

// Where the options say to look for servers, and the failure that none answered there. All
// addresses are in network byte order. Functions without state that block as long as a look-up of a
// name does.
#ifndef KT_TOOLS_KT_DISCOVERY_H
#define KT_TOOLS_KT_DISCOVERY_H

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/common/Failure.h"
#include "tools/kt/Command.h"
#include "tools/kt/Milliseconds.h"

namespace kt::tools {

using Addresses = std::vector<std::uint32_t>;

// Returns the addresses that --server or --broadcast name, at least one, or nothing if neither is
// given. Throws Failure if the server's host is unknown or has no IPv4 address, or if every network
// is meant and there is none.
[[nodiscard]] std::optional<Addresses> givenAddresses(const Options &options);

// Returns the addresses at which every server is looked for: those that are given, otherwise the
// broadcast address of every network and that of the host "broadcasthost". If there is none of
// these, returns 255.255.255.255. Throws as givenAddresses does.
[[nodiscard]] Addresses addressesOfAllServers(const Options &options);

// Returns the failure that no server answered at `addresses` within `elapsed`: where and on which
// ports it was looked for, and what to check.
[[nodiscard]] Failure noServer(const Options &options, const Addresses &addresses,
                               Milliseconds elapsed);

}  // namespace kt::tools

#endif
