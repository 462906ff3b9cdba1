// SPDX-License-Identifier: MIT

#include "tools/common/Arguments.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <limits>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

namespace {

template <typename Number>
std::optional<Number> readNumber(std::string_view text, Number lowest, Number highest) {
  Number number{};
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  // In this form a NaN, which compares false with everything, is out of range.
  const bool inRange = number >= lowest && number <= highest;
  if (error != std::errc() || stop != end || !inRange) return std::nullopt;
  return number;
}

constexpr std::int32_t largestNumber = std::numeric_limits<std::int32_t>::max();

// Reads with `read` each of the texts that commas separate.
template <typename Value>
std::optional<std::vector<Value>> readList(std::string_view text,
                                           std::optional<Value> (*read)(std::string_view text)) {
  std::vector<Value> values;
  for (bool more = true; more;) {
    const std::size_t comma = text.find(',');
    const std::optional<Value> value = read(text.substr(0, comma));
    if (!value) return std::nullopt;
    values.push_back(*value);
    more = comma != std::string_view::npos;
    if (more) text.remove_prefix(comma + 1);
  }
  return values;
}

// Reads a dotted address into network byte order.
std::optional<std::uint32_t> readDotted(std::string_view text) {
  in_addr address{};
  const std::string whole(text);
  if (whole.find('\0') != std::string::npos || ::inet_pton(AF_INET, whole.c_str(), &address) != 1) {
    return std::nullopt;
  }
  return address.s_addr;
}

}  // namespace

std::optional<std::int32_t> readPositive(std::string_view text) {
  return readNumber(text, std::int32_t{1}, largestNumber);
}

std::optional<std::int32_t> readCount(std::string_view text) {
  return readNumber(text, std::int32_t{0}, largestNumber);
}

std::optional<std::int32_t> readBase(std::string_view text) {
  return readNumber(text, std::int32_t{2}, std::int32_t{36});
}

std::optional<std::chrono::duration<double>> readSeconds(std::string_view text) {
  constexpr double secondsOfADay = 86400;
  const std::optional<double> seconds = readNumber(text, 0.0, secondsOfADay);
  if (!seconds) return std::nullopt;
  return std::chrono::duration<double>(*seconds);
}

std::optional<std::chrono::milliseconds> readTimeLimit(std::string_view text) {
  const auto seconds = readSeconds(text);
  if (!seconds || seconds->count() == 0) return std::nullopt;
  constexpr std::chrono::milliseconds shortest{1};
  return std::max(shortest, std::chrono::round<std::chrono::milliseconds>(*seconds));
}

std::optional<std::int32_t> readWorkers(std::string_view text) {
  return readNumber(text, std::int32_t{1}, std::int32_t{64});
}

std::optional<bool> readYesOrNo(std::string_view text) {
  if (text == "YES") return true;
  if (text == "NO") return false;
  return std::nullopt;
}

std::optional<std::int32_t> readPort(std::string_view text) {
  return readNumber(text, std::int32_t{1}, std::int32_t{65535});
}

std::optional<std::vector<std::int32_t>> readPorts(std::string_view text) {
  return readList(text, readPort);
}

std::optional<std::int32_t> readInteger(const PropertyList &value, std::int32_t lowest,
                                        std::int32_t highest) {
  if (const std::string *text = value.asString()) return readNumber(*text, lowest, highest);
  if (value.kind() != PropertyList::Kind::number) return std::nullopt;
  const std::int32_t number = value.intValue();  // saturated
  if (number < lowest || number > highest) return std::nullopt;
  return number;
}

std::optional<std::string> readAddress(std::string_view text) {
  if (!readDotted(text)) return std::nullopt;
  return std::string(text);
}

std::optional<std::vector<std::uint32_t>> readAddresses(std::string_view text) {
  if (text == "all") return std::vector<std::uint32_t>();
  return readList(text, readDotted);
}

std::optional<HostAndPort> readHostAndPort(std::string_view text) {
  const std::size_t colon = text.find(':');
  const bool hasPort = colon != std::string_view::npos && colon == text.rfind(':');
  const std::string_view host = hasPort ? text.substr(0, colon) : text;
  if (host.empty()) return std::nullopt;
  if (!hasPort) return HostAndPort{std::string(host), std::nullopt};
  const std::optional<std::int32_t> port = readPort(text.substr(colon + 1));
  if (!port) return std::nullopt;
  return HostAndPort{std::string(host), port};
}

}  // namespace kt::tools
