// SPDX-License-Identifier: MIT

#include "tools/kt/Discovery.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kt/foundation/Format.h"
#include "kt/udp/HostLookup.h"
#include "kt/udp/Interfaces.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/Socket.h"
#include "tools/common/Addresses.h"
#include "tools/kt/OwnAddresses.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

using udp::HostAddress;

bool contains(const Addresses &addresses, std::uint32_t address) {
  return std::ranges::find(addresses, address) != addresses.end();
}

// ---- Where to look ----

std::uint32_t addressOfHost(const std::string &host) {
  const HostAddress found = udp::lookUpHost(host);
  switch (found.kind) {
    case HostAddress::Kind::none:
      throw Failure("can't look for a server at " + inQuotes(host) +
                    ": there is no such host\nCheck the name, or give an IPv4 address instead.");
    case HostAddress::Kind::other:
      throw Failure("can't look for a server at " + inQuotes(host) +
                    ": the host has no IPv4 address\nGive a host that has one.");
    case HostAddress::Kind::ipv4:
      break;
  }
  return found.address;
}

Addresses addressesOfNetworks() {
  Addresses addresses = interfaceBroadcastAddresses();
  if (addresses.empty()) {
    throw Failure(
        "can't look for a server on every network: no interface that is up has a broadcast "
        "address\nCheck the network, or name the server's host with --server.");
  }
  return addresses;
}

// ---- No server ----

// Returns why the system refuses to send to `address`, or nothing if it does not. The client
// ignores the results of its sends, so one more datagram is sent to find out.
std::optional<std::string> refusalToSend(const Options &options, std::uint32_t address) {
  Socket socket = Socket::open();
  (void)socket.allowBroadcast();  // the send below shows a failure
  const sockaddr_in destination = ipv4(address, static_cast<std::uint16_t>(options.ports.front()));
  const std::string text =
      requestEnvelope(options.signature, freshHandshake(), discoveryPacket()).description();
  if (socket.send(datagramBytes(text), destination)) return std::nullopt;
  return std::strerror(errno);
}

// Returns the first refusal for one of `addresses`: which one is refused, why, and what to check.
std::optional<std::string> refusalAmong(const Options &options, const Addresses &addresses) {
  for (const std::uint32_t address : addresses) {
    const std::optional<std::string> reason = refusalToSend(options, address);
    if (!reason) continue;
    const std::string refusal = "The system refuses to send to " + dotted(address) + ": " +
                                *reason + ".\nCheck that there is a route to that address";
    if (options.server) return refusal + '.';
    return refusal + ", or give another with --broadcast\n(127.0.0.1 for this machine).";
  }
  return std::nullopt;
}

// Returns whether there are more places to look: `asked` are not all networks of this host, and the
// system refuses to send to one of them or the host is attached to several.
bool canLookFurther(const Addresses &asked, bool isRefused) {
  Addresses networks = interfaceBroadcastAddresses();
  std::erase_if(networks, isLoopback);
  const bool askedAll =
      !networks.empty() && std::ranges::all_of(networks, [&](std::uint32_t network) {
        return contains(asked, network);
      });
  return !askedAll && (isRefused || networks.size() > 1);
}

// Returns "127.0.0.1", "10.0.0.255, 10.0.1.255" or, for a named server, "hut" (10.0.0.9).
std::string places(const Options &options, const Addresses &addresses) {
  std::string list;
  for (const std::uint32_t address : addresses) {
    list += (list.empty() ? "" : ", ") + dotted(address);
  }
  const bool isName = options.server && options.server->host != list;
  return isName ? inQuotes(options.server->host) + " (" + list + ')' : list;
}

}  // namespace

std::optional<Addresses> givenAddresses(const Options &options) {
  if (options.server) return Addresses{addressOfHost(options.server->host)};
  if (options.broadcast && options.broadcast->empty()) return addressesOfNetworks();
  return options.broadcast;
}

Addresses addressesOfAllServers(const Options &options) {
  if (std::optional<Addresses> given = givenAddresses(options)) return *std::move(given);
  Addresses addresses = interfaceBroadcastAddresses();
  const HostAddress usual = udp::lookUpHost("broadcasthost");
  if (usual.kind == HostAddress::Kind::ipv4 && !contains(addresses, usual.address)) {
    addresses.push_back(usual.address);
  }
  if (addresses.empty()) addresses.push_back(INADDR_BROADCAST);
  return addresses;
}

Failure noServer(const Options &options, const Addresses &addresses, Milliseconds elapsed) {
  std::string text =
      kt::format("no server of signature %s answered at %s within %s\nTried the ports %s.\n",
                 inQuotes(options.signature), places(options, addresses),
                 wholeMilliseconds(elapsed), portList(options.ports));
  const std::optional<std::string> refusal = refusalAmong(options, addresses);
  const char *const where = options.server ? "on that host" : "on this network";
  text += refusal.value_or(
      kt::format("Check that ktd runs %s with that signature and one of these ports,\n"
                 "that no firewall drops UDP, and whether a longer --timeout helps.",
                 where));
  if (!options.server && canLookFurther(addresses, refusal.has_value())) {
    text += "\nTo look further: --broadcast all on every network, --server HOST at one host.";
  }
  return Failure(text);
}

}  // namespace kt::tools
