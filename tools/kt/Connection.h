// SPDX-License-Identifier: MIT

// How the subcommands come to a server, and what they say when there is none or when it is silent.
// For the thread that uses the client.
#ifndef KT_TOOLS_KT_CONNECTION_H
#define KT_TOOLS_KT_CONNECTION_H

#include <chrono>
#include <optional>
#include <string>

#include "kt/udp/KtUDPClient.h"
#include "tools/common/Failure.h"
#include "tools/kt/Command.h"

namespace kt::tools {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Gives `client` what the options say and finds it a server. Throws Failure when none answers, or
// when the one that does names a port below 0, to which the client sends nothing.
void connect(KtUDPClient &client, const Options &options);

// The answer to the request `packet`. Throws Failure when there is none.
[[nodiscard]] Dictionary answerOf(KtUDPClient &client, const Dictionary &packet);

// That no server answered: where, on which ports and how long it was looked for, and what to check.
// `address` is in network byte order.
[[nodiscard]] Failure noServer(const Options &options, std::uint32_t address, Milliseconds elapsed);

// "203 ms"
[[nodiscard]] std::string wholeMilliseconds(Milliseconds time);

}  // namespace kt::tools

#endif
