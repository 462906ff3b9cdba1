// SPDX-License-Identifier: MIT

// The networks that this host is attached to. Any thread may call this.
#ifndef KT_UDP_INTERFACES_H
#define KT_UDP_INTERFACES_H

#include <cstdint>
#include <vector>

namespace kt {

// Returns the broadcast addresses of all interfaces that are up (network byte order), in the
// system's order and each once: one for each IPv4 network of an interface that has one.
// The loopback interface's is among them: 127.255.255.255. Returns nothing if the system refuses.
//
// A datagram to 255.255.255.255 leaves through one interface only; one to each of these addresses
// reaches every network: client.connectToServerAt(kt::interfaceBroadcastAddresses()).
[[nodiscard]] std::vector<std::uint32_t> interfaceBroadcastAddresses();

}  // namespace kt

#endif
