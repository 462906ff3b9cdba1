// SPDX-License-Identifier: MIT

#include "kt/udp/KtMessage.h"

#include <sys/random.h>

#include <utility>

namespace kt {

namespace {

// Whether the dictionary has the string `expected` under `key`. A number is not the same as the
// string of its digits.
bool holdsString(const Dictionary &dictionary, std::string_view key, std::string_view expected) {
  const PropertyList *value = dictionary.find(key);
  const std::string *text = value != nullptr ? value->asString() : nullptr;
  return text != nullptr && *text == expected;
}

}  // namespace

std::span<const char> datagramBytes(const std::string &text) {
  return {text.c_str(), text.size() + 1};
}

std::optional<Dictionary> parseMessage(std::string_view received) {
  try {
    PropertyList message = PropertyList::parse(received.substr(0, received.find('\0')));
    if (Dictionary *dictionary = message.asDictionary()) return std::move(*dictionary);
  } catch (const PropertyListError &) {
    // Whoever sent this speaks another language: for both ends that is the same as silence.
  }
  return std::nullopt;
}

std::int32_t freshHandshake() {
  std::uint16_t bits = 0;
  // A system without random bytes to give still gets an odd value: requests go on working, only
  // their replies are no longer told from those of an earlier one.
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

bool isRequestFor(const Dictionary &request, const std::string &signature) {
  if (!request.contains(handshakeKey)) return false;
  return holdsString(request, signatureKey, signature);
}

bool isDiscovery(const Dictionary &packet) {
  return holdsString(packet, keywordKey, helloKeyword);
}

const Dictionary *dataPacketOf(const Dictionary &envelope) {
  const PropertyList *packet = envelope.find(dataPacketKey);
  return packet != nullptr ? packet->asDictionary() : nullptr;
}

std::optional<Dictionary> takeDataPacket(Dictionary &&envelope) {
  Dictionary *packet =
      envelope[dataPacketKey].asDictionary();  // an absent one becomes no dictionary
  if (packet == nullptr) return std::nullopt;
  return std::move(*packet);
}

bool isReplyTo(const Dictionary &message, const Dictionary &reply, const std::string &signature) {
  if (handshakeOf(reply) != handshakeAnswer(handshakeOf(message))) return false;
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
