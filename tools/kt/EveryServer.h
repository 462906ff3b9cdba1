// SPDX-License-Identifier: MIT

// Finds every server that answers a discovery request; the client class uses the first one only.
// The functions block as they say; any thread may call them.
#ifndef KT_TOOLS_KT_EVERYSERVER_H
#define KT_TOOLS_KT_EVERYSERVER_H

#include <netinet/in.h>

#include <string>
#include <vector>

#include "kt/udp/HostLookup.h"
#include "kt/udp/KtMessage.h"
#include "tools/kt/Discovery.h"
#include "tools/kt/Milliseconds.h"
#include "tools/kt/OwnAddresses.h"

namespace kt::tools {

using udp::HostAddress;

// A server that answered.
struct FoundServer {
  sockaddr_in source;      // where the answer came from
  ServerId id;             // what the server says about itself
  Milliseconds roundTrip;  // between the request and this answer
};

// Asks every port at each of `addresses`, listens for the timeout of `options`, and does both once
// more, because datagrams get lost. Returns each server once, in the order of answers.
[[nodiscard]] std::vector<FoundServer> serversAt(const Addresses &addresses,
                                                 const Options &options);

// Does so at all addresses that the options name, or on every network. Throws Failure if no server
// answers or if the options name no place to look.
[[nodiscard]] std::vector<FoundServer> everyServer(const Options &options);

// Returns whether two answers come from one server: from the same address and port, or both from
// this host, announcing the same port. A server on this host answers from several of its addresses,
// depending on the network on which it was asked.
[[nodiscard]] bool isSameServer(const FoundServer &left, const FoundServer &right,
                                const OwnAddresses &own);

// Describes `server` for people. `named` is the address of the server's name. The line says so if
// that address, or the announced port, differs from the source of the answer:
//
//     "hut" at 10.0.0.9:4798, signature "KtUDP", 0.215 ms; announces port 4711
[[nodiscard]] std::string lineFor(const FoundServer &server, const std::string &signature,
                                  const udp::HostAddress &named);

// Describes it for programs: {"name":"hut","address":"10.0.0.9","port":4798,"signature":"KtUDP",
// "roundTripMs":0.215,"announcedPort":4711,"nameAddress":null}. nameAddress is null if the name has
// no IPv4 address.
[[nodiscard]] std::string jsonFor(const FoundServer &server, const std::string &signature,
                                  const udp::HostAddress &named);

}  // namespace kt::tools

#endif
