// SPDX-License-Identifier: MIT

#include "tools/common/Arguments.h"

#include <arpa/inet.h>

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

std::optional<std::vector<std::int32_t>> readPorts(std::string_view text) {
  std::vector<std::int32_t> ports;
  for (bool more = true; more;) {
    const std::size_t comma = text.find(',');
    const auto port = readNumber(text.substr(0, comma), std::int32_t{1}, std::int32_t{65535});
    if (!port) return std::nullopt;
    ports.push_back(*port);
    more = comma != std::string_view::npos;
    if (more) text.remove_prefix(comma + 1);
  }
  return ports;
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
  in_addr address{};
  std::string whole(text);
  if (whole.find('\0') != std::string::npos || ::inet_pton(AF_INET, whole.c_str(), &address) != 1) {
    return std::nullopt;
  }
  return whole;
}

}  // namespace kt::tools
