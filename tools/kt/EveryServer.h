// SPDX-License-Identifier: MIT

// Finds every server that answers a discovery request; the client class uses the first one only.
// The functions block as they say; any thread may call them.
#ifndef KT_TOOLS_KT_EVERYSERVER_H
#define KT_TOOLS_KT_EVERYSERVER_H

#include <string>
#include <vector>

#include "kt/udp/HostLookup.h"
#include "tools/kt/Discovery.h"
#include "tools/kt/Search.h"

namespace kt::tools {

using udp::HostAddress;

// Asks every port at each of `addresses`, listens for the timeout of `options`, and does both once
// more, because datagrams get lost. Returns each server once, in the order of answers.
[[nodiscard]] std::vector<FoundServer> serversAt(const Addresses &addresses,
                                                 const Options &options);

// Does so at all addresses that the options name, or on every network. Throws Failure if no server
// answers or if the options name no place to look.
[[nodiscard]] std::vector<FoundServer> everyServer(const Options &options);

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
