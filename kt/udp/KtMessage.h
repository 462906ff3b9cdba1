// SPDX-License-Identifier: MIT

// The datagram message format: what client and server say to each other and by which rules each end
// accepts it. Plain functions over values, without sockets or state; any thread may call them.
//
// A message is one dictionary, the envelope, written as property-list text with one NUL behind it
// and sent as one datagram. The envelope carries the signature, the handshake value and the data
// packet; the data packet's keyword names its kind. docs/protocol.md has the whole format.
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

#pragma GCC visibility push(default)

namespace kt {

// The ports that a server tries to bind, and a client to reach, in this order.
inline constexpr std::array<std::int32_t, 6> defaultPorts{4798, 4711, 5600, 4822, 3493, 4926};

inline constexpr std::string_view defaultSignature = "KtUDP";

// Receive buffers of both ends, in bytes: the longest receive and one byte for a NUL of the
// receiver's own.
inline constexpr std::size_t bufferSize = 65536;
inline constexpr std::size_t receiveLimit = bufferSize - 1;

// The most that one IPv4 datagram carries, in bytes: 65,535 less 20 for IP and 8 for UDP.
inline constexpr std::size_t largestDatagram = 65507;
static_assert(receiveLimit >= largestDatagram, "every datagram that can be sent arrives whole");

// Keys of the envelope.
inline constexpr std::string_view signatureKey = "_Signature";
inline constexpr std::string_view handshakeKey = "_Handshake";
inline constexpr std::string_view dataPacketKey = "_DataPacket";

// The key of a data packet that names its kind, and the keys of the server identification packet.
inline constexpr std::string_view keywordKey = "KtUDPKeyword";
inline constexpr std::string_view serverNameKey = "_ServerName";
inline constexpr std::string_view serverPortKey = "_ServerPort";

// The keyword of the discovery request. The identification packet that answers it has
// `serverNameKey` as its keyword: that the two texts are the same is on purpose.
inline constexpr std::string_view helloKeyword = "HelloKtUDP";

// The bytes that carry `text`: the text and the NUL behind it. A view into `text`.
[[nodiscard]] std::span<const char> datagramBytes(const std::string &text);

// The dictionary that a received datagram carries in its bytes up to the first NUL, or to the end
// where there is none. Nothing when the bytes are no property list or one that is no dictionary.
[[nodiscard]] std::optional<Dictionary> parseMessage(std::string_view received);

// An odd value between 1 and 32767 from the operating system's random source.
[[nodiscard]] std::int32_t freshHandshake();

// The answer to a request's handshake value: request + 1 in 32-bit arithmetic that wraps. Even for
// every value that a client draws, so that no client takes a request for a reply.
[[nodiscard]] std::int32_t handshakeAnswer(std::int32_t request);

// The value under "_Handshake"; 0 when it is missing or neither number nor string.
[[nodiscard]] std::int32_t handshakeOf(const Dictionary &envelope);

// A client's envelope around its data packet; without one when `packet` is empty.
[[nodiscard]] Dictionary requestEnvelope(const std::string &signature, std::int32_t handshake,
                                         const std::optional<Dictionary> &packet);

// A server's envelope around the answer. `handshake` is the request's value, not the answer to it.
[[nodiscard]] Dictionary replyEnvelope(const std::string &signature, std::int32_t handshake,
                                       Dictionary packet);

// { KtUDPKeyword = HelloKtUDP; }
[[nodiscard]] Dictionary discoveryPacket();

// { KtUDPKeyword = _ServerName; _ServerName = name; _ServerPort = port; }
[[nodiscard]] Dictionary serverIdPacket(const std::string &name, std::int32_t port);

// A server's test of a request's envelope: it has a "_Handshake", of whatever kind, and its
// "_Signature" is the string `signature`.
[[nodiscard]] bool isRequestFor(const Dictionary &request, const std::string &signature);

// Whether a data packet's keyword is "HelloKtUDP".
[[nodiscard]] bool isDiscovery(const Dictionary &packet);

// The data packet of an envelope, or null when there is none or it is no dictionary.
[[nodiscard]] const Dictionary *dataPacketOf(const Dictionary &envelope);

// The same taken out of an envelope that is not needed any more.
[[nodiscard]] std::optional<Dictionary> takeDataPacket(Dictionary &&envelope);

// A client's test of a reply to `message`: the handshake answers the message's and the "_Signature"
// is the string `signature`. Neither sender nor data packet is looked at.
[[nodiscard]] bool isReplyTo(const Dictionary &message, const Dictionary &reply,
                             const std::string &signature);

// What a server identification packet tells.
struct ServerId {
  std::string name;       // the host name that the server gives itself
  std::int32_t port = 0;  // the port that the server says it is bound to; 0 when it says none
};

// Reads an identification packet; nothing when its keyword is not "_ServerName" or it has no
// "_ServerName" that is a string.
[[nodiscard]] std::optional<ServerId> serverIdOf(const Dictionary &packet);

}  // namespace kt

#pragma GCC visibility pop

#endif
