// SPDX-License-Identifier: MIT

// Connects the subcommands to a server, and says what to check when there is none or it is silent.
// For the thread that uses the client.
#ifndef KT_TOOLS_KT_CONNECTION_H
#define KT_TOOLS_KT_CONNECTION_H

#include <chrono>
#include <string>

#include "kt/udp/KtUDPClient.h"
#include "tools/common/Failure.h"
#include "tools/kt/Command.h"

namespace kt::tools {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Applies the options to `client` and finds it a server. Throws Failure if none answers, or if the
// server announces a port below 0, to which the client sends nothing.
void connect(KtUDPClient &client, const Options &options);

// Returns the answer to the request `packet`. Throws Failure if there is none.
[[nodiscard]] Dictionary answerOf(KtUDPClient &client, const Dictionary &packet);

// Returns the failure that no server answered: where, on which ports and for how long it was looked
// for, and what to check. `address` is in network byte order.
[[nodiscard]] Failure noServer(const Options &options, std::uint32_t address, Milliseconds elapsed);

// Returns "203 ms".
[[nodiscard]] std::string wholeMilliseconds(Milliseconds time);

}  // namespace kt::tools

#endif
