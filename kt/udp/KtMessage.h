// SPDX-License-Identifier: MIT

// The datagram message format: the keys of messages, and the rules by which client and server
// accept them. Plain functions over values, without sockets or state; any thread may call them.
//
// A message is one dictionary, the envelope, written as property-list text followed by one NUL, and
// sent as one datagram. The envelope carries the signature, the handshake value and the data
// packet. The keyword in the data packet names the kind of request. docs/protocol.md describes the
// format.
#ifndef KT_UDP_KTMESSAGE_H
#define KT_UDP_KTMESSAGE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt {

// The ports that a server tries to bind and a client sends discovery to, in this order.
inline constexpr std::array<std::int32_t, 6> defaultPorts{4798, 4711, 5600, 4822, 3493, 4926};

inline constexpr std::string_view defaultSignature = "KtUDP";

// The size of both ends' receive buffers in bytes: the longest receive and a NUL that the receiver
// appends.
inline constexpr std::size_t bufferSize = 65536;
inline constexpr std::size_t receiveLimit = bufferSize - 1;

// The payload of the largest IPv4 UDP datagram in bytes: 65,535 less 20 for IP and 8 for UDP.
inline constexpr std::size_t largestDatagram = 65507;
static_assert(receiveLimit >= largestDatagram, "every datagram that can be sent arrives whole");

// Keys of the envelope.
inline constexpr std::string_view signatureKey = "_Signature";
inline constexpr std::string_view handshakeKey = "_Handshake";
inline constexpr std::string_view dataPacketKey = "_DataPacket";

// The key of a data packet's kind, and the keys of the server identification packet.
inline constexpr std::string_view keywordKey = "KtUDPKeyword";
inline constexpr std::string_view serverNameKey = "_ServerName";
inline constexpr std::string_view serverPortKey = "_ServerPort";

// The keyword of the discovery request. The keyword of the identification packet that answers it is
// the text of `serverNameKey`: clients rely on it.
inline constexpr std::string_view helloKeyword = "HelloKtUDP";

// ---- Datagrams ----

// Returns the datagram of `text`: a view of its bytes and of the NUL after them.
[[nodiscard]] std::span<const char> datagramBytes(const std::string &text);

// Parses a received datagram up to its first NUL, or to its end if it has none. Returns nothing
// unless the text is a property list and a dictionary.
[[nodiscard]] std::optional<Dictionary> parseMessage(std::string_view received);

// ---- Handshakes ----

// Returns an odd value from 1 to 32,767, drawn from the operating system's random source.
[[nodiscard]] std::int32_t freshHandshake();

// Returns the answer to a request's handshake value: request + 1 in 32-bit arithmetic that wraps.
// It is even for every value that a client draws, so no client takes a request for a reply.
[[nodiscard]] std::int32_t handshakeAnswer(std::int32_t request);

// Returns the value of "_Handshake", or 0 if it is missing or neither a number nor a string.
[[nodiscard]] std::int32_t handshakeOf(const Dictionary &envelope);

// ---- Envelopes and packets ----

// Returns a client's envelope. It has a data packet only if `packet` has a value.
[[nodiscard]] Dictionary requestEnvelope(const std::string &signature, std::int32_t handshake,
                                         const std::optional<Dictionary> &packet);

// Returns a server's envelope. `handshake` is the value in the request, not the answer to it.
[[nodiscard]] Dictionary replyEnvelope(const std::string &signature, std::int32_t handshake,
                                       Dictionary packet);

// Returns { KtUDPKeyword = HelloKtUDP; }.
[[nodiscard]] Dictionary discoveryPacket();

// Returns { KtUDPKeyword = _ServerName; _ServerName = name; _ServerPort = port; }.
[[nodiscard]] Dictionary serverIdPacket(const std::string &name, std::int32_t port);

// Returns the envelope's data packet, or null if it is missing or not a dictionary.
[[nodiscard]] const Dictionary *dataPacketOf(const Dictionary &envelope);

// Returns the same packet, moved out of `envelope`.
[[nodiscard]] std::optional<Dictionary> takeDataPacket(Dictionary &&envelope);

// ---- Acceptance by a server ----

// Returns whether a server accepts the envelope `request`: it has a "_Handshake" of any kind, and
// its "_Signature" is the string `signature`.
[[nodiscard]] bool isRequestFor(const Dictionary &request, const std::string &signature);

// Returns the data packet that a server answers, or null if it is missing or has no keyword. Such a
// request gets the bare reply, an empty dictionary. Throws std::invalid_argument if the data packet
// is not a dictionary.
[[nodiscard]] const Dictionary *packetOfRequest(const Dictionary &request);

// Returns whether the data packet's keyword is "HelloKtUDP".
[[nodiscard]] bool isDiscovery(const Dictionary &packet);

// ---- Acceptance by a client ----

// Returns whether a client accepts the envelope `reply` as the reply to `message`: its handshake
// answers that of `message`, and its "_Signature" is the string `signature`. Ignores the data
// packet.
[[nodiscard]] bool isReplyTo(const Dictionary &message, const Dictionary &reply,
                             const std::string &signature);

// The same for a message with the handshake value `handshake`.
[[nodiscard]] bool isReplyTo(std::int32_t handshake, const Dictionary &reply,
                             const std::string &signature);

// The contents of a server identification packet.
struct ServerId {
  std::string name;       // the host name that the server reports
  std::int32_t port = 0;  // the port that the server reports; 0 if it reports none
};

// Reads an identification packet. Returns nothing unless its keyword is "_ServerName" and its
// "_ServerName" is a string.
[[nodiscard]] std::optional<ServerId> serverIdOf(const Dictionary &packet);

}  // namespace kt

#endif
