// SPDX-License-Identifier: MIT

// Every server that answers a discovery request, where the client class takes the first one only.
// The functions block as they say; any thread may call them.
#ifndef KT_TOOLS_KT_CENSUS_H
#define KT_TOOLS_KT_CENSUS_H

#include <netinet/in.h>

#include <string>
#include <vector>

#include "kt/udp/HostLookup.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/Socket.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Json.h"

namespace kt::tools {

using udp::HostAddress;

// A server that answered.
struct FoundServer {
  sockaddr_in source;      // where the answer came from
  ServerId id;             // what the server says of itself
  Milliseconds roundTrip;  // between the request and this answer
};

// Asks every port at `address` (network byte order), listens for the options' time-out, and does
// the same once more, since datagrams get lost. Each server once, in the order of the answers.
[[nodiscard]] std::vector<FoundServer> everyServer(const Options &options, std::uint32_t address);

// What a person reads of `server`. `named` is what its name stands for; where that or the port
// announced differs from where the answer came from, the line says so:
//
//     "hut" at 10.0.0.9:4798, signature "KtUDP", 0.215 ms; announces port 4711
[[nodiscard]] std::string lineFor(const FoundServer &server, const std::string &signature,
                                  const HostAddress &named);

// The same for programs: {"name":"hut","address":"10.0.0.9","port":4798,"signature":"KtUDP",
// "roundTripMs":0.215,"announcedPort":4711,"nameAddress":null}; nameAddress is null for a name
// without an IPv4 address.
[[nodiscard]] Json jsonFor(const FoundServer &server, const std::string &signature,
                           const HostAddress &named);

}  // namespace kt::tools

#endif
