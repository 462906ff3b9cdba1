// SPDX-License-Identifier: MIT

// The numbers and addresses of a command line, read strictly: the whole text counts, without white
// space or a plus sign, and what does not fit is nothing. Functions without state.
#ifndef KT_TOOLS_COMMON_NUMBERS_H
#define KT_TOOLS_COMMON_NUMBERS_H

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kt::tools {

// 1 or more, in 32 bits: "5"
[[nodiscard]] std::optional<std::int32_t> readPositive(std::string_view text);

// 0 or more, in 32 bits: "0"
[[nodiscard]] std::optional<std::int32_t> readCount(std::string_view text);

// The base of a number's text, from 2 to 36: "16"
[[nodiscard]] std::optional<std::int32_t> readBase(std::string_view text);

// Decimal seconds from 0 to a day: "0.25"
[[nodiscard]] std::optional<std::chrono::duration<double>> readSeconds(std::string_view text);

// Ports from 1 to 65535, at least one, with commas between them: "4798,4711"
[[nodiscard]] std::optional<std::vector<std::int32_t>> readPorts(std::string_view text);

// The text itself when it is an IPv4 address in dotted form: "192.168.1.255"
[[nodiscard]] std::optional<std::string> readAddress(std::string_view text);

// "4798, 4711"
[[nodiscard]] std::string portList(const std::vector<std::int32_t> &ports);

// "127.0.0.1"; `address` in network byte order.
[[nodiscard]] std::string dotted(std::uint32_t address);

// "127.0.0.1:4798"
[[nodiscard]] std::string endpoint(const sockaddr_in &address);

}  // namespace kt::tools

#endif
