// SPDX-License-Identifier: MIT

// The size of a reply. A function without state.
#ifndef KT_TOOLS_KTD_REPLYSIZE_H
#define KT_TOOLS_KTD_REPLYSIZE_H

#include <cstddef>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/KtUDPDaemon.h"

namespace kt::tools {

// Returns the most bytes that `answer` takes as a datagram of `daemon`, whatever the handshake of
// the request.
[[nodiscard]] std::size_t replySize(const KtUDPDaemon &daemon, const Dictionary &answer);

}  // namespace kt::tools

#endif
