// SPDX-License-Identifier: MIT

#include "tools/kt/Request.h"

#include <string_view>

#include "kt/udp/KtMessage.h"
#include "tools/common/Failure.h"
#include "tools/text/Escape.h"
#include "tools/text/Excerpt.h"
#include "tools/text/Numerals.h"

namespace kt::tools {

namespace {

PropertyList valueOf(std::string_view key, std::string_view text) {
  if (text.empty() || std::string_view("({<").find(text.front()) == std::string_view::npos) {
    return text;
  }
  try {
    return PropertyList::parse(text);
  } catch (const PropertyListError &error) {
    throw Misuse("the value of " + inQuotes(key) + ": " + escaped(error.what()) + '\n' +
                 excerpt(text, error.offset()));
  }
}

void addEntry(Dictionary &packet, const std::string &entry) {
  const std::size_t equalsSign = entry.find('=');
  if (equalsSign == std::string::npos || equalsSign == 0) {
    throw Misuse(inQuotes(entry) + " is not of the form KEY=VALUE");
  }
  const std::string_view key = std::string_view(entry).substr(0, equalsSign);
  if (key == keywordKey) throw Misuse(inQuotes(key) + " is given by KEYWORD already");
  if (packet.contains(key)) throw Misuse("the key " + inQuotes(key) + " is given twice");
  packet[key] = valueOf(key, std::string_view(entry).substr(equalsSign + 1));
}

}  // namespace

Dictionary requestOfKind(const std::string &keyword) {
  return {{std::string(keywordKey), keyword}};
}

Dictionary requestOf(const std::string &keyword, const std::vector<std::string> &entries) {
  Dictionary packet = requestOfKind(keyword);
  for (const std::string &entry : entries) {
    addEntry(packet, entry);
  }
  return packet;
}

std::size_t datagramSize(const std::string &signature, const Dictionary &packet) {
  constexpr std::int32_t longestHandshake = 32767;
  return datagramBytes(requestEnvelope(signature, longestHandshake, packet).description()).size();
}

void requireDatagram(const std::string &signature, const Dictionary &packet) {
  const std::size_t byteCount = datagramSize(signature, packet);
  if (byteCount <= largestDatagram) return;
  throw Failure("the request takes " + withCommas(byteCount) +
                " bytes; a datagram carries at most " + withCommas(largestDatagram));
}

}  // namespace kt::tools
