// SPDX-License-Identifier: MIT

#include "kt/udp/KtMessage.h"

#include <sys/random.h>

#include <stdexcept>
#include <utility>

namespace kt {

namespace {

// Returns whether the value of `key` is the string `expected`. A number never equals a string.
bool holdsString(const Dictionary &dictionary, std::string_view key, std::string_view expected) {
  const PropertyList *value = dictionary.find(key);
  const std::string *text = value != nullptr ? value->asString() : nullptr;
  return text != nullptr && *text == expected;
}

}  // namespace

// ---- Datagrams ----

std::span<const char> datagramBytes(const std::string &text) {
  return {text.c_str(), text.size() + 1};
}

std::optional<Dictionary> parseMessage(std::string_view received) {
  try {
    PropertyList message = PropertyList::parse(received.substr(0, received.find('\0')));
    if (Dictionary *dictionary = message.asDictionary()) return std::move(*dictionary);
  } catch (const PropertyListError &) {
    return std::nullopt;  // both ends drop a malformed datagram without an answer
  }
  return std::nullopt;
}

// ---- Handshakes ----

std::int32_t freshHandshake() {
  std::uint16_t bits = 0;
  // Without a random source every request draws 1: requests still work, but a late reply to an
  // earlier request is then accepted.
  if (::getentropy(&bits, sizeof bits) != 0) bits = 1;
  return (bits & 0x7FFF) | 1;
}

std::int32_t handshakeAnswer(std::int32_t request) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(request) + 1);
}

std::int32_t handshakeOf(const Dictionary &envelope) {
  const PropertyList *value = envelope.find(handshakeKey);
  return value != nullptr ? value->intValue() : 0;
}

// ---- Envelopes and packets ----

Dictionary requestEnvelope(const std::string &signature, std::int32_t handshake,
                           const std::optional<Dictionary> &packet) {
  Dictionary envelope;
  envelope[signatureKey] = signature;
  envelope[handshakeKey] = handshake;
  if (packet) envelope[dataPacketKey] = *packet;
  return envelope;
}

Dictionary replyEnvelope(const std::string &signature, std::int32_t handshake, Dictionary packet) {
  Dictionary envelope;
  envelope[dataPacketKey] = std::move(packet);
  envelope[signatureKey] = signature;
  envelope[handshakeKey] = handshakeAnswer(handshake);
  return envelope;
}

Dictionary discoveryPacket() {
  return {{std::string(keywordKey), helloKeyword}};
}

Dictionary serverIdPacket(const std::string &name, std::int32_t port) {
  Dictionary packet;
  packet[serverNameKey] = name;
  packet[keywordKey] = serverNameKey;
  packet[serverPortKey] = port;
  return packet;
}

const Dictionary *dataPacketOf(const Dictionary &envelope) {
  const PropertyList *packet = envelope.find(dataPacketKey);
  return packet != nullptr ? packet->asDictionary() : nullptr;
}

std::optional<Dictionary> takeDataPacket(Dictionary &&envelope) {
  Dictionary *packet = envelope[dataPacketKey].asDictionary();
  return packet != nullptr ? std::optional(std::move(*packet)) : std::nullopt;
}

// ---- Acceptance by a server ----

bool isRequestFor(const Dictionary &request, const std::string &signature) {
  if (!request.contains(handshakeKey)) return false;
  return holdsString(request, signatureKey, signature);
}

const Dictionary *packetOfRequest(const Dictionary &request) {
  const PropertyList *content = request.find(dataPacketKey);
  if (content == nullptr) return nullptr;
  const Dictionary *packet = content->asDictionary();
  if (packet == nullptr) {
    throw std::invalid_argument("the request's data packet is not a dictionary");
  }
  return packet->contains(keywordKey) ? packet : nullptr;
}

bool isDiscovery(const Dictionary &packet) {
  return holdsString(packet, keywordKey, helloKeyword);
}

// ---- Acceptance by a client ----

bool isReplyTo(const Dictionary &message, const Dictionary &reply, const std::string &signature) {
  return isReplyTo(handshakeOf(message), reply, signature);
}

bool isReplyTo(std::int32_t handshake, const Dictionary &reply, const std::string &signature) {
  if (handshakeOf(reply) != handshakeAnswer(handshake)) return false;
  return holdsString(reply, signatureKey, signature);
}

std::optional<ServerId> serverIdOf(const Dictionary &packet) {
  if (!holdsString(packet, keywordKey, serverNameKey)) return std::nullopt;
  const PropertyList *name = packet.find(serverNameKey);
  if (name == nullptr || name->asString() == nullptr) return std::nullopt;
  const PropertyList *port = packet.find(serverPortKey);
  return ServerId{*name->asString(), port != nullptr ? port->intValue() : 0};
}

}  // namespace kt
