// SPDX-License-Identifier: MIT

// Reads numbers and addresses strictly: the whole text counts, without white space or a plus sign.
// Each function returns nothing if the text is malformed or out of range. The constant after a
// function completes the refusal: "\"0\" is not a port from 1 to 65535". Functions without state.
#ifndef KT_TOOLS_COMMON_ARGUMENTS_H
#define KT_TOOLS_COMMON_ARGUMENTS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kt {
class PropertyList;
}

namespace kt::tools {

// Reads a number >= 1 of 32 bits: "5"
[[nodiscard]] std::optional<std::int32_t> readPositive(std::string_view text);

// Reads a number >= 0 of 32 bits: "0"
[[nodiscard]] std::optional<std::int32_t> readCount(std::string_view text);

// Reads the base of a number's text, 2 <= base <= 36: "16"
[[nodiscard]] std::optional<std::int32_t> readBase(std::string_view text);

// Reads decimal seconds, 0 <= seconds <= 86400 (a day): "0.25"
[[nodiscard]] std::optional<std::chrono::duration<double>> readSeconds(std::string_view text);

// Reads the seconds that work may take, 0 < seconds <= 86400, to the nearest millisecond, at least
// one: "0.25"
[[nodiscard]] std::optional<std::chrono::milliseconds> readTimeLimit(std::string_view text);
inline constexpr const char *timeLimitWanted = "a number of seconds above 0, at most 86400";

// Reads a number of threads, 1 <= number <= 64: "4"
[[nodiscard]] std::optional<std::int32_t> readWorkers(std::string_view text);
inline constexpr const char *workersWanted = "a number from 1 to 64";

// Reads YES or NO.
[[nodiscard]] std::optional<bool> readYesOrNo(std::string_view text);
inline constexpr const char *yesOrNoWanted = "YES or NO";

// Reads one port, 1 <= port <= 65535: "4798"
[[nodiscard]] std::optional<std::int32_t> readPort(std::string_view text);
inline constexpr const char *portWanted = "a port from 1 to 65535";

// Reads one or more ports separated by commas: "4798,4711"
[[nodiscard]] std::optional<std::vector<std::int32_t>> readPorts(std::string_view text);
inline constexpr const char *portsWanted =
    "a list of ports from 1 to 65535 with commas between them";

// Reads a number, lowest <= number <= highest, from a value of a request: a string, as the
// functions above read texts, or a number.
[[nodiscard]] std::optional<std::int32_t> readInteger(const PropertyList &value,
                                                      std::int32_t lowest, std::int32_t highest);

// Returns the text itself if it is a dotted IPv4 address: "192.168.1.255"
[[nodiscard]] std::optional<std::string> readAddress(std::string_view text);
inline constexpr const char *addressWanted = "an IPv4 address such as 192.168.1.255";

// Reads where to look for servers: one or more dotted IPv4 addresses separated by commas, as
// addresses in network byte order, or "all", as no address: "10.0.0.255,10.0.1.255"
[[nodiscard]] std::optional<std::vector<std::uint32_t>> readAddresses(std::string_view text);

// A host and, if it is given, the port of its server.
struct HostAndPort {
  std::string host;  // a name or an address, not empty
  std::optional<std::int32_t> port;
};

// Reads a host, or a host and a port, 1 <= port <= 65535: "hut", "192.168.1.9:4711". A text with
// several colons is a host: an IPv6 address, about which the look-up has the last word.
[[nodiscard]] std::optional<HostAndPort> readHostAndPort(std::string_view text);

}  // namespace kt::tools

#endif
